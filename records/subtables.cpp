#include "records/subtables.h"

#include "records/recordwriter.h"
#include "records/tabledesign.h"
#include "storage/columnname.h"
#include "storage/namingscheme.h"

namespace {

const char *const NameColumn = "RSTRINGFORMAT_subConfigName";
const char *const FieldColumn = "NSTRINGFORMAT_subConfigFieldName";
const char *const TypeColumn = "NSTRINGFORMAT_subConfigFieldType";

QString doubled(QString text)
{
    return text.replace("'", "''");
}

QString rowName(const QString &ownerTable, const QString &column, const QString &configuration, int index)
{
    QString name = subtableConfigurationKey(ownerTable, column) + Naming::SubtableConfigMarker + configuration;
    if (index > 0)
        name += Naming::SubtableConfigMarker + QString::number(index);
    return name;
}

} // namespace

QString Subtables::tableName(const QString &ownerTable, const QString &column, const QString &configuration)
{
    QString owner = ownerTable;
    owner.remove(Naming::HiddenMarker);
    return QString(Naming::HiddenMarker) + owner + Naming::SubtableMarker + Naming::SubtableTag + "_"
           + ColumnName(column).field() + Naming::SubtableUserMarker + configuration;
}

bool Subtables::create(DbConnection &db, const QString &ownerTable, const QString &column, const SubtableDesign &design,
                       QString *refusal)
{
    const QString table = tableName(ownerTable, column, design.name);
    if (db.tableExists(table)) {
        *refusal = QString::asprintf("ERRORE: Il nome '%s' è già stato usato per una tabella.\n",
                                     toDisplayTableName(table).toUtf8().constData());
        return false;
    }
    if (!db.beginTransaction())
        return false;
    // The owner's id first; the fields after it as a table of their own would have them.
    QList<ColumnDefinition> columns = {{Naming::OwnerColumn, "Integer"}};
    columns += newTableColumns(design.fields);
    bool done = db.createTable(table, columns) && db.createIndex(table, Naming::OwnerColumn);
    RecordWriter writer(db);
    const int rows = qMax(1, design.fields.size());
    for (int i = 0; done && i < rows; ++i) {
        const ColumnDefinition field = design.fields.value(i);
        done = writer.insert(Naming::SubtableConfigsTable,
                             {FieldValue(Naming::IdColumn, "0"),
                              FieldValue(NameColumn, doubled(rowName(ownerTable, column, design.name, i))),
                              FieldValue(FieldColumn, doubled(field.first)), FieldValue(TypeColumn, doubled(field.second))})
               > 0;
        if (!done && !writer.refusal().isEmpty())
            *refusal = writer.refusal();
    }
    if (!done) {
        db.rollbackTransaction();
        return false;
    }
    return db.commitTransaction();
}

SubtableDesign Subtables::configurationOf(DbConnection &db, const QString &ownerTable, const QString &column)
{
    SubtableDesign design;
    if (!db.getFieldNames(Naming::SubtableConfigsTable).contains(NameColumn))
        return design;
    const QString prefix = subtableConfigurationKey(ownerTable, column) + Naming::SubtableConfigMarker;
    for (const QSqlRecord &row : db.getAllRecords(Naming::SubtableConfigsTable)) {
        const QString name = row.value(NameColumn).toString();
        if (!name.startsWith(prefix))
            continue;
        const QString configuration = name.mid(prefix.size()).section(Naming::SubtableConfigMarker, 0, 0);
        if (design.name.isEmpty())
            design.name = configuration;
        if (configuration != design.name)
            continue; // another configuration of a column of the same name
        const QString field = row.value(FieldColumn).toString();
        if (!field.isEmpty())
            design.fields << ColumnDefinition(field, row.value(TypeColumn).toString());
    }
    return design;
}
