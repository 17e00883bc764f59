#include "benchsupport.h"

#include "app/tessaro.h"

#include "storage/dbconnection.h"

#include <QCoreApplication>
#include <QDate>
#include <QEventLoop>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>
#include <algorithm>
#include <cstdio>

const char *const People = "Persone";
const char *const Cities = "Citta";

double seconds(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}

double best(std::vector<double> values)
{
    return values.empty() ? 0 : *std::min_element(values.begin(), values.end());
}

void resetPeakMemory()
{
    // "5" resets the peak resident set size the kernel keeps for the process.
    QFile refs("/proc/self/clear_refs");
    if (refs.open(QIODevice::WriteOnly))
        refs.write("5");
}

double peakMemoryMb()
{
    QFile status("/proc/self/status");
    if (!status.open(QIODevice::ReadOnly | QIODevice::Text))
        return 0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLong() / 1024.0;
    }
    return 0;
}

void makeDatabase(const QString &path, int size)
{
    DbConnection db;
    db.openDb(path);
    db.createTable(People, {{"XCitta_XDTX_RSTRINGFORMAT_Nome", "Integer"},
                            {"RSTRINGFORMAT_Cognome", "text"},
                            {"NDATEFORMAT_Nascita", "text"},
                            {"NINTEGERFORMAT_Eta", "text"},
                            {"NREALFORMAT_Peso", "text"},
                            {"NMONEYFORMAT_Saldo", "text"},
                            {"NBOOLFORMAT_Attivo", "text"},
                            {"NMAILFORMAT_Posta", "text"},
                            {"NURLFORMAT_Sito", "text"},
                            {"NLONGSTRINGFORMAT_Note", "text"}});
    db.createTable(Cities, {{"RSTRINGFORMAT_Nome", "text"}, {"NSTRINGFORMAT_Provincia", "text"}});

    useBareDatabase(path);
    QSqlDatabase connection = bareDatabase();
    connection.transaction();
    QSqlQuery city(connection);
    city.prepare("INSERT INTO Citta (RINTEGERFORMAT_Id, RSTRINGFORMAT_Nome, NSTRINGFORMAT_Provincia) VALUES (?, ?, ?)");
    for (int i = 1; i <= size; ++i) {
        city.addBindValue(i);
        city.addBindValue(QString::asprintf("Citta %06d", i));
        city.addBindValue(QString::asprintf("PR%02d", i % 100));
        city.exec();
    }
    QSqlQuery person(connection);
    person.prepare("INSERT INTO Persone VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    const QDate start(1950, 1, 1);
    for (int i = 1; i <= size; ++i) {
        person.addBindValue(i);
        person.addBindValue(int((qint64(i) * 7919) % size) + 1); // a permutation of the cities
        person.addBindValue(QString::asprintf("Cognome%d", i));
        person.addBindValue(start.addDays(i % 20000).toString("dd/MM/yyyy"));
        person.addBindValue(QString::number(18 + i % 70));
        person.addBindValue(QString::number(50.0 + (i % 500) / 10.0, 'f', 1));
        person.addBindValue(QString::number((i % 100000) / 100.0, 'f', 2));
        person.addBindValue(i % 2 ? "TRUE" : "FALSE");
        person.addBindValue(QString::asprintf("persona%d@esempio.it", i));
        person.addBindValue(QString::asprintf("https://esempio.it/%d", i));
        person.addBindValue(QString::asprintf("Note della persona %d, scritte su una riga sola.", i));
        person.exec();
    }
    connection.commit();
}

namespace {
const char *const BareConnection = "tessaro_bench_bare";
}

void useBareDatabase(const QString &path)
{
    if (QSqlDatabase::contains(BareConnection)) {
        QSqlDatabase::database(BareConnection).close();
        QSqlDatabase::removeDatabase(BareConnection);
    }
    QSqlDatabase connection = QSqlDatabase::addDatabase("QSQLITE", BareConnection);
    connection.setDatabaseName(path);
    connection.open();
}

QSqlDatabase bareDatabase()
{
    return QSqlDatabase::database(BareConnection);
}

double bareSelect(const QString &table)
{
    QElapsedTimer timer;
    timer.start();
    QSqlQuery q(bareDatabase());
    q.setForwardOnly(true);
    q.exec(QString("SELECT * FROM %1").arg(table));
    int rows = 0;
    while (q.next())
        ++rows;
    const double elapsed = seconds(timer);
    if (rows == 0)
        std::fprintf(stderr, "bare select read no rows\n");
    return elapsed;
}

void waitForList(Tessaro &window)
{
    while (window.isLoadingList())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::processEvents();
}

void printResult(const BenchResult &result, double peakMb)
{
    std::printf("%s %.3f s, %s %.3f s, ratio %.2f, peak %.0f MB\n", qPrintable(result.name), result.seconds,
                qPrintable(result.baselineName), result.baseline,
                result.baseline > 0 ? result.seconds / result.baseline : 0.0, peakMb);
    std::fflush(stdout);
}

double bareInsert(const QVector<QVector<QVariant>> &rows)
{
    QElapsedTimer timer;
    timer.start();
    QSqlDatabase connection = bareDatabase();
    connection.transaction();
    QSqlQuery insert(connection);
    QStringList marks;
    for (int i = 0; i < rows.value(0).size(); ++i)
        marks << "?";
    insert.prepare(QString("INSERT INTO %1 VALUES (%2)").arg(People, marks.join(",")));
    for (const QVector<QVariant> &row : rows) {
        for (int i = 0; i < row.size(); ++i)
            insert.bindValue(i, row.at(i));
        insert.exec();
    }
    connection.commit();
    return seconds(timer);
}

double bareReinsert(DbConnection &db, int *rows)
{
    QVector<QVector<QVariant>> read;
    db.readRows(People, nullptr, [&read](const QVector<QVariant> &values) {
        read << values;
        return true;
    });
    *rows = read.size();
    db.clearTable(People);
    const double bare = bareInsert(read);
    read = {};
    db.clearTable(People);
    return bare;
}
