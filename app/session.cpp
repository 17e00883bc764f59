#include "app/session.h"

#include "storage/namingscheme.h"

#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {
const char *const LastDbFile = "lastDb.dat";
const char *const LockFile = "lockDb.dat";
} // namespace

Session::~Session()
{
    releaseLock();
}

QString Session::rememberedDb()
{
    QFile last(LastDbFile);
    if (!last.open(QIODevice::ReadWrite | QIODevice::Text))
        return QString();
    return QString::fromUtf8(last.readLine()).remove('\n');
}

bool Session::rememberDb(const QString &path)
{
    QFile last(LastDbFile);
    if (!last.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    const QByteArray bytes = path.toUtf8();
    return last.write(bytes) == bytes.size();
}

Session::Lock Session::takeLock()
{
    const int fd = ::open(LockFile, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return Unavailable;
    // Whoever holds the file's own lock reads and writes it alone: the
    // marker is tested and set in one step.
    Lock result = Unavailable;
    if (::flock(fd, LOCK_EX) == 0) {
        char first[256];
        const ssize_t read = ::pread(fd, first, sizeof first, 0);
        const QByteArray line = QByteArray(first, read > 0 ? int(read) : 0).split('\n').value(0);
        if (line.contains("Locked")) {
            result = HeldByOther;
        } else if (::ftruncate(fd, 0) == 0 && ::pwrite(fd, "Locked", 6, 0) == 6 && ::fsync(fd) == 0) {
            result = Taken;
            owned = true;
        }
        ::flock(fd, LOCK_UN);
    }
    ::close(fd);
    return result;
}

void Session::releaseLock()
{
    if (!owned)
        return;
    owned = false;
    QFile::remove(LockFile);
}

QString Session::readOnlyNotice(ReadOnlyReason reason)
{
    switch (reason) {
    case LockedByOther:
        return QString::fromUtf8("<b>Sola lettura:</b> un'altra copia del programma sta usando questa cartella (%1). "
                                 "Se nessun'altra copia è aperta, chiudere il programma, eliminare il file "
                                 "\"lockDb.dat\" da quella cartella e riaprirlo.")
            .arg(QDir::toNativeSeparators(QDir::currentPath()).toHtmlEscaped());
    case FileNotWritable:
        return QString::fromUtf8("<b>Sola lettura:</b> il file del Db non si può modificare (permessi del file o "
                                 "della sua cartella, o supporto di sola lettura). Per modificarlo, aprirne una "
                                 "copia che si possa scrivere.");
    case Writable:
        break;
    }
    return QString();
}

Session::Paths Session::pathsOf(const QString &dbPath)
{
    const int slash = dbPath.lastIndexOf('/');
    Paths paths;
    paths.folder = slash >= 1 ? dbPath.left(slash) + "/" : QString();
    paths.fileName = dbPath.mid(slash + 1);
    paths.documents = paths.folder + Naming::DocumentsFolder;
    paths.data = paths.folder + Naming::DataFolder;
    return paths;
}
