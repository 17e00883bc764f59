#ifndef RECORDLISTREADER_H
#define RECORDLISTREADER_H

#include "app/recordlistmodel.h"
#include "filters/recordfilter.h"

#include <atomic>
#include <functional>

class DbConnection;

// What a record list shows: a table's records, those the filter lets
// through, or one record's rows of a subtable.
struct RecordListRequest {
    QString table;
    QList<FilterCondition> conditions; // the filter page's
    QString scopeColumn;               // a subtable's owner column, when one record's rows are listed
    int scopeValue = 0;
};

// Reads a record list in one pass over the table, in the table's row order:
// one row per record the filter lets through, its text the list column's
// value (for a lookup, the value the looked-up record shows), in the form a
// list shows it. The same reading serves a list read at once and one read
// by a worker while the window goes on.
class RecordListReader
{
public:
    RecordListReader(DbConnection &db, const RecordListRequest &request);

    // Hands the rows over in batches: the first as soon as firstRows rows of
    // the table are read, the others batchRows at a time. Stops when deliver
    // answers false or stop is set. False when stopped, or when the table
    // could not be read whole (damage has been told by the connection).
    bool read(const std::function<bool(RecordListModel::Batch &)> &deliver, const std::atomic<bool> *stop = nullptr,
              int firstRows = 200, int batchRows = 20000);

private:
    // The looked-up record's text by its id, as UTF-8 in its shown form.
    using LookedUpText = std::function<void(int, const char **, int *)>;
    bool scanRows(int offset, RecordListModel::Batch &batch, const std::function<bool(RecordListModel::Batch &)> &deliver,
                  const std::atomic<bool> *stop, int batchRows, const LookedUpText &lookedUp);
    bool readRows(int offset, int limit, RecordListModel::Batch &batch,
                  const std::function<bool(RecordListModel::Batch &)> &deliver, const std::atomic<bool> *stop,
                  int batchRows, const std::function<QString(int)> &lookedUp);

    DbConnection &db;
    RecordListRequest request;
};

#endif // RECORDLISTREADER_H
