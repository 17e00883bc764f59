// Opening one invoice's lines from its record, when the subtable holds the
// lines of 10,000 invoices (size records in all), against a bare indexed
// SELECT of the same rows.
#include "benchoperations.h"

#include "app/tessaro.h"
#include "records/subtables.h"
#include "storage/dbconnection.h"

#include <QApplication>
#include "app/recordlistview.h"
#include <QSqlQuery>
#include <cstdio>

namespace {

const char *const Invoices = "Fatture";

QString makeInvoices(const QString &path, int lines)
{
    const int owners = 10000;
    QString table;
    {
        DbConnection db;
        db.openDb(path);
        db.createTable(Invoices, {{"RSTRINGFORMAT_Numero", "text"}, {"NSUBTABLEFORMAT_Righe", "text"}});
        db.createTable("subtablesconfigs", {{"RSTRINGFORMAT_subConfigName", "text"},
                                            {"NSTRINGFORMAT_subConfigFieldName", "text"},
                                            {"NSTRINGFORMAT_subConfigFieldType", "text"}});
        QString refusal;
        Subtables::create(db, Invoices, "NSUBTABLEFORMAT_Righe",
                          {"Dettaglio",
                           {{"RSTRINGFORMAT_Descrizione", "text"}, {"NINTEGERFORMAT_Quantita", "text"},
                            {"NMONEYFORMAT_Prezzo", "text"}}},
                          &refusal);
        table = Subtables::tableName(Invoices, "NSUBTABLEFORMAT_Righe", "Dettaglio");
    }
    useBareDatabase(path);
    QSqlDatabase bare = bareDatabase();
    bare.transaction();
    QSqlQuery invoice(bare), line(bare);
    invoice.prepare("INSERT INTO Fatture VALUES (?, ?, '')");
    for (int i = 1; i <= owners; ++i) {
        invoice.addBindValue(i);
        invoice.addBindValue(QString::asprintf("F%05d", i));
        invoice.exec();
    }
    line.prepare(QString("INSERT INTO \"%1\" VALUES (?, ?, ?, ?, ?, '')").arg(table));
    for (int i = 1; i <= lines; ++i) {
        line.addBindValue(i);
        line.addBindValue(1 + (i - 1) % owners); // lines interleaved, as invoices are written day by day
        line.addBindValue(QString::asprintf("Voce %d", i));
        line.addBindValue(QString::number(1 + i % 9));
        line.addBindValue(QString::number((i % 1000) / 10.0, 'f', 2));
        line.exec();
    }
    bare.commit();
    return table;
}

double bareIndexedSelect(const QString &table, int owner)
{
    QElapsedTimer timer;
    timer.start();
    QSqlQuery q(bareDatabase());
    q.setForwardOnly(true);
    q.prepare(QString("SELECT * FROM \"%1\" WHERE NINTEGERFORMAT_OwnerId = ?").arg(table));
    q.addBindValue(owner);
    q.exec();
    int rows = 0;
    while (q.next())
        ++rows;
    return seconds(timer);
}

} // namespace

BenchResult benchSubtable(BenchContext &context)
{
    Tessaro &window = *context.window;
    const QString path = context.folder + "/fatture.db";
    const QString table = makeInvoices(path, context.size);
    window.loadDb(path);
    useBareDatabase(path);
    std::vector<double> opens, bares;
    for (int run = 0; run < 3; ++run) {
        const int owner = 1234 + run;
        bares.push_back(bareIndexedSelect(table, owner));
        window.changeTable(Invoices);
        window.vwRecord(owner);
        QApplication::processEvents();
        QElapsedTimer timer;
        timer.start();
        window.goToSubTableRequest(table);
        const double work = seconds(timer);
        QApplication::processEvents(); // until it is painted
        opens.push_back(seconds(timer));
        std::printf("work %.2f ms, painted %.2f ms\n", work * 1000, opens.back() * 1000);
    }
    std::printf("listed %d lines of one invoice\n", window.findChild<RecordListView *>("userListWidget")->count());
    return {QString("subtable-%1").arg(context.size), best(opens), "bare-indexed-select", best(bares)};
}
