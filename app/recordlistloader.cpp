#include "app/recordlistloader.h"

#include "storage/dbconnection.h"

RecordListLoader::RecordListLoader(const QString &dbPath, const RecordListRequest &request, QObject *parent)
    : QThread(parent), path(dbPath), request(request)
{
}

RecordListLoader::~RecordListLoader()
{
    stop();
    wait();
}

void RecordListLoader::stop()
{
    stopping = true;
}

QVector<RecordListModel::Batch> RecordListLoader::takeBatches()
{
    QMutexLocker locked(&lock);
    QVector<RecordListModel::Batch> taken;
    taken.swap(waiting);
    return taken;
}

void RecordListLoader::waitForFirstRows(int ms)
{
    QMutexLocker locked(&lock);
    if (!anyRows && !ended)
        firstRows.wait(&lock, ulong(ms));
}

QStringList RecordListLoader::failures() const
{
    QMutexLocker locked(&lock);
    return problems;
}

void RecordListLoader::run()
{
    bool whole = false;
    {
        DbConnection db; // made, used and closed on this thread
        DbConnection::OpenOptions options;
        options.mustExist = true;
        options.readOnly = true;
        if (db.openDb(path, options)) {
            RecordListReader reader(db, request);
            whole = reader.read(
                [this](RecordListModel::Batch &batch) {
                    {
                        QMutexLocker locked(&lock);
                        waiting.append(std::move(batch));
                        anyRows = true;
                    }
                    firstRows.wakeAll();
                    emit rowsRead();
                    return !stopping.load();
                },
                &stopping);
        }
        QMutexLocker locked(&lock);
        problems = db.takeFailures();
        ended = true;
    }
    complete = whole && !stopping.load();
    firstRows.wakeAll();
    emit finishedReading(complete);
}
