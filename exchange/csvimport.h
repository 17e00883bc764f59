#ifndef CSVIMPORT_H
#define CSVIMPORT_H

#include "exchange/csvreader.h"
#include "exchange/csvvalues.h"
#include "exchange/recordfile.h"
#include "storage/dbconnection.h"

#include <QHash>
#include <QList>
#include <QStringList>
#include <QVector>
#include <functional>
#include <memory>

class CsvLookupIndex;

// Imports a spreadsheet's CSV file into a table, or into a new table made
// from it. The file is read whole once when it is opened (its header, its
// rows, what each column holds) and once more by the import; never kept in
// memory. Values are read as the record page reads them (csvvalues.h) and
// written through RecordWriter::Bulk, in one transaction: the identifier
// rule, the ids, the folders of attachments and the stored forms are the
// writer's. A value that cannot be read, a required field left empty and an
// identifier already present are problems, each told as
// "riga N, colonna X: motivo" (N the spreadsheet's row, X the file's header).
// With problems nothing is written, unless only the good rows are asked for.
class CsvImport
{
public:
    // Problems kept for showing; more are counted (and told to the listener).
    static constexpr int KeptProblems = 10000;
    // Fields a new table can have.
    static constexpr int MaxNewFields = 1998;

    explicit CsvImport(DbConnection &db) : db(db) {}

    // Opens the file and reads it once; false with errorText() when it cannot
    // be read, or has no header.
    bool open(const QString &path, const ExchangeProgress &progress = {});
    bool openBytes(const QByteArray &bytes);
    CsvReader &reader() { return file; }
    // Reads the file again, after its encoding or separator was changed.
    bool survey(const ExchangeProgress &progress = {});

    const QStringList &header() const { return names; }
    int rowCount() const { return rows; }
    const QVector<CsvColumnSurvey> &columnSurveys() const { return surveys; }
    // The first data rows (empty rows left out), one text per header column.
    QList<QStringList> firstRows(int count);

    // The table columns the file can fill (csvFieldColumns) ...
    QStringList fieldColumns(const QString &table);
    // ... and the one each file column fills, matched by header; empty for none.
    QStringList mappingFor(const QString &table);

    // A field of a new table for each file column: its name made valid and
    // unique, and its type guessed from the values. An empty name leaves the
    // column out.
    struct NewField {
        QString name;
        QString tag; // "DATEFORMAT", ...
    };
    QList<NewField> guessedFields() const;
    // The column a new field is made as (not required), and the columns such
    // a table is created with, in order.
    static QString newFieldColumn(const NewField &field);
    static QList<ColumnDefinition> newTableColumns(const QList<NewField> &fields);

    struct Plan {
        QString table;         // internal name
        QStringList mapping;   // per file column: the column it fills, or empty
        bool newTable = false; // the table is made first, from newFields (mapping unused)
        QList<NewField> newFields;
        bool goodRows = false; // the rows without problems are written, the others left out
    };
    // Imported: written (goodRows: possibly with rows left out). HasProblems:
    // problems, nothing written. Failed: errorText() (or the connection)
    // says why; nothing written.
    enum Outcome { Imported, HasProblems, Failed };
    Outcome run(const Plan &plan, const ExchangeProgress &progress = {},
                const std::function<void(const QString &problem)> &told = {});

    // The problem a value of file column would be for column, empty when it
    // reads (for a preview: an identifier already present is not told).
    QString valueProblem(int fileColumn, const QString &column, const QByteArray &value);

    int importedCount() const { return imported; }
    int leftOutCount() const { return leftOut; }
    const QStringList &problems() const { return problemList; }
    int problemCount() const { return problemTotal; }
    QString errorText() const { return error; }

    // What one column of the table gets from a record of the file.
    struct Target;

private:
    QString prepare(const Plan &plan, QList<Target> *targets);
    void prepareLookup(const QString &column, Target *target, bool fresh);
    QString label(int fileColumn) const;

    DbConnection &db;
    CsvReader file;
    QStringList names;
    QVector<CsvColumnSurvey> surveys;
    int rows = 0;
    int imported = 0;
    int leftOut = 0;
    QStringList problemList;
    int problemTotal = 0;
    QString error;
    // The looked-up texts the import and the preview have read, by table and column.
    QHash<QString, std::shared_ptr<CsvLookupIndex>> lookups, previewLookups;
};

#endif // CSVIMPORT_H
