#ifndef RECORDLISTING_H
#define RECORDLISTING_H

#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>
#include <functional>
#include <vector>

class DbConnection;

// Values kept by record id: a plain vector indexed by the id while the ids
// stay small and dense (as the program hands them out), a hash once an id
// falls outside that range.
template <typename T>
class ById
{
public:
    // expected: about how many ids will be entered.
    explicit ById(int expected = 0) : expected(expected) {}

    void clear()
    {
        dense.clear();
        present.clear();
        sparse.clear();
        sparseMode = false;
        count = 0;
    }
    int size() const { return count; }
    const T *find(int id) const
    {
        if (sparseMode) {
            const auto found = sparse.constFind(id);
            return found == sparse.constEnd() ? nullptr : &found.value();
        }
        return id >= 0 && size_t(id) < present.size() && present[size_t(id)] ? &dense[size_t(id)] : nullptr;
    }
    // The slot of id, entered empty when missing; *added tells which.
    T &slot(int id, bool *added)
    {
        if (!sparseMode && (id < 0 || id > 2 * qMax(count, expected) + 1024))
            toSparse();
        if (sparseMode) {
            *added = !sparse.contains(id);
            if (*added)
                ++count;
            return sparse[id];
        }
        if (size_t(id) >= present.size()) {
            const size_t size = qMax(size_t(id) + 1, size_t(expected) + 1);
            dense.resize(qMax(size, dense.size()));
            present.resize(dense.size(), false);
        }
        *added = !present[size_t(id)];
        if (*added) {
            present[size_t(id)] = true;
            ++count;
        }
        return dense[size_t(id)];
    }
    // Enters value for id unless id has one already.
    void insertFirst(int id, const T &value)
    {
        bool added;
        T &place = slot(id, &added);
        if (added)
            place = value;
    }

private:
    void toSparse()
    {
        sparse.reserve(count);
        for (size_t id = 0; id < present.size(); ++id) {
            if (present[id])
                sparse.insert(int(id), std::move(dense[id]));
        }
        dense = std::vector<T>();
        present = std::vector<bool>();
        sparseMode = true;
    }

    int expected = 0;
    int count = 0;
    bool sparseMode = false;
    std::vector<T> dense;
    std::vector<bool> present;
    QHash<int, T> sparse;
};

// Item text -> record id for the records listed from one table. The list
// items carry only their text; a record is found again through this map.
// A text shared by several records names the last one entered; looking up a
// text that is not there yields 0 and enters it with 0.
class RecordMap
{
public:
    void clear();
    // Makes room for size texts at once.
    void reserve(int size);
    bool isEmpty() const { return used == 0; }
    int size() const { return used; }
    bool contains(const QString &text) const { return !find(text, qHash(text))->isFree(); }
    // The entries in key order.
    QMap<QString, int> map() const;

    void insert(const QString &text, int id);
    // The id of text; a missing text is entered with 0.
    int idOf(const QString &text);
    // The id of text without entering it; 0 when missing.
    int value(const QString &text) const;
    // The first text in key order whose id is id; false when there is none.
    bool textOf(int id, QString *text) const;
    // Whether text was entered more than once (its records share it).
    bool isShared(const QString &text) const { return shared.contains(text); }

private:
    // Open addressing with linear probing, in one block: no allocation per
    // text, a third of the room of a node-based hash.
    struct Entry {
        QString text; // null in a free cell
        int id = 0;
        uint hash = 0;
        bool isFree() const { return text.isNull(); }
    };
    const Entry *find(const QString &text, uint hash) const;
    void rehash(size_t capacity);

    std::vector<Entry> cells; // a power of two in size, or empty
    int used = 0;
    QSet<QString> shared;
    // id -> first text in key order, built on demand and kept in step with
    // the entries, so that finding a record's text does not walk them each time.
    mutable ById<QString> firstText;
    mutable bool indexed = false;
};

// What the record list shows for one table.
struct RecordListing {
    QStringList texts; // one per listed record, in list order; "----" for an empty text
    RecordMap map;
    ById<int> firstRowOfId; // record id -> first row listing it
    QVector<int> ids;       // the id of each text, in list order
    int rowCount = 0;       // rows of the table as counted before reading
};

// Reads the list of table (rowCount rows as counted just before) in one pass:
// one item per record that listed(id) lets through, in the table's row order
// (or sorted by text when sorted is set). The text of a record is its first
// data column; for a lookup column (X<table>_XDTX_<column>) the referenced
// record's value of that column. Empty texts are listed as "----" and have no
// entry of their own, except that an empty looked-up text is entered like any
// other. progress(i, rowCount) is called after each listed row, and with 0
// while the referenced table is read.
RecordListing readRecordListing(DbConnection &db, const QString &table, int rowCount, bool sorted,
                                const std::function<bool(int)> &listed,
                                const std::function<void(int, int)> &progress);

#endif // RECORDLISTING_H
