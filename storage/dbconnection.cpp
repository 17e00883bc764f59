#include "storage/dbconnection.h"

#include "storage/columnname.h"
#include "storage/namingscheme.h"
#include "storage/pagecopy.h"

#include <QAtomicInt>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QSqlError>
#include <QSqlDriver>
#include <QRegularExpression>
#include <QSqlQuery>
#include <sqlite3.h>
#include <unistd.h>

namespace {

const char *const ProbeConnection = "tessaro_probe";
const char *const ReadOnlyOption = "QSQLITE_OPEN_READONLY";
using Naming::IdColumn;
using Naming::RepeatMarker;
// The id column as it goes into a statement.
const char *const QuotedId = "\"RINTEGERFORMAT_Id\"";

// Every connection has a name of its own: the toolkit's default connection
// is never used, so that several can be open at once.
QString newConnectionName()
{
    static QAtomicInt next;
    return QString("tessaro_%1").arg(next.fetchAndAddRelaxed(1) + 1);
}

// SQLite's result codes for damage in the file or failing media.
bool isDamage(const QSqlError &error)
{
    const QString code = error.nativeErrorCode();
    return error.isValid() && (code == "10" || code == "11" || code == "26");
}

// A null text would be bound as NULL; an empty one is stored as ''.
QVariant textValue(const QString &text)
{
    return text.isNull() ? QVariant(QStringLiteral("")) : QVariant(text);
}

// printf-style statements take their texts as UTF-8.
QByteArray u8(const QString &text)
{
    return text.toUtf8();
}

QString normalized(const QString &text)
{
    return text.toLower().simplified();
}

// Words SQLite will not take as a bare name.
const QSet<QString> &sqlKeywords()
{
    static const QSet<QString> words = {
        "ABORT", "ACTION", "ADD", "AFTER", "ALL", "ALTER", "ALWAYS", "ANALYZE", "AND", "AS", "ASC",
        "ATTACH", "AUTOINCREMENT", "BEFORE", "BEGIN", "BETWEEN", "BY", "CASCADE", "CASE", "CAST",
        "CHECK", "COLLATE", "COLUMN", "COMMIT", "CONFLICT", "CONSTRAINT", "CREATE", "CROSS",
        "CURRENT", "CURRENT_DATE", "CURRENT_TIME", "CURRENT_TIMESTAMP", "DATABASE", "DEFAULT",
        "DEFERRABLE", "DEFERRED", "DELETE", "DESC", "DETACH", "DISTINCT", "DO", "DROP", "EACH",
        "ELSE", "END", "ESCAPE", "EXCEPT", "EXCLUDE", "EXCLUSIVE", "EXISTS", "EXPLAIN", "FAIL",
        "FILTER", "FIRST", "FOLLOWING", "FOR", "FOREIGN", "FROM", "FULL", "GENERATED", "GLOB",
        "GROUP", "GROUPS", "HAVING", "IF", "IGNORE", "IMMEDIATE", "IN", "INDEX", "INDEXED",
        "INITIALLY", "INNER", "INSERT", "INSTEAD", "INTERSECT", "INTO", "IS", "ISNULL", "JOIN",
        "KEY", "LAST", "LEFT", "LIKE", "LIMIT", "MATCH", "MATERIALIZED", "NATURAL", "NO", "NOT",
        "NOTHING", "NOTNULL", "NULL", "NULLS", "OF", "OFFSET", "ON", "OR", "ORDER", "OTHERS",
        "OUTER", "OVER", "PARTITION", "PLAN", "PRAGMA", "PRECEDING", "PRIMARY", "QUERY", "RAISE",
        "RANGE", "RECURSIVE", "REFERENCES", "REGEXP", "REINDEX", "RELEASE", "RENAME", "REPLACE",
        "RESTRICT", "RETURNING", "RIGHT", "ROLLBACK", "ROW", "ROWS", "SAVEPOINT", "SELECT", "SET",
        "TABLE", "TEMP", "TEMPORARY", "THEN", "TIES", "TO", "TRANSACTION", "TRIGGER", "UNBOUNDED",
        "UNION", "UNIQUE", "UPDATE", "USING", "VACUUM", "VALUES", "VIEW", "VIRTUAL", "WHEN",
        "WHERE", "WINDOW", "WITH", "WITHOUT"};
    return words;
}

} // namespace

DbConnection::DbConnection() = default;

void DbConnection::fail(const QString &message)
{
    lastFailureText = message;
    failureList << message;
    if (failureListener)
        failureListener(message);
}

QStringList DbConnection::takeFailures()
{
    const QStringList taken = failureList;
    failureList.clear();
    return taken;
}

bool DbConnection::ask(const QString &question) const
{
    return answerer && answerer(question);
}

DbConnection::~DbConnection()
{
    close();
}

QString DbConnection::sqlName(const QString &name)
{
    // Every name goes between double quotes, a double quote in it doubled:
    // any name is then a name, never a keyword or a piece of SQL.
    QString quoted = name;
    quoted.replace("\"", "\"\"");
    return "\"" + quoted + "\"";
}

bool DbConnection::isSqlKeyword(const QString &word)
{
    return sqlKeywords().contains(word.toUpper());
}

bool DbConnection::openDb(const QString &path, const OpenOptions &options)
{
    const QFileInfo info(path);
    if (options.mustExist && (path.isEmpty() || !info.isFile())) {
        fail(QString::asprintf("ERRORE: Il file %s non esiste!", u8(path).constData()));
        return false;
    }
    // A file that is there but cannot be written, or whose folder cannot take
    // SQLite's journal, is opened read-only: nothing will try to write to it.
    const bool readOnlyFile = !path.isEmpty() && info.exists()
                              && (!info.isWritable() || !QFileInfo(info.absolutePath()).isWritable());
    QStringList connectOptions;
    if (readOnlyFile || options.readOnly)
        connectOptions << ReadOnlyOption;
    // A writer waits this long for another program's write lock to go.
    if (options.busyTimeout > 0)
        connectOptions << QString("QSQLITE_BUSY_TIMEOUT=%1").arg(options.busyTimeout);

    // Try the file on a connection of its own first, so that a file that is
    // not a database leaves the open one in place.
    bool usable = false;
    {
        QSqlDatabase probe = QSqlDatabase::addDatabase("QSQLITE", ProbeConnection);
        probe.setDatabaseName(path);
        probe.setConnectOptions(connectOptions.join(';'));
        if (probe.open()) {
            QSqlQuery q(probe);
            usable = q.exec("SELECT name FROM sqlite_master LIMIT 1");
        }
        probe.close();
    }
    QSqlDatabase::removeDatabase(ProbeConnection);
    if (!usable) {
        fail("ERRORE: Impossibile aprire il Db!");
        return false;
    }

    close();
    fileReadOnly = readOnlyFile || options.readOnly;
    db = QSqlDatabase::addDatabase("QSQLITE", newConnectionName());
    db.setHostName("127.0.0.1");
    db.setDatabaseName(path);
    db.setConnectOptions(connectOptions.join(';'));
    if (!db.open()) {
        fail("ERRORE: Impossibile aprire il Db!");
        return false;
    }
    if (sessionReadOnly)
        setReadOnly(true);
    return true;
}

