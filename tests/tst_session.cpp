// Starting the program: the remembered database, its folders, the lock.
#include "testsupport.h"

class TestSession : public QObject
{
    Q_OBJECT

private slots:
    void firstStartInEmptyFolder()
    {
        TestFolder folder;
        RecordingMessageHandler messages;
        {
            Tessaro w;
            QCOMPARE(readFile("lastDb.dat"), QString());
            QCOMPARE(readFile("lockDb.dat"), QString("Locked"));
            QVERIFY(!w.readOnly);
            QCOMPARE(w.windowTitle(), QString("DB Administration Tool"));
            QVERIFY(QDir("TABLES_DOC").exists() && QDir("DB_DATA").exists());
            QCOMPARE(w.findChild<QPushButton *>("pbDbName")->text(), QString());
            QVERIFY(w.tableButtonList().isEmpty());
            // The session runs on a private temporary database that has the system tables.
            QVERIFY(w.connection()->tableExists("settings"));
            QVERIFY(messages.said.isEmpty());
        }
        QVERIFY(!QFile::exists("lockDb.dat"));
    }

    void remembersTheLastDatabase()
    {
        TestFolder folder;
        RecordingMessageHandler messages;
        const QString path = folder.file("data/archivio.db");
        QDir().mkpath(folder.file("data"));
        {
            DbConnection db;
            QVERIFY(db.openDb(path));
            run(db, {"CREATE TABLE Clienti (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text)",
                     "CREATE TABLE HIDDENTABLE_Segreti (RINTEGERFORMAT_Id integer primary key)",
                     "CREATE TABLE Ordini (RINTEGERFORMAT_Id integer primary key)",
                     // a system table with other columns is left alone
                     "CREATE TABLE filters (RINTEGERFORMAT_Id integer primary key, something text)"});
        }
        QVERIFY(rememberDb(path));

        Tessaro w;
        QCOMPARE(w.dbPath, path);
        QCOMPARE(w.dbFolder, folder.file("data/"));
        QCOMPARE(w.dbFileName, QString("archivio.db"));
        QCOMPARE(w.tablesDocPath, folder.file("data/TABLES_DOC"));
        QCOMPARE(w.dbDataPath, folder.file("data/DB_DATA"));
        QVERIFY(QDir(w.tablesDocPath).exists() && QDir(w.dbDataPath).exists());
        QCOMPARE(w.findChild<QPushButton *>("pbDbName")->text(), QString("archivio.db"));
        QCOMPARE(tableLabels(w), (QStringList{"Clienti", "Ordini"}));
        QCOMPARE(w.currentTable, QString("Clienti"));
        QCOMPARE(w.findChild<QLabel *>("lbListName")->text(), QString("Clienti"));
        QVERIFY(w.connection()->tableExists("settings") && w.connection()->tableExists("subtablesconfigs"));
        QCOMPARE(w.connection()->getFieldNames("filters"), (QStringList{"RINTEGERFORMAT_Id", "something"}));
        QVERIFY(messages.said.isEmpty());
    }

    void secondInstanceIsReadOnly()
    {
        TestFolder folder;
        RecordingMessageHandler messages;
        auto *first = new Tessaro;
        QVERIFY(!first->readOnly);
        first->administratorModeEnabled(true);
        QVERIFY(first->findChild<QAction *>("actionNew_Db")->isEnabled());
        {
            Tessaro second;
            QVERIFY(second.readOnly);
            second.administratorModeEnabled(true); // shown, but still disabled
            QCOMPARE(second.windowTitle(), QString("DB Administration Tool - READONLY"));
            QVERIFY(!first->findChild<QLabel *>("lbReadOnly"));
            const QLabel *notice = second.findChild<QLabel *>("lbReadOnly");
            QVERIFY(notice && !notice->isHidden());
            QVERIFY(notice->text().contains("un'altra copia del programma sta usando questa cartella"));
            QVERIFY(notice->text().contains("\"lockDb.dat\""));
            for (const char *name : {"actionNew_Db", "actionTable", "actionRemove_Table", "actionAdministrator_Mode",
                                     "actionDelete_All_Database", "actionImport_From_File_Trasvo_File"})
                QVERIFY2(!second.findChild<QAction *>(name)->isEnabled(), name);
            for (const char *name : {"pbNewUser", "pbEditUser", "pbDeleteUser", "pbNewFilter"})
                QVERIFY2(!second.findChild<QPushButton *>(name)->isEnabled(), name);
            for (const char *name : {"actionOpen_Db", "actionExit", "actionTool"})
                QVERIFY2(second.findChild<QAction *>(name)->isEnabled(), name);
        }
        // The read-only instance leaves the owner's lock in place.
        QCOMPARE(readFile("lockDb.dat"), QString("Locked"));
        delete first;
        QVERIFY(!QFile::exists("lockDb.dat"));

        // A lock left behind (the owner crashed) keeps every later start read-only.
        QVERIFY(writeFile("lockDb.dat", "Locked"));
        Tessaro third;
        QVERIFY(third.readOnly);
    }

