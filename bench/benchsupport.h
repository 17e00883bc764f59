#ifndef BENCHSUPPORT_H
#define BENCHSUPPORT_H

#include "dialogs/messagehandler.h"

#include <QElapsedTimer>
#include <QSqlDatabase>
#include <QString>
#include <QVariant>
#include <QVector>
#include <functional>
#include <vector>

class DbConnection;
class Tessaro;

// Says nothing and answers No: the bench must never block on a box. File
// choices are answered from fileAnswer when it is set.
class SilentHandler : public MessageHandler
{
public:
    int warnings = 0;
    QString fileAnswer;
    void warning(const QString &) override { ++warnings; }
    void information(const QString &) override {}
    bool question(const QString &) override { return false; }
    QString openFileName(QWidget *, const QString &, const QString &, const QString &) override { return fileAnswer; }
    QStringList openFileNames(QWidget *, const QString &, const QString &, const QString &) override
    {
        return fileAnswer.isEmpty() ? QStringList() : QStringList{fileAnswer};
    }
    QString saveFileName(QWidget *, const QString &, const QString &, const QString &) override { return fileAnswer; }
};

// The tables every bench database holds: Persone (ten fields, the first a
// lookup into Citta, one distinct city per person) and Citta.
extern const char *const People;
extern const char *const Cities;

// What an operation works on: the real window, a database of size records
// made by makeDatabase, and a scratch folder of its own.
struct BenchContext {
    Tessaro *window = nullptr;
    SilentHandler *handler = nullptr;
    QString dbPath;
    QString folder;
    int size = 0;
};

// One measured operation: its time, the bare SQLite work of the same size
// timed in the same run, and their names for the printed line.
struct BenchResult {
    QString name;     // "open-100000"
    double seconds = 0;
    QString baselineName; // "bare-select"
    double baseline = 0;
    double peakMb = -1; // measured elsewhere (another process); -1: this process's
};

double seconds(const QElapsedTimer &timer);
double best(std::vector<double> values);
// Peak resident memory since the last resetPeakMemory, in MB.
void resetPeakMemory();
double peakMemoryMb();

void makeDatabase(const QString &path, int size);
// The bare baselines' own connection, on the database last named with
// useBareDatabase: the program's work and SQLite's alone side by side.
void useBareDatabase(const QString &path);
QSqlDatabase bareDatabase();
// SELECT * of table stepped to the end, on the bare connection.
double bareSelect(const QString &table);

// The rows inserted into Persone with one prepared INSERT in one
// transaction, on the bare connection.
double bareInsert(const QVector<QVector<QVariant>> &rows);

// The import benches' baseline: Persone's rows read, the table emptied and
// the rows inserted bare (timed), the table emptied again. rows: how many.
double bareReinsert(DbConnection &db, int *rows);

// Lets the window run until its record list is read whole.
void waitForList(Tessaro &window);

// Prints "NAME X s, BASELINE Y s, ratio R, peak M MB".
void printResult(const BenchResult &result, double peakMb);

#endif // BENCHSUPPORT_H
