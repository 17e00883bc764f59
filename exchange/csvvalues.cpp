#include "exchange/csvvalues.h"

#include "records/tabledesign.h"
#include "records/typednumber.h"
#include "storage/columnname.h"
#include "storage/tablename.h"

#include <QHash>
#include <climits>
#include <cmath>
#include <cstring>

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Blanks around a value, the non-breaking one (UTF-8) included.
void trimBlanks(const char **from, const char **to)
{
    for (;;) {
        if (*from < *to && (**from == ' ' || **from == '\t')) {
            ++*from;
        } else if (*to - *from >= 2 && uchar((*from)[0]) == 0xC2 && uchar((*from)[1]) == 0xA0) {
            *from += 2;
        } else {
            break;
        }
    }
    for (;;) {
        if (*to > *from && ((*to)[-1] == ' ' || (*to)[-1] == '\t')) {
            --*to;
        } else if (*to - *from >= 2 && uchar((*to)[-2]) == 0xC2 && uchar((*to)[-1]) == 0xA0) {
            *to -= 2;
        } else {
            break;
        }
    }
}

// Reads up to maxDigits digits (at least one) from *at.
bool digits(const char **at, const char *end, int maxDigits, int *value, int *count)
{
    *value = 0;
    *count = 0;
    while (*at < end && isDigit(**at) && *count < maxDigits + 1) {
        *value = *value * 10 + (**at - '0');
        ++*at;
        ++*count;
    }
    return *count >= 1 && *count <= maxDigits;
}

// The year of a two-digit year: in the hundred years that end ten years from
// now, as readTypedDate has it.
int fullYear(int year, int digitCount)
{
    if (digitCount != 2)
        return year;
    static const int nearest = QDate::currentDate().year() + 10;
    year += nearest / 100 * 100;
    return year > nearest ? year - 100 : year;
}

// The shapes of a date: "yyyy-M-d" (iso), or "a/b/y" with one or two digits
// for a and b and two or four for y. No other text is around it.
struct DateParts {
    bool iso = false;
    int a = 0, b = 0, year = 0;
};

bool dateParts(const char *s, const char *end, DateParts *parts)
{
    int value, count;
    const char *at = s;
    if (!digits(&at, end, 4, &value, &count) || at == end)
        return false;
    if (count == 4 && *at == '-') {
        parts->iso = true;
        parts->year = value;
        ++at;
        if (!digits(&at, end, 2, &parts->b, &count) || at == end || *at != '-')
            return false;
        ++at;
        return digits(&at, end, 2, &parts->a, &count) && at == end;
    }
    if (count > 2 || *at != '/')
        return false;
    parts->a = value;
    ++at;
    if (!digits(&at, end, 2, &parts->b, &count) || at == end || *at != '/')
        return false;
    ++at;
    if (!digits(&at, end, 4, &value, &count) || at != end || count == 1 || count == 3)
        return false;
    parts->year = fullYear(value, count);
    return true;
}

bool groupedWhole(const char *s, const char *end)
{
    // "1.234.567": one to three digits (no leading zero), then groups of three.
    const char *at = s;
    int lead = 0;
    while (at < end && isDigit(*at))
        ++at, ++lead;
    if (lead < 1 || lead > 3 || (lead > 1 && *s == '0') || at == end)
        return false;
    while (at < end) {
        if (*at != '.' || end - at < 4 || !isDigit(at[1]) || !isDigit(at[2]) || !isDigit(at[3]))
            return false;
        at += 4;
    }
    return true;
}

bool startsWithNoCase(const char *s, const char *end, const char *prefix)
{
    const size_t n = strlen(prefix);
    if (size_t(end - s) < n)
        return false;
    for (size_t i = 0; i < n; ++i) {
        char c = s[i];
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
        if (c != prefix[i])
            return false;
    }
    return true;
}

bool hasBlank(const char *s, const char *end)
{
    for (const char *at = s; at < end; ++at) {
        if (*at == ' ' || *at == '\t' || *at == '\n' || *at == '\r')
            return true;
    }
    return false;
}

bool looksLikeMail(const char *s, const char *end)
{
    const char *at = static_cast<const char *>(memchr(s, '@', size_t(end - s)));
    if (!at || at == s || hasBlank(s, end) || memchr(at + 1, '@', size_t(end - at - 1)))
        return false;
    const char *dot = static_cast<const char *>(memchr(at + 1, '.', size_t(end - at - 1)));
    return dot && dot > at + 1 && end[-1] != '.';
}

