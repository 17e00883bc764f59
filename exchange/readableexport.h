#ifndef READABLEEXPORT_H
#define READABLEEXPORT_H

#include "exchange/recordfile.h"

// Text for people, never read back. A column is shown by its bare name (the
// part after "FORMAT_"); a lookup column shows the named column of the
// referenced record, or "---" when that record is missing.

// Name of a column in readable files.
QString bareColumnName(const QString &column);

// One line per record: name ";" value ";" for every column.
void writeReadableTable(DbConnection &db, QIODevice &device, const QString &table,
                        const ExchangeProgress &progress = {});
// The record whose RINTEGERFORMAT_Id is id: one line "name=value" per column;
// nothing when there is no such record.
void writeReadableRecord(DbConnection &db, QIODevice &device, const QString &table, int id,
                         const ExchangeProgress &progress = {});

#endif // READABLEEXPORT_H
