#ifndef RECORDWRITER_H
#define RECORDWRITER_H

#include "records/fieldvaluelist.h"
#include "storage/dbconnection.h"

#include <QByteArray>
#include <QString>
#include <QVector>
#include <memory>

// Writes records, for every caller: the record page, the record-file import,
// saved filters, table icons and the designer's settings row. The rules live
// here and nowhere else:
//  - only tables laid out by the program are written (id column first, as
//    its integer primary key);
//  - the first data column identifies a record: no two may share it, compared
//    ignoring case and runs of blanks;
//  - a new record keeps the id it asks for when that is free, or gets the
//    next one;
//  - a record with a UserPath column gets its folder of attachments, named
//    after the table and its identifier;
//  - values come with every apostrophe of an SQL literal doubled ("l''anno")
//    and are stored as DbConnection::storedForm makes them;
//  - a record is written whole or not at all, in one transaction.
// A refusal is told as its message (refusal()); a failed write is told by
// the connection.
class RecordWriter
{
public:
    explicit RecordWriter(DbConnection &db) : db(db) {}

    // A new record; its id, or -1. With keepGivenId the id the fields give is
    // kept when it is free (imports); otherwise the table's next id is used.
    int insert(const QString &table, FieldValueList fields, bool keepGivenId = false);
    // Writes the fields after the first into record id; with changeId, a
    // first field (the id) that differs is applied last.
    bool update(const QString &table, int id, const FieldValueList &fields, bool changeId = false);
    // Deletes record id; lookups of other tables that hold it are emptied in
    // the same transaction, so that a record added later under the same id is
    // never taken for it.
    bool remove(const QString &table, int id);

    // Why the last insert, update or remove did not happen, as the user is
    // told it; empty when it did, or when the connection told why.
    QString refusal() const { return refusalText; }
    // Whether the last insert was refused because its identifier is taken.
    bool refusedAsDuplicate() const { return duplicate; }

    // The refusal for a table the program does not write to; empty when it does.
    static QString foreignTableRefusal(DbConnection &db, const QString &table);

    // The identifier of a record as records are compared: the stored text in
    // lower case, runs of blanks made one, none at the ends.
    static QString identifierKey(const QString &stored);
    // The folder of a record's attachments, relative to the database's folder:
    // "TABLES_DOC/" + table + "_" + identifier, cleaned for a folder name. A
    // plain identifier has its blanks made "_"; a lookup's referenced text
    // keeps them.
    static QString userPathFor(const QString &table, const QString &identifier, bool lookupIdentifier);

    // Many new records into one table at once (imports): the same rules, read
    // once and kept in memory, each record one prepared INSERT with bound
    // values, all of them in one transaction, committed by commit().
    class Bulk
    {
    public:
        Bulk(RecordWriter &writer, const QString &table);
        ~Bulk(); // what was not committed is taken back
        Bulk(const Bulk &) = delete;
        Bulk &operator=(const Bulk &) = delete;

        // False when the table cannot take records (refusal() says why).
        bool isReady() const { return ready; }
        const QStringList &columns() const { return names; }
        // Room for about this many records more.
        void reserve(int records);
        // One record: the id it asks for and the values of every column in
        // the table's order, as the file gives them (bytes in UTF-8, quotes
        // single). Added, skipped as a duplicate identifier, or failed
        // (false, with refusal() or the connection telling why).
        enum Result { Added, Duplicate, Failed };
        Result add(const QByteArray &requestedId, const QVector<QByteArray> &values);
        bool commit();
        QString refusal() const { return refusalText; }

    private:
        struct State;
        std::unique_ptr<State> state;
        RecordWriter &writer;
        QString table;
        QStringList names;
        QString refusalText;
        bool ready = false;
        bool transaction = false;
    };

private:
    DbConnection &db;
    QString refusalText;
    bool duplicate = false;
};

#endif // RECORDWRITER_H
