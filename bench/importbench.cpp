// Importing a record file of the whole people table, through the real slot,
// into the emptied table, against one prepared INSERT of the same rows in one
// transaction.
#include "benchoperations.h"

#include "app/tessaro.h"

#include <QApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVector>
#include <cstdio>


BenchResult benchImport(BenchContext &context)
{
    Tessaro &window = *context.window;
    DbConnection &db = *window.connection();
    const QString path = context.folder + "/" + People + ".tvf";
    window.exportingToFile(path, People);

    // Each run: the bare insert of the rows read from the table, then the
    // import of the file into the emptied table. The rows are dropped before
    // the import, whose peak is its own.
    std::vector<double> imports, bares;
    int expected = 0, imported = 0;
    for (int run = 0; run < 2; ++run) {
        // Emptied as the user empties it: the window then lists nothing.
        bares.push_back(bareReinsert(db, &expected));
        window.changeTable(People);
        QApplication::processEvents();
        resetPeakMemory();
        QElapsedTimer timer;
        timer.start();
        window.importingFile(path);
        QApplication::processEvents(); // until the list is painted
        imports.push_back(seconds(timer));
        imported = db.countRecords(People);
    }
    std::printf("imported %d of %d records\n", imported, expected);
    return {QString("import-%1").arg(context.size), best(imports), "bare-insert", best(bares)};
}
