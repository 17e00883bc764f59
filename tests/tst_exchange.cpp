// Record files, structure files and readable text: exact bytes written, what
// an import keeps, skips and refuses, structures under new names.
#include "app/tessaro.h"
#include "dialogs/choosenameform.h"
#include "dialogs/listbuttonform.h"
#include "storage/dbconnection.h"
#include "storage/namingscheme.h"
#include "testsupport.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QtTest>
#include <memory>

namespace {

const QList<ColumnDefinition> PeopleColumns = {{"RSTRINGFORMAT_Nome", "text"}, {"NINTEGERFORMAT_Eta", "text"},
                                               {"NREALFORMAT_Peso", "text"}};

struct Fixture {
    TestFolder folder;
    RecordingMessageHandler messages;
    std::unique_ptr<Tessaro> window;

    Fixture()
    {
        QFile last(folder.file("lastDb.dat"));
        if (last.open(QIODevice::WriteOnly))
            last.write(folder.file("test.db").toUtf8());
        last.close();
        window.reset(new Tessaro);
    }
    DbConnection &db() { return *window->connection(); }
    void makeTable(const QString &name, const QList<ColumnDefinition> &columns)
    {
        QVERIFY(db().createTable(name, columns));
        window->tableNames = db().getTables();
    }
    // A row written as it is, values bound.
    void addRow(const QString &table, const QVariantList &values)
    {
        QStringList marks;
        for (int i = 0; i < values.size(); ++i)
            marks << "?";
        QSqlQuery q = sqlOn(db());
        q.prepare(QString("INSERT INTO %1 VALUES (%2)").arg(table, marks.join(",")));
        for (const QVariant &value : values)
            q.addBindValue(value);
        QVERIFY2(q.exec(), qPrintable(q.lastError().text()));
    }
    QByteArray read(const QString &path)
    {
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }
    QString write(const QString &name, const QByteArray &bytes)
    {
        QFile file(folder.file(name));
        file.open(QIODevice::WriteOnly);
        file.write(bytes);
        return file.fileName();
    }
};

} // namespace

class TestExchange : public QObject
{
    Q_OBJECT

private slots:
    void recordFileRoundTripKeepsEveryType();
    void importKeepsSkipsAndStops_data();
    void importKeepsSkipsAndStops();
    void unreadableFilesAreReported();
    void singleRecordFiles();
    void structureExportAndImport();
    void severalStructuresWithOneNameTaken();
    void readableText();
};

void TestExchange::recordFileRoundTripKeepsEveryType()
{
    Fixture s;
    s.makeTable("Citta", {{"RSTRINGFORMAT_Nome", "text"}});
    s.addRow("Citta", {1, "Roma"});
    const QList<ColumnDefinition> every = {
        {"RSTRINGFORMAT_Nome", "text"},    {"NDATEFORMAT_Nato", "text"},   {"NINTEGERFORMAT_Eta", "text"},
        {"NREALFORMAT_Peso", "text"},      {"NMONEYFORMAT_Saldo", "text"}, {"NLONGSTRINGFORMAT_UserPath", ""},
        {"NIMAGEFORMAT_Foto", "text"},     {"NPDFFORMAT_Scheda", "text"},  {"NBOOLFORMAT_Attivo", "text"},
        {"NMAILFORMAT_Posta", "text"},     {"NLINKFORMAT_Citta", "text"},  {"NURLFORMAT_Sito", "text"},
        {"NSUBTABLEFORMAT_Righe", "text"}, {"XCitta_XDTX_RSTRINGFORMAT_Nome", "Integer"}};
    s.makeTable("Persone", every);
    const QString folderOf1 = tableFolderPath("TABLES_DOC", "Persone_D'Amico_Anna");
    s.addRow("Persone", {4, "D'Amico Anna", "01/02/1990", "33", "61.500000", "12.50", folderOf1,
                         folderOf1 + "/a.png", folderOf1 + "/b.pdf", "TRUE", "a@b.it", "Citta", "https://x.it/?a=1;b",
                         "", 1});
    s.addRow("Persone", {9, "Zoë ; àè", "", "0", "0.000000", "", tableFolderPath("TABLES_DOC", "Persone_Zoë_;_àè"),
                         "", "", "FALSE", "", "Citta", "", "", 7});
    const QStringList before = dumpTable(s.db(), "Persone");

    s.messages.fileAnswers << s.folder.file("p.tvf");
    s.window->currentTable = "Persone";
    s.window->exportToFile();
    QCOMPARE(s.messages.fileDialogs.last(),
             "Save File|" + s.folder.path() + "/TrasvoFiles/Persone.tvf|Trasvo File (*.tvf)");
    const QList<QByteArray> lines = s.read(s.folder.file("p.tvf")).split('\n');
    QCOMPARE(lines.size(), 4); // header, two records, nothing after the last line end
    QCOMPARE(lines.at(0), QByteArray("Persone"));
    QVERIFY(lines.at(1).startsWith("RINTEGERFORMAT_Id###4###RSTRINGFORMAT_Nome###D'Amico Anna###NDATEFORMAT_Nato###"));
    QVERIFY(lines.at(1).endsWith("###XCitta_XDTX_RSTRINGFORMAT_Nome###1###"));

    QVERIFY(s.db().clearTable("Persone"));
    s.window->importingFile(s.folder.file("p.tvf"));
    QCOMPARE(dumpTable(s.db(), "Persone"), before);
    QVERIFY(s.messages.warnings.isEmpty());

    // An empty table gives the header line only, and importing that adds nothing.
    QVERIFY(s.db().clearTable("Persone"));
    s.window->exportingToFile(s.folder.file("empty.tvf"), "Persone");
    QCOMPARE(s.read(s.folder.file("empty.tvf")), QByteArray("Persone\n"));
    s.window->importingFile(s.folder.file("empty.tvf"));
    QCOMPARE(s.db().countRecords("Persone"), 0);
}

