#include "app/recordlisting.h"

#include "storage/dbconnection.h"

#include <algorithm>

void RecordMap::clear()
{
    entries.clear();
    firstText.clear();
    indexed = false;
}

void RecordMap::insert(const QString &text, int id)
{
    const auto existing = entries.constFind(text);
    if (existing != entries.constEnd()) {
        if (existing.value() != id)
            indexed = false; // an id loses a text: find first texts again when asked
        entries.insert(text, id);
        return;
    }
    entries.insert(text, id);
    if (indexed) {
        const auto first = firstText.find(id);
        if (first == firstText.end())
            firstText.insert(id, text);
        else if (text < first.value())
            first.value() = text;
    }
}

int RecordMap::idOf(const QString &text)
{
    const auto found = entries.constFind(text);
    if (found != entries.constEnd())
        return found.value();
    insert(text, 0);
    return 0;
}

bool RecordMap::textOf(int id, QString *text) const
{
    if (!indexed) {
        firstText.clear();
        firstText.reserve(entries.size());
        // Walking in key order, the first text met for an id is its first one.
        for (auto it = entries.constBegin(); it != entries.constEnd(); ++it) {
            if (!firstText.contains(it.value()))
                firstText.insert(it.value(), it.key());
        }
        indexed = true;
    }
    const auto found = firstText.constFind(id);
    if (found == firstText.constEnd())
        return false;
    *text = found.value();
    return true;
}

void sortListTexts(QStringList &texts)
{
    std::sort(texts.begin(), texts.end());
}

RecordListing readRecordListing(DbConnection &db, const QString &table, bool sorted,
                                const std::function<bool(int)> &listed,
                                const std::function<void(int, int)> &progress)
{
    RecordListing listing;
    const DbConnection::ListColumn rows = db.readListColumn(table);
    const int count = rows.ids.size();
    listing.rowCount = count;

    // A lookup column shows the referenced record's value: read the other
    // table once instead of once per row.
    const bool lookup = rows.name.startsWith('X');
    QHash<int, QVariant> lookedUp;
    if (lookup) {
        const QString reference = rows.name.mid(1);
        const QString otherTable = reference.section("_XDTX_", 0, 0);
        const QString otherColumn = reference.section("_XDTX_", 1).section("_XMLTYX_", 0, 0);
        lookedUp = db.readValuesById(otherTable, otherColumn);
    }

    listing.texts.reserve(count);
    const QString noText = QStringLiteral("----");
    for (int i = 0; i < count; ++i) {
        const int id = rows.ids.at(i);
        if (!listed(id))
            continue;
        QString text;
        if (lookup) {
            text = lookedUp.value(rows.values.at(i).toInt()).toString();
            listing.map.insert(text, id);
        } else {
            text = rows.values.at(i).toString();
            if (!text.isEmpty())
                listing.map.insert(text, id);
        }
        listing.texts.append(text.isEmpty() ? noText : text);
        progress(i, count);
    }
    if (sorted)
        sortListTexts(listing.texts);
    return listing;
}
