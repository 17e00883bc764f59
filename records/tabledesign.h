#ifndef TABLEDESIGN_H
#define TABLEDESIGN_H

#include "storage/dbconnection.h"

#include <QList>
#include <QString>

// Names typed in the table designer become SQL names as they are (blanks turned
// into "_"), and the program reads types and kinds back out of them, so a name
// may hold neither the scheme's markers nor what a bare SQL name cannot hold.
// Each check returns why the name cannot be used, or an empty text when it can.
QString invalidTableNameReason(const QString &typed);
QString invalidFieldNameReason(const QString &typed);

// The warning for a refused name: "ERRORE: Il nome '<typed>' non è valido!" and the reason.
QString refusedNameWarning(const QString &typed, const QString &reason);

// Columns of a new table from its rows' definitions, in row order: rows with
// an empty name are left out, and NLONGSTRINGFORMAT_UserPath (no SQL type) is
// put before the first image or PDF column, or last when there is none.
QList<ColumnDefinition> newTableColumns(const QList<ColumnDefinition> &rows);

#endif // TABLEDESIGN_H
