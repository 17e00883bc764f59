#include "calc/columnsums.h"

#include "storage/dbconnection.h"

#include <charconv>
#include <cmath>

namespace {

// Room for any double printed with "%f": 309 digits, sign, point, decimals.
constexpr int TextRoom = 330;

struct RowTotal {
    double shown = 0; // the shown text read back as a number
    char text[TextRoom];
    int length = 0;   // 0 while the row still shows its reset "0"
};

// Prints value as printf's "%.*f" does, in the C locale; returns the length.
int printFixed(char *text, double value, int decimals)
{
    const std::to_chars_result done =
        std::to_chars(text, text + TextRoom, value, std::chars_format::fixed, decimals);
    return int(done.ptr - text);
}

} // namespace

bool isSummedColumn(const QString &column)
{
    return (column.contains("INTEGERFORMAT") && !column.contains("Id")) || column.contains("REALFORMAT")
           || column.contains("MONEYFORMAT");
}

double sumValue(const QVariant &value)
{
    bool ok = false;
    const double number = value.toDouble(&ok);
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
    QVector<RowTotal> totals(rows.size());
    QStringList columns;
    for (const SumRow &row : rows)
        columns << row.column;

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
                RowTotal &shown = totals[i];
                shown.length = printFixed(shown.text, shown.shown + value, row.money ? 2 : 6);
                std::from_chars(shown.text, shown.text + shown.length, shown.shown);
            }
            ++records;
        });
        result.total = total;
        result.records = records;
    }
    for (const RowTotal &shown : qAsConst(totals))
        result.rowTexts << (shown.length ? QString::fromLatin1(shown.text, shown.length) : QString("0"));
    result.totalText = rowTotalText(result.total, false);
    return result;
}
