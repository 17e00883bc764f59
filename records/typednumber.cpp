#include "records/typednumber.h"

bool readTypedNumber(const QString &text, double *value)
{
    QString number = text;
    number.remove(' ');
    const int comma = number.indexOf(',');
    const int lastPoint = number.lastIndexOf('.');
    if (comma >= 0 && lastPoint >= 0 && lastPoint < comma)
        number.remove('.');
    number.replace(',', '.');
    bool ok = false;
    const double read = number.toDouble(&ok);
    *value = ok ? read : 0.0;
    return ok;
}
