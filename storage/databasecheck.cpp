#include "storage/databasecheck.h"

#include "storage/columnname.h"
#include "storage/dbconnection.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QSet>

namespace {
const char *const OrphanFolder = "_orfani";

QString counted(int count, const char *one, const char *many)
{
    return QString::fromUtf8(count == 1 ? one : many).arg(count);
}
} // namespace

DatabaseCheck checkDatabase(DbConnection &db, const QString &dbFolder)
{
    DatabaseCheck check;
    check.integrity = db.integrityProblems();

    const QDir base(dbFolder.isEmpty() ? QString(".") : dbFolder);
    QSet<QString> files, folders; // pointed to, relative to the database's folder
    for (const QString &table : db.getTables()) {
        const TableName name(table);
        if (name.isSystem())
            continue;
        const QStringList columns = db.getFieldNames(table);
        QStringList read = {columns.value(0)};
        for (const QString &column : columns) {
            const ColumnName c(column);
            if (c.isAttachment() || c.isUserPath())
                read << column;
        }
        if (read.size() > 1) {
            db.readColumns(table, read, [&](const QVector<QVariant> &values) {
                for (int i = 1; i < values.size(); ++i) {
                    const QString path = values.at(i).toString();
                    const ColumnName column(read.at(i));
                    if (column.isUserPath()) {
                        folders.insert(path);
                        continue;
                    }
                    // "folder/" with no file name is an attachment never chosen.
                    if (path.isEmpty() || path.endsWith('/'))
                        continue;
                    files.insert(path);
                    if (!QFileInfo(base.filePath(path)).isFile())
                        check.missing << DatabaseCheck::MissingFile{name.display(), values.at(0).toInt(),
                                                                    column.bareField().replace('_', ' '), path};
                }
            });
        }
        // A subtable's rows belong to records of its owning table.
        if (name.isSubtable() && columns.contains(Naming::OwnerColumn)) {
            QString owner = name.owner();
            if (!db.tableExists(owner))
                owner = Naming::HiddenMarker + owner;
            const int rows = db.tableExists(owner) ? db.countUnmatched(table, Naming::OwnerColumn, owner)
                                                   : db.countRecords(table);
            if (rows > 0)
                check.ownerless << DatabaseCheck::OwnerlessRows{name.display(), rows};
        }
    }

    const QString documents = base.filePath(Naming::DocumentsFolder);
    QDirIterator walk(documents, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    QSet<QString> foldersWithFiles;
    while (walk.hasNext()) {
        const QString relative = base.relativeFilePath(walk.next());
        if (relative.startsWith(QString(Naming::DocumentsFolder) + "/" + OrphanFolder + "/"))
            continue;
        if (files.contains(relative))
            foldersWithFiles.insert(relative.section('/', 0, 1));
        else
            check.orphanFiles << relative;
    }
    for (const QString &folder : QDir(documents).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden)) {
        const QString relative = QString(Naming::DocumentsFolder) + "/" + folder;
        if (folder != OrphanFolder && !folders.contains(relative) && !foldersWithFiles.contains(relative))
            check.orphanFolders << relative;
    }
    check.orphanFiles.sort();
    check.orphanFolders.sort();
    return check;
}

QString DatabaseCheck::report() const
{
    QStringList lines;
    if (integrity.isEmpty()) {
        lines << QString::fromUtf8("Integrità del file: nessun problema.");
    } else {
        lines << counted(integrity.size(), "Integrità del file: %1 problema trovato.",
                         "Integrità del file: %1 problemi trovati.");
        for (const QString &line : integrity)
            lines << "  - " + line;
    }
    lines << counted(missing.size(), "File mancanti: %1", "File mancanti: %1");
    for (const MissingFile &file : missing)
        lines << QString::fromUtf8("  - %1, Record %2, campo %3: %4").arg(file.table).arg(file.id).arg(file.field, file.path);
    lines << counted(orphanFiles.size(), "File orfani (nessun Record li usa): %1",
                     "File orfani (nessun Record li usa): %1");
    for (const QString &file : orphanFiles)
        lines << "  - " + file;
    lines << counted(orphanFolders.size(), "Cartelle orfane (di nessun Record): %1",
                     "Cartelle orfane (di nessun Record): %1");
    for (const QString &folder : orphanFolders)
        lines << "  - " + folder;
    int rows = 0;
    for (const OwnerlessRows &table : ownerless)
        rows += table.rows;
    lines << counted(rows, "Righe di sottotabelle senza Record proprietario: %1",
                     "Righe di sottotabelle senza Record proprietario: %1");
    for (const OwnerlessRows &table : ownerless)
        lines << QString::fromUtf8("  - %1: %2").arg(table.table).arg(table.rows);
    return lines.join('\n');
}

int moveOrphans(const DatabaseCheck &check, const QString &dbFolder)
{
    const QDir base(dbFolder.isEmpty() ? QString(".") : dbFolder);
    const QString documents = QString(Naming::DocumentsFolder) + "/";
    int moved = 0;
    auto move = [&](const QString &relative) {
        if (!QFileInfo::exists(base.filePath(relative)))
            return; // went with its folder
        QString target = documents + OrphanFolder + "/" + relative.mid(documents.size());
        for (int n = 2; QFileInfo::exists(base.filePath(target)); ++n)
            target = documents + OrphanFolder + "/" + relative.mid(documents.size()) + QString("-%1").arg(n);
        QDir().mkpath(QFileInfo(base.filePath(target)).path());
        if (QDir().rename(base.filePath(relative), base.filePath(target)))
            ++moved;
    };
    // Whole folders first, then the files left elsewhere.
    for (const QString &folder : check.orphanFolders)
        move(folder);
    for (const QString &file : check.orphanFiles)
        move(file);
    return moved;
}
