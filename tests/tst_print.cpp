// Print and PDF: a record and a list as the record view shows them, read back
// by an independent PDF reader; the preview first, its page setup kept; the
// command line's export-pdf, whole or not at all.
#include "app/tessaro.h"
#include "exchange/printcontent.h"
#include "exchange/printedpages.h"
#include "records/inputdataform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>
#include <QtWidgets>

namespace {

const QStringList Columns = {"RSTRINGFORMAT_Nome", "XCitta_XDTX_RSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo",
                             "NBOOLFORMAT_Attivo", "NDATEFORMAT_Nascita", "NLONGSTRINGFORMAT_UserPath"};

QString name(int i)
{
    return QString("Cliente %1").arg(i, 2, 10, QChar('0'));
}

// Thirty customers, in Milano and Torino by turns.
void customers(DbConnection &db)
{
    makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Milano", "Torino"});
    QStringList rows;
    for (int i = 1; i <= 30; ++i)
        rows << QString("%1|%2|%3|%4|0%5/03/1970|").arg(name(i)).arg(i % 2 + 1).arg(i * 12.5, 0, 'f', 6)
                    .arg(i % 2 ? "TRUE" : "FALSE").arg(i % 9 + 1);
    makeTable(db, "Clienti", Columns, rows);
}

// The text of a PDF as poppler reads it; null when it cannot.
QString pdfText(const QString &path)
{
    QProcess reader;
    reader.start("pdftotext", {"-layout", path, "-"});
    return reader.waitForFinished(30000) && reader.exitCode() == 0 ? QString::fromUtf8(reader.readAllStandardOutput())
                                                                    : QString();
}

// Where each name stands in text (-1 when missing).
QList<int> positions(const QString &text, const QStringList &names)
{
    QList<int> at;
    for (const QString &n : names)
        at << text.indexOf(QRegularExpression("\\b" + n + "\\b"));
    return at;
}

} // namespace

class PrintTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        if (QStandardPaths::findExecutable("pdftotext").isEmpty())
            QSKIP("pdftotext (poppler-utils) is not installed");
    }
    void listAndRecordAsPdf();
    void previewFirstAndPageSetupKept();
    void commandLineWholeOrNothing();
};

void PrintTest::listAndRecordAsPdf()
{
    Window s(customers);
    s.w->changeTable("Clienti");
    const QStringList columns = printableColumns(s.db(), "Clienti");
    QCOMPARE(columns, Columns.mid(0, 5)); // the record's folder is never printed

    // The whole list: every record, in the list's order, in one reading.
    QStringList all;
    for (int i = 1; i <= 30; ++i)
        all << name(i);
    s.w->exportingListPdf(s.folder.file("lista.pdf"), columns);
    QString text = pdfText(s.folder.file("lista.pdf"));
    QList<int> at = positions(text, all);
    QVERIFY2(!at.contains(-1) && std::is_sorted(at.begin(), at.end()), qPrintable(text));
    for (const char *expected : {"Clienti", "30 Record", "Citta Nome", "Saldo", "Pagina 1 di 1", "Torino",
                                    "12.50€", "Sì"})
        QVERIFY2(text.contains(QString::fromUtf8(expected)), expected);
    QVERIFY(text.contains(QLocale(QLocale::Italian).toString(QDate::currentDate(), "d MMMM yyyy")));

    // What a filter left, sorted: the filter stands under the title.
    s.click("pbFilter");
    s.type(s.filterEditor("RSTRINGFORMAT_Nome"), "1");
    s.filterEditor("RSTRINGFORMAT_Nome")->findChild<QPushButton *>("pbMajor")->click();
    s.click("pbSaveFilters");
    s.click("pbSort");
    s.w->exportingListPdf(s.folder.file("filtrata.pdf"), {"RSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo"});
    text = pdfText(s.folder.file("filtrata.pdf"));
    at = positions(text, s.items());
    QVERIFY2(s.items().size() == 12 && !at.contains(-1) && std::is_sorted(at.begin(), at.end()), qPrintable(text));
    QVERIFY(text.contains("12 Record") && text.contains("Filtro: Nome contiene \"1\""));
    QVERIFY(!text.contains(name(2)) && !text.contains("Torino"));
    QVERIFY(s.messages.warnings.isEmpty());

    // The record shown: every field under its title, as the view shows it.
    s.w->exportingRecordPdf(s.folder.file("record.pdf"), "Clienti", 7);
    text = pdfText(s.folder.file("record.pdf")).simplified();
    for (const char *expected : {"Clienti", "Nome Cliente 07", "Citta Nome Torino", "Saldo 87.50€", "Attivo Sì",
                                    "Nascita 08/03/1970"})
        QVERIFY2(text.contains(QString::fromUtf8(expected)), qPrintable(text));
    QVERIFY(!text.contains("UserPath"));
}

