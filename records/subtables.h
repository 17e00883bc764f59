#ifndef SUBTABLES_H
#define SUBTABLES_H

#include "storage/dbconnection.h"

#include <QList>
#include <QString>

// A record's subtable: the rows a record owns (an invoice's lines). A
// table's SUBTABLE column has a configuration, kept in subtablesconfigs one
// row per field, each named after the table and the column, "_XSBCONFX_" and
// the configuration's name (then "_XSBCONFX_" and its number from the
// second field on), so that removing the table finds them. The rows live in
// the subtable's own table, "HIDDENTABLE_<table>_XSBTX_SUBTABLEFORMAT_<field>
// _XSBTUSRX_<configuration>": the id, the owning record's id (indexed), then
// the configured fields and the folder of attachments.
struct SubtableDesign {
    QString name;                   // the configuration's name, blanks made "_"
    QList<ColumnDefinition> fields; // as the designer's rows define them
    bool isEmpty() const { return name.isEmpty(); }
};

namespace Subtables {

// The subtable's table of a table's SUBTABLE column under a configuration.
QString tableName(const QString &ownerTable, const QString &column, const QString &configuration);
// Writes the configuration and makes the subtable's table, whole or not at
// all. The refusal or failure has been told by the connection, or is given.
bool create(DbConnection &db, const QString &ownerTable, const QString &column, const SubtableDesign &design,
            QString *refusal);
// The configuration of a table's SUBTABLE column; empty when it has none.
SubtableDesign configurationOf(DbConnection &db, const QString &ownerTable, const QString &column);

} // namespace Subtables

#endif // SUBTABLES_H
