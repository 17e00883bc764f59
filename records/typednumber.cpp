#include "records/typednumber.h"

#include <QStringList>
#include <cmath>

namespace {

// "1.234.567": a first group of one to three digits (no leading zero), then
// groups of exactly three, parted by points.
bool isGroupedWhole(const QString &digits)
{
    const QStringList groups = digits.split('.');
    if (groups.size() < 2)
        return false;
    for (int i = 0; i < groups.size(); ++i) {
        const QString &group = groups.at(i);
        const bool sized = i == 0 ? group.size() >= 1 && group.size() <= 3 : group.size() == 3;
        if (!sized || (i == 0 && group.size() > 1 && group.at(0) == '0'))
            return false;
        for (const QChar c : group) {
            if (c < '0' || c > '9')
                return false;
        }
    }
    return true;
}

} // namespace

bool readTypedNumber(const QString &text, double *value)
{
    *value = 0.0;
    QString number = text;
    number.remove(' ');
    const int comma = number.indexOf(',');
    if (comma >= 0) {
        // Every point before the comma parts thousands; none may follow it.
        if (number.indexOf(',', comma + 1) >= 0 || number.indexOf('.', comma) >= 0)
            return false;
        number.remove('.');
        number.replace(',', '.');
    } else {
        const int sign = number.startsWith('-') || number.startsWith('+') ? 1 : 0;
        if (isGroupedWhole(number.mid(sign)))
            number.remove('.');
    }
    bool ok = false;
    const double read = number.toDouble(&ok);
    if (!ok || !std::isfinite(read))
        return false;
    *value = read;
    return true;
}
