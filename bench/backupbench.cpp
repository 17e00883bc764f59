// The automatic copy the window makes before a bulk change, through SQLite's
// online backup, against a plain copy of the database file.
#include "benchoperations.h"

#include "app/tessaro.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstdio>

BenchResult benchBackup(BenchContext &context)
{
    Tessaro &window = *context.window;
    const QString backups = QFileInfo(context.dbPath).absolutePath() + "/Backup";
    const QString plain = context.folder + "/plain.db";
    std::vector<double> copies, plains;
    for (int run = 0; run < 3; ++run) {
        QFile::remove(plain);
        QElapsedTimer timer;
        timer.start();
        QFile::copy(context.dbPath, plain);
        plains.push_back(seconds(timer));
        QDir(backups).removeRecursively();
        timer.start();
        window.copyBefore("bench");
        copies.push_back(seconds(timer));
    }
    std::printf("copied %.1f MB\n", QFileInfo(plain).size() / 1048576.0);
    QDir(backups).removeRecursively();
    QFile::remove(plain);
    return {QString("backup-%1").arg(context.size), best(copies), "file-copy", best(plains)};
}
