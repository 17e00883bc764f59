#ifndef TYPEDNUMBER_H
#define TYPEDNUMBER_H

#include <QString>

// Reads a real or money amount as a user types it: blanks are ignored and a
// comma is a decimal point ("1 234,50" is 1234.5). A text holding both points
// and a comma, every point before the comma, is written the Italian way with
// points between the thousands: "1.234,56" is 1234.56. Answers false, with
// *value 0, when the text is not a number.
bool readTypedNumber(const QString &text, double *value);

#endif // TYPEDNUMBER_H