bool looksLikeUrl(const char *s, const char *end)
{
    return !hasBlank(s, end) && (startsWithNoCase(s, end, "http://") || startsWithNoCase(s, end, "https://")
                                 || startsWithNoCase(s, end, "www."));
}

QString withoutBlanksAndEuro(const QString &text)
{
    QString cleaned;
    cleaned.reserve(text.size());
    for (const QChar c : text) {
        if (!c.isSpace() && c != QChar(0x20AC))
            cleaned += c;
    }
    return cleaned;
}

} // namespace

QStringList csvFieldColumns(const QStringList &columns)
{
    QStringList fields;
    for (const QString &column : columns) {
        const ColumnName name(column);
        if (!name.isProgramField() && !name.isLink() && !name.isSubtable())
            fields << column;
    }
    return fields;
}

QStringList csvHeaderNames(const QStringList &fieldColumns)
{
    QStringList names;
    for (const QString &column : fieldColumns) {
        const ColumnName name(column);
        if (name.isForeign()) {
            names << column;
            continue;
        }
        QString title = name.bareField();
        title.replace('_', ' ');
        if (name.repeat() > 0)
            title += QString(" %1").arg(name.repeat());
        names << title;
    }
    // A lookup sharing its name says which table it looks into.
    for (int i = 0; i < names.size(); ++i) {
        const ColumnName name(fieldColumns.at(i));
        if (name.isLookup() && names.count(names.at(i)) > 1)
            names[i] += " (" + TableName(name.lookupTable()).display() + ")";
    }
    QHash<QString, int> seen;
    for (QString &title : names) {
        const int times = ++seen[csvHeaderKey(title)];
        if (times > 1)
            title += QString(" %1").arg(times);
    }
    return names;
}

QString csvHeaderKey(const QString &header)
{
    const QString decomposed = header.normalized(QString::NormalizationForm_D);
    QString key;
    key.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        if (c.category() == QChar::Mark_NonSpacing || c.isSpace() || c == '_')
            continue;
        key += c.toLower();
    }
    return key;
}

QString csvFieldName(const QString &header, int position)
{
    QString name;
    for (const QChar c : header)
        name += c.isLetterOrNumber() ? c : QChar(' ');
    name = name.simplified();
    if (name.isEmpty() || !invalidFieldNameReason(name).isEmpty())
        name = QString("Campo %1").arg(position);
    return name;
}

bool readCsvNumber(const QString &text, bool decimalPoint, double *value)
{
    const QString cleaned = withoutBlanksAndEuro(text);
    if (!decimalPoint)
        return readTypedNumber(cleaned, value);
    bool ok = false;
    *value = cleaned.contains(',') ? 0.0 : cleaned.toDouble(&ok);
    if (!ok || !std::isfinite(*value)) {
        *value = 0.0;
        return false;
    }
    return true;
}

QDate readCsvDate(const QString &text, bool monthFirst, bool *ambiguous)
{
    bool canonical;
    return readCsvDate(text.trimmed().toUtf8(), monthFirst, ambiguous, &canonical);
}

QDate readCsvDate(const QByteArray &utf8, bool monthFirst, bool *ambiguous, bool *canonical)
{
    *ambiguous = false;
    *canonical = false;
    const char *s = utf8.constData(), *end = s + utf8.size();
    trimBlanks(&s, &end);
    DateParts parts;
    if (!dateParts(s, end, &parts))
        return QDate();
    if (parts.iso)
        return QDate(parts.year, parts.b, parts.a);
    const QDate dayFirst(parts.year, parts.b, parts.a);
    *canonical = utf8.size() == 10 && s == utf8.constData() && s[2] == '/' && s[5] == '/';
    if (!monthFirst)
        return dayFirst;
    const QDate otherWay(parts.year, parts.a, parts.b);
    if (dayFirst.isValid() && otherWay.isValid() && dayFirst != otherWay) {
        *ambiguous = true;
        return QDate();
    }
    *canonical = *canonical && dayFirst.isValid();
    return dayFirst.isValid() ? dayFirst : otherWay;
}

int readCsvYesNo(const QString &text)
{
    static const QStringList yes = {QString::fromUtf8("sì"), "si", "vero", "1", "true"};
    static const QStringList no = {"no", "falso", "0", "false"};
    const QString word = text.trimmed().toLower();
    return yes.contains(word) ? 1 : no.contains(word) ? 0 : -1;
}

