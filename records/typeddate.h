#ifndef TYPEDDATE_H
#define TYPEDDATE_H

#include <QDate>
#include <QString>

// Reads a date as a user types it: "d/M/yyyy" or "d/M/yy" ("12/03/1963",
// "1/3/63"); a two-digit year falls in the hundred years that end ten years
// from now. The record page, the filter page, the command line and imported
// files all read dates here. An invalid date when the text is no date
// ("31/02/2000").
QDate readTypedDate(const QString &text);

// Dates are stored as "dd/MM/yyyy".
inline QString storedDateText(const QDate &date)
{
    return date.isValid() ? date.toString("dd/MM/yyyy") : QString();
}

#endif // TYPEDDATE_H
