#include "storage/pagecopy.h"

#include <QFile>

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sqlite3.h>
#include <unistd.h>

namespace {

// SQLite reads and writes a database one page at a time. Beneath a copy,
// this layer reads the file ahead in pieces of this size and gathers the
// pages written one after the other into pieces of the same size (SQLite's
// own file layer writes at most 128 KB at once).
constexpr int Piece = 64 * 1024;
// Written pieces start on their way to the disk every so many bytes, so
// that little is left for the final flush.
constexpr qint64 WritebackEvery = 8 * 1024 * 1024;
// Asks the layer for any write it still holds, and for the error of one.
constexpr int FlushOp = 0x54a0;
const char *const LayerName = "tessaro-copy";

sqlite3_vfs *below = nullptr;
sqlite3_vfs layer;
sqlite3_io_methods methods;

struct CopyFile {
    sqlite3_file base;
    sqlite3_file *real;
    // Pages written one after the other, not yet passed down.
    char *written;
    sqlite3_int64 writtenAt;
    int writtenSize;
    // A piece read ahead.
    char *read;
    sqlite3_int64 readAt;
    int readSize;
    // A second handle on a file being written, to start its writeback early.
    int writebackFd;
    qint64 sinceWriteback;
};

CopyFile *of(sqlite3_file *file)
{
    return reinterpret_cast<CopyFile *>(file);
}

const sqlite3_io_methods *realMethods(CopyFile *f)
{
    return f->real->pMethods;
}

int flush(CopyFile *f)
{
    if (f->writtenSize == 0)
        return SQLITE_OK;
    const int result = realMethods(f)->xWrite(f->real, f->written, f->writtenSize, f->writtenAt);
    f->sinceWriteback += f->writtenSize;
    f->writtenSize = 0;
#ifdef __linux__
    if (result == SQLITE_OK && f->writebackFd >= 0 && f->sinceWriteback >= WritebackEvery) {
        sync_file_range(f->writebackFd, 0, 0, SYNC_FILE_RANGE_WRITE);
        f->sinceWriteback = 0;
    }
#endif
    return result;
}

void forgetReadAhead(CopyFile *f)
{
    f->readSize = 0;
}

int xClose(sqlite3_file *file)
{
    CopyFile *f = of(file);
    const int flushed = flush(f);
    const int closed = realMethods(f)->xClose(f->real);
    if (f->writebackFd >= 0)
        ::close(f->writebackFd);
    std::free(f->written);
    std::free(f->read);
    sqlite3_free(f->real);
    return flushed != SQLITE_OK ? flushed : closed;
}

int xRead(sqlite3_file *file, void *to, int size, sqlite3_int64 at)
{
    CopyFile *f = of(file);
    if (const int flushed = flush(f))
        return flushed;
    if (f->read && at >= f->readAt && at + size <= f->readAt + f->readSize) {
        std::memcpy(to, f->read + (at - f->readAt), size_t(size));
        return SQLITE_OK;
    }
    sqlite3_int64 fileSize = 0;
    if (!f->read || size > Piece || realMethods(f)->xFileSize(f->real, &fileSize) != SQLITE_OK)
        return realMethods(f)->xRead(f->real, to, size, at);
    const sqlite3_int64 start = at - at % Piece;
    const int length = int(qMin<sqlite3_int64>(Piece, fileSize - start));
    forgetReadAhead(f);
    if (length <= 0 || at + size > start + length
        || realMethods(f)->xRead(f->real, f->read, length, start) != SQLITE_OK)
        return realMethods(f)->xRead(f->real, to, size, at);
    f->readAt = start;
    f->readSize = length;
    std::memcpy(to, f->read + (at - start), size_t(size));
    return SQLITE_OK;
}

int xWrite(sqlite3_file *file, const void *from, int size, sqlite3_int64 at)
{
    CopyFile *f = of(file);
    forgetReadAhead(f);
    if (!f->written)
        return realMethods(f)->xWrite(f->real, from, size, at);
    if (f->writtenSize > 0 && at == f->writtenAt + f->writtenSize && f->writtenSize + size <= Piece) {
        std::memcpy(f->written + f->writtenSize, from, size_t(size));
        f->writtenSize += size;
        return SQLITE_OK;
    }
    if (const int flushed = flush(f))
        return flushed;
    if (size > Piece)
        return realMethods(f)->xWrite(f->real, from, size, at);
    std::memcpy(f->written, from, size_t(size));
    f->writtenAt = at;
    f->writtenSize = size;
    return SQLITE_OK;
}

int xTruncate(sqlite3_file *file, sqlite3_int64 size)
{
    CopyFile *f = of(file);
    forgetReadAhead(f);
    if (const int flushed = flush(f))
        return flushed;
    return realMethods(f)->xTruncate(f->real, size);
}

int xSync(sqlite3_file *file, int flags)
{
    CopyFile *f = of(file);
    if (const int flushed = flush(f))
        return flushed;
    return realMethods(f)->xSync(f->real, flags);
}

int xFileSize(sqlite3_file *file, sqlite3_int64 *size)
{
    CopyFile *f = of(file);
    if (const int flushed = flush(f))
        return flushed;
    return realMethods(f)->xFileSize(f->real, size);
}

int xLock(sqlite3_file *file, int level)
{
    CopyFile *f = of(file);
    forgetReadAhead(f); // another program may have written since
    return realMethods(f)->xLock(f->real, level);
}

int xUnlock(sqlite3_file *file, int level)
{
    CopyFile *f = of(file);
    forgetReadAhead(f);
    if (const int flushed = flush(f))
        return flushed;
    return realMethods(f)->xUnlock(f->real, level);
}

int xCheckReservedLock(sqlite3_file *file, int *out)
{
    return realMethods(of(file))->xCheckReservedLock(of(file)->real, out);
}

int xFileControl(sqlite3_file *file, int op, void *arg)
{
    CopyFile *f = of(file);
    if (op == FlushOp)
        return flush(f);
    return realMethods(f)->xFileControl(f->real, op, arg);
}

int xSectorSize(sqlite3_file *file)
{
    return realMethods(of(file))->xSectorSize(of(file)->real);
}

int xDeviceCharacteristics(sqlite3_file *file)
{
    return realMethods(of(file))->xDeviceCharacteristics(of(file)->real);
}

// A database in write-ahead mode shares memory with its other connections.
int xShmMap(sqlite3_file *file, int region, int size, int extend, void volatile **memory)
{
    return realMethods(of(file))->xShmMap(of(file)->real, region, size, extend, memory);
}

int xShmLock(sqlite3_file *file, int offset, int n, int flags)
{
    forgetReadAhead(of(file));
    return realMethods(of(file))->xShmLock(of(file)->real, offset, n, flags);
}

void xShmBarrier(sqlite3_file *file)
{
    realMethods(of(file))->xShmBarrier(of(file)->real);
}

int xShmUnmap(sqlite3_file *file, int deleteFlag)
{
    return realMethods(of(file))->xShmUnmap(of(file)->real, deleteFlag);
}

int xOpen(sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *outFlags)
{
    CopyFile *f = of(file);
    std::memset(f, 0, sizeof(CopyFile));
    f->writebackFd = -1;
    f->real = static_cast<sqlite3_file *>(sqlite3_malloc(below->szOsFile));
    if (!f->real)
        return SQLITE_NOMEM;
    std::memset(f->real, 0, size_t(below->szOsFile));
    const int opened = below->xOpen(below, name, f->real, flags, outFlags);
    if (opened != SQLITE_OK) {
        if (f->real->pMethods)
            f->real->pMethods->xClose(f->real);
        sqlite3_free(f->real);
        file->pMethods = nullptr;
        return opened;
    }
    // Only the database file itself is read and written in pieces.
    if (flags & SQLITE_OPEN_MAIN_DB) {
        f->read = static_cast<char *>(std::malloc(Piece));
        if (flags & SQLITE_OPEN_READWRITE) {
            f->written = static_cast<char *>(std::malloc(Piece));
            if (name)
                f->writebackFd = ::open(name, O_RDONLY | O_CLOEXEC);
        }
    }
    file->pMethods = &methods;
    return SQLITE_OK;
}

const char *layerName()
{
    static std::once_flag once;
    std::call_once(once, [] {
        below = sqlite3_vfs_find(nullptr);
        layer = *below;
        layer.zName = LayerName;
        layer.szOsFile = int(sizeof(CopyFile));
        layer.xOpen = xOpen;
        layer.pNext = nullptr;
        methods.iVersion = 2;
        methods.xClose = xClose;
        methods.xRead = xRead;
        methods.xWrite = xWrite;
        methods.xTruncate = xTruncate;
        methods.xSync = xSync;
        methods.xFileSize = xFileSize;
        methods.xLock = xLock;
        methods.xUnlock = xUnlock;
        methods.xCheckReservedLock = xCheckReservedLock;
        methods.xFileControl = xFileControl;
        methods.xSectorSize = xSectorSize;
        methods.xDeviceCharacteristics = xDeviceCharacteristics;
        methods.xShmMap = xShmMap;
        methods.xShmLock = xShmLock;
        methods.xShmBarrier = xShmBarrier;
        methods.xShmUnmap = xShmUnmap;
        sqlite3_vfs_register(&layer, 0);
    });
    return LayerName;
}

QString errorOf(sqlite3 *db, const char *fallback)
{
    return QString::fromUtf8(db ? sqlite3_errmsg(db) : fallback);
}

} // namespace

