#ifndef CSVEXPORT_H
#define CSVEXPORT_H

#include "exchange/recordfile.h"

#include <QVector>

// A table as a spreadsheet's CSV file: a header row of field names
// (csvHeaderNames), then one row per record, RFC 4180 quoting, CR LF line
// ends. The Italian form opens with a double-click in an Italian spreadsheet
// program: ";" between fields, UTF-8 with its byte-order mark, decimal comma
// in decimal and money values ("1234,56", no thousands point), dates as
// stored ("dd/MM/yyyy"). The international form has ",", decimal points and
// ISO dates ("yyyy-MM-dd"), and no mark. Both write yes/no as "Sì"/"No",
// lookups as the looked-up text and attachments as their stored path.
enum class CsvForm { Italian, International };

// Writes the file at path whole or not at all; with ids, only those records,
// in that order. Answers the message to tell when it could not be written;
// empty when done.
QString writeCsvFile(DbConnection &db, const QString &path, const QString &table, CsvForm form,
                     const QVector<int> *ids = nullptr, const ExchangeProgress &progress = {});

#endif // CSVEXPORT_H
