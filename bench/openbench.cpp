// Opening a table in the real window: the record list is filled and the
// first record shown, against a bare SELECT * of the same table.
#include "benchoperations.h"

#include "app/tessaro.h"

#include <QApplication>
#include "app/recordlistview.h"
#include <cstdio>

BenchResult benchOpen(BenchContext &context)
{
    Tessaro &window = *context.window;
    std::vector<double> opens, bares;
    for (int run = 0; run < 3; ++run) {
        bares.push_back(bareSelect(People));
        QElapsedTimer timer;
        timer.start();
        window.changeTable(People);
        QApplication::processEvents(); // until it is painted
        waitForList(window);
        opens.push_back(seconds(timer));
    }
    const int listed = window.findChild<RecordListView *>("userListWidget")->count();

    QElapsedTimer timer;
    timer.start();
    window.nextRecord();
    QApplication::processEvents();
    const double next = seconds(timer);
    timer.start();
    window.prevRecord();
    QApplication::processEvents();
    const double prev = seconds(timer);
    timer.start();
    window.userSearch(QString::asprintf("citta %06d", context.size - 1));
    QApplication::processEvents();
    const double search = seconds(timer);
    std::printf("listed %d records; next %.2f ms, previous %.2f ms, search %.2f ms\n", listed, next * 1000,
                prev * 1000, search * 1000);

    return {QString("open-%1").arg(context.size), best(opens), "bare-select", best(bares)};
}
