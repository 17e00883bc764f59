#include "records/pendingattachments.h"

#include "storage/columnname.h"
#include "storage/dbconnection.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>

namespace {
const char *const WaitingPrefix = ".tessaro-nuovo-";
}

QString PendingAttachments::waitingName(const QString &fileName)
{
    return WaitingPrefix + fileName;
}

QString PendingAttachments::stage(const QString &file, const QString &documentsBase, const QString &recordFolder)
{
    const QString name = file.section('/', -1);
    const QString stored = recordFolder + "/" + name;
    if (file.isEmpty())
        return stored;
    const QString folder = documentsBase + recordFolder;
    QDir().mkpath(folder);
    const QString waitingFile = folder + "/" + waitingName(name);
    QFile::remove(waitingFile);
    if (QFile::copy(file, waitingFile))
        waiting << qMakePair(waitingFile, folder + "/" + name);
    return stored;
}

void PendingAttachments::commit()
{
    for (const auto &file : qAsConst(waiting)) {
        if (QFileInfo::exists(file.second) || !QFile::rename(file.first, file.second))
            QFile::remove(file.first);
    }
    waiting.clear();
}

void PendingAttachments::discard()
{
    for (const auto &file : qAsConst(waiting))
        QFile::remove(file.first);
    waiting.clear();
}

int PendingAttachments::recover(DbConnection &db, const QString &dbFolder)
{
    QStringList left;
    QDirIterator files(dbFolder + Naming::DocumentsFolder, {QString(WaitingPrefix) + "*"},
                       QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext())
        left << files.next();
    if (left.isEmpty())
        return 0;

    // The stored paths the records point to, read once.
    QSet<QString> pointedTo;
    for (const QString &table : db.getTables()) {
        if (TableName(table).isSystem())
            continue;
        QStringList columns;
        for (const QString &column : db.getFieldNames(table)) {
            if (ColumnName(column).isAttachment())
                columns << column;
        }
        if (!columns.isEmpty())
            db.readColumns(table, columns, [&pointedTo](const QVector<QVariant> &values) {
                for (const QVariant &value : values)
                    pointedTo.insert(value.toString());
            });
    }
    const QDir base(dbFolder.isEmpty() ? QString(".") : dbFolder);
    for (const QString &file : qAsConst(left)) {
        const QFileInfo info(file);
        const QString final = info.path() + "/" + info.fileName().mid(int(strlen(WaitingPrefix)));
        if (pointedTo.contains(base.relativeFilePath(final)) && !QFileInfo::exists(final) && QFile::rename(file, final))
            continue;
        QFile::remove(file);
    }
    return left.size();
}
