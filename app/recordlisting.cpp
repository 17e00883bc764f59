#include "app/recordlisting.h"

#include "storage/columnname.h"
#include "storage/dbconnection.h"

#include <algorithm>
#include <numeric>

void RecordMap::clear()
{
    cells = std::vector<Entry>();
    used = 0;
    shared.clear();
    firstText.clear();
    indexed = false;
}

void RecordMap::reserve(int size)
{
    if (used == 0) {
        // Filled from empty, the first texts are kept up to date as they come.
        firstText = ById<QString>(size);
        indexed = true;
    }
    size_t capacity = 16;
    while (capacity * 7 / 10 < size_t(size))
        capacity *= 2;
    if (capacity > cells.size())
        rehash(capacity);
}

void RecordMap::rehash(size_t capacity)
{
    std::vector<Entry> old(capacity);
    old.swap(cells);
    const size_t mask = cells.size() - 1;
    for (Entry &entry : old) {
        if (entry.isFree())
            continue;
        size_t at = entry.hash & mask;
        while (!cells[at].isFree())
            at = (at + 1) & mask;
        cells[at] = std::move(entry);
    }
}

const RecordMap::Entry *RecordMap::find(const QString &text, uint hash) const
{
    static const Entry none;
    if (cells.empty())
        return &none;
    const size_t mask = cells.size() - 1;
    size_t at = hash & mask;
    while (!cells[at].isFree()) {
        if (cells[at].hash == hash && cells[at].text == text)
            break;
        at = (at + 1) & mask;
    }
    return &cells[at];
}

QMap<QString, int> RecordMap::map() const
{
    QMap<QString, int> ordered;
    for (const Entry &entry : cells) {
        if (!entry.isFree())
            ordered.insert(entry.text, entry.id);
    }
    return ordered;
}

int RecordMap::value(const QString &text) const
{
    const Entry *entry = find(text, qHash(text));
    return entry->isFree() ? 0 : entry->id;
}

void RecordMap::insert(const QString &text, int id)
{
    if (size_t(used + 1) > cells.size() * 7 / 10)
        rehash(qMax(size_t(16), cells.size() * 2));
    const uint hash = qHash(text);
    Entry &entry = const_cast<Entry &>(*find(text, hash));
    if (!entry.isFree()) {
        shared.insert(text);
        if (entry.id != id)
            indexed = false; // an id loses a text: find first texts again when asked
        entry.id = id;
        return;
    }
    // A null text would mark the cell free: an empty one is kept instead.
    entry.text = text.isNull() ? QString(QLatin1String("")) : text;
    entry.id = id;
    entry.hash = hash;
    ++used;
    if (indexed) {
        bool added;
        QString &first = firstText.slot(id, &added);
        if (added || text < first)
            first = text;
    }
}

int RecordMap::idOf(const QString &text)
{
    const Entry *entry = find(text, qHash(text));
    if (!entry->isFree())
        return entry->id;
    insert(text, 0);
    return 0;
}

bool RecordMap::textOf(int id, QString *text) const
{
    if (!indexed) {
        firstText = ById<QString>(used);
        // The first text of an id in key order is the least of its texts.
        for (const Entry &entry : cells) {
            if (entry.isFree())
                continue;
            bool added;
            QString &first = firstText.slot(entry.id, &added);
            if (added || entry.text < first)
                first = entry.text;
        }
        indexed = true;
    }
    const QString *found = firstText.find(id);
    if (!found)
        return false;
    *text = *found;
    return true;
}

namespace {

// The referenced record's value, by id, for a lookup column.
ById<QString> readLookedUpTexts(DbConnection &db, const ColumnName &listColumn, int expected,
                                const std::function<void()> &keepAlive)
{
    ById<QString> texts(expected);
    db.readValuesById(listColumn.lookupTable(), listColumn.lookupColumn(), [&](int id, const QVariant &value) {
        // The first row of an id is the one a lookup by id finds.
        texts.insertFirst(id, value.toString());
        keepAlive();
    });
    return texts;
}

} // namespace

RecordListing readRecordListing(DbConnection &db, const QString &table, int rowCount, bool sorted,
                                const std::function<bool(int)> &listed,
                                const std::function<void(int, int)> &progress)
{
    RecordListing listing;
    listing.rowCount = rowCount;
    const QStringList names = db.getFieldNames(table);
    const ColumnName listColumn(names.value(1));

    // A lookup column shows the referenced record's value: the other table
    // is read once, before the rows, instead of once per row.
    const bool lookup = listColumn.isLookup();
    ById<QString> lookedUp;
    if (lookup)
        lookedUp = readLookedUpTexts(db, listColumn, rowCount, [&] { progress(0, rowCount); });

    std::vector<int> ids;
    ids.reserve(size_t(rowCount));
    listing.texts.reserve(rowCount);
    listing.map.reserve(rowCount);
    const QString noText = QStringLiteral("----");
    int i = 0;
    db.readListColumn(table, [&](int id, const QVariant &value) {
        const int row = i++;
        if (!listed(id))
            return;
        QString text;
        if (lookup) {
            const QString *found = lookedUp.find(value.toInt());
            if (found)
                text = *found;
            listing.map.insert(text, id);
        } else {
            text = value.toString();
            if (!text.isEmpty())
                listing.map.insert(text, id);
        }
        listing.texts.append(text.isEmpty() ? noText : text);
        ids.push_back(id);
        progress(row, rowCount);
    });
    lookedUp = ById<QString>();

    if (sorted) {
        // By character code, case-sensitively; equal texts keep their row order.
        std::vector<int> order(ids.size());
        std::iota(order.begin(), order.end(), 0);
        const QStringList &texts = listing.texts;
        std::stable_sort(order.begin(), order.end(), [&texts](int a, int b) { return texts.at(a) < texts.at(b); });
        QStringList sortedTexts;
        sortedTexts.reserve(texts.size());
        std::vector<int> sortedIds(ids.size());
        for (size_t k = 0; k < order.size(); ++k) {
            sortedTexts.append(texts.at(order[k]));
            sortedIds[k] = ids[size_t(order[k])];
        }
        listing.texts = sortedTexts;
        ids.swap(sortedIds);
    }

    listing.firstRowOfId = ById<int>(int(ids.size()));
    for (size_t row = 0; row < ids.size(); ++row)
        listing.firstRowOfId.insertFirst(ids[row], int(row));
    listing.ids = QVector<int>(ids.begin(), ids.end());
    return listing;
}
