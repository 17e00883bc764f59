#ifndef PENDINGATTACHMENTS_H
#define PENDINGATTACHMENTS_H

#include <QList>
#include <QPair>
#include <QString>

class DbConnection;

// Files attached on a record page wait beside their place, under a name of
// their own (".tessaro-nuovo-" + the file's name), until the record is saved:
// only once the record is in the database do they take their name. A save
// that fails, a page left without saving, and a program stopped half-way
// leave no new file behind (the next start finishes or removes what waits).
class PendingAttachments
{
public:
    ~PendingAttachments() { discard(); }

    // Copies file to wait in documentsBase + recordFolder; answers the stored
    // path it will have, "record folder/file name".
    QString stage(const QString &file, const QString &documentsBase, const QString &recordFolder);
    bool isEmpty() const { return waiting.isEmpty(); }
    // The record was saved: each file takes its name. An existing file of
    // that name is never replaced: it stays, and the new one goes.
    void commit();
    // The record was not saved: the waiting files go.
    void discard();

    static QString waitingName(const QString &fileName);
    // Files left waiting under documentsFolder by a program that stopped:
    // those a record points to take their name, the others go. Answers how
    // many it found.
    static int recover(DbConnection &db, const QString &dbFolder);

private:
    QList<QPair<QString, QString>> waiting; // (waiting file, final file)
};

#endif // PENDINGATTACHMENTS_H
