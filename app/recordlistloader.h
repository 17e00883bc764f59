#ifndef RECORDLISTLOADER_H
#define RECORDLISTLOADER_H

#include "app/recordlistreader.h"

#include <QMutex>
#include <QStringList>
#include <QThread>
#include <QVector>
#include <QWaitCondition>
#include <atomic>

// Reads a large record list on a worker thread, on a read-only connection of
// its own to the same file, while the window goes on: the rows arrive in
// batches, in the table's row order. stop() ends the reading at once.
class RecordListLoader : public QThread
{
    Q_OBJECT

public:
    RecordListLoader(const QString &dbPath, const RecordListRequest &request, QObject *parent = nullptr);
    ~RecordListLoader() override; // stops and waits for the worker

    void stop();
    // The batches read so far, oldest first; empty when none waits.
    QVector<RecordListModel::Batch> takeBatches();
    // Waits until the first batch is read (or the reading ended), at most ms.
    void waitForFirstRows(int ms);
    bool isComplete() const { return complete; }
    // What went wrong reading (a table cut short by damage), as told.
    QStringList failures() const;

signals:
    // More rows wait to be taken.
    void rowsRead();
    // The reading ended: whole when complete, cut short otherwise.
    void finishedReading(bool complete);

protected:
    void run() override;

private:
    QString path;
    RecordListRequest request;
    std::atomic<bool> stopping{false};
    mutable QMutex lock;
    QWaitCondition firstRows;
    QVector<RecordListModel::Batch> waiting;
    QStringList problems;
    bool anyRows = false;
    bool ended = false;
    std::atomic<bool> complete{false};
};

#endif // RECORDLISTLOADER_H
