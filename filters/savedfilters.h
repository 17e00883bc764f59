#ifndef SAVEDFILTERS_H
#define SAVEDFILTERS_H

#include "records/fieldvaluelist.h"

#include <QList>
#include <QPair>
#include <QString>

class DbConnection;

// A saved filter is kept in the system table "filters", one row per editor of
// the filter page, in page order. Row 0 carries the filter's name and is its
// head row; row i carries the name, "_XFLTRX_" and i.

struct SavedFilterRow {
    int id = 0;
    QString name;      // RSTRINGFORMAT_filterName
    QString table;     // NSTRINGFORMAT_filterTableName
    QString field;     // NSTRINGFORMAT_filterFieldName: the full column name
    QString value;     // NSTRINGFORMAT_filterFieldValue
    QString type;      // NSTRINGFORMAT_filterFieldType: the editor's type word
    QString condition; // NSTRINGFORMAT_filterFieldCondition
    QString joiner;    // NSTRINGFORMAT_filterFieldConditionAndOr
};

// The name of the filter a row belongs to: the part before "_XFLTRX_", or the
// whole name.
QString savedFilterBaseName(const QString &rowName);

// Every row of "filters", in row order, read once.
QList<SavedFilterRow> readSavedFilterRows(DbConnection &db);

// (filter name, table) of each head row, in row order: one button each.
QList<QPair<QString, QString>> savedFilterHeads(const QList<SavedFilterRow> &rows);

// Why a new filter cannot be saved under name (empty when it can): an empty
// name, one holding the row marker, or one a saved filter already has
// (compared as the record-saving check compares names: ignoring case and
// runs of blanks).
QString savedFilterNameProblem(const QList<SavedFilterRow> &rows, const QString &name);

// Row index of a saved filter as it goes to the record-saving operation,
// whose texts carry every apostrophe doubled: value must come so already
// (as an editor's value does for text fields), the other texts are doubled here.
FieldValueList savedFilterRowFields(const QString &name, int index, const QString &table, const QString &column,
                                    const QString &value, const QString &type, const QString &condition,
                                    const QString &joiner);

// Deletes the rows of the filter called name (matched on their base name,
// exactly); returns how many went.
int deleteSavedFilterRows(DbConnection &db, const QString &name);

// Deletes the rows of every filter of table; returns the names of those filters.
QStringList deleteTableFilterRows(DbConnection &db, const QString &table);

#endif // SAVEDFILTERS_H