void PrintTest::previewFirstAndPageSetupKept()
{
    Window s(customers);
    s.w->changeTable("Clienti");
    int pages = 0;
    // The preview is the toolkit's; turning the page there is remembered.
    QTimer::singleShot(0, [&] {
        auto *preview = qobject_cast<QPrintPreviewDialog *>(QApplication::activeModalWidget());
        QVERIFY(preview);
        auto *widget = preview->findChild<QPrintPreviewWidget *>();
        pages = widget->pageCount();
        widget->setLandscapeOrientation();
        preview->reject();
    });
    s.w->printList(printableColumns(s.db(), "Clienti"));
    QCOMPARE(pages, 1);
    QCOMPARE(rememberedPageLayout().orientation(), QPageLayout::Landscape);
    QCOMPARE(rememberedPageLayout().pageSize().id(), QPageSize::A4);

    s.restart();
    s.w->changeTable("Clienti");
    s.w->exportingListPdf(s.folder.file("lista.pdf"), {"RSTRINGFORMAT_Nome"});
    QProcess info;
    info.start("pdfinfo", {s.folder.file("lista.pdf")});
    QVERIFY(info.waitForFinished(30000));
    const QStringList size = QString(info.readAllStandardOutput()).section("Page size:", 1).simplified().split(' ');
    QVERIFY2(size.value(0).toDouble() > size.value(2).toDouble(), qPrintable(size.join(' ')));
}

void PrintTest::commandLineWholeOrNothing()
{
    TestFolder folder;
    {
        DbConnection db;
        db.openDb(folder.file("clienti.db"));
        customers(db);
    }
    auto run = [&folder](const QString &table, const QString &out) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove("DISPLAY");
        environment.insert("QT_QPA_PLATFORM", "");
        process.setProcessEnvironment(environment);
        process.start(TESSARO_BINARY, {"export-pdf", folder.file("clienti.db"), table, folder.file(out)});
        process.waitForFinished(60000);
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    };
    QCOMPARE(run("Clienti", "clienti.pdf"), 0);
    QStringList all;
    for (int i = 1; i <= 30; ++i)
        all << name(i);
    QVERIFY(!positions(pdfText(folder.file("clienti.pdf")), all).contains(-1));

    // A failure writes nothing, and leaves a file already there as it was.
    QCOMPARE(run("Fornitori", "fornitori.pdf"), 1);
    QVERIFY(!QFile::exists(folder.file("fornitori.pdf")));
    QVERIFY(writeFile(folder.file("vecchio.pdf"), "vecchio"));
    QCOMPARE(run("Fornitori", "vecchio.pdf"), 1);
    QCOMPARE(readFile(folder.file("vecchio.pdf")), QString("vecchio"));
    QCOMPARE(run("Clienti", "nessuna/cartella.pdf"), 1);
    QCOMPARE(QDir(folder.path()).entryList({"*.pdf*"}, QDir::Files).size(), 2);
}

QTEST_MAIN(PrintTest)
#include "tst_print.moc"