void TestExchange::importKeepsSkipsAndStops_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QStringList>("warnings");
    const QByteArray ada = "RINTEGERFORMAT_Id###7###RSTRINGFORMAT_Nome###Ada###NINTEGERFORMAT_Eta###36###"
                           "NREALFORMAT_Peso###55.5###\n";
    const QString existing = "1|anna maria|30|60.000000";
    QTest::newRow("id kept when free, numbers as written by the record page")
        << "Persone\n" + ada << QStringList{existing, "7|Ada|36|55.500000"} << QStringList();
    QTest::newRow("numbers in other forms are stored as the record page writes them")
        << QByteArray("Persone\nRINTEGERFORMAT_Id###08###RSTRINGFORMAT_Nome###Ugo###NINTEGERFORMAT_Eta###-007###"
                      "NREALFORMAT_Peso###1.2345675###\nRINTEGERFORMAT_Id###+9###RSTRINGFORMAT_Nome###Ivo###"
                      "NINTEGERFORMAT_Eta###0###NREALFORMAT_Peso###-0.5###\nRINTEGERFORMAT_Id###10###RSTRINGFORMAT_Nome###Eli###"
                      "NINTEGERFORMAT_Eta###12###NREALFORMAT_Peso###-3###\nRINTEGERFORMAT_Id###11###"
                      "RSTRINGFORMAT_Nome###Rita###NINTEGERFORMAT_Eta###1###NREALFORMAT_Peso###2.###\n")
        << QStringList{existing, "8|Ugo|-7|1.234568", "9|Ivo|0|-0.500000", "10|Eli|12|-3.000000", "11|Rita|1|2.000000"}
        << QStringList();
    {
        // Enough records to grow the sets of ids and identifiers several times.
        QByteArray many = "Persone\n";
        QStringList rows{existing};
        for (int i = 2; i <= 300; ++i) {
            many += QString("RINTEGERFORMAT_Id###%1###RSTRINGFORMAT_Nome###Òscar %1###NINTEGERFORMAT_Eta###1###"
                            "NREALFORMAT_Peso###1###\n").arg(i).toUtf8();
            rows << QString("%1|Òscar %1|1|1.000000").arg(i);
        }
        many += "RINTEGERFORMAT_Id###400###RSTRINGFORMAT_Nome### òSCAR\t 17 ###NINTEGERFORMAT_Eta###1###"
                "NREALFORMAT_Peso###1###\n";
        QTest::newRow("many records; a later one differing in case and blanks is skipped")
            << many << rows << QStringList();
    }
    QTest::newRow("identifier present, any case and blanks: skipped silently")
        << QByteArray("Persone\nRINTEGERFORMAT_Id###2###RSTRINGFORMAT_Nome###  ANNA   Maria###NINTEGERFORMAT_Eta###1###"
                      "NREALFORMAT_Peso###1###\n")
        << QStringList{existing} << QStringList();
    QTest::newRow("taken id gets the next; a later duplicate in the file is skipped")
        << QByteArray("Persone\nRINTEGERFORMAT_Id###1###RSTRINGFORMAT_Nome###Bea###NINTEGERFORMAT_Eta###12abc###"
                      "NREALFORMAT_Peso###x###\r\nRINTEGERFORMAT_Id###5###RSTRINGFORMAT_Nome###bea###"
                      "NINTEGERFORMAT_Eta###1###NREALFORMAT_Peso###1###")
        << QStringList{existing, "2|Bea|0|0.000000"} << QStringList();
    QTest::newRow("apostrophes arrive unchanged")
        << QByteArray("Persone\nRINTEGERFORMAT_Id###3###RSTRINGFORMAT_Nome###L'Aquila ''x'###NINTEGERFORMAT_Eta###"
                      "1###NREALFORMAT_Peso###2###\n")
        << QStringList{existing, "3|L'Aquila ''x'|1|2.000000"} << QStringList();
    QTest::newRow("incompatible line stops; earlier lines stay")
        << "Persone\n" + ada + "RINTEGERFORMAT_Id###8###RSTRINGFORMAT_Nome###Eva###NREALFORMAT_Peso###1###\n" + ada
        << QStringList{existing, "7|Ada|36|55.500000"} << QStringList{"ERRORE: Tabella Incompatibile!"};
    QTest::newRow("separator inside a value shifts the pairs")
        << QByteArray("Persone\nRINTEGERFORMAT_Id###9###RSTRINGFORMAT_Nome###a###b###NINTEGERFORMAT_Eta###1###"
                      "NREALFORMAT_Peso###1###\n")
        << QStringList{existing} << QStringList{"ERRORE: Tabella Incompatibile!"};
    QTest::newRow("empty line is incompatible")
        << QByteArray("Persone\n\n") << QStringList{existing} << QStringList{"ERRORE: Tabella Incompatibile!"};
    QTest::newRow("missing table") << "Altro\n" + ada << QStringList{existing}
                                   << QStringList{"ERRORE: La Tabella non esiste!"};
    QTest::newRow("empty file") << QByteArray() << QStringList{existing}
                                << QStringList{"ERRORE: La Tabella non esiste!"};
}

