#include "app/tessaro.h"
#include "dialogs/listbuttonform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QSqlQuery>
#include <QtTest>

namespace {
QStringList listedTables(const Tessaro &w)
{
    QStringList names;
    for (const ListButtonForm *button : w.tableButtonList())
        names << button->tableName();
    return names;
}

// A database with the given tables (name, SQL), remembered in lastDb.dat.
void makeDatabase(const QString &path, const QStringList &statements)
{
    {
        DbConnection db;
        QVERIFY(db.openDb(path));
        QSqlQuery q = sqlOn(db);
        for (const QString &statement : statements)
            QVERIFY2(q.exec(statement), qPrintable(statement));
    }
    QVERIFY(rememberDb(path));
}
} // namespace

class TestSession : public QObject
{
    Q_OBJECT

private slots:
    void firstStartInEmptyFolder();
    void remembersTheLastDatabase();
    void secondInstanceIsReadOnly();
    void newDbCreatesFileFoldersAndSystemTables();
    void bareFileNameUsesWorkingFolder();
    void fileThatIsNotADatabase();
};

void TestSession::firstStartInEmptyFolder()
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

void TestSession::remembersTheLastDatabase()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    const QString path = folder.file("data/archivio.db");
    QDir().mkpath(folder.file("data"));
    makeDatabase(path, {"CREATE TABLE Clienti (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text)",
                        "CREATE TABLE HIDDENTABLE_Segreti (RINTEGERFORMAT_Id integer primary key)",
                        "CREATE TABLE Ordini (RINTEGERFORMAT_Id integer primary key)",
                        // a system table with other columns is left alone
                        "CREATE TABLE filters (RINTEGERFORMAT_Id integer primary key, something text)"});

    Tessaro w;
    QCOMPARE(w.dbPath, path);
    QCOMPARE(w.dbFolder, folder.file("data/"));
    QCOMPARE(w.dbFileName, QString("archivio.db"));
    QCOMPARE(w.tablesDocPath, folder.file("data/TABLES_DOC"));
    QCOMPARE(w.dbDataPath, folder.file("data/DB_DATA"));
    QVERIFY(QDir(w.tablesDocPath).exists() && QDir(w.dbDataPath).exists());
    QCOMPARE(w.findChild<QPushButton *>("pbDbName")->text(), QString("archivio.db"));
    QCOMPARE(listedTables(w), (QStringList{"Clienti", "Ordini"}));
    QCOMPARE(w.currentTable, QString("Clienti"));
    QCOMPARE(w.findChild<QLabel *>("lbListName")->text(), QString("Clienti"));
    QVERIFY(w.connection()->tableExists("settings") && w.connection()->tableExists("subtablesconfigs"));
    QCOMPARE(w.connection()->getFieldNames("filters"), (QStringList{"RINTEGERFORMAT_Id", "something"}));
    QVERIFY(messages.said.isEmpty());
}

void TestSession::secondInstanceIsReadOnly()
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

void TestSession::newDbCreatesFileFoldersAndSystemTables()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    Tessaro w;
    // A cancelled dialog empties dbPath and changes nothing else.
    w.newDb();
    QCOMPARE(w.dbPath, QString());
    QCOMPARE(readFile("lastDb.dat"), QString());

    const QString path = folder.file("nuovo.db");
    messages.fileAnswers = QStringList{path};
    w.newDb();
    QCOMPARE(messages.fileDialogs.last(), QString("Open File|/home|DataBase (*.db)"));
    QVERIFY(QFile::exists(path));
    QCOMPARE(readFile("lastDb.dat"), path);

    DbConnection *db = w.connection();
    QCOMPARE(db->getFieldNames("settings"),
             (QStringList{"RINTEGERFORMAT_Id", "RSTRINGFORMAT_tableName", "RSTRINGFORMAT_iconPath"}));
    QCOMPARE(db->getFieldNames("filters"),
             (QStringList{"RINTEGERFORMAT_Id", "RSTRINGFORMAT_filterName", "NSTRINGFORMAT_filterTableName",
                          "NSTRINGFORMAT_filterFieldName", "NSTRINGFORMAT_filterFieldValue",
                          "NSTRINGFORMAT_filterFieldType", "NSTRINGFORMAT_filterFieldCondition",
                          "NSTRINGFORMAT_filterFieldConditionAndOr"}));
    QCOMPARE(db->getFieldNames("subtablesconfigs"),
             (QStringList{"RINTEGERFORMAT_Id", "RSTRINGFORMAT_subConfigName", "NSTRINGFORMAT_subConfigFieldName",
                          "NSTRINGFORMAT_subConfigFieldType"}));

    // The next start reopens it.
    db->createTable("Prodotti", {{"RSTRINGFORMAT_Nome", "text"}});
    Tessaro again;
    QCOMPARE(again.dbPath, path);
    QCOMPARE(listedTables(again), QStringList{"Prodotti"});
}

void TestSession::bareFileNameUsesWorkingFolder()
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

void TestSession::fileThatIsNotADatabase()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    QVERIFY(writeFile("notes.db", "these are plain notes, not a database\n"));
    QVERIFY(writeFile("lastDb.dat", folder.file("notes.db").toUtf8()));
    Tessaro w;
    QCOMPARE(messages.warnings, QStringList{"ERRORE: Impossibile aprire il Db!"});
    QVERIFY(w.tableButtonList().isEmpty());
    QCOMPARE(readFile("notes.db"), QString("these are plain notes, not a database\n"));
}

QTEST_MAIN(TestSession)
#include "tst_session.moc"
