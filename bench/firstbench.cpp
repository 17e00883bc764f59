// How soon a large table can be used: from making it current to its first
// records shown, with the window answering (a record selected and shown, the
// list scrolled) while the rest is still read; against a bare SELECT of the
// first 100 rows and a count of the table.
#include "benchoperations.h"

#include "app/recordlistview.h"
#include "app/tessaro.h"

#include <QApplication>
#include <QScrollBar>
#include <QSqlQuery>
#include <cstdio>

namespace {
double bareFirstRows()
{
    QElapsedTimer timer;
    timer.start();
    QSqlQuery count(bareDatabase());
    count.exec(QString("SELECT count(*) FROM %1").arg(People));
    count.next();
    QSqlQuery q(bareDatabase());
    q.setForwardOnly(true);
    q.exec(QString("SELECT * FROM %1 LIMIT 100").arg(People));
    while (q.next()) {
    }
    return seconds(timer);
}
} // namespace

BenchResult benchFirst(BenchContext &context)
{
    Tessaro &window = *context.window;
    auto *list = window.findChild<RecordListView *>("userListWidget");
    std::vector<double> firsts, bares;
    double answered = 0;
    int shown = 0;
    for (int run = 0; run < 3; ++run) {
        bares.push_back(bareFirstRows());
        QElapsedTimer timer;
        timer.start();
        window.changeTable(People);
        QApplication::processEvents(); // until it is painted
        firsts.push_back(seconds(timer));
        shown = list->count();
        // Used at once: a record chosen and shown, the list scrolled.
        timer.start();
        list->setCurrentRow(5);
        list->verticalScrollBar()->setValue(list->verticalScrollBar()->maximum());
        QApplication::processEvents();
        answered = seconds(timer);
        waitForList(window);
    }
    std::printf("first %d records shown; a record chosen and the list scrolled in %.1f ms while the rest was read\n",
                shown, answered * 1000);
    return {QString("first-%1").arg(context.size), best(firsts), "bare-first-rows", best(bares)};
}
