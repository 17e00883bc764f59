#ifndef NAMINGSCHEME_H
#define NAMINGSCHEME_H

#include <QString>
#include <QStringList>

// Table and column names carry all type information of a database:
//   column  = flag letter (R/N) + type tag + "_" + field name, e.g. RSTRINGFORMAT_name
//   lookup  = "X" + other table + "_XDTX_" + a column of that table
//   hidden  = "HIDDENTABLE_" + name, shown as "#" + name
//   subtable= "HIDDENTABLE_" + parent + "_XSBTX_SUBTABLEFORMAT_" + field + "_XSBTUSRX_" + config
// These functions build and take such names apart; they never fail. Every
// marker and fixed name of the scheme is defined here and nowhere else.

namespace Naming {
// The id column: always the first column of every table.
inline constexpr char IdColumn[] = "RINTEGERFORMAT_Id";
// The record's folder of attachments, in every table the designer makes.
inline constexpr char UserPathColumn[] = "NLONGSTRINGFORMAT_UserPath";
// A subtable row's owner: the id of the record it belongs to.
inline constexpr char OwnerColumn[] = "NINTEGERFORMAT_OwnerId";
inline constexpr char LookupMarker[] = "_XDTX_";
inline constexpr char RepeatMarker[] = "_XMLTYX_";
inline constexpr char HiddenMarker[] = "HIDDENTABLE_";
inline constexpr char SubtableMarker[] = "_XSBTX_";
inline constexpr char SubtableUserMarker[] = "_XSBTUSRX_";
inline constexpr char SubtableConfigMarker[] = "_XSBCONFX_";
inline constexpr char SavedFilterMarker[] = "_XFLTRX_";
inline constexpr char SubtableTag[] = "SUBTABLEFORMAT";
inline constexpr char LinkTag[] = "LINKFORMAT";

// The program's own tables and their columns.
inline constexpr char SettingsTable[] = "settings";
inline constexpr char SettingsNameColumn[] = "RSTRINGFORMAT_tableName";
inline constexpr char SettingsIconColumn[] = "RSTRINGFORMAT_iconPath";
inline constexpr char FiltersTable[] = "filters";
inline constexpr char SubtableConfigsTable[] = "subtablesconfigs";

// Folders beside the database file: attachments, and table icons.
inline constexpr char DocumentsFolder[] = "TABLES_DOC";
inline constexpr char DataFolder[] = "DB_DATA";
} // namespace Naming

// The type tags the designer offers, in its order (the one more tag,
// LONGSTRINGFORMAT, is the program's own, for the UserPath column).
QStringList designerTypeTags();
// Every marker a typed name may not hold.
QStringList reservedNameParts();

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

// The scheme's deliberate substring rules, each tested on the whole name
// exactly as written, case-sensitively, wherever it stands in the name:
//   a table whose name contains "HIDDENTABLE_" anywhere is hidden
//   (a "#" typed anywhere in a name becomes that marker);
bool isHiddenTableName(const QString &table);
//   a column whose name contains "INTEGER" is written as a whole number and
//   one whose name contains "REAL" as a decimal number, the field part
//   included (a text field named REALTY is written as a number);
bool writesAsWholeNumber(const QString &column);
bool writesAsDecimal(const QString &column);
//   a repeated column takes a numbered suffix unless its name contains
//   "LINKFORMAT" (two equal links fail as duplicate columns instead).
bool takesRepeatSuffix(const QString &column);
//   the subtable configurations of a table's SUBTABLE column are the rows of
//   subtablesconfigs whose name contains the column's key: the table's name
//   cut after its first "HIDDENTABLE_", then the column's name from
//   "SUBTABLEFORMAT" on, less that word.
QString subtableConfigurationKey(const QString &table, const QString &column);
bool belongsToSubtableKey(const QString &configurationName, const QString &key);

#endif // NAMINGSCHEME_H
