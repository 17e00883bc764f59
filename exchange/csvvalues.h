#ifndef CSVVALUES_H
#define CSVVALUES_H

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QStringList>

// How a spreadsheet's values are read into fields, and what the values of a
// whole column of a file look like.

// The columns of a table that a spreadsheet holds, in the table's order:
// all but the id, the folder of attachments, links and subtables.
QStringList csvFieldColumns(const QStringList &columns);
// The header of each of those columns: the field's name as the record page
// titles it ("Data di nascita"), a repeated field with its number
// ("Prezzo 2"); a name shared by a lookup gets the looked-up table
// ("Nome (Citta)"), and any name still shared a number.
QStringList csvHeaderNames(const QStringList &fieldColumns);
// A header as headers are matched: lower case, without accents, blanks or "_".
QString csvHeaderKey(const QString &header);
// A header made a field name the designer takes: only letters, digits and
// blanks, no marker of the naming scheme; "Campo N" when nothing is left.
QString csvFieldName(const QString &header, int position);

// A number the Italian way (readTypedNumber: "1.234,56", "1.500" is 1500,
// "1.5" is 1.5) or, with decimalPoint, the international way ("1.500" is
// 1.5; a comma is refused). Blanks, non-breaking ones included, and a euro
// sign are left out. False when it is no number.
bool readCsvNumber(const QString &text, bool decimalPoint, double *value);

// A date as "d/M/yyyy", "d/M/yy" (read as readTypedDate reads them) or
// "yyyy-MM-dd". monthFirst: the column also holds dates that only read with
// the month first ("12/25/2020"); its dates read that way too, and one that
// reads both ways ("03/04/2020") is ambiguous: *ambiguous is set and no date
// is given. Invalid when the text is no date.
QDate readCsvDate(const QString &text, bool monthFirst, bool *ambiguous);
// The same on the value's UTF-8 bytes; *canonical tells whether they are
// already the stored form "dd/MM/yyyy".
QDate readCsvDate(const QByteArray &utf8, bool monthFirst, bool *ambiguous, bool *canonical);

// "Sì", "Si", "Vero", "1", "True" are 1; "No", "Falso", "0", "False" are 0
// (any case, blanks around); anything else -1.
int readCsvYesNo(const QString &text);

// What the non-empty values of one column of a file look like.
struct CsvColumnSurvey {
    int filled = 0;         // values not empty
    int dates = 0;          // read as dates one way or the other
    int monthFirstOnly = 0; // dates that read only with the month first
    int numbers = 0;        // numbers written as numbers are (no code like "007" or "+39 02 ...")
    int wholes = 0;         // of them, whole and small enough for a whole-number field
    int groupedPoints = 0;  // of them, "1.500": thousands the Italian way, a decimal point the international way
    int commaDecimals = 0;  // "1,5": the Italian decimal comma
    int pointDecimals = 0;  // "1.25": a decimal point
    int euros = 0;          // with the euro sign
    int yesNo = 0;          // Sì/No words, 1 and 0 included
    int yesNoWords = 0;     // of them, words
    int mails = 0;
    int urls = 0;

    void add(const QByteArray &value);
    // Whether the column's numbers have a decimal point rather than comma:
    // as its values tell, or, when they do not, as the separator does (a
    // file parted by "," writes decimal points).
    bool decimalPoint(char separator) const;
    bool monthFirst() const { return monthFirstOnly > 0; }
    // The type tag a new field for the column gets: DATEFORMAT,
    // INTEGERFORMAT, REALFORMAT, MONEYFORMAT, BOOLFORMAT, MAILFORMAT,
    // URLFORMAT, else STRINGFORMAT.
    QString guessedTag(char separator) const;
};

#endif // CSVVALUES_H