void DbConnection::close()
{
    finishRowInsert();
    transactionDepth = 0;
    changes = 0;
    uncommittedChange = false;
    schemaVersion = -1;
    tableListKnown = false;
    shapes.clear();
    damagedTables.clear();
    if (!db.isValid())
        return;
    const QString name = db.connectionName();
    db.close();
    db = QSqlDatabase();
    QSqlDatabase::removeDatabase(name);
}

QString DbConnection::filePath() const
{
    return db.databaseName();
}

void DbConnection::setReadOnly(bool on)
{
    sessionReadOnly = on;
    if (db.isOpen()) {
        QSqlQuery q(db);
        q.exec(on ? "PRAGMA query_only = 1" : "PRAGMA query_only = 0");
    }
}

// Cached column lists hold while SQLite's schema version stays the same; any
// change of any table, by this program or another, starts them afresh.
void DbConnection::checkSchema()
{
    if (schemaHolds > 0 && schemaCheckedInHold && schemaVersion >= 0)
        return;
    schemaCheckedInHold = schemaHolds > 0;
    QSqlQuery q(db);
    const qint64 version = q.exec("PRAGMA schema_version") && q.next() ? q.value(0).toLongLong() : -1;
    if (version == schemaVersion && version >= 0)
        return;
    schemaVersion = version;
    tableListKnown = false;
    shapes.clear();
}

const DbConnection::TableShape &DbConnection::shape(const QString &table)
{
    checkSchema();
    const auto known = shapes.constFind(table);
    if (known != shapes.constEnd())
        return known.value();

    TableShape shape;
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (q.exec(QString::asprintf("SELECT * FROM %s LIMIT 0", u8(sqlName(table)).constData()))) {
        const QSqlRecord record = q.record();
        for (int i = 0; i < record.count(); ++i) {
            const QString name = record.fieldName(i);
            shape.names << name;
            ++shape.named[normalized(name)];
            ++shape.namedUnsuffixed[normalized(name.section(RepeatMarker, 0, 0))];
        }
    }
    QSqlQuery info(db);
    if (!shape.names.isEmpty() && info.exec(QString::asprintf("PRAGMA table_info(%s)", u8(sqlName(table)).constData()))) {
        int keys = 0;
        bool idFirst = false;
        while (info.next()) {
            if (info.value(5).toInt() > 0)
                ++keys;
            if (info.value(0).toInt() == 0)
                idFirst = info.value(1).toString() == IdColumn
                          && info.value(2).toString().compare("integer", Qt::CaseInsensitive) == 0
                          && info.value(5).toInt() == 1;
        }
        shape.editable = idFirst && keys == 1 && shape.names.first() == IdColumn;
        // Tables of other tools are browsed by SQLite's row id, when they have one.
        QSqlQuery rowIds(db);
        shape.rowIds = !shape.editable && shape.names.first() != IdColumn
                       && rowIds.exec(QString::asprintf("SELECT rowid FROM %s LIMIT 0", u8(sqlName(table)).constData()));
    }
    return shapes.insert(table, shape).value();
}

QString DbConnection::scopeClause(const QString &table) const
{
    if (scopeTable.isEmpty() || table != scopeTable)
        return QString();
    return QString::asprintf(" WHERE %s = ?", u8(sqlName(scopeColumn)).constData());
}

QVariantList DbConnection::scopeValues(const QString &table) const
{
    return scopeTable.isEmpty() || table != scopeTable ? QVariantList() : QVariantList{scopeValue};
}

void DbConnection::setRowScope(const QString &table, const QString &column, int value)
{
    scopeTable = table;
    scopeColumn = column;
    scopeValue = value;
}

void DbConnection::clearRowScope()
{
    scopeTable.clear();
}

int DbConnection::firstDataColumn(const QString &table)
{
    const QStringList &names = shape(table).names;
    return names.size() > 2 && names.at(1) == Naming::OwnerColumn ? 2 : 1;
}

bool DbConnection::createIndex(const QString &table, const QString &column)
{
    QString error;
    if (execWrite(QString::asprintf("CREATE INDEX IF NOT EXISTS %s ON %s (%s)",
                                    u8(sqlName(table + "_" + column)).constData(), u8(sqlName(table)).constData(),
                                    u8(sqlName(column)).constData()),
                  {}, &error))
        return true;
    fail(QString::asprintf("ERRORE: Impossibile creare la tabella %s!\n%s", u8(table).constData(), u8(error).constData()));
    return false;
}

bool DbConnection::isEditableTable(const QString &table)
{
    return shape(table).editable;
}

bool DbConnection::isBrowsedByRowId(const QString &table)
{
    return shape(table).rowIds;
}

QString DbConnection::idColumnOf(const QString &table)
{
    const TableShape &known = shape(table);
    return known.rowIds ? QString(RowIdColumn) : known.names.value(0);
}

QString DbConnection::dropRefusal(const QString &table)
{
    const QString shown = toDisplayTableName(table);
    QSqlQuery q(db);
    if (!q.exec("SELECT type, name, tbl_name, sql FROM sqlite_master WHERE type IN ('table', 'trigger', 'view')"))
        return QString();
    const QRegularExpression named("(^|[^A-Za-z0-9_])[\"`\\[]?" + QRegularExpression::escape(table)
                                       + "[\"`\\]]?($|[^A-Za-z0-9_])",
                                   QRegularExpression::CaseInsensitiveOption);
    static const QStringList shadows = {"content", "data", "idx", "docsize", "config", "segments", "segdir", "stat"};
    while (q.next()) {
        const QString type = q.value(0).toString(), name = q.value(1).toString(), owner = q.value(2).toString();
        const QString sql = q.value(3).toString();
        if (type == "table" && sql.contains(QRegularExpression("^\\s*CREATE\\s+VIRTUAL\\s+TABLE.*USING\\s+fts",
                                                              QRegularExpression::CaseInsensitiveOption |
                                                                  QRegularExpression::DotMatchesEverythingOption))
            && table.startsWith(name + "_") && shadows.contains(table.mid(name.size() + 1)))
            return QString::fromUtf8("ERRORE: La Tabella %1 fa parte dell'indice di ricerca %2: si elimina solo con "
                                     "esso!").arg(shown, toDisplayTableName(name));
        if (type == "view" && sql.contains(named))
            return QString::fromUtf8("ERRORE: La Tabella %1 non si può eliminare: la usa la vista %2!").arg(shown, name);
        if (type == "trigger" && owner != table && sql.contains(named))
            return QString::fromUtf8("ERRORE: La Tabella %1 non si può eliminare: la usa il trigger %2 della tabella %3!")
                .arg(shown, name, toDisplayTableName(owner));
    }
    return QString();
}

