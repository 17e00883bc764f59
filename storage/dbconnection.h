#ifndef DBCONNECTION_H
#define DBCONNECTION_H

#include <QHash>
#include <QList>
#include <QPair>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlRecord>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>
#include <functional>

struct sqlite3;
struct sqlite3_stmt;

// (column name, SQL type), as given to createTable.
using ColumnDefinition = QPair<QString, QString>;

// The one place where SQL is written and run, on a connection of its own
// name. Callers get records, values, counts, ids or booleans. Failures are
// values: each carries the message the user is to be told (a failed write,
// a read cut short by damage in the file, once per table); failed reads give
// empty results. Values always travel as bound parameters, never inside the
// statement text (see storedText for how a value text becomes the stored
// text), and every table and column name is quoted.
class DbConnection
{
public:
    // Settles how SQLite works for the whole program; called first thing,
    // before any database is opened.
    static void configureSqlite();
    DbConnection();
    ~DbConnection();
    DbConnection(const DbConnection &) = delete;
    DbConnection &operator=(const DbConnection &) = delete;

    // How failures are told: the window shows each one through its message
    // handler as it happens, the command line prints them. Without a
    // listener they are only kept.
    using FailureListener = std::function<void(const QString &message)>;
    void setFailureListener(FailureListener listener) { failureListener = std::move(listener); }
    QString lastFailure() const { return lastFailureText; }
    // Whether the last write failed because another program held the
    // database's write lock (longer than the busy timeout).
    bool lastWriteWasBusy() const { return busy; }
    // The failures since they were last taken, oldest first.
    QStringList takeFailures();
    // Who answers the questions an operation asks before it goes on (the id
    // change of updateField); without an answerer the answer is No.
    using Answerer = std::function<bool(const QString &question)>;
    void setAnswerer(Answerer answer) { answerer = std::move(answer); }

    // Connection. A file that cannot be written (its permissions, its
    // folder's, or read-only media) is opened read-only.
    struct OpenOptions {
        bool mustExist = false; // a missing file is a failure, not a new database
        bool readOnly = false;  // nothing is written, not even by SQLite
        int busyTimeout = 0;    // milliseconds a write waits for another program's lock
    };
    bool openDb(const QString &path, const OpenOptions &options);
    bool openDb(const QString &path) { return openDb(path, OpenOptions()); }
    void close();
    QString filePath() const;
    // The toolkit's name of this connection, for tools that build databases
    // the program would not make (tests, the benchmark's bare baselines).
    QString connectionName() const { return db.connectionName(); }
    bool isOpen() const { return db.isOpen(); }
    bool isFileReadOnly() const { return fileReadOnly; }
    // A read-only session: the connection itself refuses every write, for
    // this database and every one opened later.
    void setReadOnly(bool on);
    bool isReadOnly() const { return fileReadOnly || sessionReadOnly; }
    QStringList getTables();
    bool tableExists(const QString &table);
    // Whether records of the table can be added, edited and deleted: its first
    // column is RINTEGERFORMAT_Id as its integer primary key. Tables made by
    // other tools, and the inner tables of a full-text index, are only browsed.
    bool isEditableTable(const QString &table);
    // Tables of other tools have no id of ours: their records are known by
    // SQLite's own row id (when they have one), which readColumns gives
    // under the name RowIdColumn. idColumnOf names the column that holds a
    // table's record ids.
    static constexpr const char *RowIdColumn = "rowid";
    bool isBrowsedByRowId(const QString &table);
    QString idColumnOf(const QString &table);
    // Reads of one table that show only the rows whose column holds value
    // (a subtable opened from its owning record): counts, positions, whole
    // table reads, the identifier check and emptying the table. One table
    // at a time; clearRowScope shows every row again.
    void setRowScope(const QString &table, const QString &column, int value);
    void clearRowScope();
    QString rowScopeTable() const { return scopeTable; }
    int rowScopeValue() const { return scopeValue; }
    // The column that identifies a table's records: the second, or in a
    // subtable the one after its owner column.
    int firstDataColumn(const QString &table);
    bool createIndex(const QString &table, const QString &column);
    // Why the table cannot be removed on its own: it is an inner table of a
    // full-text index, or a view or another table's trigger uses it. Empty
    // when it can.
    QString dropRefusal(const QString &table);

