#include "filters/savedfilters.h"

#include "storage/dbconnection.h"
#include "storage/namingscheme.h"

namespace {
using Naming::FiltersTable;
using Naming::IdColumn;
using Naming::SavedFilterMarker;
const char *const NameColumn = "RSTRINGFORMAT_filterName";
const char *const TableColumn = "NSTRINGFORMAT_filterTableName";
const char *const FieldColumn = "NSTRINGFORMAT_filterFieldName";
const char *const ValueColumn = "NSTRINGFORMAT_filterFieldValue";
const char *const TypeColumn = "NSTRINGFORMAT_filterFieldType";
const char *const ConditionColumn = "NSTRINGFORMAT_filterFieldCondition";
const char *const JoinerColumn = "NSTRINGFORMAT_filterFieldConditionAndOr";

QString doubled(QString text)
{
    return text.replace("'", "''");
}
} // namespace

QString savedFilterBaseName(const QString &rowName)
{
    const int marker = rowName.indexOf(SavedFilterMarker);
    return marker >= 0 ? rowName.left(marker) : rowName;
}

QList<SavedFilterRow> readSavedFilterRows(DbConnection &db)
{
    QList<SavedFilterRow> rows;
    // A "filters" table laid out otherwise (a foreign database) holds no saved filter.
    if (!db.getFieldNames(FiltersTable).contains(NameColumn))
        return rows;
    for (const QSqlRecord &record : db.getAllRecords(FiltersTable)) {
        SavedFilterRow row;
        row.id = record.value(IdColumn).toInt();
        row.name = record.value(NameColumn).toString();
        row.table = record.value(TableColumn).toString();
        row.field = record.value(FieldColumn).toString();
        row.value = record.value(ValueColumn).toString();
        row.type = record.value(TypeColumn).toString();
        row.condition = record.value(ConditionColumn).toString();
        row.joiner = record.value(JoinerColumn).toString();
        rows << row;
    }
    return rows;
}

QList<QPair<QString, QString>> savedFilterHeads(const QList<SavedFilterRow> &rows)
{
    QList<QPair<QString, QString>> heads;
    for (const SavedFilterRow &row : rows) {
        if (!row.name.contains(SavedFilterMarker))
            heads << qMakePair(row.name, row.table);
    }
    return heads;
}

QString savedFilterNameProblem(const QList<SavedFilterRow> &rows, const QString &name)
{
    const QString wanted = name.toLower().simplified();
    if (wanted.isEmpty())
        return "Usa almeno una lettera o una cifra.";
    if (name.contains(SavedFilterMarker))
        return QString::asprintf("Contiene la sequenza riservata '%s'.", SavedFilterMarker);
    for (const SavedFilterRow &row : rows) {
        if (savedFilterBaseName(row.name).toLower().simplified() == wanted)
            return "Esiste già un filtro con questo nome.";
    }
    return QString();
}

FieldValueList savedFilterRowFields(const QString &name, int index, const QString &table, const QString &column,
                                    const QString &value, const QString &type, const QString &condition,
                                    const QString &joiner)
{
    const QString rowName = index == 0 ? name : name + SavedFilterMarker + QString::asprintf("%d", index);
    return {FieldValue(NameColumn, doubled(rowName)),       FieldValue(TableColumn, doubled(table)),
            FieldValue(FieldColumn, doubled(column)),        FieldValue(ValueColumn, value),
            FieldValue(TypeColumn, doubled(type)),           FieldValue(ConditionColumn, doubled(condition)),
            FieldValue(JoinerColumn, doubled(joiner))};
}

int deleteSavedFilterRows(DbConnection &db, const QString &name)
{
    int deleted = 0;
    for (const SavedFilterRow &row : readSavedFilterRows(db)) {
        if (savedFilterBaseName(row.name) == name && db.deleteRecord(FiltersTable, row.id))
            ++deleted;
    }
    return deleted;
}

QStringList deleteTableFilterRows(DbConnection &db, const QString &table)
{
    QStringList names;
    for (const SavedFilterRow &row : readSavedFilterRows(db)) {
        if (row.table != table)
            continue;
        db.deleteRecord(FiltersTable, row.id);
        const QString base = savedFilterBaseName(row.name);
        if (!names.contains(base))
            names << base;
    }
    return names;
}
