#ifndef PRINTCONTENT_H
#define PRINTCONTENT_H

#include "filters/recordfilter.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVector>

class ColumnName;
class DbConnection;
class QVariant;

// What goes on paper of a table, in the words of the record view: each field
// titled as the view titles it, yes/no as "Sì"/"No", money with two decimals
// and the euro sign, a lookup as the looked-up record's text, an image or a
// PDF by its file name. The id, the record's folder and a subtable row's
// owner are never printed, nor link and subtable fields, which the view shows
// as buttons only.

// The columns of table that are printed, in the table's order.
QStringList printableColumns(DbConnection &db, const QString &table);
// A column's title on the view and on paper: the field with blanks for
// underscores (a repeated field with its number run on), a lookup after the
// table it looks into; a column of another tool by its whole name.
QString printedTitle(const ColumnName &column);
// A stored value as the view shows it; a lookup's value is its text already.
QString printedText(const ColumnName &column, const QVariant &value);

struct PrintedField {
    QString title;
    QString text;
    QString imageFile; // an image field's file on disk (absolute); empty for other fields
};

struct PrintedRecord {
    QString table; // the name the window shows
    QList<PrintedField> fields;
    bool found = false;
};

// The record id of table, field by field; attachments are found under
// folder (the database's folder, with its trailing "/").
PrintedRecord gatherRecord(DbConnection &db, const QString &table, int id, const QString &folder);

struct PrintedList {
    QString table; // the name the window shows
    QStringList titles;
    QVector<bool> numbers;     // per title: the column holds numbers (aligned on the right)
    QVector<QStringList> rows; // one per record, one text per title
};

// The records of table named by ids, in that order (a record listed twice is
// printed twice), by the given columns; with ids null, every record in the
// table's order. Each looked-up table is read once, whatever the number of
// records.
PrintedList gatherList(DbConnection &db, const QString &table, const QStringList &columns,
                       const QVector<int> *ids = nullptr);

// The filter in words, for the top of a printed list:
// Nome contiene "Ros" e Saldo > 100. Empty when no condition takes part.
QString describeFilter(DbConnection &db, const QList<FilterCondition> &conditions);

#endif // PRINTCONTENT_H
