// Applying a filter in the real window: a text "contains" on the surname
// joined with Or to an equality on the city lookup, set on the filter page
// and applied with its button; against a bare SELECT * of the same table.
#include "benchoperations.h"

#include "app/tessaro.h"
#include "records/inputdataform.h"

#include <QApplication>
#include <QLineEdit>
#include "app/recordlistview.h"
#include <QPushButton>
#include <cstdio>

namespace {
inputDataForm *editorOf(Tessaro &window, const QString &column)
{
    for (inputDataForm *editor : window.filterEditors()) {
        if (editor->columnName() == column)
            return editor;
    }
    return nullptr;
}
} // namespace

BenchResult benchFilter(BenchContext &context)
{
    Tessaro &window = *context.window;
    window.changeTable(People);
    QApplication::processEvents();

    QElapsedTimer timer;
    timer.start();
    window.findChild<QPushButton *>("pbFilter")->click();
    QApplication::processEvents();
    const double page = seconds(timer);

    // Surname contains "Cognome1" Or the city is the one of the middle record.
    inputDataForm *surname = editorOf(window, "RSTRINGFORMAT_Cognome");
    inputDataForm *city = editorOf(window, "XCitta_XDTX_RSTRINGFORMAT_Nome");
    if (!surname || !city) {
        std::fprintf(stderr, "filter page without the expected editors\n");
        return {QString("filter-%1").arg(context.size), 0, "bare-select", 0};
    }
    city->selectLookupItem(QString::number(context.size / 2));
    surname->findChild<QLineEdit *>("leData")->setText("Cognome1");
    surname->setCondition("Major");
    surname->setConnector("Or");

    QPushButton *apply = window.findChild<QPushButton *>("pbSaveFilters");
    std::vector<double> filters, bares;
    for (int run = 0; run < 3; ++run) {
        bares.push_back(bareSelect(People));
        if (run > 0) {
            window.findChild<QPushButton *>("pbFilter")->click();
            QApplication::processEvents();
        }
        timer.start();
        apply->click();
        QApplication::processEvents(); // until it is painted
        filters.push_back(seconds(timer));
    }
    const int listed = window.findChild<RecordListView *>("userListWidget")->count();

    // Stepping through the filtered list reads nothing per record.
    timer.start();
    const int steps = 100;
    for (int i = 0; i < steps; ++i)
        window.nextRecord();
    QApplication::processEvents();
    const double next = seconds(timer) / steps;
    timer.start();
    for (int i = 0; i < steps; ++i)
        window.prevRecord();
    QApplication::processEvents();
    const double prev = seconds(timer) / steps;
    std::printf("listed %d records; filter page %.2f s; next %.2f ms, previous %.2f ms\n", listed, page,
                next * 1000, prev * 1000);

    window.disableFilters();
    return {QString("filter-%1").arg(context.size), best(filters), "bare-select", best(bares)};
}
