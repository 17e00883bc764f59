#ifndef BACKUPCOPIES_H
#define BACKUPCOPIES_H

#include <QDateTime>
#include <QList>
#include <QString>

class DbConnection;

// Copies of the open database in the folder "Backup/" beside it, one per
// action that changes many records or the structure, named after the
// database, the moment and the action: "clienti-2026-11-24-1530-importa.db".
// The last ten are kept; older ones go, never the newest.
class BackupCopies
{
public:
    // dbPath: the open database's file.
    BackupCopies(DbConnection &db, const QString &dbPath);

    static constexpr int Kept = 10;

    struct Copy {
        QString path;
        QDateTime when;
        QString action;
    };
    // The copies of this database, newest first.
    QList<Copy> list() const;
    // Copies the database as it is now, before action. The copy's path, or
    // empty with failure() saying why.
    QString make(const QString &action);
    // Puts a copy back: the database as it is now is copied first (action
    // "ripristino", so that the restore can itself be undone), then replaced
    // whole by the copy.
    bool restore(const Copy &copy);
    QString failure() const { return problem; }

    // The database and its folders of attachments and icons ("TABLES_DOC/",
    // "DB_DATA/") copied into folder, to open elsewhere with every picture.
    bool copyWhole(const QString &folder);

    QString folder() const;

private:
    DbConnection &db;
    QString dbPath;
    QString problem;
};

#endif // BACKUPCOPIES_H