void TestExchange::importKeepsSkipsAndStops()
{
    QFETCH(QByteArray, file);
    QFETCH(QStringList, rows);
    QFETCH(QStringList, warnings);
    Fixture s;
    s.makeTable("Persone", PeopleColumns);
    s.makeTable("Altra", PeopleColumns);
    s.addRow("Persone", {1, "anna maria", "30", "60.000000"});
    s.window->importingFile(s.write("in.tvf", file));

    QStringList got;
    s.db().readRows("Persone", nullptr, [&got](const QVector<QVariant> &values) {
        QStringList cells;
        for (const QVariant &value : values)
            cells << value.toString();
        got << cells.join('|');
        return true;
    });
    QCOMPARE(got, rows);
    QCOMPARE(s.messages.warnings, warnings);
    QCOMPARE(s.db().countRecords("Altra"), 0);
    QVERIFY(!s.window->importFailed);
}

void TestExchange::unreadableFilesAreReported()
{
    Fixture s;
    s.makeTable("Persone", PeopleColumns);
    s.window->importingFile(s.folder.file("missing.tvf"));
    s.window->exportingToFile(s.folder.file("no/such/folder.tvf"), "Persone");
    QCOMPARE(s.messages.warnings,
             QStringList({"ERRORE: Impossibile aprire il file!", "ERRORE: Impossibile scrivere sul file!"}));
    QVERIFY(s.window->importFailed);

    // Every table into TrasvoFiles/, then one completion message.
    s.window->autoExportAll();
    QCOMPARE(s.messages.informations, QStringList("Esportazione Completata!"));
    for (const QString &table : s.db().getTables())
        QVERIFY2(QFile::exists(s.folder.file("TrasvoFiles/" + table + ".tvf")), qPrintable(table));
}

void TestExchange::singleRecordFiles()
{
    Fixture s;
    s.makeTable("Persone", PeopleColumns);
    s.addRow("Persone", {1, "Ada", "3", "1"});
    s.addRow("Persone", {2, "Bea", "4", "2"});
    s.window->exportingSingleToFile(s.folder.file("one.tvf"), "Persone", 2);
    QCOMPARE(s.read(s.folder.file("one.tvf")),
             QByteArray("Persone\nRINTEGERFORMAT_Id###2###RSTRINGFORMAT_Nome###Bea###NINTEGERFORMAT_Eta###4###"
                        "NREALFORMAT_Peso###2###\n"));
    s.window->exportingSingleToFile(s.folder.file("none.tvf"), "Persone", 5);
    QCOMPARE(s.read(s.folder.file("none.tvf")), QByteArray("Persone\n"));
}

