#ifndef SESSION_H
#define SESSION_H

#include <QString>

// The files of a session, in the folder the program is started from:
// "lastDb.dat" names the last database opened (one line, no line end), and
// "lockDb.dat" holds "Locked" while an instance that may write runs there;
// any instance started while it does is read-only. And the folders derived
// from a database's path.
class Session
{
public:
    ~Session();

    // The remembered database: the first line of lastDb.dat, which is made
    // (empty) when it is missing. Empty when there is none.
    static QString rememberedDb();
    static bool rememberDb(const QString &path);

    // Takes the lock when nobody holds it. Taken and checked in one step:
    // of two programs started at the same moment, only one takes it.
    enum Lock { Taken, HeldByOther, Unavailable };
    Lock takeLock();
    bool ownsLock() const { return owned; }
    // Removes the lock, if this session took it.
    void releaseLock();

    // Why a session is read-only, in the words of the status bar.
    enum ReadOnlyReason { Writable, LockedByOther, FileNotWritable };
    static QString readOnlyNotice(ReadOnlyReason reason);

    // dbPath's folder with a trailing "/" (empty when the path has no "/" at
    // a position of 1 or more), its file name, and the documents and data
    // folders beside it.
    struct Paths {
        QString folder, fileName, documents, data;
    };
    static Paths pathsOf(const QString &dbPath);

private:
    bool owned = false;
};

#endif // SESSION_H
