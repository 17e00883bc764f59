// A record of a table of 2,000 columns of every editable type, in the real
// window: its edit page opened and saved unchanged, against the bare SQL
// that reads the row and writes it back whole. The table does not depend on
// the bench size; it lives in a database of its own.
#include "benchoperations.h"

#include "app/tessaro.h"

#include <QApplication>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>
#include <cstdio>
#include <ctime>

namespace {

const char *const Wide = "Larga";
const int Columns = 2000;

// Processor time of this process: what the operation costs on a machine
// that does nothing else.
double cpuSeconds()
{
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// Column i (from 1) and the value the record holds in it.
QPair<QString, QString> column(int i)
{
    static const char *const types[] = {"STRING", "DATE", "INTEGER", "REAL", "MONEY", "BOOL",
                                        "MAIL", "URL", "IMAGE", "PDF", "LONGSTRING"};
    const QString type = types[i % 11];
    const QString name = QString::asprintf("N%sFORMAT_Campo_%04d", qPrintable(type), i);
    QString value;
    if (type == "DATE")
        value = QString::asprintf("%02d/03/2001", 1 + i % 28);
    else if (type == "INTEGER")
        value = QString::number(i * 7);
    else if (type == "REAL" || type == "MONEY")
        value = QString::number(i / 8.0, 'f', 3);
    else if (type == "BOOL")
        value = i % 2 ? "TRUE" : "FALSE";
    else if (type == "IMAGE" || type == "PDF")
        value = QString::asprintf("TABLES_DOC/Larga_1/file%d", i);
    else
        value = QString::asprintf("valore %d", i);
    return {name, value};
}

// Made on a connection of its own: the window's stays as it is.
void makeWideTable(const QString &path)
{
    {
        QSqlDatabase connection = QSqlDatabase::addDatabase("QSQLITE", "wide bench");
        connection.setDatabaseName(path);
        connection.open();
        QStringList definitions("RINTEGERFORMAT_Id integer primary key"), marks("?");
        for (int i = 1; i < Columns; ++i) {
            definitions << column(i).first + " text";
            marks << "?";
        }
        QSqlQuery q(connection);
        q.exec(QString("CREATE TABLE %1 (%2)").arg(Wide, definitions.join(',')));
        q.prepare(QString("INSERT INTO %1 VALUES (%2)").arg(Wide, marks.join(',')));
        for (int id = 1; id <= 2; ++id) {
            q.addBindValue(id);
            for (int i = 1; i < Columns; ++i)
                q.addBindValue(id == 1 ? column(i).second : column(i).second + "b");
            if (!q.exec())
                std::fprintf(stderr, "wide table not made\n");
        }
    }
    QSqlDatabase::removeDatabase("wide bench");
}

double bareRewrite()
{
    QElapsedTimer timer;
    timer.start();
    QSqlDatabase connection = bareDatabase();
    QSqlQuery read(connection);
    read.exec(QString("SELECT * FROM %1 WHERE RINTEGERFORMAT_Id = 1").arg(Wide));
    read.next();
    const QSqlRecord row = read.record();
    QStringList sets;
    for (int i = 1; i < row.count(); ++i)
        sets << row.fieldName(i) + " = ?";
    connection.transaction();
    QSqlQuery write(connection);
    write.prepare(QString("UPDATE %1 SET %2 WHERE RINTEGERFORMAT_Id = 1").arg(Wide, sets.join(',')));
    for (int i = 1; i < row.count(); ++i)
        write.addBindValue(row.value(i));
    write.exec();
    connection.commit();
    return seconds(timer);
}

} // namespace

BenchResult benchSafety(BenchContext &context)
{
    Tessaro &window = *context.window;
    const QString path = context.folder + "/wide.db";
    makeWideTable(path);
    window.loadDb(path);
    useBareDatabase(path);
    window.changeTable(Wide);
    QApplication::processEvents();

    QElapsedTimer timer;
    timer.start();
    window.nextRecord();
    QApplication::processEvents();
    window.prevRecord();
    QApplication::processEvents();
    const double stepBefore = seconds(timer) / 2;

    timer.start();
    double cpu = cpuSeconds();
    window.currentId = 1;
    window.updateUser();
    QApplication::processEvents(); // until the page is painted
    const double open = seconds(timer), openCpu = cpuSeconds() - cpu;
    timer.start();
    cpu = cpuSeconds();
    window.newRecord();
    QApplication::processEvents();
    const double save = seconds(timer), saveCpu = cpuSeconds() - cpu;

    // Saving unchanged leaves every stored value as it was.
    int changed = 0;
    const QSqlRecord row = window.connection()->getRecordById(Wide, 1);
    for (int i = 1; i < Columns; ++i)
        changed += row.value(i).toString() != column(i).second;
    // Stepping through the records afterwards.
    timer.start();
    window.nextRecord();
    QApplication::processEvents();
    window.prevRecord();
    QApplication::processEvents();
    const double step = seconds(timer) / 2;
    std::printf("%d columns: edit page %.3f s (cpu %.3f s), unchanged save %.3f s (cpu %.3f s), values changed %d, "
                "a step before %.0f ms and afterwards %.0f ms\n",
                Columns, open, openCpu, save, saveCpu, changed, stepBefore * 1000, step * 1000);

    return {"safety", open + save, "bare-row-rewrite", bareRewrite()};
}
