// Spreadsheets: each value a spreadsheet writes and what is stored of it,
// the Italian and the international round trip, files as spreadsheet
// programs write them, problems told before anything is written, new tables,
// the preview dialog and the filtered list.
#include "dialogs/csvimportform.h"
#include "exchange/csvimport.h"
#include "records/inputdataform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QCryptographicHash>
#include <QProcess>
#include <QTextCodec>
#include <QtTest>
#include <QtWidgets>

namespace {

struct Run {
    int status = -1;
    QString out, err;
};

// The program's command line, with no display.
Run tessaro(const QStringList &arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "");
    process.setProcessEnvironment(environment);
    process.start(TESSARO_BINARY, arguments);
    process.waitForFinished(30000);
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QByteArray digest(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256);
}

const QStringList Columns = {"RSTRINGFORMAT_Nome",  "XCitta_XDTX_RSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo",
                             "NREALFORMAT_Peso",    "NDATEFORMAT_Data_di_nascita",    "NBOOLFORMAT_Attivo",
                             "NINTEGERFORMAT_Pezzi", "NLONGSTRINGFORMAT_Note",        "NLONGSTRINGFORMAT_UserPath"};
const QString Mario = "Mario Rossi|2|1234.560000|1.125000|28/02/1983|TRUE|7|riga 1\nriga 2; \"citata\"|"
                      "TABLES_DOC/Clienti_Mario_Rossi";

// A row as dumpTable gives it.
QString dumped(int id, const QString &values)
{
    QStringList cells = {QString("RINTEGERFORMAT_Id=%1").arg(id)};
    for (int i = 0; i < Columns.size(); ++i)
        cells << Columns.at(i) + "=" + values.split('|').value(i);
    return cells.join(';');
}

void shop(DbConnection &db)
{
    makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Milano", "Torino"});
    makeTable(db, "Clienti", Columns,
              {Mario, "Zeta|1|3.000000|2.000000|01/01/2000|FALSE|9||TABLES_DOC/Clienti_Zeta",
               "Alfa|1|0.500000|0.000000||FALSE|8||TABLES_DOC/Clienti_Alfa"});
}

// A database file holding the shop, in folder.
QString shopFile(const TestFolder &folder)
{
    DbConnection db;
    db.openDb(folder.file("a.db"));
    shop(db);
    return folder.file("a.db");
}

// Chooses a form in the save dialog.
struct ChoosingHandler : RecordingMessageHandler {
    int form = 0;
    QString saveFileNameWithChoice(QWidget *parent, const QString &caption, const QString &dir,
                                   const QString &filters, QString *chosen) override
    {
        *chosen = filters.section(";;", form, form);
        return saveFileName(parent, caption, dir, filters);
    }
};

} // namespace

class CsvTest : public QObject
{
    Q_OBJECT

private slots:
    void readings_data();
    void readings();
    void roundTrip_data();
    void roundTrip();
    void spreadsheetFiles_data();
    void spreadsheetFiles();
    void problemsAreToldBeforeAnythingIsWritten();
    void newTableFromTheFile();
    void previewDialog();
    void filteredListInListOrder();
};

