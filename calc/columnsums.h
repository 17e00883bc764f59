#ifndef COLUMNSUMS_H
#define COLUMNSUMS_H

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

class DbConnection;

// How a calculator row takes part in the page result.
enum SumSign { SumPlus = 0, SumMinus = 1, SumExclude = 2 };

// Whether the calculator gives the column a row: integer columns, real
// columns and money columns, tested on the whole coded name. An integer
// column whose name contains the letters "Id" anywhere gets no row: that
// leaves out the key column RINTEGERFORMAT_Id and, deliberately, any other
// integer column named with those letters.
bool isSummedColumn(const QString &column);

// One calculator row: the column it sums, whether it is money, its sign.
struct SumRow {
    QString column;
    bool money = false;
    int sign = SumPlus;
};

struct SumResult {
    QStringList rowTexts; // each row's own total, as its line edit shows it
    double total = 0;     // the signed sum over all records
    QString totalText;    // total with "%f"
    int records = 0;
};

// A stored value as the calculator reads it: the number, or 0 for a value
// that does not read as a finite number.
double sumValue(const QVariant &value);
// A row's total as shown: "%.2f" for money, "%f" (six decimals) otherwise.
QString rowTotalText(double value, bool money);

// Sums the rows' columns over every record of table (whatever the record list
// shows), reading the table once. Record by record, and row by row within a
// record, each value is added to or taken from the total by the row's sign;
// every row also keeps its own total, which is carried as its shown text: the
// text read back plus the value, formatted again, so a money row is rounded to
// cents at each step. A table without records leaves every row at "0".
SumResult sumColumns(DbConnection &db, const QString &table, const QVector<SumRow> &rows);

#endif // COLUMNSUMS_H
