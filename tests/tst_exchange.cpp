// Record files, structure files and readable text: exact bytes written, what
// an import keeps, skips and refuses, structures under new names.
#include "dialogs/choosenameform.h"
#include "exchange/exportfile.h"
#include "testsupport.h"

namespace {

const QStringList PeopleColumns = {"RSTRINGFORMAT_Nome", "NINTEGERFORMAT_Eta", "NREALFORMAT_Peso"};

// Citta with an icon; Persone looking up Citta twice, one lookup missing; an empty table.
void cities(DbConnection &db)
{
    QVERIFY(makeTable(db, "Citta", {"RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Prov"}, {"Roma|RM"}));
    QVERIFY(makeTable(db, "Persone", {"RSTRINGFORMAT_Nome", "XCitta_XDTX_NSTRINGFORMAT_Prov",
                                      "XCitta_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2"}, {"Ada; x|1|1", "Bea|5|0"}));
    QVERIFY(makeTable(db, "Vuota", {}));
    QVERIFY(makeTable(db, "settings", {"RSTRINGFORMAT_tableName", "RSTRINGFORMAT_iconPath"}, {"Citta|DB_DATA/c.png"}));
}

// A record line of Persone from "id|name|age|weight".
QByteArray person(const QString &values)
{
    const QStringList v = values.split('|');
    return QString("RINTEGERFORMAT_Id###%1###RSTRINGFORMAT_Nome###%2###NINTEGERFORMAT_Eta###%3###NREALFORMAT_Peso###%4###\n")
        .arg(v.value(0), v.value(1), v.value(2), v.value(3))
        .toUtf8();
}

} // namespace

