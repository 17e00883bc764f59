#include "storage/backupcopies.h"

#include "storage/dbconnection.h"
#include "storage/namingscheme.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>

namespace {

const char *const Stamp = "yyyy-MM-dd-HHmm";

// Copies the files under from into to, folders made as needed; the first
// file that cannot be copied stops it.
bool copyFolder(const QString &from, const QString &to, QString *failed)
{
    if (!QFileInfo(from).isDir())
        return true;
    if (!QDir().mkpath(to)) {
        *failed = to;
        return false;
    }
    QDirIterator files(from, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        const QString target = to + "/" + QDir(from).relativeFilePath(file);
        QFile::remove(target);
        if (!QDir().mkpath(QFileInfo(target).path()) || !QFile::copy(file, target)) {
            *failed = target;
            return false;
        }
    }
    return true;
}

} // namespace

BackupCopies::BackupCopies(DbConnection &db, const QString &dbPath) : db(db), dbPath(dbPath)
{
}

QString BackupCopies::folder() const
{
    return QFileInfo(dbPath).absolutePath() + "/Backup";
}

QList<BackupCopies::Copy> BackupCopies::list() const
{
    QList<Copy> copies;
    const QString base = QFileInfo(dbPath).completeBaseName();
    const QRegularExpression name("^" + QRegularExpression::escape(base)
                                  + "-(\\d{4}-\\d{2}-\\d{2}-\\d{4})-(.+?)(-\\d+)?\\.db$");
    const QDir backups(folder());
    for (const QFileInfo &file : backups.entryInfoList({"*.db"}, QDir::Files)) {
        const QRegularExpressionMatch match = name.match(file.fileName());
        if (!match.hasMatch())
            continue;
        copies << Copy{file.absoluteFilePath(), QDateTime::fromString(match.captured(1), Stamp), match.captured(2)};
    }
    // Newest first: by the moment named, then by when the file was written.
    std::sort(copies.begin(), copies.end(), [](const Copy &a, const Copy &b) {
        if (a.when != b.when)
            return a.when > b.when;
        return QFileInfo(a.path).lastModified() > QFileInfo(b.path).lastModified();
    });
    return copies;
}

QString BackupCopies::make(const QString &action)
{
    problem.clear();
    if (!QDir().mkpath(folder())) {
        problem = QString::fromUtf8("Impossibile creare la cartella %1").arg(folder());
        return QString();
    }
    const QString stem = folder() + "/" + QFileInfo(dbPath).completeBaseName() + "-"
                         + QDateTime::currentDateTime().toString(Stamp) + "-" + action;
    QString path = stem + ".db";
    for (int n = 2; QFileInfo::exists(path); ++n)
        path = stem + QString("-%1.db").arg(n);
    // Written under another name first: a copy cut short is never taken for one.
    const QString part = path + ".part";
    QFile::remove(part);
    QString error;
    if (!db.backupTo(part, &error) || !QFile::rename(part, path)) {
        QFile::remove(part);
        problem = error.isEmpty() ? QString::fromUtf8("Impossibile scrivere %1").arg(path) : error;
        return QString();
    }
    const QList<Copy> copies = list();
    for (int i = Kept; i < copies.size(); ++i)
        QFile::remove(copies.at(i).path);
    return path;
}

bool BackupCopies::restore(const Copy &copy)
{
    if (make("ripristino").isEmpty())
        return false;
    QString error;
    if (!db.restoreFrom(copy.path, &error)) {
        problem = error;
        return false;
    }
    return true;
}

bool BackupCopies::copyWhole(const QString &target)
{
    problem.clear();
    const QString source = QFileInfo(dbPath).absolutePath();
    QString failed;
    const QString copy = target + "/" + QFileInfo(dbPath).fileName();
    if (!QDir().mkpath(target) || QFileInfo(copy).absoluteFilePath() == QFileInfo(dbPath).absoluteFilePath()) {
        problem = QString::fromUtf8("Impossibile usare la cartella %1").arg(target);
        return false;
    }
    QFile::remove(copy);
    QString error;
    if (!db.backupTo(copy, &error)) {
        problem = error;
        return false;
    }
    for (const char *name : {Naming::DocumentsFolder, Naming::DataFolder}) {
        if (!copyFolder(source + "/" + name, target + "/" + name, &failed)) {
            problem = QString::fromUtf8("Impossibile scrivere %1").arg(failed);
            return false;
        }
    }
    return true;
}
