#ifndef RECORDLISTING_H
#define RECORDLISTING_H

#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>
#include <functional>

class DbConnection;

// Item text -> record id for the records listed from one table. The list
// items carry only their text; a record is found again through this map.
// A text shared by several records names the last one entered; looking up a
// text that is not there yields 0 and enters it with 0.
class RecordMap
{
public:
    void clear();
    bool isEmpty() const { return entries.isEmpty(); }
    int size() const { return entries.size(); }
    bool contains(const QString &text) const { return entries.contains(text); }
    const QMap<QString, int> &map() const { return entries; }

    void insert(const QString &text, int id);
    // The id of text; a missing text is entered with 0.
    int idOf(const QString &text);
    // The first text in key order whose id is id; false when there is none.
    bool textOf(int id, QString *text) const;

private:
    QMap<QString, int> entries;
    // id -> first text in key order, built on demand and kept in step with
    // entries, so that finding a record's text does not walk the map each time.
    mutable QHash<int, QString> firstText;
    mutable bool indexed = false;
};

// What the record list shows for one table.
struct RecordListing {
    QStringList texts; // one per listed record, in list order; "----" for an empty text
    RecordMap map;
    int rowCount = 0; // rows of the table
};

// Reads the list of table: one item per record that listed(id) lets through,
// in the table's row order (or sorted by text when sorted is set). The text
// of a record is its first data column; for a lookup column (X<table>_XDTX_
// <column>) the referenced record's value of that column. Empty texts are
// listed as "----" and have no entry of their own, except that an empty
// looked-up text is entered like any other. progress(i, rowCount) is called
// after each listed row.
RecordListing readRecordListing(DbConnection &db, const QString &table, bool sorted,
                                const std::function<bool(int)> &listed,
                                const std::function<void(int, int)> &progress);

// Sorts item texts by character code, case-sensitively.
void sortListTexts(QStringList &texts);

#endif // RECORDLISTING_H