class TestExchange : public QObject
{
    Q_OBJECT

private slots:
    // The same bytes for the window and the command line.
    void writtenFiles_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("table");
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("text");
        const QString line = "RINTEGERFORMAT_Id###%1###RSTRINGFORMAT_Nome###%2###XCitta_XDTX_NSTRINGFORMAT_Prov###%3###"
                             "XCitta_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2###%4###\n";
        const QString ada = line.arg("1", "Ada; x", "1", "1"), bea = line.arg("2", "Bea", "5", "0");
        QTest::newRow("records") << int(ExportKind::Records) << "Persone" << 0 << "Persone\n" + ada + bea;
        QTest::newRow("records of an empty table") << int(ExportKind::Records) << "Vuota" << 0 << "Vuota\n";
        QTest::newRow("one record") << int(ExportKind::RecordOfTable) << "Persone" << 2 << "Persone\n" + bea;
        QTest::newRow("a missing record") << int(ExportKind::RecordOfTable) << "Persone" << 5 << "Persone\n";
        // Lookups show the looked-up value, "---" when that record is missing.
        QTest::newRow("text") << int(ExportKind::Text) << "Persone" << 0
                              << "Id;1;Nome;Ada; x;Prov;RM;Nome;Roma;\nId;2;Nome;Bea;Prov;---;Nome;---;\n";
        QTest::newRow("text of a record") << int(ExportKind::TextOfRecord) << "Persone" << 1
                                          << "Id=1\nNome=Ada; x\nProv=RM\nNome=Roma\n";
        QTest::newRow("text of a missing record") << int(ExportKind::TextOfRecord) << "Persone" << 3 << "";
        QTest::newRow("structure with its icon") << int(ExportKind::Structure) << "Citta" << 0
                                                 << "DB_DATA/c.png\nRSTRINGFORMAT_Nome###text\nNSTRINGFORMAT_Prov###text\n";
        QTest::newRow("structure of lookups") << int(ExportKind::Structure) << "Persone" << 0
                                              << "\nRSTRINGFORMAT_Nome###text\nXCitta_XDTX_NSTRINGFORMAT_Prov###text\n"
                                                 "XCitta_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2###text\n";
        QTest::newRow("structure of no columns") << int(ExportKind::Structure) << "Vuota" << 0 << "\n";
    }
    void writtenFiles()
    {
        QFETCH(int, kind);
        QFETCH(QString, table);
        QFETCH(int, id);
        TestFolder folder;
        DbConnection db;
        QVERIFY(db.openDb(":memory:"));
        cities(db);
        QCOMPARE(writeExportFile(db, folder.file("out"), table, ExportKind(kind), id), QString());
        QTEST(readFile(folder.file("out")), "text");
        // A file that cannot be written leaves nothing behind.
        QVERIFY(!writeExportFile(db, folder.file("no/such/out"), table, ExportKind(kind), id).isEmpty());
        QVERIFY(!QFileInfo::exists(folder.file("no/such/out")) && QDir(folder.path()).entryList(QDir::Files).size() == 1);
    }

    void importKeepsSkipsAndStops_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<int>("outcome");
        const int imported = RecordFileImporter::Imported, incompatible = RecordFileImporter::Incompatible;
        const QString existing = "1|anna maria|30|60.000000";
        const QByteArray ada = person("7|Ada|36|55.5");
        QTest::newRow("id kept when free, numbers as written by the record page")
            << "Persone\n" + ada << QStringList{existing, "7|Ada|36|55.500000"} << imported;
        QTest::newRow("numbers in other forms are stored as the record page writes them")
            << "Persone\n" + person("08|Ugo|-007|1.2345675") + person("+9|Ivo|0|-0.5") + person("10|Eli|12|-3")
                   + person("11|Rita|1|2.")
            << QStringList{existing, "8|Ugo|-7|1.234568", "9|Ivo|0|-0.500000", "10|Eli|12|-3.000000", "11|Rita|1|2.000000"}
            << imported;
        QTest::newRow("identifier present, any case and blanks: skipped silently")
            << "Persone\n" + person("2|  ANNA   Maria|1|1") << QStringList{existing} << imported;
        QTest::newRow("taken id gets the next; a later duplicate in the file, any case and blanks, is skipped")
            << "Persone\n" + person("1|Bea|12abc|x").replace("\n", "\r\n") + person("5| bEa\t |1|1").chopped(1)
            << QStringList{existing, "2|Bea|0|0.000000"} << imported;
        QTest::newRow("apostrophes arrive unchanged")
            << "Persone\n" + person("3|L'Aquila ''x'|1|2") << QStringList{existing, "3|L'Aquila ''x'|1|2.000000"}
            << imported;
        QTest::newRow("incompatible line stops; earlier lines stay")
            << "Persone\n" + ada + "RINTEGERFORMAT_Id###8###RSTRINGFORMAT_Nome###Eva###NREALFORMAT_Peso###1###\n" + ada
            << QStringList{existing, "7|Ada|36|55.500000"} << incompatible;
        QTest::newRow("separator inside a value shifts the pairs")
            << "Persone\n" + person("9|a###b|1|1") << QStringList{existing} << incompatible;
        QTest::newRow("empty line is incompatible") << QByteArray("Persone\n\n") << QStringList{existing} << incompatible;
        QTest::newRow("missing table") << "Altro\n" + ada << QStringList{existing} << int(RecordFileImporter::NoTable);
        QTest::newRow("empty file") << QByteArray() << QStringList{existing} << int(RecordFileImporter::NoTable);
    }
    void importKeepsSkipsAndStops()
    {
        QFETCH(QByteArray, file);
        QFETCH(QStringList, rows);
        RecordingMessageHandler messages;
        DbConnection db;
        reportTo(db, messages);
        QVERIFY(db.openDb(":memory:"));
        QVERIFY(makeTable(db, "Persone", PeopleColumns, {"anna maria|30|60"}) && makeTable(db, "Altra", PeopleColumns));
        RecordFileImporter importer(db);
        importer.load(file);
        QTEST(int(importer.run()), "outcome");

        QStringList got = dumpTable(db, "Persone");
        QCOMPARE(got.replaceInStrings(QRegularExpression("[^;]*="), "").replaceInStrings(";", "|"), rows);
        QCOMPARE(importer.importedCount(), rows.size() - 1);
        QCOMPARE(db.countRecords("Altra"), 0);
        QVERIFY(messages.said.isEmpty());
    }

    void inTheWindow()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Roma"}));
            const QString folder = "TABLES_DOC/Persone_DAmico_Anna";
            QVERIFY(makeTable(db, "Persone",
                              {"RSTRINGFORMAT_Nome", "NDATEFORMAT_Nato", "NINTEGERFORMAT_Eta", "NREALFORMAT_Peso",
                               "NMONEYFORMAT_Saldo", "NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto", "NPDFFORMAT_Scheda",
                               "NBOOLFORMAT_Attivo", "NMAILFORMAT_Posta", "NLINKFORMAT_Citta", "NURLFORMAT_Sito",
                               "NSUBTABLEFORMAT_Righe", "XCitta_XDTX_RSTRINGFORMAT_Nome"},
                              {"D'Amico Anna|01/02/1990|33|61.5|12.50|" + folder + "|" + folder + "/a.png|" + folder
                                   + "/b.pdf|TRUE|a@b.it|Citta|https://x.it/?a=1;b||1",
                               "Zoë ; àè||0|0||TABLES_DOC/Persone_Zoë__àè|||FALSE||Citta|||7"}));
        });
        // Every type goes out and comes back as it was.
        s.w->changeTable("Persone");
        const QStringList before = s.rows("Persone");
        s.messages.fileAnswers << s.folder.file("p.tvf");
        s.w->exportToFile();
        QCOMPARE(s.messages.fileDialogs.last(),
                 "Save File|" + s.folder.path() + "/TrasvoFiles/Persone.tvf|Trasvo File (*.tvf)");
        QCOMPARE(readFile(s.folder.file("p.tvf")).count('\n'), 3); // header, two records, nothing after
        QVERIFY(s.db().clearTable("Persone"));
        s.w->importingFile(s.folder.file("p.tvf"));
        QCOMPARE(s.rows("Persone"), before);
        QCOMPARE(s.items(), QStringList({"D'Amico Anna", "Zoë ; àè"}));
        // An empty table gives the header line only, and importing that adds nothing.
        QVERIFY(s.db().clearTable("Persone"));
        s.w->exportingToFile(s.folder.file("empty.tvf"), "Persone");
        s.w->importingFile(s.folder.file("empty.tvf"));
        QCOMPARE(s.db().countRecords("Persone"), 0);
        QVERIFY(s.messages.warnings.isEmpty() && !s.w->importFailed);

        // What cannot be done is said.
        s.w->importingFile(s.folder.file("missing.tvf"));
        QVERIFY(s.w->importFailed);
        s.w->exportingToFile(s.folder.file("no/such/folder.tvf"), "Persone");
        QVERIFY(writeFile(s.folder.file("other.tvf"), "Altro\n"));
        s.w->importingFile(s.folder.file("other.tvf"));
        QVERIFY(writeFile(s.folder.file("bad.tvf"), "Persone\nRINTEGERFORMAT_Id###1###\n"));
        s.w->importingFile(s.folder.file("bad.tvf"));
        QCOMPARE(s.messages.warnings, QStringList({"ERRORE: Impossibile aprire il file!",
                                                   "ERRORE: Impossibile scrivere sul file!",
                                                   "ERRORE: La Tabella non esiste!", "ERRORE: Tabella Incompatibile!"}));

        // Every table into TrasvoFiles/, then one completion message; readable text is proposed in its own folder.
        s.w->autoExportAll();
        QCOMPARE(s.messages.said.filter("information: "), QStringList("information: Esportazione Completata!"));
        for (const QString &table : s.db().getTables())
            QVERIFY2(QFile::exists(s.folder.file("TrasvoFiles/" + table + ".tvf")), qPrintable(table));
        s.messages.fileAnswers << QString();
        s.w->exportToFileHumanReading();
        QCOMPARE(s.messages.fileDialogs.last(), "Save File|" + s.folder.path() + "/Exports/Persone.txt|txt (*.txt)");
    }

    void structureImport()
    {
        Window s(cities);
        s.w->autoExportAllStructures();
        // One file: the name dialog proposes the file's name; the confirmed one is used.
        auto *dialog = s.w->findChild<chooseNameForm *>();
        QString proposed;
        auto import = [&](const QString &name, bool accept) {
            s.messages.multiFileAnswers << QStringList(s.folder.file("TrasvoFiles/Citta.tsc"));
            QTimer::singleShot(0, dialog, [&proposed, dialog, name, accept] {
                proposed = dialog->getName();
                dialog->setName(name);
                accept ? dialog->accept() : dialog->reject();
            });
            s.w->importTableStructure();
        };
        import("Altra", false);
        QCOMPARE(proposed, QString("Citta"));
        dialog->accept(); // a name confirmed later for something else imports nothing
        QVERIFY(!s.db().tableExists("Altra"));
        import("Citta Nuove", true);
        QCOMPARE(s.db().getFieldNames("Citta_Nuove"), s.db().getFieldNames("Citta"));
        QCOMPARE(s.db().findRecord("settings", "RSTRINGFORMAT_tableName", "Citta_Nuove").value(2).toString(),
                 QString("DB_DATA/c.png"));
        QCOMPARE(s.buttons().last(), QString("Citta_Nuove"));
        QVERIFY(s.messages.warnings.isEmpty());

        // Several files: each under its own name; a taken name (any case) is refused, the rest made.
        QVERIFY(writeFile(s.folder.file("Nuova.tsc"), "\nNSTRINGFORMAT_a###text); DROP TABLE settings; --\n###text\n"
                                                      "NSTRINGFORMAT_b\n"));
        QVERIFY(writeFile(s.folder.file("SETTINGS.tsc"), "\nNSTRINGFORMAT_x###text\n"));
        s.messages.multiFileAnswers << QStringList{s.folder.file("SETTINGS.tsc"), s.folder.file("Nuova.tsc")};
        s.w->importTableStructure();
        QCOMPARE(s.messages.warnings, QStringList("ERRORE: La Tabella è già presente nel Db!"));
        QVERIFY(!dialog->isVisible());
        QCOMPARE(s.db().getFieldNames("Nuova"), QStringList({"RINTEGERFORMAT_Id", "NSTRINGFORMAT_a", "NSTRINGFORMAT_b"}));
        QCOMPARE(s.db().getFieldNames("settings").size(), 3);
        // A file of one line makes a table of the key column only.
        s.w->importingStructure(s.folder.file("TrasvoFiles/Vuota.tsc"), "Sola");
        QCOMPARE(s.db().getFieldNames("Sola"), QStringList("RINTEGERFORMAT_Id"));
    }
};

QTEST_MAIN(TestExchange)
#include "tst_exchange.moc"