void CsvColumnSurvey::add(const QByteArray &value)
{
    const char *s = value.constData(), *end = s + value.size();
    trimBlanks(&s, &end);
    if (s == end)
        return;
    ++filled;
    const int length = int(end - s);

    DateParts parts;
    if (dateParts(s, end, &parts)) {
        const bool dayFirst = QDate::isValid(parts.year, parts.b, parts.a);
        const bool otherWay = !parts.iso && QDate::isValid(parts.year, parts.a, parts.b);
        if (dayFirst || otherWay)
            ++dates;
        if (!dayFirst && otherWay)
            ++monthFirstOnly;
        return;
    }

    // Numbers: only digits, signs, points, commas, blanks and the euro sign.
    bool euro = false, comma = false, point = false, plus = false, blank = false;
    int digitCount = 0;
    for (const char *at = s; at < end; ++at) {
        const char c = *at;
        if (isDigit(c)) {
            ++digitCount;
        } else if (c == ',') {
            comma = true;
        } else if (c == '.') {
            point = true;
        } else if (c == '+') {
            plus = true;
        } else if (c == ' ' || c == '-') {
            blank = blank || c == ' ';
        } else if (end - at >= 3 && memcmp(at, "\xE2\x82\xAC", 3) == 0) {
            euro = true;
            at += 2;
        } else if (end - at >= 2 && memcmp(at, "\xC2\xA0", 2) == 0) {
            blank = true;
            ++at;
        } else {
            digitCount = -1;
            break;
        }
    }
    if (digitCount > 0 && digitCount <= 15 && !plus) {
        // The number less its blanks and euro sign, in ASCII.
        QByteArray bare;
        bare.reserve(length);
        for (const char *at = s; at < end; ++at) {
            if (*at == ' ' || (*at & 0x80))
                continue;
            bare += *at;
        }
        const char *firstDigit = bare.constData();
        while (!isDigit(*firstDigit))
            ++firstDigit;
        // "007", "+39 02 1234567": codes and telephone numbers, not amounts.
        const bool code = (blank && !euro) || (*firstDigit == '0' && isDigit(firstDigit[1]));
        double number;
        if (!code && readTypedNumber(QString::fromLatin1(bare), &number)) {
            ++numbers;
            euros += euro;
            const char *from = bare.constData() + (bare.startsWith('-') ? 1 : 0);
            const bool grouped = !comma && point && groupedWhole(from, bare.constData() + bare.size());
            commaDecimals += comma;
            groupedPoints += grouped;
            pointDecimals += point && !comma && !grouped;
            wholes += !comma && (!point || grouped) && std::fabs(number) <= INT_MAX && number == std::floor(number);
        }
    }
    if (length <= 6) {
        char word[8] = {};
        for (int i = 0; i < length; ++i)
            word[i] = s[i] >= 'A' && s[i] <= 'Z' ? char(s[i] - 'A' + 'a') : s[i];
        // "sì" and "SÌ" end in the two bytes of a small or a capital ì.
        const bool accented = length == 3 && word[0] == 's' && uchar(word[1]) == 0xC3
                              && (uchar(word[2]) == 0xAC || uchar(word[2]) == 0x8C);
        bool yes = accented, no = false;
        for (const char *w : {"si", "vero", "1", "true"})
            yes = yes || strcmp(word, w) == 0;
        for (const char *w : {"no", "falso", "0", "false"})
            no = no || strcmp(word, w) == 0;
        if (yes || no) {
            ++yesNo;
            yesNoWords += isDigit(*s) ? 0 : 1;
        }
    }
    mails += looksLikeMail(s, end);
    urls += looksLikeUrl(s, end);
}

bool CsvColumnSurvey::decimalPoint(char separator) const
{
    if (commaDecimals > 0)
        return false;
    return pointDecimals > 0 || separator == ',';
}

QString CsvColumnSurvey::guessedTag(char separator) const
{
    if (filled == 0)
        return "STRINGFORMAT";
    if (yesNo == filled && yesNoWords > 0)
        return "BOOLFORMAT";
    if (dates == filled)
        return "DATEFORMAT";
    if (numbers == filled) {
        if (euros > 0)
            return "MONEYFORMAT";
        const int whole = decimalPoint(separator) ? wholes - groupedPoints : wholes;
        return whole == filled ? "INTEGERFORMAT" : "REALFORMAT";
    }
    if (mails == filled)
        return "MAILFORMAT";
    if (urls == filled)
        return "URLFORMAT";
    return "STRINGFORMAT";
}
