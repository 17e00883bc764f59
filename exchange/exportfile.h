#ifndef EXPORTFILE_H
#define EXPORTFILE_H

#include "exchange/recordfile.h"

// The files a table is written to, the same bytes for the window and the
// command line: its records (".tvf"), its structure (".tsc"), or readable
// text (".txt"); and one record of it, as a record file or as text.
enum class ExportKind { Records, Structure, Text, RecordOfTable, TextOfRecord };

// Writes the file at path whole or not at all: until it is complete the
// previous file (if any) stays as it was, and a file that cannot be written
// leaves nothing behind. id is the record of the single-record kinds.
// Answers the message to tell when it could not be written; empty when done.
QString writeExportFile(DbConnection &db, const QString &path, const QString &table, ExportKind kind, int id = 0,
                        const ExchangeProgress &progress = {});

#endif // EXPORTFILE_H
