#include "exchange/readableexport.h"

#include "storage/columnname.h"
#include "storage/namingscheme.h"

#include <QHash>
#include <QIODevice>
#include <QTextStream>

namespace {

// Values of the lookup columns of a table, by column position: the named
// column of every record of the referenced table, by id.
QHash<int, QHash<int, QVariant>> lookupValues(DbConnection &db, const QStringList &columns)
{
    QHash<int, QHash<int, QVariant>> lookups;
    for (int j = 0; j < columns.size(); ++j) {
        const ColumnName column(columns.at(j));
        if (!column.isLookup())
            continue;
        QHash<int, QVariant> &values = lookups[j];
        db.readValuesById(column.lookupTable(), column.lookupColumn(), [&values](int id, const QVariant &value) {
            if (!values.contains(id)) // the first row of an id is the one shown
                values.insert(id, value);
        });
    }
    return lookups;
}

void writeReadable(DbConnection &db, QIODevice &device, const QString &table, const ExchangeProgress &progress,
                   bool single, int id)
{
    QTextStream out(&device);
    const QStringList columns = db.getFieldNames(table);
    QStringList names;
    for (const QString &column : columns)
        names << bareColumnName(column);
    const QHash<int, QHash<int, QVariant>> lookups = lookupValues(db, columns);
    auto text = [&lookups](int j, const QVariant &value) {
        const auto lookup = lookups.constFind(j);
        if (lookup == lookups.constEnd())
            return value.toString();
        const auto found = lookup->constFind(value.toInt());
        return found == lookup->constEnd() ? QString("---") : found->toString();
    };

    const int total = db.countRecords(table) * int(columns.size());
    int step = 0;
    db.readRows(table, nullptr, [&](const QVector<QVariant> &values) {
        step += values.size();
        if (single) {
            if (values.isEmpty() || values.first().toInt() != id)
                return true;
            for (int j = 0; j < values.size(); ++j)
                out << names.at(j) << "=" << text(j, values.at(j)) << "\n";
            return false;
        }
        QString line;
        for (int j = 0; j < values.size(); ++j)
            line += names.at(j) + ";" + text(j, values.at(j)) + ";";
        out << line << "\n";
        if (progress)
            progress(step, total);
        return true;
    });
}
} // namespace

QString bareColumnName(const QString &column)
{
    const ColumnName name(column);
    return name.isForeign() ? column.section(Naming::RepeatMarker, 0, 0) : name.bareField();
}

void writeReadableTable(DbConnection &db, QIODevice &device, const QString &table, const ExchangeProgress &progress)
{
    writeReadable(db, device, table, progress, false, 0);
}

void writeReadableRecord(DbConnection &db, QIODevice &device, const QString &table, int id,
                         const ExchangeProgress &progress)
{
    writeReadable(db, device, table, progress, true, id);
}
