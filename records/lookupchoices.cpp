#include "records/lookupchoices.h"

#include "storage/dbconnection.h"

QStringList lookupChoices(DbConnection &db, const QString &table)
{
    QStringList items("---");
    const QStringList columns = db.getFieldNames(table).mid(0, 2);
    if (columns.isEmpty())
        return items;
    db.readColumns(table, QStringList{columns.first(), columns.value(1)}, [&items](const QVector<QVariant> &values) {
        items << values.at(0).toString() + " " + values.at(1).toString();
    });
    return items;
}
