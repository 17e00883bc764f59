// Storage: what table and column names say, each name read once and back;
// the connection's opening, reading and writing, every failure told once.
#include "storage/columnname.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"
#include "testsupport.h"

class TestStorage : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestFolder> folder;
    std::unique_ptr<RecordingMessageHandler> messages;
    std::unique_ptr<DbConnection> db;

private slots:
    void tables_data()
    {
        QTest::addColumn<QString>("typed");    // as the user types or a list shows it
        QTest::addColumn<QString>("internal");
        QTest::addColumn<QString>("display");
        QTest::addColumn<QString>("kind");     // hidden, system, subtable owner|field|configuration
        QTest::newRow("plain") << "Clienti" << "Clienti" << "Clienti" << "";
        QTest::newRow("hidden") << "#Orders" << "HIDDENTABLE_Orders" << "#Orders" << "hidden";
        QTest::newRow("subtable") << "#Orders->cfg1->lines"
                                  << "HIDDENTABLE_Orders_XSBTX_SUBTABLEFORMAT_lines_XSBTUSRX_cfg1"
                                  << "#Orders->cfg1->lines" << "hidden Orders|lines|cfg1";
        QTest::newRow("subtable of underscored names")
            << "#Clienti_Roma->cfg_a->Righe_ordine"
            << "HIDDENTABLE_Clienti_Roma_XSBTX_SUBTABLEFORMAT_Righe_ordine_XSBTUSRX_cfg_a"
            << "#Clienti_Roma->cfg_a->Righe_ordine" << "hidden Clienti_Roma|Righe_ordine|cfg_a";
        // "#" anywhere becomes the marker and back, and hides the table: names are not escaped.
        QTest::newRow("hash inside") << "A#B" << "AHIDDENTABLE_B" << "A#B" << "hidden";
        QTest::newRow("empty") << "" << "" << "" << "";
        QTest::newRow("lower-case marker is no marker") << "hiddentable_x" << "hiddentable_x" << "hiddentable_x" << "";
        QTest::newRow("settings") << "settings" << "settings" << "settings" << "system";
        QTest::newRow("filters") << "filters" << "filters" << "filters" << "system";
        QTest::newRow("subtablesconfigs") << "subtablesconfigs" << "subtablesconfigs" << "subtablesconfigs" << "system";
        QTest::newRow("capital S") << "Settings" << "Settings" << "Settings" << "";
        QTest::newRow("hidden settings") << "#settings" << "HIDDENTABLE_settings" << "#settings" << "hidden";
        QTest::newRow("trailing blank") << "settings " << "settings " << "settings " << "";
    }
    void tables()
    {
        QFETCH(QString, typed);
        QFETCH(QString, internal);
        const TableName name = TableName::fromDisplay(typed);
        QCOMPARE(name.internal(), internal);
        QTEST(TableName(internal).display(), "display");
        const QString parts = QStringList{name.owner(), name.subtableField(), name.configuration()}.join('|');
        QTEST(QString(name.isHidden() ? "hidden" : "") + (name.isSystem() ? "system" : "")
                  + (name.isSubtable() ? " " + parts : QString()), "kind");
    }

    void columns_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("meaning");
        QTest::newRow("required text") << "RSTRINGFORMAT_name" << "typed required STRINGFORMAT name";
        QTest::newRow("optional decimal") << "NREALFORMAT_price" << "typed REALFORMAT price decimal";
        QTest::newRow("id") << "RINTEGERFORMAT_Id" << "typed required INTEGERFORMAT Id program whole";
        QTest::newRow("record folder") << "NLONGSTRINGFORMAT_UserPath" << "typed LONGSTRINGFORMAT UserPath program";
        QTest::newRow("second FORMAT_ cuts the field") << "NSTRINGFORMAT_aFORMAT_b" << "typed STRINGFORMAT a";
        QTest::newRow("underscored field") << "RDATEFORMAT_Data_di_nascita" << "typed required DATEFORMAT Data_di_nascita";
        QTest::newRow("repeat suffix") << "NMONEYFORMAT_Prezzo_XMLTYX_2"
                                       << "typed MONEYFORMAT Prezzo_XMLTYX_2 bare=Prezzo repeat=2";
        QTest::newRow("link takes no suffix") << "NLINKFORMAT_Clienti" << "typed LINKFORMAT Clienti link=Clienti unsuffixed";
        // The field part counts for the number rules too (REALTY is written as a decimal).
        QTest::newRow("REAL inside the field") << "NSTRINGFORMAT_REALTY" << "typed STRINGFORMAT REALTY decimal";
        QTest::newRow("lookup") << "XClienti_XDTX_RSTRINGFORMAT_Nome" << "lookup Nome into Clienti.RSTRINGFORMAT_Nome";
        QTest::newRow("repeated lookup") << "XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_3"
                                         << "lookup Nome_XMLTYX_3 bare=Nome repeat=3 into Clienti.RSTRINGFORMAT_Nome";
        QTest::newRow("lookup of a hidden table's foreign column")
            << "XHIDDENTABLE_H_XDTX_code" << "lookup code into HIDDENTABLE_H.code";
        QTest::newRow("lookup of a whole number") << "XC_XDTX_NINTEGERFORMAT_n" << "lookup n into C.NINTEGERFORMAT_n whole";
        // A lookup needs both its "X" and its marker; required needs a typed name.
        QTest::newRow("X alone is a foreign name") << "Xcoord" << "foreign";
        QTest::newRow("marker without X") << "NSTRINGFORMAT_a_XDTX_b" << "typed STRINGFORMAT a_XDTX_b";
        QTest::newRow("R without a type") << "Rubrica" << "foreign";
        QTest::newRow("lower case") << "rstringformat_x" << "foreign";
    }
    void columns()
    {
        QFETCH(QString, name);
        const ColumnName c(name);
        QStringList meaning{c.isLookup() ? "lookup" : c.isTyped() ? "typed" : "foreign"};
        if (c.isRequired())
            meaning << "required";
        meaning << c.typeTag() << c.field();
        if (c.repeat())
            meaning << QString("bare=%1 repeat=%2").arg(c.bareField()).arg(c.repeat());
        if (c.isLookup())
            meaning << "into " + c.lookupTable() + "." + c.lookupColumn();
        if (c.isLink())
            meaning << "link=" + c.linkTable();
        if (c.isProgramField())
            meaning << "program";
        if (writesAsWholeNumber(name))
            meaning << "whole";
        if (writesAsDecimal(name))
            meaning << "decimal";
        if (!takesRepeatSuffix(name))
            meaning << "unsuffixed";
        meaning.removeAll(QString());
        QTEST(meaning.join(' '), "meaning");
        QCOMPARE(c.isForeign(), meaning.first() == "foreign");
    }

    void folders_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("path");
        QTest::newRow("point removed, blank kept") << "Vendite 2020.1" << "TABLES_DOC/Vendite 20201";
        QTest::newRow("every stripped character") << "a'b?c!d.e,f;g:h<i>j/k\\l\"m*n[o]p" << "TABLES_DOC/abcdefghijklmnop";
        QTest::newRow("hidden table keeps its marker") << "HIDDENTABLE_Orders_Mario" << "TABLES_DOC/HIDDENTABLE_Orders_Mario";
        QTest::newRow("subtable shortened") << "HIDDENTABLE_Orders_XSBTX_SUBTABLEFORMAT_lines_XSBTUSRX_cfg_XSBCONFX_1_Mario"
                                            << "TABLES_DOC/Orders_lines_cfg1_Mario";
    }
    void folders()
    {
        QFETCH(QString, name);
        QTEST(tableFolderPath("TABLES_DOC", name), "path");
    }

    void init()
    {
        folder.reset(new TestFolder);
        messages.reset(new RecordingMessageHandler);
        db.reset(new DbConnection);
        reportTo(*db, *messages);
        QVERIFY(db->openDb(folder->file("test.db")));
    }
    void cleanup()
    {
        db.reset();
        messages.reset();
        folder.reset();
    }

    void openReplacesConnectionAndRefusesJunk()
    {
        QVERIFY(db->createTable("A", {{"NSTRINGFORMAT_a", "text"}}));
        QVERIFY(db->openDb(folder->file("other.db")));
        QVERIFY(QFile::exists(folder->file("other.db")));
        QCOMPARE(db->getTables(), QStringList());
        QVERIFY(db->openDb(folder->file("test.db")));
        QCOMPARE(db->getTables(), QStringList{"A"});

        QVERIFY(writeFile(folder->file("junk.db"), QByteArray(4096, 'x')));
        QVERIFY(!db->openDb(folder->file("junk.db")));
        QVERIFY(!db->openDb(folder->file("no/such/folder/x.db")));
        QVERIFY(!db->openDb(folder->file("missing.db"), {true, false, 0}));
        QVERIFY(!QFile::exists(folder->file("missing.db")));
        QCOMPARE(messages->warnings, (QStringList{"ERRORE: Impossibile aprire il Db!", "ERRORE: Impossibile aprire il Db!",
                                                  "ERRORE: Il file " + folder->file("missing.db") + " non esiste!"}));
        // The database that was open stays open.
        QCOMPARE(db->getTables(), QStringList{"A"});

        // Read-only: every write is refused, and the file keeps its bytes.
        const QString before = readFile(folder->file("test.db"));
        QVERIFY(db->openDb(folder->file("test.db"), {false, true, 0}) && db->isReadOnly());
        QVERIFY(db->insertEmptyRecord("A", false, 0) == -1 && !db->createTable("B", {}));
        QCOMPARE(readFile(folder->file("test.db")), before);
    }

    void tablesAndColumns()
    {
        const QString lookup = "XC_XDTX_RSTRINGFORMAT_name";
        QVERIFY(db->createTable("T", {{lookup, "Integer"}, {"NSTRINGFORMAT_a", "text"}, {lookup, "Integer"},
                                      {lookup, "Integer"}, {"NLONGSTRINGFORMAT_UserPath", ""}}));
        QCOMPARE(db->getFieldNames("T"), (QStringList{"RINTEGERFORMAT_Id", lookup, "NSTRINGFORMAT_a", lookup + "_XMLTYX_2",
                                                      lookup + "_XMLTYX_3", "NLONGSTRINGFORMAT_UserPath"}));
        // An added column is numbered among those of its name, in any case.
        QVERIFY(db->addColumn("T", "nstringformat_A", "text") && db->addColumn("T", "NSTRINGFORMAT_a", "text"));
        QCOMPARE(db->getFieldNames("T").mid(6), (QStringList{"nstringformat_A_XMLTYX_2", "NSTRINGFORMAT_a_XMLTYX_3"}));
        // Names the program would never make, and keywords, are names all the same.
        run(*db, {"CREATE TABLE auto (k INTEGER PRIMARY KEY AUTOINCREMENT, v text)", "INSERT INTO auto (v) VALUES ('x')",
                  "CREATE VIEW vw AS SELECT * FROM T"});
        QVERIFY(db->createTable("order", {{"select", "text"}}) && db->insertEmptyRecord("order", false, 0) == 1);
        QCOMPARE(DbConnection::sqlName("my \"table\""), QString("\"my \"\"table\"\"\""));
        // Views and SQLite's own tables are not listed; names are told apart by case.
        QStringList tables = db->getTables();
        tables.sort();
        QCOMPARE(tables, (QStringList{"T", "auto", "order"}));
        QVERIFY(!db->tableExists("t"));

        // An existing name is refused and the table left as it was; repeated links get no suffix.
        QVERIFY(!db->createTable("T", {{"NSTRINGFORMAT_b", "text"}}));
        QVERIFY(!db->createTable("L", {{"NLINKFORMAT_C", "text"}, {"NLINKFORMAT_C", "text"}}));
        QVERIFY(!db->addColumn("Missing", "NSTRINGFORMAT_a", "text"));
        QCOMPARE(messages->warnings.size(), 3);
        QCOMPARE(messages->warnings.at(0), QString::fromUtf8("ERRORE: La Tabella T è già presente nel Db!\n"));
        QVERIFY(messages->warnings.at(1).startsWith("ERRORE: Impossibile creare la tabella L!\n"));
        QVERIFY(messages->warnings.at(1).contains("duplicate column name"));
        QVERIFY(messages->warnings.at(2).startsWith(
            "ERRORE: Impossibile aggiungere il campo NSTRINGFORMAT_a alla tabella Missing!\n"));
        QVERIFY(db->getFieldNames("T").size() == 8 && !db->tableExists("L"));

        // Within one step of the window the schema is asked for once: what
        // the program adds is seen at once, another program's change at the
        // next step.
        {
            const DbSchemaHold hold(*db);
            QVERIFY(db->getFieldNames("T").size() == 8 && db->addColumn("T", "NSTRINGFORMAT_c", "text"));
            QCOMPARE(db->getFieldNames("T").size(), 9);
        }
        {
            QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "other");
            other.setDatabaseName(folder->file("test.db"));
            QVERIFY(other.open() && QSqlQuery(other).exec("ALTER TABLE T ADD COLUMN NSTRINGFORMAT_d text"));
        }
        QSqlDatabase::removeDatabase("other");
        QCOMPARE(db->getFieldNames("T").size(), 10);
    }

    void reads()
    {
        QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
        QCOMPARE(db->getMaxId("T"), 0);
        // Before any row, id 0 matches: the search reads 0 before the first row.
        QVERIFY(db->idExists("T", 0));
        QVERIFY(makeTable(*db, "U", {"NSTRINGFORMAT_a"}, {"uno", "due", "due", "l'anno"}));
        QVERIFY(db->idExists("U", 2) && !db->idExists("U", 5));
        QCOMPARE(db->getRecordById("U", 4).value(1).toString(), QString("l'anno"));
        QVERIFY(db->getRecordById("U", 0).value(0).isNull() && db->getRecordById("U", 9).value(0).isNull());
        QVERIFY(!db->getFieldValue("U", db->getRecordById("U", 1), "nope").isValid());

        QCOMPARE(db->findRecord("U", "NSTRINGFORMAT_a", "due").value(0).toInt(), 2);
        QVERIFY(db->findRecord("U", "NSTRINGFORMAT_a", "Due").isEmpty());
        QCOMPARE(db->findRecord("U", "NSTRINGFORMAT_a", "l'anno").value(0).toInt(), 4);
        // The identifier test ignores case and blanks and undoes doubled quotes.
        QVERIFY(db->nameInFirstColumn("U", " DUE ") && db->nameInFirstColumn("U", "L''Anno"));
        QVERIFY(!db->nameInFirstColumn("U", "du e"));

        QVERIFY(db->deleteRecord("U", 2) && db->deleteRecord("U", 42));
        QCOMPARE(db->countRecords("U"), 3);
        run(*db, {"INSERT INTO T VALUES (-5, 'a')"});
        QCOMPARE(db->getMaxId("T"), 0);

        // Reading a table that does not exist says nothing.
        QCOMPARE(db->countRecords("Missing") + db->getMaxId("Missing"), 0);
        QVERIFY(db->getFieldNames("Missing").isEmpty() && db->getRecordById("Missing", 1).isEmpty());
        QVERIFY(db->findRecord("Missing", "a", "x").isEmpty() && !db->nameInFirstColumn("Missing", "x"));
        QVERIFY(messages->said.isEmpty());
    }

    void writes()
    {
        // A new record keeps the id it asks for when that is free, or gets the next one.
        QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
        QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);
        QCOMPARE(db->insertEmptyRecord("T", true, 7), 7);
        QCOMPARE(db->insertEmptyRecord("T", true, 7), 8);
        QCOMPARE(db->insertEmptyRecord("T", false, 3), 9);
        QCOMPARE(db->insertEmptyRecord("T", true, 0), 10);
        QCOMPARE(db->getRecordById("T", 7).value(1).toString(), QString("0")); // every other column holds 0

        // Each failure is told and kept until taken; the column test ignores case and blanks.
        QCOMPARE(db->insertEmptyRecord("Missing", false, 0), -1);
        QVERIFY(!db->updateField("Missing", 1, "NSTRINGFORMAT_a", "x"));
        QVERIFY(!db->updateField("T", 5, "NSTRINGFORMAT_a", "x"));
        QVERIFY(!db->updateField("T", 1, "NSTRINGFORMAT_b", "x"));
        QVERIFY(db->updateField("T", 1, "nstringformat_A", "x"));
        QCOMPARE(messages->warnings.size(), 4);
        QVERIFY(messages->warnings.first().startsWith("ERRORE: Impossibile aggiungere un elemento alla tabella Missing!\n"));
        QCOMPARE(messages->warnings.mid(1), (QStringList{"ERRORE: La Tabella 'Missing' non esiste!\n",
                                                         QString::fromUtf8("ERRORE: L'Id 5 non è presente nella Tabella!\n"),
                                                         "ERRORE: Il campo 'NSTRINGFORMAT_b' non esiste!\n"}));
        QCOMPARE(db->lastFailure(), messages->warnings.last());
        QCOMPARE(db->takeFailures(), messages->warnings);
        QVERIFY(db->takeFailures().isEmpty());

        // Values are written as the column's name says, the field part included.
        QVERIFY(makeTable(*db, "N", {"NINTEGERFORMAT_n", "NREALFORMAT_r", "NMONEYFORMAT_m", "NSTRINGFORMAT_REALTY"},
                          {"abc|3.5|12.5|casa"}));
        QCOMPARE(dumpTable(*db, "N"), QStringList{"RINTEGERFORMAT_Id=1;NINTEGERFORMAT_n=0;NREALFORMAT_r=3.500000;"
                                                  "NMONEYFORMAT_m=12.5;NSTRINGFORMAT_REALTY=0.000000"});
    }

    void idChangeAsksFirst()
    {
        QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
        QCOMPARE(db->insertEmptyRecord("T", true, 5), 5);
        messages->answers = {false, true};
        QVERIFY(db->updateField("T", 5, "RINTEGERFORMAT_Id", "9")); // No still reports success
        QVERIFY(db->idExists("T", 5));
        QVERIFY(db->updateField("T", 5, "RINTEGERFORMAT_Id", "9"));
        QVERIFY(db->idExists("T", 9) && !db->idExists("T", 5));
        QVERIFY(db->updateField("T", 9, "RINTEGERFORMAT_Id", "9")); // the same id asks nothing
        const QString question = QString::fromUtf8("Vuoi veramente aggiornare l'Id 5 con il nuovo Id 9? Questa "
                                                   "operazione può essere molto dannosa!");
        QCOMPARE(messages->questions, (QStringList{question, question}));
        // Nobody to answer: No.
        db->setAnswerer(nullptr);
        QVERIFY(db->updateField("T", 9, "RINTEGERFORMAT_Id", "3") && db->idExists("T", 9));
    }
};

QTEST_MAIN(TestStorage)
#include "tst_storage.moc"
