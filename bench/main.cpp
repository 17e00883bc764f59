// tessaro-bench: builds tables of the given sizes in a temporary folder and
// times the real main window (offscreen) on them, one line per operation:
// "NAME X s, BASELINE Y s, ratio R, peak M MB".
//   tessaro-bench                  sizes 10,000 and 100,000
//   tessaro-bench --records N      size N only
//   tessaro-bench --only a,b       only the operations named (first, open, ...)
//   tessaro-bench --launch-child   (internal) one timed start-up, for the launch line
#include "storage/dbconnection.h"
#include "benchoperations.h"

#include "app/tessaro.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>
#include <malloc.h>

namespace {

struct Operation {
    const char *name;
    BenchResult (*run)(BenchContext &);
};

// In the order they run; each starts in a fresh window on the table freshly loaded.
const Operation Operations[] = {
    {"first", benchFirst},
    {"open", benchOpen},
    {"calc", benchCalc},
    {"filter", benchFilter},
    {"launch", benchLaunch},
    {"safety", benchSafety},
    {"export", benchExport},
    {"import", benchImport},
    {"backup", benchBackup},
    {"subtable", benchSubtable},
    {"csv-export", benchCsvExport},
    {"csv-import", benchCsvImport},
    {"pdf", benchPdf},
    {"grid", benchGrid},
    {"huge", benchHuge},
};

} // namespace

int main(int argc, char **argv)
{
    DbConnection::configureSqlite(); // as the program does
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (isLaunchChild(argc, argv))
        return runLaunchChild(argc, argv);
    QApplication app(argc, argv);

    QList<int> sizes = {10000, 100000};
    const QStringList args = app.arguments();
    const int at = args.indexOf("--records");
    if (at >= 0) {
        const int size = at + 1 < args.size() ? args.at(at + 1).toInt() : 0;
        if (size <= 0) {
            std::fprintf(stderr, "usage: tessaro-bench [--records N] [--only NAME,...]\n");
            return 2;
        }
        sizes = {size};
    }
    const int onlyAt = args.indexOf("--only");
    const QStringList only = onlyAt >= 0 ? args.value(onlyAt + 1).split(',', Qt::SkipEmptyParts) : QStringList();

    SilentHandler silent;
    MessageHandler::install(&silent);
    QTemporaryDir folder;
    const QString previous = QDir::currentPath();
    QDir::setCurrent(folder.path());

    for (int size : qAsConst(sizes)) {
        QElapsedTimer timer;
        timer.start();
        const QString path = folder.filePath(QString("bench-%1.db").arg(size));
        makeDatabase(path, size);
        std::printf("generated %d records in %.2f s\n", size, seconds(timer));
        std::fflush(stdout);
    }
    // Each operation gets a window of its own, so that what one leaves behind
    // (pages of widgets, lists) never weighs on the next.
    for (int size : qAsConst(sizes)) {
        for (const Operation &operation : Operations) {
            if (!only.isEmpty() && !only.contains(operation.name))
                continue;
            malloc_trim(0); // what earlier operations freed goes back before this one's peak is taken
            QFile::remove("lastDb.dat"); // starts on an empty database
            Tessaro window;
            window.resize(1200, 800);
            window.show();
            QApplication::processEvents();
            BenchContext context;
            context.window = &window;
            context.handler = &silent;
            context.size = size;
            context.dbPath = folder.filePath(QString("bench-%1.db").arg(size));
            context.folder = folder.filePath(QString("%1-%2").arg(operation.name).arg(size));
            QDir().mkpath(context.folder);
            window.loadDb(context.dbPath);
            useBareDatabase(context.dbPath);
            QApplication::processEvents();
            silent.fileAnswer.clear();
            resetPeakMemory();
            const BenchResult result = operation.run(context);
            printResult(result, result.peakMb >= 0 ? result.peakMb : peakMemoryMb());
        }
    }
    if (silent.warnings)
        std::printf("messages shown: %d\n", silent.warnings);

    MessageHandler::install(nullptr);
    QDir::setCurrent(previous);
    return 0;
}
