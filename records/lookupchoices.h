#ifndef LOOKUPCHOICES_H
#define LOOKUPCHOICES_H

#include <QString>
#include <QStringList>

class DbConnection;

// The items a lookup editor offers for another table: "---", then one item
// per record, in row order, made of the texts of its first two columns
// joined by one blank (its id and its first data field). One read of the table.
QStringList lookupChoices(DbConnection &db, const QString &table);

#endif // LOOKUPCHOICES_H
