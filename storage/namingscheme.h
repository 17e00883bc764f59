#ifndef NAMINGSCHEME_H
#define NAMINGSCHEME_H

#include <QString>

// Table and column names carry all type information of a database:
//   column  = flag letter (R/N) + type tag + "_" + field name, e.g. RSTRINGFORMAT_name
//   lookup  = "X" + other table + "_XDTX_" + a column of that table
//   hidden  = "HIDDENTABLE_" + name, shown as "#" + name
//   subtable= "HIDDENTABLE_" + parent + "_XSBTX_SUBTABLEFORMAT_" + field + "_XSBTUSRX_" + config
// These functions build and take such names apart; they never fail.

// Internal (SQL) table name to the name lists and titles show.
QString toDisplayTableName(QString internal);
// Display name back to the SQL table name.
QString toInternalTableName(QString display);
// True for the three tables the program keeps for itself.
bool isSystemTable(QString name);
// RSTRINGFORMAT_name -> STRINGFORMAT
QString typeTagOf(QString column);
// NREALFORMAT_price -> price
QString fieldNameOf(QString column);
// RSTRINGFORMAT_name -> RSTRING
QString flagAndStemOf(QString column);
// STRINGFORMAT -> STRING
QString typeStem(QString tag);
// prefix + "_" + field
QString makeColumnName(QString prefix, QString field);
// Every typed column is stored as text.
QString sqlTypeForTag(QString tag);
// Folder of a table's (or record's) documents: folder + "/" + cleaned name.
QString tableFolderPath(QString folder, QString name);

#endif // NAMINGSCHEME_H
