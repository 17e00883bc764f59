// Builds tables of 10,000 and 100,000 records in a temporary folder, opens
// them in the real main window (offscreen) and times the record list.
#include "app/tessaro.h"
#include "storage/dbconnection.h"
#include "storage/messagehandler.h"

#include <QApplication>
#include <QDate>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTextStream>
#include <QVariant>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

// Says nothing and answers No: the bench must never block on a box.
class SilentHandler : public MessageHandler
{
public:
    int warnings = 0;
    void warning(const QString &) override { ++warnings; }
    void information(const QString &) override {}
    bool question(const QString &) override { return false; }
    QString openFileName(QWidget *, const QString &, const QString &, const QString &) override { return {}; }
    QStringList openFileNames(QWidget *, const QString &, const QString &, const QString &) override { return {}; }
    QString saveFileName(QWidget *, const QString &, const QString &, const QString &) override { return {}; }
};

const char *const People = "Persone";
const char *const Cities = "Citta";

double seconds(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e9;
}

double best(std::vector<double> values)
{
    return *std::min_element(values.begin(), values.end());
}

long peakMemoryKb()
{
    QFile status("/proc/self/status");
    if (!status.open(QIODevice::ReadOnly | QIODevice::Text))
        return 0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return 0;
}

// The people table lists its records by city: the first data column is a
// lookup into the cities table, one distinct city per person, so every list
// text goes through the lookup and every text is different.
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

    QSqlDatabase connection = QSqlDatabase::database();
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

double bareSelect(const QString &table)
{
    QElapsedTimer timer;
    timer.start();
    QSqlQuery q(QSqlDatabase::database());
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

struct Result {
    int size = 0;
    int listed = 0;
    double open = 0;
    double next = 0;
    double prev = 0;
    double search = 0;
    double bare = 0;
};

Result measure(Tessaro &window, const QString &path, int size)
{
    Result result;
    result.size = size;
    window.loadDb(path);

    std::vector<double> opens, bares;
    for (int run = 0; run < 3; ++run) {
        bares.push_back(bareSelect(People));
        QElapsedTimer timer;
        timer.start();
        window.changeTable(People);
        QApplication::processEvents(); // until it is painted
        opens.push_back(seconds(timer));
    }
    result.open = best(opens);
    result.bare = best(bares);
    result.listed = window.findChild<QListWidget *>("userListWidget")->count();

    QElapsedTimer timer;
    timer.start();
    window.nextRecord();
    QApplication::processEvents();
    result.next = seconds(timer);

    timer.start();
    window.prevRecord();
    QApplication::processEvents();
    result.prev = seconds(timer);

    timer.start();
    window.userSearch(QString::asprintf("citta %06d", size - 1));
    QApplication::processEvents();
    result.search = seconds(timer);
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    SilentHandler silent;
    MessageHandler::install(&silent);

    QTemporaryDir folder;
    const QString previous = QDir::currentPath();
    QDir::setCurrent(folder.path());

    const QList<int> sizes = {10000, 100000};
    QList<Result> results;
    {
        for (int size : sizes) {
            QElapsedTimer timer;
            timer.start();
            makeDatabase(folder.filePath(QString("bench-%1.db").arg(size)), size);
            std::printf("generated %d records in %.2f s\n", size, seconds(timer));
            std::fflush(stdout);
        }
        Tessaro window; // no lastDb.dat yet: starts on an empty database
        window.resize(1200, 800);
        window.show();
        QApplication::processEvents();
        for (int size : sizes)
            results << measure(window, folder.filePath(QString("bench-%1.db").arg(size)), size);
    }
    const double peakMb = peakMemoryKb() / 1024.0;

    std::printf("\n%-8s %8s %10s %10s %10s %10s %12s %7s\n", "records", "listed", "open s", "next ms", "prev ms",
                "search ms", "bare-select s", "ratio");
    for (const Result &r : qAsConst(results))
        std::printf("%-8d %8d %10.3f %10.2f %10.2f %10.2f %12.3f %7.2f\n", r.size, r.listed, r.open, r.next * 1000,
                    r.prev * 1000, r.search * 1000, r.bare, r.open / r.bare);
    std::printf("peak memory (VmHWM) %.0f MB, messages %d\n", peakMb, silent.warnings);
    const Result &large = results.last();
    std::printf("open-%d %.3f s, bare-select %.3f s, ratio %.2f, peak %.0f MB\n", large.size, large.open, large.bare,
                large.open / large.bare, peakMb);

    MessageHandler::install(nullptr);
    QDir::setCurrent(previous);
    return 0;
}
