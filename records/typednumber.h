#ifndef TYPEDNUMBER_H
#define TYPEDNUMBER_H

#include <QString>

// Reads a number as a user types it, the Italian way: blanks are ignored and
// a comma is the decimal point ("1 234,50" is 1234.5). Points before a comma
// separate the thousands ("1.234,56" is 1234.56); without a comma, points
// that only part groups of three digits do too ("1.500" is 1500,
// "1.234.567" is 1234567), and a lone point followed by one, two or more than
// three digits is a decimal point ("1.5", "12.25"). The record page, the
// filter page and the command line all read numbers here. Answers false, with
// *value 0, when the text is no finite number ("abc", "12,3,4", "1..5").
bool readTypedNumber(const QString &text, double *value);

#endif // TYPEDNUMBER_H