    // Transactions: what runs between begin and commit is written whole, or,
    // after rollback, not at all. They nest; only the outermost commit writes.
    bool beginTransaction();
    bool commitTransaction();
    bool rollbackTransaction();
    bool inTransaction() const { return transactionDepth > 0; }
    // How many times something was written and committed since the file was opened.
    int changeCount() const { return changes; }

    // The whole database copied into the file at path (made or replaced), as
    // SQLite's online backup copies it; and the open database replaced whole
    // by the database at path, in one transaction. *error gets the reason of
    // a failure.
    bool backupTo(const QString &path, QString *error);
    bool restoreFrom(const QString &path, QString *error);
    // SQLite's own check of the file: empty when it found nothing wrong.
    QStringList integrityProblems();

    // The text a value is stored as: a value whose apostrophes all come in
    // pairs is the text of an SQL literal, stored with each "''" made "'";
    // any other value is stored exactly as given.
    static QString storedText(const QString &value);
    // The text a value is written as into column: a column whose name
    // contains "INTEGER" takes the value as a whole number ("%d"), one whose
    // name contains "REAL" as a decimal with six places ("%f"), any other the
    // stored text. The whole name is tested, the field part included
    // (deliberate: a text field named REALTY is written as a number).
    static QString storedForm(const QString &column, const QString &value);

    // Reading
    int countRecords(const QString &table);
    // The records counted no further than limit: a long table is not read
    // whole to learn that it is long. The highest row id is what a long
    // table's reading is measured against.
    int countRecordsUpTo(const QString &table, int limit);
    int highestRowId(const QString &table);
    QStringList getFieldNames(const QString &table);
    QSqlRecord getRecordAt(const QString &table, int position);
    QSqlRecord getRecordById(const QString &table, int id);
    bool idExists(const QString &table, int id);
    QSqlRecord findRecord(const QString &table, const QString &column, const QVariant &value);
    QVariant getFieldValue(const QString &table, const QSqlRecord &record, const QString &column);
    int getMaxId(const QString &table);
    int countColumnsNamed(const QString &table, const QString &column, bool ignoreRepeatSuffix);
    bool hasColumnContaining(const QString &text, const QString &table);
    bool nameInFirstColumn(const QString &table, const QString &text);
    // Every row of the table in natural (insertion) order, read in one pass.
    QList<QSqlRecord> getAllRecords(const QString &table);

