#ifndef RECORDFILE_H
#define RECORDFILE_H

#include "storage/dbconnection.h"

#include <QByteArray>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

class QIODevice;

// Record files (".tvf"): line 1 is the table name; every further line is one
// record, each column written as name "###" value "###" in the table's column
// order. Nothing is escaped: a value holding "###" or a line break spoils its
// line, and the importer then refuses that line as incompatible.

// Called after each record with the steps done so far and the total.
using ExchangeProgress = std::function<void(int step, int total)>;

// Writes every record of table to the device, already open for writing.
// The progress total is columns x records; one step per column.
void writeTableRecords(DbConnection &db, QIODevice &device, const QString &table,
                       const ExchangeProgress &progress = {});
// Writes the header line and the first record whose RINTEGERFORMAT_Id is id
// (nothing more when there is none).
void writeSingleRecord(DbConnection &db, QIODevice &device, const QString &table, int id,
                       const ExchangeProgress &progress = {});

// Reads a record file into the table it names. Records whose identifier (first
// data column, compared ignoring case and runs of blanks) is already in the
// table are skipped; the Id of the file is kept when it is free, otherwise the
// record gets the next one. A line whose columns differ from the table's stops
// the import; the records before it stay. Everything is written through one
// prepared statement inside one transaction. The file is read a piece at a
// time: once when it is opened (its table name, the progress total), once
// by the import.
class RecordFileImporter
{
public:
    // Refused: the table is not one the program writes to (errorText says so).
    // NotSaved: the records could not be committed (already told); none stay.
    enum Outcome { Imported, CannotOpen, NoTable, Incompatible, Refused, WriteFailed, NotSaved };

    explicit RecordFileImporter(DbConnection &db);
    ~RecordFileImporter();

    // Reads the file through once: false when it cannot be opened.
    bool open(const QString &path);
    // The same, from bytes already read.
    void load(const QByteArray &bytes);

    QString tableName() const { return table; }
    // Number of "###" in the file: the progress total (two steps per pair).
    int totalSteps() const { return separators; }

    // Imports every record line, in one transaction. NoTable when the named
    // table does not exist. When a line stops the import, the records read
    // before it are kept with keepReadRecords (the window's way), or taken
    // back with the rest (the command line's).
    Outcome run(const ExchangeProgress &progress = {}, bool keepReadRecords = true);

    int importedCount() const { return imported; }
    int skippedCount() const { return skipped; }
    // The message when the table refused the records or one could not be written.
    QString errorText() const { return error; }

    // The file's text in UTF-8, without "\r", a line at a time.
    class Lines;

private:
    void survey();
    bool splitLine(const char *line, int length, int *pairs);

    DbConnection &db;
    std::unique_ptr<Lines> lines;
    QString table;
    int recordLines = 0; // line ends after the first line
    int separators = 0;
    int imported = 0;
    int skipped = 0;
    QString error;
    QList<QByteArray> columnBytes; // the table's column names in UTF-8
    QVector<QByteArray> lineValues; // of the line being read, in the file's bytes
};

#endif // RECORDFILE_H
