// A table whose list column holds pasted notes of 10 MB each: listed and
// idle, against SQLite stepping through the same values bare.
#include "benchoperations.h"

#include "app/tessaro.h"
#include "storage/dbconnection.h"

#include <QApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>
#include <cstdio>

namespace {
const int Notes = 20;

void makeNotes(const QString &path)
{
    DbConnection db;
    db.openDb(path);
    db.createTable("Note", {{"RSTRINGFORMAT_Testo", "text"}, {"NSTRINGFORMAT_Autore", "text"}});
    QSqlDatabase raw = QSqlDatabase::database(db.connectionName());
    QSqlQuery q(raw);
    q.exec("BEGIN");
    q.prepare("INSERT INTO Note VALUES (?, ?, ?)");
    for (int i = 1; i <= Notes; ++i) {
        q.addBindValue(i);
        q.addBindValue(QString("Nota %1 ").arg(i) + QString(10 * 1024 * 1024, QChar('a' + i % 26)) + "\nfine");
        q.addBindValue("Anna");
        q.exec();
    }
    q.exec("COMMIT");
}

double bareNotes(const QString &path)
{
    QElapsedTimer timer;
    timer.start();
    {
        QSqlDatabase bare = QSqlDatabase::addDatabase("QSQLITE", "bare-notes");
        bare.setDatabaseName(path);
        bare.open();
        QSqlQuery q(bare);
        q.setForwardOnly(true);
        q.exec("SELECT RINTEGERFORMAT_Id, RSTRINGFORMAT_Testo FROM Note");
        while (q.next()) {
        }
    }
    QSqlDatabase::removeDatabase("bare-notes");
    return seconds(timer);
}
} // namespace

BenchResult benchHuge(BenchContext &context)
{
    const QString path = context.folder + "/note.db";
    makeNotes(path);
    Tessaro &window = *context.window;
    window.loadDb(path);
    QApplication::processEvents();
    resetPeakMemory();
    std::vector<double> lists, bares;
    for (int run = 0; run < 3; ++run) {
        bares.push_back(bareNotes(path));
        QElapsedTimer timer;
        timer.start();
        window.changeTable("Note");
        QApplication::processEvents();
        waitForList(window);
        lists.push_back(seconds(timer));
    }
    std::printf("listed %d notes of 10 MB each\n", Notes);
    return {QString("huge-%1x10MB").arg(Notes), best(lists), "bare-select", best(bares)};
}
