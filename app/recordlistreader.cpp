#include "app/recordlistreader.h"

#include "storage/columnname.h"
#include "storage/dbconnection.h"

#include <QHash>

#include <climits>

namespace {

// Where a text read as UTF-8 ends as a list shows it: at its first line end.
int shownEnd(const char *utf8, int bytes)
{
    for (int i = 0; i < bytes; ++i) {
        if (utf8[i] == '\n' || utf8[i] == '\r')
            return i;
    }
    return bytes;
}

// The shown form of a value read as it is stored, as UTF-8.
QByteArray shownUtf8(const DbConnection::RawValue &value)
{
    if (!value.utf8)
        return RecordListModel::shownText(value.other.toString()).toUtf8();
    const int end = shownEnd(value.utf8, value.bytes);
    if (end <= RecordListModel::ShownLength) // no more characters than bytes
        return QByteArray(value.utf8, end);
    return RecordListModel::shownText(QString::fromUtf8(value.utf8, end)).toUtf8();
}

// A looked-up record's id as the program reads it from a stored value.
int lookupId(const DbConnection::RawValue &value)
{
    if (value.utf8 && value.bytes > 0 && value.bytes < 10) {
        int id = 0;
        for (int i = 0; i < value.bytes; ++i) {
            const char c = value.utf8[i];
            if (c < '0' || c > '9')
                return value.toVariant().toInt();
            id = id * 10 + (c - '0');
        }
        return id;
    }
    if (!value.utf8 && value.other.type() == QVariant::LongLong) {
        // As its digits would read: an id out of range names none.
        const qlonglong id = value.other.toLongLong();
        return id >= INT_MIN && id <= INT_MAX ? int(id) : 0;
    }
    return value.toVariant().toInt();
}

} // namespace

RecordListReader::RecordListReader(DbConnection &db, const RecordListRequest &request) : db(db), request(request)
{
}

bool RecordListReader::scanRows(int offset, RecordListModel::Batch &batch,
                                const std::function<bool(RecordListModel::Batch &)> &deliver,
                                const std::atomic<bool> *stop, int batchRows, const LookedUpText &lookedUp)
{
    const bool lookup = bool(lookedUp);
    return db.scanList(request.table, offset, -1, [&](int id, const DbConnection::RawValue &value) {
        if (stop && stop->load(std::memory_order_relaxed))
            return false;
        if (lookup) {
            const char *text = nullptr;
            int bytes = 0;
            lookedUp(lookupId(value), &text, &bytes);
            batch.addUtf8(id, text, bytes, true);
        } else if (!value.utf8) {
            const QString text = RecordListModel::shownText(value.other.toString());
            batch.add(id, text, !text.isEmpty());
        } else {
            const int end = shownEnd(value.utf8, value.bytes);
            if (end <= RecordListModel::ShownLength)
                batch.addUtf8(id, value.utf8, end, end > 0);
            else
                batch.add(id, RecordListModel::shownText(QString::fromUtf8(value.utf8, end)), true);
        }
        if (batch.size() < batchRows)
            return true;
        const bool more = deliver(batch);
        batch = RecordListModel::Batch();
        return more;
    });
}

bool RecordListReader::readRows(int offset, int limit, RecordListModel::Batch &batch,
                                const std::function<bool(RecordListModel::Batch &)> &deliver,
                                const std::atomic<bool> *stop, int batchRows,
                                const std::function<QString(int)> &lookedUp)
{
    const QStringList names = db.getFieldNames(request.table);
    const RecordFilter filter(request.conditions, names);
    const bool lookup = bool(lookedUp);
    return db.readList(request.table, filter.testedColumns(), offset, limit,
                       [&](int id, const QVariant &value, const QVector<QVariant> &tested) {
                           if (stop && stop->load(std::memory_order_relaxed))
                               return false;
                           if (!filter.isEmpty() && !filter.passes(tested))
                               return true;
                           const QString text = lookup ? lookedUp(value.toInt())
                                                       : RecordListModel::shownText(value.toString());
                           batch.add(id, text, lookup || !text.isEmpty());
                           if (batch.size() < batchRows)
                               return true;
                           const bool more = deliver(batch);
                           batch = RecordListModel::Batch();
                           return more;
                       });
}

