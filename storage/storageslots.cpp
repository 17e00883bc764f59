// Copies of the database: automatic ones before bulk and structural changes
// and at closing, putting one back, a whole copy to take away, and the check
// of the database and its attachments.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "dialogs/messagehandler.h"
#include "storage/backupcopies.h"
#include "storage/databasecheck.h"

#include <QDir>

bool Tessaro::copyBefore(const QString &action)
{
    // A read-only session changes nothing, and the private database of a
    // first start has no file to copy.
    if (readOnly || db->isReadOnly() || db->filePath().isEmpty())
        return true;
    BackupCopies copies(*db, db->filePath());
    if (!copies.make(action).isEmpty())
        return true;
    return MessageHandler::current()->question(
        QString::fromUtf8("ERRORE: Impossibile fare la copia di sicurezza del Db!\n%1\nContinuare senza copia?")
            .arg(copies.failure()));
}

void Tessaro::restoreCopy()
{
    if (readOnly || db->filePath().isEmpty())
        return;
    MessageHandler *messages = MessageHandler::current();
    BackupCopies copies(*db, db->filePath());
    const QList<BackupCopies::Copy> list = copies.list();
    if (list.isEmpty()) {
        messages->information(QString::fromUtf8("Nessuna copia di questo Db in %1.").arg(copies.folder()));
        return;
    }
    QStringList items;
    for (const BackupCopies::Copy &copy : list)
        items << copy.when.toString("dd/MM/yyyy HH:mm") + "  " + copy.action;
    const int chosen = messages->choice(this, QString::fromUtf8("Ripristina Copia"),
                                        QString::fromUtf8("Copia da ripristinare (la più recente in cima):"), items);
    if (chosen < 0)
        return;
    if (!copies.restore(list.at(chosen))) {
        messages->warning(QString::fromUtf8("ERRORE: Impossibile ripristinare la copia!\n%1").arg(copies.failure()));
        return;
    }
    // The database is another one now: shown from the start.
    const QString path = db->filePath();
    loadDb(path);
    refreshTableList(true);
    messages->information(QString::fromUtf8("Copia del %1 ripristinata.").arg(items.at(chosen)));
}

void Tessaro::saveFullCopy()
{
    if (db->filePath().isEmpty())
        return;
    MessageHandler *messages = MessageHandler::current();
    const QString folder = messages->folderName(this, QString::fromUtf8("Salva Copia Completa"), QDir::homePath());
    if (folder.isEmpty())
        return;
    BackupCopies copies(*db, db->filePath());
    if (!copies.copyWhole(folder)) {
        messages->warning(
            QString::fromUtf8("ERRORE: Impossibile salvare la copia completa del Db!\n%1").arg(copies.failure()));
        return;
    }
    messages->information(QString::fromUtf8("Copia completa salvata in %1").arg(folder));
}

void Tessaro::checkDb()
{
    MessageHandler *messages = MessageHandler::current();
    const DatabaseCheck found = checkDatabase(*db, dbFolder);
    messages->information(QString::fromUtf8("Verifica del Db %1\n\n").arg(dbFileName) + found.report());
    const int orphans = found.orphanFiles.size() + found.orphanFolders.size();
    if (orphans == 0 || readOnly)
        return;
    // Orphaned files are put aside, never deleted.
    if (messages->question(QString::fromUtf8("Spostare %1 file e cartelle orfani in TABLES_DOC/_orfani/?").arg(orphans)))
        moveOrphans(found, dbFolder);
}