    void newDbStartsClean()
    {
        Window s([](DbConnection &db) { QVERIFY(makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome"}, {"Anna"})); });
        // A cancelled dialog empties dbPath and changes nothing else.
        s.w->newDb();
        QCOMPARE(s.w->dbPath, QString());
        QCOMPARE(readFile("lastDb.dat"), s.dbFile);

        // A name typed without its ending gets it.
        const QString path = s.folder.file("nuovo.db");
        s.messages.fileAnswers << s.folder.file("nuovo");
        s.w->newDb();
        QCOMPARE(s.messages.fileDialogs.last(), QString("Open File|/home|DataBase (*.db)"));
        QCOMPARE(s.w->dbPath, path);
        QVERIFY(QFile::exists(path));
        QCOMPARE(readFile("lastDb.dat"), path);
        // Nothing of the previous database stays on screen.
        QVERIFY(s.w->recordViewWidgets().isEmpty() && s.items().isEmpty());
        QCOMPARE(s.label("lbListName") + s.label("lbViewInfo") + s.label("lbToolbar"), QString("----"));

        DbConnection &db = s.db();
        QCOMPARE(db.getFieldNames("settings"),
                 (QStringList{"RINTEGERFORMAT_Id", "RSTRINGFORMAT_tableName", "RSTRINGFORMAT_iconPath"}));
        QCOMPARE(db.getFieldNames("filters"),
                 (QStringList{"RINTEGERFORMAT_Id", "RSTRINGFORMAT_filterName", "NSTRINGFORMAT_filterTableName",
                              "NSTRINGFORMAT_filterFieldName", "NSTRINGFORMAT_filterFieldValue",
                              "NSTRINGFORMAT_filterFieldType", "NSTRINGFORMAT_filterFieldCondition",
                              "NSTRINGFORMAT_filterFieldConditionAndOr"}));
        QCOMPARE(db.getFieldNames("subtablesconfigs"),
                 (QStringList{"RINTEGERFORMAT_Id", "RSTRINGFORMAT_subConfigName", "NSTRINGFORMAT_subConfigFieldName",
                              "NSTRINGFORMAT_subConfigFieldType"}));

        // The first table designed there becomes current, not a system table.
        s.w->newTable();
        s.child<QLineEdit>("leTableName")->setText("Prodotti");
        s.w->acceptedNewTable();
        QCOMPARE(s.w->currentTable + " " + s.label("lbListName"), QString("Prodotti Prodotti"));
        // The next start reopens it.
        Tessaro again;
        QCOMPARE(again.dbPath, path);
        QCOMPARE(tableLabels(again), QStringList{"Prodotti"});
    }

    void bareFileNameUsesWorkingFolder()
    {
        TestFolder folder;
        RecordingMessageHandler messages;
        QVERIFY(writeFile("lastDb.dat", "bare.db\nsecond line is ignored\n"));
        Tessaro w;
        QCOMPARE(w.dbPath, QString("bare.db"));
        QCOMPARE(w.dbFolder, QString());
        QCOMPARE(w.tablesDocPath, QString("TABLES_DOC"));
        QVERIFY(QFile::exists(folder.file("bare.db")));
        QVERIFY(QDir(folder.file("TABLES_DOC")).exists() && QDir(folder.file("DB_DATA")).exists());
    }

    void fileThatIsNotADatabase()
    {
        TestFolder folder;
        RecordingMessageHandler messages;
        QVERIFY(writeFile("notes.db", "these are plain notes, not a database\n"));
        QVERIFY(rememberDb(folder.file("notes.db")));
        Tessaro w;
        QCOMPARE(messages.warnings, QStringList{"ERRORE: Impossibile aprire il Db!"});
        QVERIFY(w.tableButtonList().isEmpty());
        QCOMPARE(readFile("notes.db"), QString("these are plain notes, not a database\n"));
    }
};

QTEST_MAIN(TestSession)
#include "tst_session.moc"
