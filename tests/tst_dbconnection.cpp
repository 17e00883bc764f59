// The connection: opening, reading, writing, and every failure told once.
#include "testsupport.h"

class TestDbConnection : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestFolder> folder;
    std::unique_ptr<RecordingMessageHandler> messages;
    std::unique_ptr<DbConnection> db;

    // One row per value in the first data column, ids 1, 2, ...
    void fill(const QString &table, const QStringList &values)
    {
        for (const QString &value : values)
            QVERIFY(db->updateField(table, db->insertEmptyRecord(table, false, 0), db->getFieldNames(table).at(1), value));
    }

private slots:
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
        DbConnection::OpenOptions existing;
        existing.mustExist = true;
        QVERIFY(!db->openDb(folder->file("missing.db"), existing));
        QVERIFY(!QFile::exists(folder->file("missing.db")));
        QCOMPARE(messages->warnings, (QStringList{"ERRORE: Impossibile aprire il Db!", "ERRORE: Impossibile aprire il Db!",
                                                  "ERRORE: Il file " + folder->file("missing.db") + " non esiste!"}));
        // The database that was open stays open.
        QCOMPARE(db->getTables(), QStringList{"A"});

        // Read-only: every write is refused, and the file keeps its bytes.
        DbConnection::OpenOptions readOnly;
        readOnly.readOnly = true;
        const QString before = readFile(folder->file("test.db"));
        QVERIFY(db->openDb(folder->file("test.db"), readOnly) && db->isReadOnly());
        QCOMPARE(db->insertEmptyRecord("A", false, 0), -1);
        QVERIFY(!db->createTable("B", {}));
        QCOMPARE(readFile(folder->file("test.db")), before);
    }

    void tablesHideSqliteInternals()
    {
        QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
        run(*db, {"CREATE TABLE auto (k INTEGER PRIMARY KEY AUTOINCREMENT, v text)", "INSERT INTO auto (v) VALUES ('x')",
                  "CREATE VIEW vw AS SELECT * FROM T"});
        QStringList tables = db->getTables();
        tables.sort();
        QCOMPARE(tables, (QStringList{"T", "auto"}));
        QVERIFY(!db->tableExists("t"));
        // Every name goes into statements quoted, its own quotes doubled.
        QCOMPARE(DbConnection::sqlName("my \"table\""), QString("\"my \"\"table\"\"\""));
        QVERIFY(db->createTable("order", {{"select", "text"}}) && db->insertEmptyRecord("order", false, 0) == 1);
    }

    void createTableRepeatsAndRefusals()
    {
        const QString lookup = "XC_XDTX_RSTRINGFORMAT_name";
        QVERIFY(db->createTable("T", {{lookup, "Integer"}, {"NSTRINGFORMAT_a", "text"}, {lookup, "Integer"},
                                      {lookup, "Integer"}, {"NLONGSTRINGFORMAT_UserPath", ""}}));
        QCOMPARE(db->getFieldNames("T"), (QStringList{"RINTEGERFORMAT_Id", lookup, "NSTRINGFORMAT_a", lookup + "_XMLTYX_2",
                                                      lookup + "_XMLTYX_3", "NLONGSTRINGFORMAT_UserPath"}));
        QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);

        // An existing name is refused and the table left as it was.
        QVERIFY(!db->createTable("T", {{"NSTRINGFORMAT_b", "text"}}));
        QCOMPARE(messages->warnings, QStringList{QString::fromUtf8("ERRORE: La Tabella T è già presente nel Db!\n")});
        QCOMPARE(db->getFieldNames("T").size(), 6);
        QCOMPARE(db->countRecords("T"), 1);

        // Repeated link columns get no suffix, so the driver refuses them.
        QVERIFY(!db->createTable("L", {{"NLINKFORMAT_C", "text"}, {"NLINKFORMAT_C", "text"}}));
        QCOMPARE(messages->warnings.size(), 2);
        QVERIFY(messages->warnings.last().startsWith("ERRORE: Impossibile creare la tabella L!\n"));
        QVERIFY(messages->warnings.last().contains("duplicate column name"));
        QVERIFY(!db->tableExists("L"));
    }

    void addColumnSuffixIgnoresCaseAndSuffix()
    {
        QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_name", "text"}}));
        QVERIFY(db->addColumn("T", "nstringformat_NAME", "text"));
        QVERIFY(db->addColumn("T", "NSTRINGFORMAT_name", "text"));
        QVERIFY(db->addColumn("T", "NSTRINGFORMAT_other", "text"));
        QCOMPARE(db->getFieldNames("T").mid(2), (QStringList{"nstringformat_NAME_XMLTYX_2", "NSTRINGFORMAT_name_XMLTYX_3",
                                                             "NSTRINGFORMAT_other"}));
        QVERIFY(!db->addColumn("Missing", "NSTRINGFORMAT_a", "text"));
        QCOMPARE(messages->warnings.size(), 1);
        QVERIFY(messages->warnings.first().startsWith(
            "ERRORE: Impossibile aggiungere il campo NSTRINGFORMAT_a alla tabella Missing!\n"));
    }

    void reads()
    {
        QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
        QCOMPARE(db->getMaxId("T"), 0);
        // Before any row, id 0 matches: the search reads 0 before the first row.
        QVERIFY(db->idExists("T", 0));
        fill("T", {"uno", "due", "due", "l''anno"});
        QVERIFY(db->idExists("T", 2) && !db->idExists("T", 5));
        QCOMPARE(db->getRecordById("T", 4).value(1).toString(), QString("l'anno"));
        QVERIFY(db->getRecordById("T", 0).value(0).isNull() && db->getRecordById("T", 9).value(0).isNull());
        QVERIFY(!db->getFieldValue("T", db->getRecordById("T", 1), "nope").isValid());

        QCOMPARE(db->findRecord("T", "NSTRINGFORMAT_a", "due").value(0).toInt(), 2);
        QVERIFY(db->findRecord("T", "NSTRINGFORMAT_a", "Due").isEmpty());
        QCOMPARE(db->findRecord("T", "NSTRINGFORMAT_a", "l'anno").value(0).toInt(), 4);
        // The identifier test ignores case and blanks and undoes doubled quotes.
        QVERIFY(db->nameInFirstColumn("T", " DUE ") && db->nameInFirstColumn("T", "L''Anno"));
        QVERIFY(!db->nameInFirstColumn("T", "du e"));

        QVERIFY(db->deleteRecord("T", 2) && db->deleteRecord("T", 42));
        QCOMPARE(db->countRecords("T"), 3);
        QVERIFY(db->clearTable("T"));
        run(*db, {"INSERT INTO T VALUES (-5, 'a')"});
        QCOMPARE(db->getMaxId("T"), 0);

        // Reading a table that does not exist says nothing.
        QCOMPARE(db->countRecords("Missing") + db->getMaxId("Missing"), 0);
        QVERIFY(db->getFieldNames("Missing").isEmpty() && db->getRecordById("Missing", 1).isEmpty());
        QVERIFY(db->findRecord("Missing", "a", "x").isEmpty() && !db->nameInFirstColumn("Missing", "x"));
        QVERIFY(messages->said.isEmpty());
    }

    void insertEmptyRecordChoosesId()
    {
        QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}, {"NINTEGERFORMAT_n", "text"}}));
        QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);
        QCOMPARE(db->insertEmptyRecord("T", true, 7), 7);
        QCOMPARE(db->insertEmptyRecord("T", true, 7), 8);
        QCOMPARE(db->insertEmptyRecord("T", false, 3), 9);
        QCOMPARE(db->insertEmptyRecord("T", true, 0), 10);
        QCOMPARE(db->getRecordById("T", 7).value(2).toString(), QString("0"));

        QCOMPARE(db->insertEmptyRecord("Missing", false, 0), -1);
        QCOMPARE(messages->warnings.size(), 1);
        QVERIFY(messages->warnings.first().startsWith("ERRORE: Impossibile aggiungere un elemento alla tabella Missing!\n"));
        // Each failure is kept too, until taken.
        QCOMPARE(db->lastFailure(), messages->warnings.first());
        QCOMPARE(db->takeFailures(), messages->warnings);
        QVERIFY(db->takeFailures().isEmpty());
    }

    void updateFieldChecksInOrder()
    {
        QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
        QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);
        QVERIFY(!db->updateField("Missing", 1, "NSTRINGFORMAT_a", "x"));
        QVERIFY(!db->updateField("T", 5, "NSTRINGFORMAT_a", "x"));
        QVERIFY(!db->updateField("T", 1, "NSTRINGFORMAT_b", "x"));
        QCOMPARE(messages->warnings, (QStringList{"ERRORE: La Tabella 'Missing' non esiste!\n",
                                                  QString::fromUtf8("ERRORE: L'Id 5 non è presente nella Tabella!\n"),
                                                  "ERRORE: Il campo 'NSTRINGFORMAT_b' non esiste!\n"}));
        // The column test ignores case and blanks.
        QVERIFY(db->updateField("T", 1, "nstringformat_A", "l''anno"));
        QCOMPARE(db->getRecordById("T", 1).value(1).toString(), QString("l'anno"));
    }

    void updateFieldFormatsByColumnName()
    {
        QVERIFY(makeTable(*db, "T", {"NINTEGERFORMAT_n", "NREALFORMAT_r", "NMONEYFORMAT_m", "NSTRINGFORMAT_REALTY"},
                          {"abc|3.5|12.5|casa"}));
        QCOMPARE(dumpTable(*db, "T"), QStringList{"RINTEGERFORMAT_Id=1;NINTEGERFORMAT_n=0;NREALFORMAT_r=3.500000;"
                                                  "NMONEYFORMAT_m=12.5;NSTRINGFORMAT_REALTY=0.000000"});
    }

    void updateFieldIdChangeAsksFirst()
    {
        QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
        QCOMPARE(db->insertEmptyRecord("T", true, 5), 5);

        messages->answers = {false};
        QVERIFY(db->updateField("T", 5, "RINTEGERFORMAT_Id", "9")); // No still reports success
        QCOMPARE(messages->questions, QStringList{QString::fromUtf8("Vuoi veramente aggiornare l'Id 5 con il nuovo Id 9? "
                                                                    "Questa operazione può essere molto dannosa!")});
        QVERIFY(db->idExists("T", 5));

        messages->answers = {true};
        QVERIFY(db->updateField("T", 5, "RINTEGERFORMAT_Id", "9"));
        QVERIFY(db->idExists("T", 9) && !db->idExists("T", 5));
        QVERIFY(db->updateField("T", 9, "RINTEGERFORMAT_Id", "9")); // the same id asks nothing
        QCOMPARE(messages->questions.size(), 2);

        // Nobody to answer: No.
        db->setAnswerer(nullptr);
        QVERIFY(db->updateField("T", 9, "RINTEGERFORMAT_Id", "3"));
        QVERIFY(db->idExists("T", 9));
    }
};

QTEST_MAIN(TestDbConnection)
#include "tst_dbconnection.moc"
