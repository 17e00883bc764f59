#include "records/typeddate.h"

#include <QRegularExpression>

QDate readTypedDate(const QString &text)
{
    static const QRegularExpression shape("^(\\d{1,2})/(\\d{1,2})/(\\d{2}|\\d{4})$");
    const QRegularExpressionMatch match = shape.match(text.trimmed());
    if (!match.hasMatch())
        return QDate();
    int year = match.captured(3).toInt();
    if (match.captured(3).size() == 2) {
        const int nearest = QDate::currentDate().year() + 10;
        year += nearest / 100 * 100;
        if (year > nearest)
            year -= 100;
    }
    return QDate(year, match.captured(2).toInt(), match.captured(1).toInt());
}