bool PageCopy::copyPages(sqlite3 *to, sqlite3 *from, QString *error)
{
    sqlite3_backup *backup = sqlite3_backup_init(to, "main", from, "main");
    if (!backup) {
        *error = QString::fromUtf8(sqlite3_errmsg(to));
        return false;
    }
    const int step = sqlite3_backup_step(backup, -1);
    sqlite3_backup_finish(backup);
    if (step == SQLITE_DONE)
        return true;
    *error = QString::fromUtf8(sqlite3_errstr(step));
    return false;
}

bool PageCopy::copyDatabase(sqlite3 *open, bool openInTransaction, const QString &source, const QString &target,
                            QString *error)
{
    const char *vfs = layerName();
    sqlite3 *from = nullptr;
    if (!openInTransaction) {
        if (sqlite3_open_v2(source.toUtf8().constData(), &from, SQLITE_OPEN_READONLY, vfs) != SQLITE_OK) {
            sqlite3_close(from);
            from = nullptr; // read through the program's own connection then
        }
    }
    sqlite3 *to = nullptr;
    bool done = sqlite3_open_v2(target.toUtf8().constData(), &to, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, vfs)
                == SQLITE_OK;
    if (!done) {
        *error = errorOf(to, "sqlite3_open");
    } else {
        // The copy is a new file of its own, named as finished only once
        // whole: no journal is needed while it is written, and it reaches
        // the disk once, at the end, rather than page by page.
        sqlite3_exec(to, "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF", nullptr, nullptr, nullptr);
        done = copyPages(to, from ? from : open, error);
        if (!done && from && open)
            done = copyPages(to, open, error);
        // The last piece, and whether it could be written.
        const int flushed = sqlite3_file_control(to, "main", FlushOp, nullptr);
        if (done && flushed != SQLITE_OK && flushed != SQLITE_NOTFOUND) {
            *error = QString::fromUtf8(sqlite3_errstr(flushed));
            done = false;
        }
    }
    sqlite3_close(to);
    sqlite3_close(from);
    if (done) {
        QFile written(target);
        done = written.open(QIODevice::ReadOnly) && ::fsync(written.handle()) == 0;
        if (!done)
            *error = written.errorString();
    }
    return done;
}
