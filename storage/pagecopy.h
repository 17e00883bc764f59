#ifndef PAGECOPY_H
#define PAGECOPY_H

#include <QString>

struct sqlite3;

// Whole copies of a database through SQLite's online backup. The pages are
// read and written in large pieces rather than one by one, through a file
// layer of our own beneath SQLite: a copy costs about what copying the file
// costs, and it is on the disk when the copy returns.
namespace PageCopy {

// Copies the database file source into a new file target. While open (the
// program's connection to source) is inside a transaction, the copy is read
// through it; otherwise through a read-only connection of its own.
bool copyDatabase(sqlite3 *open, bool openInTransaction, const QString &source, const QString &target,
                  QString *error);

// Replaces every page of to by those of from, in one step.
bool copyPages(sqlite3 *to, sqlite3 *from, QString *error);

} // namespace PageCopy

#endif // PAGECOPY_H