void CsvTest::readings_data()
{
    QTest::addColumn<QString>("field"); // the header
    QTest::addColumn<QString>("texts"); // one row each, "|" between them
    QTest::addColumn<QString>("stored"); // of the last; "!": the problems told instead
    const QString euro = QString::fromUtf8("€");
    QTest::newRow("thousands and comma") << "Saldo" << euro + " 1.234,56" << "1234.560000";
    QTest::newRow("euro after") << "Saldo" << "-1234,5 " + euro << "-1234.500000";
    QTest::newRow("Italian thousands") << "Peso" << "1.125" << "1125.000000";
    QTest::newRow("a column of decimal points") << "Peso" << "2.5|1.125" << "1.125000";
    QTest::newRow("two commas") << "Peso" << "12,3,4" << "!riga 2, colonna Peso: numero non valido '12,3,4'";
    QTest::newRow("whole thousands") << "Pezzi" << "1.500" << "1500";
    QTest::newRow("not whole") << "Pezzi" << "12,5" << "!riga 2, colonna Pezzi: numero non intero '12,5'";
    QTest::newRow("too big") << "Pezzi" << "3000000000" << "!riga 2, colonna Pezzi: numero troppo grande '3000000000'";
    QTest::newRow("day first") << "Data di nascita" << "03/04/2020" << "03/04/2020";
    QTest::newRow("short date") << "Data di nascita" << "1/3/63" << "01/03/1963";
    QTest::newRow("ISO date") << "Data di nascita" << "2020-03-04" << "04/03/2020";
    QTest::newRow("month first") << "Data di nascita" << "12/25/2020|05/05/2020" << "05/05/2020";
    QTest::newRow("ambiguous, never swapped")
        << "Data di nascita" << "12/25/2020|03/04/2020"
        << "!riga 3, colonna Data di nascita: data ambigua '03/04/2020': giorno e mese si possono scambiare";
    QTest::newRow("no such date") << "Data di nascita" << "31/02/2000"
                                  << "!riga 2, colonna Data di nascita: data non valida '31/02/2000'";
    QTest::newRow("yes") << "Attivo" << QString::fromUtf8("Sì") << "TRUE";
    QTest::newRow("false") << "Attivo" << "falso" << "FALSE";
    QTest::newRow("maybe") << "Attivo" << "forse" << QString::fromUtf8("!riga 2, colonna Attivo: valore sì/no non valido 'forse'");
    QTest::newRow("looked-up text") << "Citta" << " torino " << "2";
    QTest::newRow("not looked up") << "Citta" << "Roma" << QString::fromUtf8("!riga 2, colonna Citta: 'Roma' non è tra i Record di Citta");
    QTest::newRow("apostrophe") << "Note" << "l'anno" << "l'anno";
    QTest::newRow("required") << "Nome" << " " << "!riga 2, colonna Nome: campo obbligatorio vuoto";
}

// Values in a file as a spreadsheet writes them; a column's other values
// tell how its numbers and dates are written.
void CsvTest::readings()
{
    QFETCH(QString, field);
    QFETCH(QString, texts);
    QFETCH(QString, stored);
    DbConnection db;
    db.openDb(":memory:");
    shop(db);
    QString file = field == "Nome" ? "Nome\r\n" : "Nome;" + field + "\r\n";
    int row = 0;
    for (const QString &text : texts.split('|'))
        file += (field == "Nome" ? "" : QString("Verdi %1;").arg(++row)) + text + "\r\n";
    CsvImport import(db);
    QVERIFY(import.openBytes(file.toUtf8()));
    CsvImport::Plan plan{"Clienti", import.mappingFor("Clienti")};
    if (stored.startsWith('!')) {
        QCOMPARE(import.run(plan), CsvImport::HasProblems);
        QCOMPARE(import.problems(), QStringList{stored.mid(1)});
        QCOMPARE(db.countRecords("Clienti"), 3);
        return;
    }
    QCOMPARE(import.run(plan), CsvImport::Imported);
    QCOMPARE(db.getRecordById("Clienti", 3 + row).value(plan.mapping.last()).toString(), stored);
}

void CsvTest::roundTrip_data()
{
    QTest::addColumn<int>("form"); // as offered in the save dialog
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<QByteArray>("end");
    QTest::newRow("Italian") << 0
                             << QByteArray("\xEF\xBB\xBFNome;Nome (Citta);Saldo;Peso;Data di nascita;Attivo;Pezzi;Note\r\n"
                                           "Mario Rossi;Torino;1234,56;1,125;28/02/1983;S\xC3\xAC;7;\"riga 1\nriga 2; \"\"citata\"\"\"\r\n")
                             << QByteArray("Alfa;Milano;0,50;0;;No;8;\r\n");
    QTest::newRow("international") << 1
                                   << QByteArray("Nome,Nome (Citta),Saldo,Peso,Data di nascita,Attivo,Pezzi,Note\r\n"
                                                 "Mario Rossi,Torino,1234.56,1.125,1983-02-28,S\xC3\xAC,7,\"riga 1\nriga 2; \"\"citata\"\"\"\r\n")
                                   << QByteArray("Alfa,Milano,0.50,0,,No,8,\r\n");
}

