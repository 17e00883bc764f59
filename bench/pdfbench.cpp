// The list of the people table, every field and every record, written as a
// PDF through the real slot (the list's rows gathered, laid out on pages and
// painted), against a bare SELECT * of the same table.
#include "benchoperations.h"

#include "app/tessaro.h"
#include "exchange/printcontent.h"

#include <QApplication>
#include <QFileInfo>
#include <cstdio>

BenchResult benchPdf(BenchContext &context)
{
    Tessaro &window = *context.window;
    window.changeTable(People);
    QApplication::processEvents();
    const QStringList columns = printableColumns(*window.connection(), People);
    const QString path = context.folder + "/" + People + ".pdf";
    std::vector<double> pdfs, bares;
    for (int run = 0; run < 3; ++run) {
        bares.push_back(bareSelect(People));
        QElapsedTimer timer;
        timer.start();
        window.exportingListPdf(path, columns);
        pdfs.push_back(seconds(timer));
    }
    std::printf("wrote %.1f MB\n", QFileInfo(path).size() / 1048576.0);
    return {QString("pdf-%1").arg(context.size), best(pdfs), "bare-select", best(bares)};
}
