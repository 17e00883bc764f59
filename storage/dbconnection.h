#ifndef DBCONNECTION_H
#define DBCONNECTION_H

#include <QHash>
#include <QList>
#include <QPair>
#include <QSqlDatabase>
#include <QSqlRecord>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>
#include <functional>

// (column name, SQL type), as given to createTable.
using ColumnDefinition = QPair<QString, QString>;

// The one place where SQL is written and run. Callers get records, values,
// counts, ids or booleans; failures of writing statements are reported to the
// user here (through the message handler), failures of reading ones give empty
// results. Text values are put between quotes as they are: callers double
// every apostrophe first.
class DbConnection
{
public:
    DbConnection();
    ~DbConnection();
    DbConnection(const DbConnection &) = delete;
    DbConnection &operator=(const DbConnection &) = delete;

    // Connection
    bool openDb(const QString &path);
    bool isOpen() const { return db.isOpen(); }
    QStringList getTables();
    bool tableExists(const QString &table);

    // Reading
    int countRecords(const QString &table);
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
    // Steps once through every row of table, in the order "SELECT *" gives
    // them, calling visit with the values of the named columns (in the order
    // named; invalid for a name the table lacks). False when it cannot be read.
    bool readColumns(const QString &table, const QStringList &columns,
                     const std::function<void(const QVector<QVariant> &)> &visit);

    // Writing
    bool createTable(const QString &table, const QList<ColumnDefinition> &columns);
    bool addColumn(const QString &table, const QString &column, const QString &sqlType);
    bool dropTable(const QString &table);
    bool clearTable(const QString &table);
    bool deleteRecord(const QString &table, int id);
    bool updateField(const QString &table, int id, const QString &column, const QString &value);
    int insertEmptyRecord(const QString &table, bool useGivenId, int givenId);

    // The name as it goes into a statement: names the program makes are plain
    // identifiers and go in unchanged; a foreign name with blanks, quotes or a
    // keyword is put between double quotes so that its table can still be read.
    static QString sqlName(const QString &name);
    // True for the words SQLite will not take as a bare name (any case).
    static bool isSqlKeyword(const QString &word);

private:
    QString wholeTableSelect(const QString &table, const QStringList &columns);
    bool execWrite(const QString &statement, QString *error);

    QSqlDatabase db;
};

#endif // DBCONNECTION_H