    // Whole-table reads in one pass, in the order "SELECT *" gives the rows
    // (the order positional reads see), each row handed on as it is read.
    // For the record list: row(id, value) with the id (first column, as an
    // integer) and the list column (second column; invalid when there is
    // none) of every row. Returns false when the table cannot be read.
    bool readListColumn(const QString &table, const std::function<void(int, const QVariant &)> &row);
    // The same rows gathered: the second column's name, then the ids and values.
    struct ListColumn {
        QString name;             // the second column's name; empty when there is none
        QVector<int> ids;         // first column of each row
        QVector<QVariant> values; // second column of each row (invalid when there is none)
    };
    ListColumn readListColumn(const QString &table);
    // For each row of table whose RINTEGERFORMAT_Id is not 0 and agrees with
    // its first column: value(id, value of column). The first row given for an
    // id holds what getRecordById(table, id) gives for that column.
    void readValuesById(const QString &table, const QString &column,
                        const std::function<void(int, const QVariant &)> &value);
    // The record list's read, in the table's row order: for each row its id
    // (SQLite's row id for a table of another tool), the part of its list
    // column a list can show (ShownCharacters at most), and the values of
    // the tested columns; rows from offset on, at most limit of them (-1:
    // all). Stops when row answers false; false then, or when the table
    // cannot be read (damage is told).
    static constexpr int ShownCharacters = 1200;
    bool readList(const QString &table, const QStringList &tested, int offset, int limit,
                  const std::function<bool(int, const QVariant &, const QVector<QVariant> &)> &row);
    // A value as SQLite's own interface reads it: a text as its UTF-8 bytes
    // (valid until the next row), any other value as the variant the
    // program's reads give.
    struct RawValue {
        const char *utf8 = nullptr; // null when the value is no text
        int bytes = 0;
        QVariant other;
        QVariant toVariant() const { return utf8 ? QVariant(QString::fromUtf8(utf8, bytes)) : other; }
    };
    // readList with no tested columns, and readValuesById of the parts a list shows,
    // their values as read: a long list is read without making a variant
    // and a string for every row on the way.
    bool scanList(const QString &table, int offset, int limit, const std::function<bool(int, const RawValue &)> &row);
    void scanValuesById(const QString &table, const QString &column,
                        const std::function<void(int, const RawValue &)> &value);
    // The rows of the given ids, each found by its key: visit(id, values of
    // columns), once per id found (the first row of an id); a text value is
    // read only as far as a list shows it. For the grid, a screenful at a time,
    // while it paints: what cannot be read is left out without a word (the
    // list's own reading tells of damage).
    bool readRowsById(const QString &table, const QStringList &columns, const QVector<int> &ids,
                      const std::function<void(int, const QVector<QVariant> &)> &visit);
    // The ids of table's rows ordered by column, read in one statement: texts
    // ignoring case, dates by day, numbers by value, a lookup by the text it
    // shows (lookupTable's lookupColumn). False when it cannot be read.
    bool idsOrderedBy(const QString &table, const QString &column, bool descending, QVector<int> *ids);
    // Steps once through every row of table, in the order "SELECT *" gives
    // them, calling visit with the values of the named columns (in the order
    // named; invalid for a name the table lacks). False when it cannot be read.
    bool readColumns(const QString &table, const QStringList &columns,
                     const std::function<void(const QVector<QVariant> &)> &visit);

    // The lookup columns of every table that point into table, with the
    // number of records whose lookup holds id.
    struct Reference {
        QString table;
        QString column;
        int records = 0;
    };
    QList<Reference> referencesTo(const QString &table, int id);
    // Rows of table whose column names no record of other by its id.
    int countUnmatched(const QString &table, const QString &column, const QString &other);
    // Empties the lookups of column in table that hold id: they show as
    // missing from then on.
    bool clearReferences(const QString &table, const QString &column, int id);

    // Writing
    bool createTable(const QString &table, const QList<ColumnDefinition> &columns);
    bool addColumn(const QString &table, const QString &column, const QString &sqlType);
    bool dropTable(const QString &table);
    bool clearTable(const QString &table);
    bool deleteRecord(const QString &table, int id);
    bool updateField(const QString &table, int id, const QString &column, const QString &value);
    int insertEmptyRecord(const QString &table, bool useGivenId, int givenId);

    // The name as it goes into a statement: always between double quotes.
    static QString sqlName(const QString &name);
    // True for the words SQLite will not take as a bare name (any case).
    static bool isSqlKeyword(const QString &word);

private:
    // What is known of a table's columns until the schema changes.
    struct TableShape {
        QStringList names;                 // as "SELECT *" gives them
        QHash<QString, int> named;         // lower-cased, simplified name -> count
        QHash<QString, int> namedUnsuffixed; // the same, each cut before "_XMLTYX_"
        bool editable = false;
        bool rowIds = false;
    };
    const TableShape &shape(const QString &table);
    void fail(const QString &message);
    void noteChange();
    sqlite3 *handle() const;
    bool ask(const QString &question) const;
    void checkSchema();
    QString wholeTableSelect(const QString &table, const QStringList &columns);
    QString scopeClause(const QString &table) const;
    QString scanSelect(const QString &table, const QStringList &expressions);
    static QString shownPart(const QString &column);
    QVariantList scopeValues(const QString &table) const;
    // Runs a reading statement through SQLite's own interface, each row
    // handed to row until it answers false; false when it cannot be read
    // whole (damage is told as for any read).
    bool scanRows(const QString &statement, const QVariantList &values, const QString &table,
                  const std::function<bool(sqlite3_stmt *)> &row);
    // Prepares the statement, binds the values in order and runs it.
    static bool run(QSqlQuery &q, const QString &statement, const QVariantList &values = QVariantList());
    bool execWrite(const QString &statement, const QVariantList &values, QString *error);
    // Tells the user, once per table, that a read ended on damage in the file.
    void noteDamage(const QSqlQuery &q, const QString &table);

