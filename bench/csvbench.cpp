// Spreadsheets: the people table written as an Italian CSV file through the
// real slot, against a bare SELECT * of the same table; and that file
// imported through the real import dialog into the emptied table, against
// one prepared INSERT of the same rows in one transaction.
#include "benchoperations.h"

#include "app/tessaro.h"
#include "dialogs/csvimportform.h"

#include <QApplication>
#include <QFileInfo>
#include <QPushButton>
#include <QSqlQuery>
#include <QTimer>
#include <QVector>
#include <cstdio>


BenchResult benchCsvExport(BenchContext &context)
{
    Tessaro &window = *context.window;
    const QString path = context.folder + "/" + People + ".csv";
    std::vector<double> exports, bares;
    for (int run = 0; run < 3; ++run) {
        bares.push_back(bareSelect(People));
        QElapsedTimer timer;
        timer.start();
        window.exportingCsv(path, People, false);
        exports.push_back(seconds(timer));
    }
    std::printf("wrote %.1f MB\n", QFileInfo(path).size() / 1048576.0);
    return {QString("csv-export-%1").arg(context.size), best(exports), "bare-select", best(bares)};
}

BenchResult benchCsvImport(BenchContext &context)
{
    Tessaro &window = *context.window;
    DbConnection &db = *window.connection();
    const QString path = context.folder + "/" + People + ".csv";
    window.exportingCsv(path, People, false);

    std::vector<double> imports, bares;
    int expected = 0, imported = 0;
    for (int run = 0; run < 2; ++run) {
        bares.push_back(bareReinsert(db, &expected));
        window.changeTable(People);
        QApplication::processEvents();
        resetPeakMemory();
        // The dialog's Import button, pressed as soon as the dialog is up.
        QTimer press;
        QObject::connect(&press, &QTimer::timeout, &window, [&window, &press] {
            if (window.csvImportForm()->isVisible()) {
                press.stop();
                window.csvImportForm()->findChild<QPushButton *>("pbImport")->click();
            }
        });
        press.start(1);
        QElapsedTimer timer;
        timer.start();
        window.importingCsv(path);
        QApplication::processEvents(); // until the list is painted
        imports.push_back(seconds(timer));
        imported = db.countRecords(People);
    }
    std::printf("imported %d of %d records\n", imported, expected);
    return {QString("csv-import-%1").arg(context.size), best(imports), "bare-insert", best(bares)};
}
