// The calculator in the real window: the page built for the bench table and
// its sums computed over every record, against one SELECT sum(...) of the
// same columns.
#include "benchoperations.h"

#include "app/tessaro.h"
#include "calc/calcform.h"

#include <QApplication>
#include <QLineEdit>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <cstdio>

namespace {

double bareSum(const QStringList &columns)
{
    QStringList sums;
    for (const QString &column : columns)
        sums << QString("sum(%1)").arg(column);
    QElapsedTimer timer;
    timer.start();
    QSqlQuery q(bareDatabase());
    q.setForwardOnly(true);
    q.exec(QString("SELECT %1 FROM %2").arg(sums.join(", "), People));
    if (!q.next())
        std::fprintf(stderr, "bare sum read nothing\n");
    return seconds(timer);
}

} // namespace

BenchResult benchCalc(BenchContext &context)
{
    Tessaro &window = *context.window;
    window.changeTable(People);
    QApplication::processEvents();

    std::vector<double> calcs, bares;
    QStringList columns;
    for (int run = 0; run < 3; ++run) {
        QElapsedTimer timer;
        timer.start();
        window.changeToCalcPage();
        QApplication::processEvents(); // until it is painted
        calcs.push_back(seconds(timer));
        if (columns.isEmpty()) {
            for (const calcForm *row : window.calcForms())
                columns << row->name();
        }
        bares.push_back(bareSum(columns));
    }
    QStringList totals;
    for (const calcForm *row : window.calcForms())
        totals << row->name() + " " + row->resultText();
    std::printf("summed %s; result %s\n", qPrintable(totals.join(", ")),
                qPrintable(window.findChild<QLineEdit *>("leCalcResult")->text()));

    return {QString("calc-%1").arg(context.size), best(calcs), "bare-sum", best(bares)};
}