// Out through the window, in again through the command line: every record as it was.
void CsvTest::roundTrip()
{
    QFETCH(int, form);
    QFETCH(QByteArray, start);
    QFETCH(QByteArray, end);
    Window s(shop);
    s.w->changeTable("Clienti");
    const QStringList before = s.rows("Clienti");
    {
        ChoosingHandler choosing;
        choosing.form = form;
        choosing.fileAnswers << s.folder.file("clienti.csv");
        s.w->exportCsv();
    }
    MessageHandler::install(&s.messages);
    QFile file(s.folder.file("clienti.csv"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QVERIFY(bytes.startsWith(start) && bytes.endsWith(end));

    s.db().clearTable("Clienti");
    const Run run = tessaro({"import-csv", s.dbFile, "Clienti", file.fileName()});
    QCOMPARE(run.err + run.out, QString("Importati 3 Record.\n"));
    QCOMPARE(s.rows("Clienti"), before);
}

void CsvTest::spreadsheetFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QString rows = QString::fromUtf8("NOME|città|Saldo|peso|Data di Nascita|Attivo|Pezzi|Note\r\n"
                                           "Mario Rossi|Torino|€ 1.234,56|1,125|28/02/1983|Sì|7|\"riga 1\r\nriga 2; \"\"citata\"\"\"\r\n"
                                           "\r\n||||||||\r\n");
    const QString semicolons = QString(rows).replace('|', ';'), tabs = QString(rows).replace('|', '\t');
    QTest::newRow("UTF-8 with mark, CR LF") << "\xEF\xBB\xBF" + semicolons.toUtf8();
    QTest::newRow("Windows-1252") << QTextCodec::codecForName("windows-1252")->fromUnicode(semicolons);
    QTest::newRow("UTF-16, tabs") << QTextCodec::codecForName("UTF-16LE")->fromUnicode(QChar(0xFEFF) + tabs);
    QTest::newRow("international, LF")
        << QByteArray("Nome,Citta,Saldo,Peso,Data di nascita,Attivo,Pezzi,Note\n"
                      "Mario Rossi,Torino,1234.56,1.125,1983-02-28,VERO,7,\"riga 1\nriga 2; \"\"citata\"\"\"\n");
}

// What spreadsheet programs write comes in with nothing swapped or mangled;
// headers match ignoring case and accents, empty rows are left out.
void CsvTest::spreadsheetFiles()
{
    QFETCH(QByteArray, bytes);
    TestFolder folder;
    const QString path = shopFile(folder);
    QVERIFY(writeFile(folder.file("in.csv"), bytes));
    DbConnection db;
    db.openDb(path);
    db.clearTable("Clienti");
    QCOMPARE(tessaro({"import-csv", path, "Clienti", folder.file("in.csv")}).err, QString());
    QCOMPARE(dumpTable(db, "Clienti"), QStringList{dumped(1, Mario)});
}

// Every problem is told, as "riga N, colonna X: motivo", and nothing is
// written; the good rows go in only when asked for.
void CsvTest::problemsAreToldBeforeAnythingIsWritten()
{
    TestFolder folder;
    const QString path = shopFile(folder);
    const QByteArray before = digest(path);
    QVERIFY(writeFile(folder.file("in.csv"), "Nome;Saldo;Data di nascita\nLuca Verdi;1,5;01/02/2003\nEva;abc;31/02/2000\n"
                                            "mario  ROSSI;2;\nUgo;3;;troppo\nLuca verdi;4;\n"));
    const QStringList told = {"riga 3, colonna Saldo: numero non valido 'abc'",
                              "riga 3, colonna Data di nascita: data non valida '31/02/2000'",
                              QString::fromUtf8("riga 4, colonna Nome: l'identificativo 'mario ROSSI' è già presente"),
                              "riga 5: 4 valori, ma le colonne sono 3",
                              QString::fromUtf8("riga 6, colonna Nome: l'identificativo 'Luca verdi' è già presente"), ""};
    Run run = tessaro({"import-csv", path, "Clienti", folder.file("in.csv")});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, told.join('\n') + QString::fromUtf8("ERRORE: Nessun Record importato: 5 problemi.\n"));
    QCOMPARE(digest(path), before);

    run = tessaro({"import-csv", path, "Clienti", folder.file("in.csv"), "--good-rows"});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, told.join('\n'));
    QCOMPARE(run.out, QString("Importati 1 Record. Righe scartate: 4.\n"));
    DbConnection db;
    db.openDb(path);
    QCOMPARE(dumpTable(db, "Clienti").last(),
             dumped(4, "Luca Verdi||1.500000|0.000000|01/02/2003|FALSE|0||TABLES_DOC/Clienti_Luca_Verdi"));

    // A file that cannot be read to its end, a required field with no
    // column, a name taken, an option of another verb: nothing is written.
    const QByteArray after = digest(path);
    QVERIFY(writeFile(folder.file("open.csv"), "Nome;Note\nA;\"mai chiusa\nB;x\n"));
    QVERIFY(writeFile(folder.file("nameless.csv"), "Saldo\n1\n"));
    const QList<QPair<QString, QString>> failures = {
        {"open.csv Clienti", QString::fromUtf8("ERRORE: Il file CSV non si può leggere: riga 2: virgolette aperte e mai chiuse")},
        {"nameless.csv Clienti", "ERRORE: Il campo obbligatorio Nome non ha una colonna nel file!"},
        {"in.csv Citta --new-table", QString::fromUtf8("ERRORE: Il nome 'Citta' è già stato usato per una tabella.")},
    };
    for (const auto &failure : failures) {
        const QStringList words = failure.first.split(' ');
        run = tessaro(QStringList{"import-csv", path, words.at(1), folder.file(words.at(0))} + words.mid(2));
        QCOMPARE(run.status, 1);
        QCOMPARE(run.err.trimmed(), failure.second);
    }
    QCOMPARE(tessaro({"export-csv", path, "Clienti", folder.file("out.csv"), "--good-rows"}).status, 2);
    QCOMPARE(digest(path), after);
    QVERIFY(!QFile::exists(folder.file("out.csv")));
}

