// Exporting the people table to a record file through the real slot, against
// a bare SELECT * of the same table.
#include "benchoperations.h"

#include "app/tessaro.h"

#include <QFileInfo>
#include <cstdio>

BenchResult benchExport(BenchContext &context)
{
    Tessaro &window = *context.window;
    const QString path = context.folder + "/" + People + ".tvf";
    std::vector<double> exports, bares;
    for (int run = 0; run < 3; ++run) {
        bares.push_back(bareSelect(People));
        QElapsedTimer timer;
        timer.start();
        window.exportingToFile(path, People);
        exports.push_back(seconds(timer));
    }
    std::printf("wrote %.1f MB\n", QFileInfo(path).size() / 1048576.0);
    return {QString("export-%1").arg(context.size), best(exports), "bare-select", best(bares)};
}
