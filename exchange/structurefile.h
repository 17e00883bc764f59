#ifndef STRUCTUREFILE_H
#define STRUCTUREFILE_H

#include "records/subtables.h"
#include "storage/dbconnection.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

class QIODevice;

// Table structure files (".tsc"): line 1 is the table's icon path (empty when
// it has none); then one line per column but the id: the coded column name,
// "###" and the SQL type word, always "text". A SUBTABLE column's subtable
// follows, one line per field of its configuration (one line with no field
// when it has none):
//   #SUBTABLE###<column>###<configuration>###<field's column>###<SQL type>
// A column name never begins with "#": files without these lines, and readers
// that do not know them, see the same columns.

// Writes the structure of table, whose columns are given, to the open device.
void writeStructure(DbConnection &db, QIODevice &device, const QString &table, const QStringList &columns);

struct TableStructure {
    QString iconPath;
    QList<ColumnDefinition> columns; // in file order
    QList<QPair<QString, SubtableDesign>> subtables; // SUBTABLE column, its subtable
};

// Reads a structure file's text. Lines without a column name are left out;
// lookup columns are made "Integer" as the designer makes them, every other
// column "text" unless the file names another plain SQL type.
TableStructure readStructure(const QByteArray &bytes);

// Number of lines of a structure file's text (the progress total).
int structureLineCount(const QByteArray &bytes);

#endif // STRUCTUREFILE_H