bool RecordListReader::read(const std::function<bool(RecordListModel::Batch &)> &deliver,
                            const std::atomic<bool> *stop, int firstRows, int batchRows)
{
    if (!request.scopeColumn.isEmpty())
        db.setRowScope(request.table, request.scopeColumn, request.scopeValue);
    const QStringList names = db.getFieldNames(request.table);
    if (names.isEmpty())
        return false;
    const ColumnName listColumn(names.value(db.firstDataColumn(request.table)));
    // With no filter the rows are read as SQLite gives them, with no
    // variant made on the way.
    const bool plain = RecordFilter(request.conditions, names).isEmpty();
    RecordListModel::Batch batch;
    // What was read before damage cut a read short is listed all the same.
    const auto rest = [&](bool whole) {
        const bool stopped = stop && stop->load();
        if (!stopped && batch.size() > 0 && !deliver(batch))
            return false;
        return whole && !stopped;
    };
    if (!listColumn.isLookup())
        return rest(plain ? scanRows(0, batch, deliver, stop, batchRows, {})
                          : readRows(0, -1, batch, deliver, stop, batchRows, {}));

    // A lookup shows the looked-up record's value. The first rows look theirs
    // up one by one, to be shown at once; then the looked-up table is read
    // whole, once, for the others.
    const QString other = listColumn.lookupTable(), column = listColumn.lookupColumn();
    QHash<int, QString> first;
    const auto one = [&](int id) {
        const auto known = first.constFind(id);
        if (known != first.constEnd())
            return known.value();
        const QString text = RecordListModel::shownText(db.storedValue(other, column, id).toString());
        first.insert(id, text);
        return text;
    };
    if (!rest(readRows(0, firstRows, batch, deliver, stop, batchRows, one)))
        return false;
    batch = RecordListModel::Batch();
    // Texts of the looked-up records, by id, kept in one buffer of UTF-8
    // (a shown text is short: its length fits 16 bits): where the ids are
    // dense (as the program hands them out) the spans are kept by id.
    QByteArray texts;
    const int maxId = db.getMaxId(other);
    const bool dense = maxId < 4 * db.countRecords(other) + 1024;
    // By id: where its text starts in texts and how long it is (start -1: none).
    struct Span {
        int start;
        int length;
    };
    QVector<Span> byId(dense ? maxId + 1 : 0, Span{-1, 0});
    Span *spanOfId = byId.data();
    QHash<int, QPair<int, int>> spans;
    db.scanValuesById(other, column, [&](int id, const DbConnection::RawValue &value) {
        const bool inRange = dense && id > 0 && id <= maxId;
        if (inRange ? spanOfId[id].start >= 0 : spans.contains(id))
            return; // the first row of an id is the one a lookup by id finds
        const int at = texts.size();
        const int end = value.utf8 ? shownEnd(value.utf8, value.bytes) : 0;
        if (value.utf8 && end <= RecordListModel::ShownLength)
            texts.append(value.utf8, end);
        else
            texts += shownUtf8(value);
        if (inRange)
            spanOfId[id] = Span{at, texts.size() - at};
        else
            spans.insert(id, qMakePair(at, texts.size() - at));
    });
    const auto all = [&](int id) {
        if (dense && id > 0 && id <= maxId)
            return spanOfId[id].start < 0 ? QString()
                                          : QString::fromUtf8(texts.constData() + spanOfId[id].start, spanOfId[id].length);
        const auto span = spans.constFind(id);
        return span == spans.constEnd() ? QString() : QString::fromUtf8(texts.constData() + span->first, span->second);
    };
    if (!plain)
        return rest(readRows(firstRows, -1, batch, deliver, stop, batchRows, all));
    const LookedUpText span = [&](int id, const char **text, int *bytes) {
        *text = "";
        *bytes = 0;
        if (dense && id > 0 && id <= maxId) {
            if (spanOfId[id].start >= 0) {
                *text = texts.constData() + spanOfId[id].start;
                *bytes = spanOfId[id].length;
            }
            return;
        }
        const auto found = spans.constFind(id);
        if (found != spans.constEnd()) {
            *text = texts.constData() + found->first;
            *bytes = found->second;
        }
    };
    return rest(scanRows(firstRows, batch, deliver, stop, batchRows, span));
}
