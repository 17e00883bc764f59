#ifndef DATABASECHECK_H
#define DATABASECHECK_H

#include <QList>
#include <QString>
#include <QStringList>

class DbConnection;

// A check of a database and of the files beside it: SQLite's own check of
// the file; records whose image or PDF file is missing; files and record
// folders under "TABLES_DOC/" that no record points to; subtable rows whose
// owning record is gone.
struct DatabaseCheck {
    struct MissingFile {
        QString table; // as shown
        int id = 0;
        QString field;
        QString path;
    };
    struct OwnerlessRows {
        QString table; // as shown
        int rows = 0;
    };
    QStringList integrity;     // SQLite's findings; empty when the file is sound
    QList<MissingFile> missing;
    QStringList orphanFiles;   // paths relative to the database's folder
    QStringList orphanFolders; // record folders no record points to
    QList<OwnerlessRows> ownerless;

    bool isClean() const
    {
        return integrity.isEmpty() && missing.isEmpty() && orphanFiles.isEmpty() && orphanFolders.isEmpty()
               && ownerless.isEmpty();
    }
    // The findings in Italian, grouped and counted.
    QString report() const;
};

DatabaseCheck checkDatabase(DbConnection &db, const QString &dbFolder);

// Moves the orphaned files and folders into "TABLES_DOC/_orfani/", keeping
// their place below "TABLES_DOC/"; nothing is deleted. Answers how many went.
int moveOrphans(const DatabaseCheck &check, const QString &dbFolder);

#endif // DATABASECHECK_H