bool DbConnection::beginTransaction()
{
    schemaCheckedInHold = false;
    QSqlQuery q(db);
    if (!q.exec(QString::asprintf("SAVEPOINT tessaro_%d", transactionDepth + 1)))
        return false;
    ++transactionDepth;
    return true;
}

bool DbConnection::commitTransaction()
{
    if (transactionDepth == 0)
        return false;
    QSqlQuery q(db);
    if (q.exec(QString::asprintf("RELEASE tessaro_%d", transactionDepth))) {
        --transactionDepth;
        if (transactionDepth == 0 && uncommittedChange) {
            uncommittedChange = false;
            ++changes;
        }
        return true;
    }
    // The outermost commit can fail (the file is busy or the disk full):
    // then nothing of the transaction is written.
    fail(QString::asprintf("ERRORE: Impossibile salvare le modifiche nel Db!\n%s",
                           u8(q.lastError().text()).constData()));
    rollbackTransaction();
    return false;
}

bool DbConnection::rollbackTransaction()
{
    if (transactionDepth == 0)
        return false;
    schemaCheckedInHold = false;
    // A failure that SQLite answered by rolling back the whole transaction
    // itself (a full disk, a trigger's ROLLBACK) has left no savepoint: then
    // there is nothing more to undo.
    QSqlQuery q(db);
    bool ok;
    if (transactionDepth == 1) {
        // The outermost one ends the transaction: the file stays byte for
        // byte as it was (a savepoint undone and released would still mark
        // the file as changed).
        ok = q.exec("ROLLBACK") || !db.driver()->hasFeature(QSqlDriver::Transactions);
    } else {
        ok = q.exec(QString::asprintf("ROLLBACK TO tessaro_%d", transactionDepth));
        q.exec(QString::asprintf("RELEASE tessaro_%d", transactionDepth));
    }
    --transactionDepth;
    if (transactionDepth == 0)
        uncommittedChange = false;
    return ok;
}

QString DbConnection::storedText(const QString &value)
{
    if (!value.contains('\''))
        return value;
    QString text;
    text.reserve(value.size());
    for (int i = 0; i < value.size(); ++i) {
        if (value.at(i) != '\'') {
            text += value.at(i);
        } else if (i + 1 < value.size() && value.at(i + 1) == '\'') {
            text += '\'';
            ++i;
        } else {
            return value; // a lone apostrophe: the value is no SQL literal
        }
    }
    return text;
}

QString DbConnection::storedForm(const QString &column, const QString &value)
{
    // A lookup with no record chosen stays empty, whatever column it shows.
    if (value.isEmpty() && ColumnName(column).isLookup())
        return value;
    // The number forms store the same text a quoted '%d' or '%f' would.
    if (writesAsWholeNumber(column))
        return QString::asprintf("%d", value.toInt(nullptr, 10));
    if (writesAsDecimal(column))
        return QString::asprintf("%f", value.toDouble());
    return storedText(value);
}

bool DbConnection::run(QSqlQuery &q, const QString &statement, const QVariantList &values)
{
    if (!q.prepare(statement))
        return false;
    for (const QVariant &value : values)
        q.addBindValue(value);
    return q.exec();
}

void DbConnection::noteDamage(const QSqlQuery &q, const QString &table)
{
    if (!isDamage(q.lastError()) || damagedTables.contains(table))
        return;
    damagedTables.insert(table);
    fail(QString::asprintf("ERRORE: La Tabella %s è danneggiata: non tutti i Record si possono leggere!\n%s",
                           u8(table).constData(), u8(q.lastError().text()).constData()));
}

QStringList DbConnection::getTables()
{
    if (!db.isOpen())
        return QStringList();
    checkSchema();
    if (!tableListKnown) {
        tableList.clear();
        for (const QString &name : db.tables(QSql::Tables)) {
            if (!name.startsWith("sqlite_"))
                tableList << name;
        }
        tableListKnown = true;
    }
    return tableList;
}

bool DbConnection::tableExists(const QString &table)
{
    return getTables().contains(table);
}

int DbConnection::countRecords(const QString &table)
{
    QSqlQuery q(db);
    if (!run(q, QString::asprintf("SELECT count(*) FROM %s", u8(sqlName(table)).constData()) + scopeClause(table),
             scopeValues(table))
        || !q.next()) {
        noteDamage(q, table);
        return 0;
    }
    return q.value(0).toInt();
}

QStringList DbConnection::getFieldNames(const QString &table)
{
    return shape(table).names;
}

QSqlRecord DbConnection::getRecordAt(const QString &table, int position)
{
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (!run(q, QString::asprintf("SELECT * FROM %s", u8(sqlName(table)).constData()) + scopeClause(table),
             scopeValues(table))) {
        noteDamage(q, table);
        return q.record();
    }
    if (q.next()) {
        for (int i = 0; i < position; ++i) {
            if (!q.next())
                break;
        }
    }
    noteDamage(q, table);
    return q.record();
}

// Runs the select-by-id statement and stops on the first row whose id column
// equals id; before the first row the id reads as 0, so id 0 always matches.
static bool searchById(QSqlQuery &q, int id)
{
    while (true) {
        const int value = q.isValid() ? q.value(0).toInt() : 0;
        if (value == id)
            return true;
        if (!q.next())
            return false;
    }
}

QSqlRecord DbConnection::getRecordById(const QString &table, int id)
{
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (isBrowsedByRowId(table)) {
        run(q, QString::asprintf("SELECT * FROM %s WHERE rowid = ?", u8(sqlName(table)).constData()), {id});
        q.next();
        return q.record();
    }
    run(q, QString::asprintf("SELECT * FROM %s WHERE %s = ?", u8(sqlName(table)).constData(), QuotedId), {id});
    searchById(q, id);
    return q.record();
}

bool DbConnection::idExists(const QString &table, int id)
{
    if (isBrowsedByRowId(table)) {
        QSqlQuery q(db);
        return run(q, QString::asprintf("SELECT 1 FROM %s WHERE rowid = ?", u8(sqlName(table)).constData()), {id})
               && q.next();
    }
    // Only the first column takes part in the search: the others are not read.
    const QStringList names = getFieldNames(table);
    const QString first = names.isEmpty() ? QStringLiteral("*") : sqlName(names.first());
    QSqlQuery q(db);
    q.setForwardOnly(true);
    run(q,
        QString::asprintf("SELECT %s FROM %s WHERE %s = ?", u8(first).constData(), u8(sqlName(table)).constData(),
                          QuotedId),
        {id});
    return searchById(q, id);
}