    QSqlDatabase db;
    FailureListener failureListener;
    Answerer answerer;
    QString lastFailureText;
    QStringList failureList;
    bool fileReadOnly = false;
    bool busy = false;
    int changes = 0;
    QString scopeTable, scopeColumn;
    int scopeValue = 0;
    bool uncommittedChange = false;
    bool sessionReadOnly = false;
    int transactionDepth = 0;
    qint64 schemaVersion = -1;
    // Within a schema hold the schema is asked for once, and again after a write.
    int schemaHolds = 0;
    bool schemaCheckedInHold = false;
    friend class DbSchemaHold;
    QStringList tableList;
    bool tableListKnown = false;
    QHash<QString, TableShape> shapes;
    QSet<QString> damagedTables; // already reported since the file was opened

public:
    // Whole tables for imports and exports: each table read in one pass, rows
    // written through one prepared statement with bound values (inside a
    // transaction of the caller's).
    //
    // Calls row(values) for every row of table, in natural order, until it
    // answers false; columns gets the column names first. False when the
    // table cannot be read.
    bool readRows(const QString &table, QStringList *columns,
                  const std::function<bool(const QVector<QVariant> &values)> &row);
    // The value of column in the row whose RINTEGERFORMAT_Id is id, as stored.
    QVariant storedValue(const QString &table, const QString &column, int id);
    // Prepares "INSERT INTO table (columns) VALUES (?, ...)"; insertRow then
    // binds one value per column (an integer, UTF-8 bytes, a text or null) and
    // runs it. On failure *error gets the driver's text. finishRowInsert drops
    // the statement. The statement runs on the connection's own SQLite handle.
    bool prepareRowInsert(const QString &table, const QStringList &columns, QString *error);
    bool insertRow(const QVector<QVariant> &values, QString *error);
    void finishRowInsert();

private:
    sqlite3_stmt *rowInsert = nullptr;
};


// A transaction taken back unless it was committed: what a scope writes is
// written whole or not at all.
// One step of the window (a table opened, a record shown) reads the
// table's shape from the database many times: within a hold, whether
// another program changed the schema is asked once, and again after any
// write of ours. A change made meanwhile is seen at the next step.
class DbSchemaHold
{
public:
    explicit DbSchemaHold(DbConnection &db) : db(db)
    {
        if (db.schemaHolds++ == 0)
            db.schemaCheckedInHold = false;
    }
    ~DbSchemaHold() { --db.schemaHolds; }
    DbSchemaHold(const DbSchemaHold &) = delete;
    DbSchemaHold &operator=(const DbSchemaHold &) = delete;

private:
    DbConnection &db;
};

class DbTransaction
{
public:
    explicit DbTransaction(DbConnection &db) : db(db), open(db.beginTransaction()) {}
    ~DbTransaction()
    {
        if (open)
            db.rollbackTransaction();
    }
    DbTransaction(const DbTransaction &) = delete;
    DbTransaction &operator=(const DbTransaction &) = delete;
    bool isOpen() const { return open; }
    bool commit()
    {
        if (!open)
            return true; // none could be begun: the caller's transaction holds the writes
        open = false;
        return db.commitTransaction();
    }

private:
    DbConnection &db;
    bool open;
};

#endif // DBCONNECTION_H