// Field names made valid from the header, types guessed from every value.
void CsvTest::newTableFromTheFile()
{
    TestFolder folder;
    DbConnection db;
    db.openDb(folder.file("a.db"));
    makeTable(db, "settings", {"RSTRINGFORMAT_tableName", "RSTRINGFORMAT_iconPath"});
    QVERIFY(writeFile(folder.file("in.csv"),
                      QString::fromUtf8("Codice;Prezzo (€);Data;Attivo;E-mail;Sito;Quantità;codice;Peso;Id\n"
                                        "007;€ 1,50;01/02/2003;Sì;a@b.it;https://b.it;3;x;1.500;1\n"
                                        "010;2 €;2003-02-01;No;c@d.it;www.d.it;1.200;y;2,25;2\n").toUtf8()));
    const Run run = tessaro({"import-csv", folder.file("a.db"), "Ordini 2024", folder.file("in.csv"), "--new-table"});
    QCOMPARE(run.err + run.out, QString("Importati 2 Record.\n"));
    QCOMPARE(db.getFieldNames("Ordini_2024"),
             QStringList({"RINTEGERFORMAT_Id", "NSTRINGFORMAT_Codice", "NMONEYFORMAT_Prezzo", "NDATEFORMAT_Data",
                          "NBOOLFORMAT_Attivo", "NMAILFORMAT_E_mail", "NURLFORMAT_Sito",
                          QString::fromUtf8("NINTEGERFORMAT_Quantità"), "NSTRINGFORMAT_codice_2", "NREALFORMAT_Peso",
                          "NINTEGERFORMAT_Campo_10", "NLONGSTRINGFORMAT_UserPath"}));
    const QSqlRecord second = db.getRecordById("Ordini_2024", 2);
    QCOMPARE(second.value("NSTRINGFORMAT_Codice").toString() + " " + second.value(QString::fromUtf8("NINTEGERFORMAT_Quantità")).toString(),
             QString("010 1200"));
    QVERIFY(!db.findRecord("settings", "RSTRINGFORMAT_tableName", "Ordini_2024").isEmpty());
}

