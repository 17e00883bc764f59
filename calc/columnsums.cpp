#include "calc/columnsums.h"

#include "storage/dbconnection.h"

#include <charconv>
#include <cmath>

namespace {

// Room for any double printed with "%f": 309 digits, sign, point, decimals.
constexpr int TextRoom = 330;

// Prints value as printf's "%.*f" does, in the C locale; returns the length.
int printFixed(char *text, double value, int decimals)
{
    const std::to_chars_result done =
        std::to_chars(text, text + TextRoom, value, std::chars_format::fixed, decimals);
    return int(done.ptr - text);
}

// What a total printed with the given decimals reads back as. The rounded
// number k / 10^decimals is found by arithmetic, which gives the very double
// the printed text parses to; only when value * 10^decimals lies too close to
// a halfway point for the product to decide is the text printed and read.
double readBack(double value, int decimals, double scale)
{
    const double scaled = value * scale;
    if (std::fabs(scaled) < 0x1p52) {
        const double whole = std::nearbyint(scaled);
        const double margin = std::fabs(scaled) * 0x1p-52; // bounds the product's error
        if (std::fabs(std::fabs(scaled - whole) - 0.5) > margin)
            return whole / scale;
    }
    char text[TextRoom];
    const int length = printFixed(text, value, decimals);
    double shown = 0;
    std::from_chars(text, text + length, shown);
    return shown;
}

// A plain decimal text, read without going through the locale machinery;
// false when the text needs the general conversion.
bool readPlainNumber(const QString &text, double *number)
{
    const int length = text.size();
    char digits[64];
    if (length == 0 || length > int(sizeof digits))
        return false;
    const QChar *in = text.constData();
    for (int i = 0; i < length; ++i) {
        const ushort c = in[i].unicode();
        if (c >= 128)
            return false;
        digits[i] = char(c);
    }
    const std::from_chars_result read = std::from_chars(digits, digits + length, *number);
    return read.ec == std::errc() && read.ptr == digits + length;
}

} // namespace

bool isSummedColumn(const QString &column)
{
    return (column.contains("INTEGERFORMAT") && !column.contains("Id")) || column.contains("REALFORMAT")
           || column.contains("MONEYFORMAT");
}

double sumValue(const QVariant &value)
{
    double number = 0;
    bool ok = false;
    if (value.userType() == QMetaType::QString && readPlainNumber(*static_cast<const QString *>(value.constData()), &number))
        ok = true;
    else
        number = value.toDouble(&ok);
    return ok && std::isfinite(number) ? number : 0.0;
}

QString rowTotalText(double value, bool money)
{
    char text[TextRoom];
    const int length = printFixed(text, value, money ? 2 : 6);
    return QString::fromLatin1(text, length);
}

SumResult sumColumns(DbConnection &db, const QString &table, const QVector<SumRow> &rows)
{
    SumResult result;
    QStringList columns;
    for (const SumRow &row : rows)
        columns << row.column;
    QVector<double> shown(rows.size(), 0.0); // each row's text, read back

    if (!rows.isEmpty()) {
        double total = 0.0;
        int records = 0;
        db.readColumns(table, columns, [&](const QVector<QVariant> &values) {
            for (int i = 0; i < rows.size(); ++i) {
                const SumRow &row = rows.at(i);
                const double value = sumValue(values.at(i));
                if (row.sign == SumPlus)
                    total += value;
                else if (row.sign == SumMinus)
                    total -= value;
                shown[i] = row.money ? readBack(shown.at(i) + value, 2, 100.0)
                                     : readBack(shown.at(i) + value, 6, 1e6);
            }
            ++records;
        });
        result.total = total;
        result.records = records;
    }
    for (int i = 0; i < rows.size(); ++i)
        result.rowTexts << (result.records ? rowTotalText(shown.at(i), rows.at(i).money) : QString("0"));
    result.totalText = rowTotalText(result.total, false);
    return result;
}