QSqlRecord DbConnection::findRecord(const QString &table, const QString &column, const QVariant &value)
{
    // A text value is looked for as it is stored (see storedText).
    QVariant wanted = value;
    if (value.type() == QVariant::String)
        wanted = textValue(storedText(value.toString()));
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (!run(q,
             QString::asprintf("SELECT * FROM %s WHERE %s = ?", u8(sqlName(table)).constData(),
                               u8(sqlName(column)).constData()),
             {textValue(wanted.toString())})) {
        noteDamage(q, table);
        return QSqlRecord();
    }
    const int index = q.record().indexOf(column);
    while (q.next()) {
        if (q.value(index) == wanted)
            return q.record();
    }
    noteDamage(q, table);
    return QSqlRecord();
}

QVariant DbConnection::getFieldValue(const QString &table, const QSqlRecord &record, const QString &column)
{
    Q_UNUSED(table)
    return record.value(column);
}

int DbConnection::countRecordsUpTo(const QString &table, int limit)
{
    QSqlQuery q(db);
    QVariantList values = scopeValues(table);
    values << limit;
    if (!run(q,
             QString::asprintf("SELECT count(*) FROM (SELECT 1 FROM %s", u8(sqlName(table)).constData())
                 + scopeClause(table) + " LIMIT ?)",
             values)
        || !q.next()) {
        noteDamage(q, table);
        return 0;
    }
    return q.value(0).toInt();
}

int DbConnection::highestRowId(const QString &table)
{
    QSqlQuery q(db);
    if (!q.exec(QString::asprintf("SELECT max(rowid) FROM %s", u8(sqlName(table)).constData())) || !q.next())
        return 0;
    return qMax(0, q.value(0).toInt());
}

int DbConnection::getMaxId(const QString &table)
{
    QSqlQuery q(db);
    if (!q.exec(QString::asprintf("SELECT max(%s) FROM %s", QuotedId, u8(sqlName(table)).constData()))
        || !q.next())
        return 0;
    return qMax(0, q.value(0).toInt());
}

int DbConnection::countColumnsNamed(const QString &table, const QString &column, bool ignoreRepeatSuffix)
{
    const TableShape &columns = shape(table);
    return (ignoreRepeatSuffix ? columns.namedUnsuffixed : columns.named).value(normalized(column));
}

bool DbConnection::hasColumnContaining(const QString &text, const QString &table)
{
    for (const QString &name : getFieldNames(table)) {
        if (name.contains(text))
            return true;
    }
    return false;
}

bool DbConnection::nameInFirstColumn(const QString &table, const QString &text)
{
    // Compared as it would be stored: doubled apostrophes are undone.
    const QString wanted = normalized(storedText(text));

    // A subtable's rows are told apart within the rows of their owner.
    const int first = firstDataColumn(table);
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (!run(q, QString::asprintf("SELECT * FROM %s", u8(sqlName(table)).constData()) + scopeClause(table),
             scopeValues(table))) {
        noteDamage(q, table);
        return false;
    }
    if (q.record().count() < first + 1)
        return false;
    while (q.next()) {
        if (normalized(q.value(first).toString()) == wanted)
            return true;
    }
    noteDamage(q, table);
    return false;
}

QList<QSqlRecord> DbConnection::getAllRecords(const QString &table)
{
    QList<QSqlRecord> rows;
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (!q.exec(QString::asprintf("SELECT * FROM %s", u8(sqlName(table)).constData()))) {
        noteDamage(q, table);
        return rows;
    }
    while (q.next())
        rows << q.record();
    noteDamage(q, table);
    return rows;
}

// The columns of a whole-table read. A table without any index has one
// b-tree, so a select of some of its columns steps through the rows in the
// same order as "SELECT *"; with an index (or a table this cannot be told of)
// the read stays "SELECT *" so that the order is the same whatever the
// query planner picks.
QString DbConnection::wholeTableSelect(const QString &table, const QStringList &columns)
{
    const QString all = QString::asprintf("SELECT * FROM %s", u8(sqlName(table)).constData()) + scopeClause(table);
    QSqlQuery pragma(db);
    if (!pragma.exec(QString::asprintf("PRAGMA index_list(%s)", u8(sqlName(table)).constData())) || pragma.next())
        return all;
    QStringList names;
    for (const QString &column : columns)
        names << sqlName(column);
    return QString::asprintf("SELECT %s FROM %s", u8(names.join(",")).constData(), u8(sqlName(table)).constData())
           + scopeClause(table);
}

bool DbConnection::readListColumn(const QString &table, const std::function<void(int, const QVariant &)> &row)
{
    const QStringList names = getFieldNames(table);
    if (names.isEmpty())
        return false;
    // The list column is the first data column: the second, or, in a
    // subtable, the one after its owner.
    const int first = firstDataColumn(table);
    const bool hasSecond = names.size() > first;
    const QStringList list = hasSecond ? QStringList{names.first(), names.at(first)} : QStringList{names.first()};

    QSqlQuery q(db);
    q.setForwardOnly(true);
    // The records of a table made by another tool are known by SQLite's row id.
    if (isBrowsedByRowId(table)) {
        if (!q.exec(QString::asprintf("SELECT rowid, %s FROM %s", u8(hasSecond ? sqlName(names.at(first)) : QString("NULL")).constData(),
                                      u8(sqlName(table)).constData()))) {
            noteDamage(q, table);
            return false;
        }
        while (q.next())
            row(q.value(0).toInt(), hasSecond ? q.value(1) : QVariant());
        noteDamage(q, table);
        return true;
    }
    const QString statement = wholeTableSelect(table, list);
    if (!run(q, statement, scopeValues(table))) {
        noteDamage(q, table);
        return false;
    }
    // With "SELECT *" the columns keep their own positions.
    const int at = statement.startsWith("SELECT * ") ? first : 1;
    const QVariant none;
    while (q.next())
        row(q.value(0).toInt(), hasSecond ? q.value(at) : none);
    noteDamage(q, table);
    return true;
}

DbConnection::ListColumn DbConnection::readListColumn(const QString &table)
{
    ListColumn result;
    result.name = getFieldNames(table).value(firstDataColumn(table));
    readListColumn(table, [&result](int id, const QVariant &value) {
        result.ids.append(id);
        result.values.append(value);
    });
    return result;
}

QString DbConnection::scanSelect(const QString &table, const QStringList &expressions)
{
    // In the table's own row order: no index walked, unless the rows are
    // one record's of a subtable, which its owner's index finds in that order.
    const QString clause = scopeClause(table);
    return QString::asprintf("SELECT %s FROM %s", u8(expressions.join(',')).constData(), u8(sqlName(table)).constData())
           + (clause.isEmpty() ? QString(" NOT INDEXED") : clause);
}

QString DbConnection::shownPart(const QString &column)
{
    return QString::asprintf("substr(%s, 1, %d)", u8(sqlName(column)).constData(), ShownCharacters);
}