void TestExchange::structureExportAndImport()
{
    Fixture s;
    s.makeTable("Clienti", {{"RSTRINGFORMAT_Nome", "text"}, {"XClienti_XDTX_RSTRINGFORMAT_Nome", "Integer"}});
    s.makeTable("Vuota", {});
    s.addRow("settings", {1, "Clienti", "DB_DATA/c.png"});
    s.window->autoExportAllStructures();
    QCOMPARE(s.read(s.folder.file("TrasvoFiles/Clienti.tsc")),
             QByteArray("DB_DATA/c.png\nRSTRINGFORMAT_Nome###text\nXClienti_XDTX_RSTRINGFORMAT_Nome###text\n"));
    QCOMPARE(s.read(s.folder.file("TrasvoFiles/Vuota.tsc")), QByteArray("\n"));

    // One file: the name dialog proposes the file's name; the confirmed one is used.
    auto *dialog = s.window->findChild<chooseNameForm *>();
    QString proposed;
    auto answer = [&](const QString &name, bool accept) {
        QTimer::singleShot(0, dialog, [&proposed, dialog, name, accept] {
            proposed = dialog->getName();
            dialog->setName(name);
            accept ? dialog->accept() : dialog->reject();
        });
    };
    s.messages.multiFileAnswers << QStringList(s.folder.file("TrasvoFiles/Clienti.tsc"));
    answer("Altra", false);
    s.window->importTableStructure();
    QCOMPARE(proposed, QString("Clienti"));
    dialog->accept(); // a name confirmed later for something else imports nothing
    QVERIFY(!s.db().tableExists("Altra"));
    s.messages.multiFileAnswers << QStringList(s.folder.file("TrasvoFiles/Clienti.tsc"));
    answer("Clienti Nuovi", true);
    s.window->importTableStructure();
    QCOMPARE(s.db().getFieldNames("Clienti_Nuovi"), s.db().getFieldNames("Clienti"));
    QVERIFY(s.db().findRecord("settings", "RSTRINGFORMAT_tableName", "Clienti_Nuovi").value(2) == "DB_DATA/c.png");
    QCOMPARE(s.window->tableButtonList().last()->labelText(), QString("Clienti_Nuovi"));
    QVERIFY(s.messages.warnings.isEmpty());

    // A file of one line makes a table of the key column only; a second time the name is taken.
    s.window->importingStructure(s.folder.file("TrasvoFiles/Vuota.tsc"), "Sola");
    QCOMPARE(s.db().getFieldNames("Sola"), QStringList("RINTEGERFORMAT_Id"));
    s.window->importingStructure(s.folder.file("TrasvoFiles/Vuota.tsc"), "Sola");
    QCOMPARE(s.messages.warnings, QStringList("ERRORE: La Tabella è già presente nel Db!"));
}

void TestExchange::severalStructuresWithOneNameTaken()
{
    Fixture s;
    const QString odd = s.write("Nuova.tsc", "\nNSTRINGFORMAT_a###text); DROP TABLE settings; --\n###text\n"
                                             "NSTRINGFORMAT_b\n");
    const QString taken = s.write("settings.tsc", "\nNSTRINGFORMAT_x###text\n");
    s.messages.multiFileAnswers << QStringList{taken, odd};
    s.window->importTableStructure();
    QCOMPARE(s.messages.warnings, QStringList("ERRORE: La Tabella è già presente nel Db!"));
    QVERIFY(!s.window->findChild<chooseNameForm *>()->isVisible());
    QCOMPARE(s.db().getFieldNames("Nuova"), QStringList({"RINTEGERFORMAT_Id", "NSTRINGFORMAT_a", "NSTRINGFORMAT_b"}));
    QVERIFY(s.db().tableExists("settings"));
}

void TestExchange::readableText()
{
    Fixture s;
    s.makeTable("Citta", {{"RSTRINGFORMAT_Nome", "text"}, {"NSTRINGFORMAT_Provincia", "text"}});
    s.addRow("Citta", {1, "Roma", "RM"});
    s.makeTable("Persone", {{"RSTRINGFORMAT_Nome", "text"},
                            {"XCitta_XDTX_NSTRINGFORMAT_Provincia", "Integer"},
                            {"XCitta_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2", "Integer"}});
    s.addRow("Persone", {1, "Ada; x", 1, 1});
    s.addRow("Persone", {2, "Bea", 5, 0});
    s.window->exportingToFileHumanReading(s.folder.file("t.txt"), "Persone");
    QCOMPARE(s.read(s.folder.file("t.txt")),
             QByteArray("Id;1;Nome;Ada; x;Provincia;RM;Nome;Roma;\nId;2;Nome;Bea;Provincia;---;Nome;---;\n"));
    s.window->exportingSingleToFileHumanReading(s.folder.file("r.txt"), "Persone", 1);
    QCOMPARE(s.read(s.folder.file("r.txt")), QByteArray("Id=1\nNome=Ada; x\nProvincia=RM\nNome=Roma\n"));
    s.window->exportingSingleToFileHumanReading(s.folder.file("n.txt"), "Persone", 3);
    QCOMPARE(s.read(s.folder.file("n.txt")), QByteArray());

    s.messages.fileAnswers << QString();
    s.window->currentTable = "Persone";
    s.window->exportToFileHumanReading();
    QCOMPARE(s.messages.fileDialogs.last(), "Save File|" + s.folder.path() + "/Exports/Persone.txt|txt (*.txt)");
}

QTEST_MAIN(TestExchange)
#include "tst_exchange.moc"