// The dialog shows the first rows with each column's field, found by its
// header, and marks what would not read; a column can be left out; problems
// are shown before anything is written, and the good rows imported when
// asked for.
void CsvTest::previewDialog()
{
    Window s(shop);
    s.w->changeTable("Clienti");
    QByteArray bytes = "NOME;citta;Saldo;Extra\n";
    for (int i = 1; i <= 25; ++i)
        bytes += QString("Cliente %1;%2;%3;x\n").arg(i).arg(i == 9 ? "Roma" : "milano").arg(i == 7 ? "abc" : "1,5").toUtf8();
    QVERIFY(writeFile(s.folder.file("in.csv"), bytes));
    s.messages.fileAnswers << s.folder.file("in.csv");
    QStringList shown;
    CsvImportForm *form = s.w->csvImportForm();
    QTimer poll; // until the dialog is up
    connect(&poll, &QTimer::timeout, form, [&] {
        if (!form->isVisible())
            return;
        poll.stop();
        auto *preview = form->findChild<QTableWidget *>("twPreview");
        shown << QString::number(preview->rowCount()) << form->mapping() << preview->item(3 + 6, 2)->toolTip()
              << preview->item(3 + 8, 1)->toolTip();
        form->findChild<QPushButton *>("pbImport")->click();
        shown << form->findChild<QPlainTextEdit *>("ptProblems")->toPlainText();
        static_cast<QComboBox *>(preview->cellWidget(0, 2))->setCurrentIndex(0); // Saldo left out
        form->findChild<QPushButton *>("pbImport")->click();
        shown << form->findChild<QPlainTextEdit *>("ptProblems")->toPlainText();
        form->findChild<QPushButton *>("pbGoodRows")->click();
    });
    poll.start(1);
    s.w->importCsv();
    const QString roma = QString::fromUtf8("'Roma' non è tra i Record di Citta");
    QCOMPARE(shown, QStringList({"23", "RSTRINGFORMAT_Nome", "XCitta_XDTX_RSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo", "",
                                 "numero non valido 'abc'", roma,
                                 "riga 8, colonna Saldo: numero non valido 'abc'\nriga 10, colonna citta: " + roma,
                                 "riga 10, colonna citta: " + roma}));
    QCOMPARE(s.messages.said.filter("information: "), QStringList{"information: Importati 24 Record. Righe scartate: 1."});
    QCOMPARE(s.rows("Clienti").size(), 27);
    QCOMPARE(s.rows("Clienti").last(), dumped(27, "Cliente 25|1|0.000000|0.000000||FALSE|0||TABLES_DOC/Clienti_Cliente_25"));
}

// With a filter on, the records the list shows, in its order.
void CsvTest::filteredListInListOrder()
{
    Window s(shop);
    s.w->changeTable("Clienti");
    s.click("pbFilter");
    inputDataForm *pieces = s.filterEditor("NINTEGERFORMAT_Pezzi");
    s.type(pieces, "7");
    QTest::mouseClick(pieces->findChild<QPushButton *>("pbMajor"), Qt::LeftButton);
    s.click("pbSaveFilters");
    s.click("pbSort");
    QCOMPARE(s.items(), QStringList({"Alfa", "Zeta"}));
    s.w->exportingCsv(s.folder.file("lista.csv"), "Clienti", true);
    QCOMPARE(readFile(s.folder.file("lista.csv")).split("\r\n").mid(1),
             QStringList({"Alfa,Milano,0.50,0,,No,8,", "Zeta,Milano,3.00,2,2000-01-01,No,9,", ""}));
}

QTEST_MAIN(CsvTest)
#include "tst_csv.moc"