bool DbConnection::readList(const QString &table, const QStringList &tested, int offset, int limit,
                            const std::function<bool(int, const QVariant &, const QVector<QVariant> &)> &row)
{
    const QStringList names = getFieldNames(table);
    if (names.isEmpty())
        return false;
    const int first = firstDataColumn(table);
    QStringList expressions = {isBrowsedByRowId(table) ? QString("rowid") : sqlName(names.first()),
                               names.size() > first ? shownPart(names.at(first)) : QString("NULL")};
    for (const QString &column : tested)
        expressions << (names.contains(column) ? sqlName(column) : QString("NULL"));
    QVariantList values = scopeValues(table);
    QString statement = scanSelect(table, expressions);
    if (limit >= 0 || offset > 0) {
        statement += " LIMIT ? OFFSET ?";
        values << limit << offset;
    }
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (!run(q, statement, values)) {
        noteDamage(q, table);
        return false;
    }
    QVector<QVariant> testedValues(tested.size());
    while (q.next()) {
        for (int i = 0; i < tested.size(); ++i)
            testedValues[i] = q.value(2 + i);
        if (!row(q.value(0).toInt(), q.value(1), testedValues))
            return false;
    }
    noteDamage(q, table);
    return !isDamage(q.lastError());
}

namespace {
// Column names match as SQLite matches them, ignoring case.
int indexIgnoringCase(const QStringList &names, const QString &name)
{
    for (int i = 0; i < names.size(); ++i) {
        if (names.at(i).compare(name, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

DbConnection::RawValue rawValue(sqlite3_stmt *row, int column)
{
    DbConnection::RawValue value;
    switch (sqlite3_column_type(row, column)) {
    case SQLITE_TEXT:
        value.utf8 = reinterpret_cast<const char *>(sqlite3_column_text(row, column));
        value.bytes = sqlite3_column_bytes(row, column);
        if (!value.utf8)
            value.utf8 = "";
        break;
    case SQLITE_INTEGER:
        value.other = QVariant(qlonglong(sqlite3_column_int64(row, column)));
        break;
    case SQLITE_FLOAT:
        value.other = QVariant(sqlite3_column_double(row, column));
        break;
    case SQLITE_BLOB:
        value.other = QVariant(QByteArray(static_cast<const char *>(sqlite3_column_blob(row, column)),
                                          sqlite3_column_bytes(row, column)));
        break;
    default:
        value.other = QVariant(QVariant::String);
    }
    return value;
}

// An id as the program's reads take it: a whole number, or a text read as one.
int idValue(sqlite3_stmt *row, int column)
{
    if (sqlite3_column_type(row, column) == SQLITE_INTEGER)
        return QVariant(qlonglong(sqlite3_column_int64(row, column))).toInt();
    return rawValue(row, column).toVariant().toInt();
}
} // namespace

bool DbConnection::scanRows(const QString &statement, const QVariantList &values, const QString &table,
                            const std::function<bool(sqlite3_stmt *)> &row)
{
    sqlite3 *connection = handle();
    sqlite3_stmt *query = nullptr;
    const QByteArray sql = statement.toUtf8();
    // Damage is told as the program's other reads tell it.
    const auto noteDamageCode = [&](int code, const char *driverText) {
        code &= 0xff;
        if ((code == SQLITE_IOERR || code == SQLITE_CORRUPT || code == SQLITE_NOTADB) && !damagedTables.contains(table)) {
            damagedTables.insert(table);
            fail(QString::asprintf("ERRORE: La Tabella %s è danneggiata: non tutti i Record si possono leggere!\n%s %s",
                                   u8(table).constData(), sqlite3_errmsg(connection),
                                   u8(QCoreApplication::translate("QSQLiteResult", driverText)).constData()));
        }
    };
    if (!connection)
        return false;
    const int prepared = sqlite3_prepare_v2(connection, sql.constData(), sql.size(), &query, nullptr);
    if (prepared != SQLITE_OK) {
        noteDamageCode(prepared, "Unable to execute statement");
        sqlite3_finalize(query);
        return false;
    }
    for (int i = 0; i < values.size(); ++i) {
        const QVariant &value = values.at(i);
        if (value.isNull())
            sqlite3_bind_null(query, i + 1);
        else if (value.type() == QVariant::Int || value.type() == QVariant::LongLong)
            sqlite3_bind_int64(query, i + 1, value.toLongLong());
        else {
            const QByteArray text = value.toString().toUtf8();
            sqlite3_bind_text(query, i + 1, text.constData(), text.size(), SQLITE_TRANSIENT);
        }
    }
    int step;
    while ((step = sqlite3_step(query)) == SQLITE_ROW) {
        if (!row(query)) {
            sqlite3_finalize(query);
            return false;
        }
    }
    noteDamageCode(step, "Unable to fetch row");
    sqlite3_finalize(query);
    return step == SQLITE_DONE;
}

bool DbConnection::scanList(const QString &table, int offset, int limit,
                            const std::function<bool(int, const RawValue &)> &row)
{
    const QStringList names = getFieldNames(table);
    if (names.isEmpty())
        return false;
    const int first = firstDataColumn(table);
    QString listed = names.size() > first ? shownPart(names.at(first)) : QString("NULL");
    // A lookup's whole numbers are read as they are: the id, not its digits.
    if (names.size() > first && ColumnName(names.at(first)).isLookup())
        listed = QString::asprintf("CASE WHEN typeof(%s) = 'integer' THEN %s ELSE %s END",
                                   u8(sqlName(names.at(first))).constData(), u8(sqlName(names.at(first))).constData(),
                                   u8(listed).constData());
    const QStringList expressions = {isBrowsedByRowId(table) ? QString("rowid") : sqlName(names.first()), listed};
    QVariantList values = scopeValues(table);
    QString statement = scanSelect(table, expressions);
    if (limit >= 0 || offset > 0) {
        statement += " LIMIT ? OFFSET ?";
        values << limit << offset;
    }
    return scanRows(statement, values, table,
                    [&row](sqlite3_stmt *read) { return row(idValue(read, 0), rawValue(read, 1)); });
}

void DbConnection::scanValuesById(const QString &table, const QString &column,
                                  const std::function<void(int, const RawValue &)> &value)
{
    const QStringList names = getFieldNames(table);
    // As readValuesById: the id column and the first column must agree.
    const auto indexOf = [&names](const QString &name) { return indexIgnoringCase(names, name); };
    const int idIndex = indexOf(IdColumn);
    if (idIndex < 0)
        return;
    const int valueIndex = indexOf(column);
    QStringList expressions = {sqlName(names.at(0))};
    if (idIndex != 0)
        expressions << sqlName(names.at(idIndex));
    expressions << (valueIndex >= 0 ? shownPart(names.at(valueIndex)) : QString("NULL"));
    const int valueAt = expressions.size() - 1;
    scanRows(scanSelect(table, expressions), scopeValues(table), table, [&](sqlite3_stmt *read) {
        const int id = idValue(read, 0);
        if (id == 0 || (idIndex != 0 && idValue(read, 1) != id))
            return true;
        value(id, valueIndex >= 0 ? rawValue(read, valueAt) : RawValue());
        return true;
    });
}

bool DbConnection::readRowsById(const QString &table, const QStringList &columns, const QVector<int> &ids,
                                const std::function<void(int, const QVector<QVariant> &)> &visit)
{
    const QStringList names = getFieldNames(table);
    if (names.isEmpty())
        return false;
    QStringList expressions;
    for (const QString &column : columns) {
        const QString name = sqlName(column);
        expressions << (names.contains(column)
                            ? QString::asprintf("CASE WHEN typeof(%s) = 'text' THEN %s ELSE %s END", u8(name).constData(),
                                                u8(shownPart(column)).constData(), u8(name).constData())
                            : QString("NULL"));
    }
    const bool byRowId = isBrowsedByRowId(table);
    const QString key = byRowId ? QString("rowid") : QString(QuotedId);
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (!q.prepare(QString::asprintf("SELECT %s FROM %s WHERE %s = ? LIMIT 1",
                                     u8(expressions.isEmpty() ? QString("1") : expressions.join(',')).constData(),
                                     u8(sqlName(table)).constData(), u8(key).constData())))
        return false;
    QVector<QVariant> values(columns.size());
    for (int id : ids) {
        q.bindValue(0, id);
        if (!q.exec())
            return false;
        if (!q.next())
            continue;
        for (int i = 0; i < columns.size(); ++i)
            values[i] = q.value(i);
        visit(id, values);
    }
    return true;
}

bool DbConnection::idsOrderedBy(const QString &table, const QString &column, bool descending, QVector<int> *ids)
{
    const QStringList names = getFieldNames(table);
    if (!names.contains(column))
        return false;
    const ColumnName named(column);
    const QString t = sqlName(table);
    const QString key = isBrowsedByRowId(table) ? QString("t.rowid") : "t." + sqlName(names.first());
    QString value = "t." + sqlName(column);
    QString join;
    if (named.isLookup() && getTables().contains(named.lookupTable())
        && getFieldNames(named.lookupTable()).contains(named.lookupColumn())) {
        // The first row of an id is the one a lookup shows.
        join = QString::asprintf(" LEFT JOIN %s l ON l.rowid = (SELECT rowid FROM %s WHERE %s = %s LIMIT 1)",
                                 u8(sqlName(named.lookupTable())).constData(),
                                 u8(sqlName(named.lookupTable())).constData(), QuotedId, u8(value).constData());
        value = "l." + sqlName(named.lookupColumn());
    }
    QString order;
    if (named.hasTag("DATEFORMAT"))
        order = QString("substr(%1, 7, 4) || substr(%1, 4, 2) || substr(%1, 1, 2)").arg(value);
    else if (named.hasTag("MONEYFORMAT") || named.hasTag("INTEGERFORMAT") || named.hasTag("REALFORMAT")
             || named.hasTag("BOOLFORMAT"))
        order = "CAST(" + value + " AS REAL)";
    else
        order = value + " COLLATE NOCASE";
    const QString clause = scopeClause(table);
    QSqlQuery q(db);
    q.setForwardOnly(true);
    const QString statement = QString::asprintf("SELECT %s FROM %s t%s%s ORDER BY %s %s", u8(key).constData(),
                                                u8(t).constData(), u8(join).constData(),
                                                u8(QString(clause).replace(" WHERE ", " WHERE t.")).constData(),
                                                u8(order).constData(), descending ? "DESC" : "ASC");
    if (!run(q, statement, scopeValues(table))) {
        noteDamage(q, table);
        return false;
    }
    ids->clear();
    while (q.next())
        ids->append(q.value(0).toInt());
    noteDamage(q, table);
    return !isDamage(q.lastError());
}

void DbConnection::readValuesById(const QString &table, const QString &column,
                                  const std::function<void(int, const QVariant &)> &value)
{
    const QStringList names = getFieldNames(table);
    // The select by id names RINTEGERFORMAT_Id and then matches on the first
    // column, so a row counts only when both agree.
    // Column names match as SQLite matches them, ignoring case.
    const auto indexOf = [&names](const QString &name) { return indexIgnoringCase(names, name); };
    const int idIndex = indexOf(IdColumn);
    if (idIndex < 0)
        return;
    const int valueIndex = indexOf(column);
    // The first column, the id column when it is another, and the value.
    QStringList wanted = {names.at(0)};
    if (idIndex != 0)
        wanted << names.at(idIndex);
    if (valueIndex >= 0)
        wanted << names.at(valueIndex);

    QSqlQuery q(db);
    q.setForwardOnly(true);
    const QString statement = wholeTableSelect(table, wanted);
    if (!run(q, statement, scopeValues(table))) {
        noteDamage(q, table);
        return;
    }
    // With "SELECT *" the columns keep their own positions.
    const bool all = statement.startsWith("SELECT * ");
    const int idAt = all ? idIndex : 1;
    const int valueAt = valueIndex < 0 ? -1 : (all ? valueIndex : wanted.size() - 1);
    const QVariant none;
    while (q.next()) {
        const int id = q.value(0).toInt();
        if (id == 0)
            continue;
        if (idIndex != 0 && q.value(idAt).toInt() != id)
            continue;
        value(id, valueAt >= 0 ? q.value(valueAt) : none);
    }
    noteDamage(q, table);
}

bool DbConnection::readColumns(const QString &table, const QStringList &columns,
                               const std::function<void(const QVector<QVariant> &)> &visit)
{
    const QStringList names = getFieldNames(table);
    if (names.isEmpty())
        return false;
    if (columns.contains(RowIdColumn) && isBrowsedByRowId(table)) {
        // The row id first, then the named columns, read by their own select.
        QStringList selected = {"rowid"};
        QVector<int> at;
        for (const QString &column : columns) {
            if (column == RowIdColumn) {
                at << 0;
            } else if (names.contains(column)) {
                at << selected.size();
                selected << sqlName(column);
            } else {
                at << -1;
            }
        }
        QSqlQuery q(db);
        q.setForwardOnly(true);
        if (!q.exec(QString::asprintf("SELECT %s FROM %s", u8(selected.join(',')).constData(),
                                      u8(sqlName(table)).constData()))) {
            noteDamage(q, table);
            return false;
        }
        QVector<QVariant> values(columns.size());
        while (q.next()) {
            for (int i = 0; i < at.size(); ++i)
                values[i] = at.at(i) >= 0 ? q.value(at.at(i)) : QVariant();
            visit(values);
        }
        noteDamage(q, table);
        return true;
    }
    QVector<int> positions;   // of each named column in the table, -1 when missing
    QStringList present;
    for (const QString &column : columns) {
        const int at = names.indexOf(column);
        positions.append(at);
        if (at >= 0 && !present.contains(column))
            present << column;
    }
    if (present.isEmpty())
        present << names.first(); // still one pass, for the row count

    QSqlQuery q(db);
    q.setForwardOnly(true);
    const QString statement = wholeTableSelect(table, present);
    if (!run(q, statement, scopeValues(table))) {
        noteDamage(q, table);
        return false;
    }
    // With "SELECT *" the columns keep their own positions.
    if (!statement.startsWith("SELECT * ")) {
        for (int &at : positions)
            at = at < 0 ? -1 : present.indexOf(names.at(at));
    }
    QVector<QVariant> values(columns.size());
    while (q.next()) {
        for (int i = 0; i < positions.size(); ++i)
            values[i] = positions.at(i) >= 0 ? q.value(positions.at(i)) : QVariant();
        visit(values);
    }
    noteDamage(q, table);
    return true;
}

bool DbConnection::execWrite(const QString &statement, const QVariantList &values, QString *error)
{
    QSqlQuery q(db);
    busy = false;
    schemaCheckedInHold = false;
    if (run(q, statement, values)) {
        noteChange();
        return true;
    }
    // SQLITE_BUSY and SQLITE_LOCKED
    busy = q.lastError().nativeErrorCode() == "5" || q.lastError().nativeErrorCode() == "6";
    if (error)
        *error = q.lastError().text();
    return false;
}

QList<DbConnection::Reference> DbConnection::referencesTo(const QString &table, int id)
{
    QList<Reference> references;
    for (const QString &other : getTables()) {
        for (const QString &column : getFieldNames(other)) {
            const ColumnName name(column);
            if (!name.isLookup() || name.lookupTable() != table)
                continue;
            QSqlQuery q(db);
            if (run(q,
                    QString::asprintf("SELECT count(*) FROM %s WHERE %s = ?", u8(sqlName(other)).constData(),
                                      u8(sqlName(column)).constData()),
                    {id})
                && q.next() && q.value(0).toInt() > 0)
                references << Reference{other, column, q.value(0).toInt()};
        }
    }
    return references;
}

int DbConnection::countUnmatched(const QString &table, const QString &column, const QString &other)
{
    QSqlQuery q(db);
    if (!q.exec(QString::asprintf("SELECT count(*) FROM %s WHERE %s NOT IN (SELECT %s FROM %s)",
                                  u8(sqlName(table)).constData(), u8(sqlName(column)).constData(), QuotedId,
                                  u8(sqlName(other)).constData()))
        || !q.next())
        return 0;
    return q.value(0).toInt();
}

bool DbConnection::clearReferences(const QString &table, const QString &column, int id)
{
    QString error;
    if (!execWrite(QString::asprintf("UPDATE %s SET %s = ? WHERE %s = ?", u8(sqlName(table)).constData(),
                                     u8(sqlName(column)).constData(), u8(sqlName(column)).constData()),
                   {textValue(storedForm(column, QString())), id}, &error)) {
        fail(QString::asprintf("ERRORE: Impossibile aggiornare il Record!\n%s", u8(error).constData()));
        return false;
    }
    return true;
}

bool DbConnection::createTable(const QString &table, const QList<ColumnDefinition> &columns)
{
    if (tableExists(table)) {
        fail(QString::asprintf("ERRORE: La Tabella %s è già presente nel Db!\n", u8(table).constData()));
        return false;
    }

    QString statement = QString::asprintf("CREATE TABLE IF NOT EXISTS %s (%s integer primary key",
                                          u8(sqlName(table)).constData(), u8(sqlName(IdColumn)).constData());
    for (int i = 0; i < columns.size(); ++i) {
        QString name = columns.at(i).first;
        int earlier = 0;
        for (int j = 0; j < i; ++j) {
            if (columns.at(j).first == columns.at(i).first)
                ++earlier;
        }
        if (earlier >= 1 && takesRepeatSuffix(name))
            name = QString::asprintf("%s%d", u8(name + RepeatMarker).constData(), earlier + 1);
        statement += "," + sqlName(name) + " " + columns.at(i).second;
    }
    statement += ")";

    QString error;
    if (!execWrite(statement, {}, &error)) {
        fail(QString::asprintf("ERRORE: Impossibile creare la tabella %s!\n%s", u8(table).constData(),
                               u8(error).constData()));
        return false;
    }
    return true;
}

bool DbConnection::addColumn(const QString &table, const QString &column, const QString &sqlType)
{
    QString name = column;
    const int n = countColumnsNamed(table, column, true);
    if (n > 0 && takesRepeatSuffix(column))
        name = QString::asprintf("%s%d", u8(column + RepeatMarker).constData(), n + 1);

    QString error;
    if (!execWrite(QString::asprintf("ALTER TABLE %s ADD COLUMN %s %s", u8(sqlName(table)).constData(),
                                     u8(sqlName(name)).constData(), u8(sqlType).constData()),
                   {}, &error)) {
        fail(QString::asprintf("ERRORE: Impossibile aggiungere il campo %s alla tabella %s!\n%s",
                               u8(column).constData(), u8(table).constData(), u8(error).constData()));
        return false;
    }
    return true;
}

bool DbConnection::dropTable(const QString &table)
{
    return execWrite(QString::asprintf("DROP TABLE %s ", u8(sqlName(table)).constData()), {}, nullptr);
}

bool DbConnection::clearTable(const QString &table)
{
    QString error;
    if (!execWrite(QString::asprintf("DELETE FROM %s", u8(sqlName(table)).constData()) + scopeClause(table),
                   scopeValues(table), &error)) {
        fail(QString::asprintf("ERRORE: Impossibile svuotare la Tabella %s!\n%s", u8(table).constData(),
                               u8(error).constData()));
        return false;
    }
    return true;
}

bool DbConnection::deleteRecord(const QString &table, int id)
{
    QString error;
    if (!execWrite(QString::asprintf("DELETE FROM %s WHERE %s = ?", u8(sqlName(table)).constData(), QuotedId), {id},
                   &error)) {
        fail(QString::asprintf("ERRORE: Impossibile eliminare il Record!\n%s", u8(error).constData()));
        return false;
    }
    return true;
}

bool DbConnection::updateField(const QString &table, int id, const QString &column, const QString &value)
{
    if (!tableExists(table)) {
        fail(QString::asprintf("ERRORE: La Tabella '%s' non esiste!\n", u8(table).constData()));
        return false;
    }
    if (!idExists(table, id)) {
        fail(QString::asprintf("ERRORE: L'Id %d non è presente nella Tabella!\n", id));
        return false;
    }
    if (countColumnsNamed(table, column, false) == 0) {
        fail(QString::asprintf("ERRORE: Il campo '%s' non esiste!\n", u8(column).constData()));
        return false;
    }
    if (column == IdColumn) {
        const int newId = value.toInt(nullptr, 10);
        if (newId != id
            && !ask(QString::asprintf(
                "Vuoi veramente aggiornare l'Id %d con il nuovo Id %d? Questa operazione può essere molto dannosa!",
                id, newId)))
            return true; // answered No: nothing changes, and the caller sees success
    }

    const QString text = storedForm(column, value);
    QString error;
    if (!execWrite(QString::asprintf("UPDATE %s SET %s = ? WHERE %s = ?", u8(sqlName(table)).constData(),
                                     u8(sqlName(column)).constData(), QuotedId),
                   {textValue(text), id}, &error)) {
        fail(QString::asprintf("ERRORE: Impossibile aggiornare il Record!\n%s", u8(error).constData()));
        return false;
    }
    return true;
}

int DbConnection::insertEmptyRecord(const QString &table, bool useGivenId, int givenId)
{
    int id;
    if (useGivenId && givenId >= 1)
        id = idExists(table, givenId) ? getMaxId(table) + 1 : givenId;
    else
        id = getMaxId(table) + 1;

    const QStringList names = getFieldNames(table);
    QStringList quotedNames, marks;
    QVariantList values;
    for (const QString &name : names) {
        quotedNames << sqlName(name);
        marks << "?";
        values << (name == IdColumn ? id : 0);
    }
    const QString statement = QString::asprintf("INSERT INTO %s (", u8(sqlName(table)).constData())
                              + quotedNames.join(",") + ") VALUES (" + marks.join(",") + ")";

    QString error;
    if (!execWrite(statement, values, &error)) {
        fail(QString::asprintf("ERRORE: Impossibile aggiungere un elemento alla tabella %s!\n%s",
                               u8(table).constData(), u8(error).constData()));
        return -1;
    }
    return id;
}

// Whole tables for imports and exports.

bool DbConnection::readRows(const QString &table, QStringList *columns,
                            const std::function<bool(const QVector<QVariant> &values)> &row)
{
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (!run(q, QString::asprintf("SELECT * FROM %s", u8(sqlName(table)).constData()) + scopeClause(table),
             scopeValues(table)))
        return false;
    const QSqlRecord names = q.record();
    const int count = names.count();
    if (columns) {
        columns->clear();
        for (int i = 0; i < count; ++i)
            *columns << names.fieldName(i);
    }
    QVector<QVariant> values(count);
    while (q.next()) {
        for (int i = 0; i < count; ++i)
            values[i] = q.value(i);
        if (!row(values))
            break;
    }
    return true;
}

QVariant DbConnection::storedValue(const QString &table, const QString &column, int id)
{
    QSqlQuery q(db);
    q.prepare(QString::asprintf("SELECT %s FROM %s WHERE %s = ?", u8(sqlName(column)).constData(),
                                u8(sqlName(table)).constData(), QuotedId));
    q.addBindValue(id);
    if (!q.exec() || !q.next())
        return QVariant();
    return q.value(0);
}

void DbConnection::noteChange()
{
    if (transactionDepth > 0)
        uncommittedChange = true;
    else
        ++changes;
}

void DbConnection::configureSqlite()
{
    // SQLite keeps no count of the memory it takes: with a count, every
    // allocation of every thread would take one lock, and a long list's
    // reading makes millions of them.
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
}

sqlite3 *DbConnection::handle() const
{
    const QVariant value = db.isOpen() ? db.driver()->handle() : QVariant();
    if (!value.isValid() || qstrcmp(value.typeName(), "sqlite3*") != 0)
        return nullptr;
    return *static_cast<sqlite3 *const *>(value.constData());
}

bool DbConnection::backupTo(const QString &path, QString *error)
{
    sqlite3 *source = handle();
    if (!source) {
        *error = "Nessun database SQLite aperto";
        return false;
    }
    return PageCopy::copyDatabase(source, transactionDepth > 0 || sqlite3_get_autocommit(source) == 0,
                                  db.databaseName(), path, error);
}

bool DbConnection::restoreFrom(const QString &path, QString *error)
{
    sqlite3 *target = handle();
    if (!target || isReadOnly() || transactionDepth > 0) {
        *error = "Il Db non si può modificare";
        return false;
    }
    finishRowInsert();
    sqlite3 *source = nullptr;
    bool done = sqlite3_open_v2(path.toUtf8().constData(), &source, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK;
    if (!done)
        *error = QString::fromUtf8(source ? sqlite3_errmsg(source) : "sqlite3_open");
    else
        done = PageCopy::copyPages(target, source, error);
    sqlite3_close(source);
    // Every table may be another one now.
    schemaVersion = -1;
    tableListKnown = false;
    shapes.clear();
    damagedTables.clear();
    if (done)
        ++changes;
    return done;
}

QStringList DbConnection::integrityProblems()
{
    QStringList problems;
    QSqlQuery q(db);
    if (!q.exec("PRAGMA integrity_check")) {
        problems << q.lastError().text();
        return problems;
    }
    while (q.next()) {
        const QString line = q.value(0).toString();
        if (line != "ok")
            problems << line;
    }
    return problems;
}

bool DbConnection::prepareRowInsert(const QString &table, const QStringList &columns, QString *error)
{
    finishRowInsert();
    sqlite3 *connection = handle();
    if (!connection) {
        if (error)
            *error = "Nessun database SQLite aperto";
        return false;
    }
    QStringList names, marks;
    for (const QString &column : columns) {
        names << sqlName(column);
        marks << "?";
    }
    const QByteArray statement = "INSERT INTO " + sqlName(table).toUtf8() + " (" + names.join(",").toUtf8() + ") VALUES ("
                                 + marks.join(",").toUtf8() + ")";
    if (sqlite3_prepare_v2(connection, statement.constData(), statement.size(), &rowInsert, nullptr) == SQLITE_OK
        && rowInsert)
        return true;
    if (error)
        *error = QString::fromUtf8(sqlite3_errmsg(connection));
    finishRowInsert();
    return false;
}

bool DbConnection::insertRow(const QVector<QVariant> &values, QString *error)
{
    if (!rowInsert)
        return false;
    // The texts are bound where they lie: values holds them until the step is done.
    for (int i = 0; i < values.size(); ++i) {
        const QVariant &value = values.at(i);
        const int at = i + 1;
        switch (int(value.type())) {
        case QMetaType::Int:
        case QMetaType::LongLong:
            sqlite3_bind_int64(rowInsert, at, value.toLongLong());
            break;
        case QMetaType::QByteArray: {
            const QByteArray *bytes = static_cast<const QByteArray *>(value.constData());
            sqlite3_bind_text(rowInsert, at, bytes->constData(), bytes->size(), SQLITE_STATIC);
            break;
        }
        case QMetaType::QString: {
            const QString *text = static_cast<const QString *>(value.constData());
            sqlite3_bind_text16(rowInsert, at, text->utf16(), text->size() * 2, SQLITE_STATIC);
            break;
        }
        default:
            sqlite3_bind_null(rowInsert, at);
        }
    }
    const int result = sqlite3_step(rowInsert);
    sqlite3_reset(rowInsert);
    busy = result == SQLITE_BUSY || result == SQLITE_LOCKED;
    if (result == SQLITE_DONE) {
        noteChange();
        return true;
    }
    if (error)
        *error = QString::fromUtf8(sqlite3_errmsg(sqlite3_db_handle(rowInsert)));
    return false;
}

void DbConnection::finishRowInsert()
{
    if (rowInsert)
        sqlite3_finalize(rowInsert);
    rowInsert = nullptr;
}
