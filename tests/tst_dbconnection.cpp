#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QFile>
#include <QSqlField>
#include <QSqlQuery>
#include <QtTest>

class TestDbConnection : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void openCreatesFileAndReplacesConnection();
    void openRefusesAFileThatIsNotADatabase();
    void tablesHideSqliteInternals();
    void createTableRefusesExistingName();
    void createTableSuffixesRepeatedLookups();
    void createTableLeavesRepeatedLinksToFail();
    void createTableWithUntypedColumn();
    void addColumnSuffixIgnoresCaseAndSuffix();
    void addColumnFailureNamesTheColumnAsGiven();
    void readingMissingTablesIsSilent();
    void recordAtPosition();
    void idSearchMatchesZeroOnAnyTable();
    void findRecordByValue();
    void maxIdStartsAtZero();
    void nameInFirstColumnUndoesQuotesAndSpacing();
    void hasColumnContaining();
    void insertEmptyRecordChoosesId();
    void updateFieldChecksInOrder();
    void updateFieldFormatsByColumnName();
    void updateFieldIdChangeAsksFirst();
    void updateFieldUnquotedApostropheFails();
    void deleteAndClear();
    void foreignNamesAreReadable();

private:
    TestFolder *folder = nullptr;
    RecordingMessageHandler *messages = nullptr;
    DbConnection *db = nullptr;
};

void TestDbConnection::init()
{
    folder = new TestFolder;
    messages = new RecordingMessageHandler;
    db = new DbConnection;
    QVERIFY(db->openDb(folder->file("test.db")));
}

void TestDbConnection::cleanup()
{
    delete db;
    delete messages;
    delete folder;
}

void TestDbConnection::openCreatesFileAndReplacesConnection()
{
    QVERIFY(QFile::exists(folder->file("test.db")));
    QVERIFY(db->createTable("A", {{"NSTRINGFORMAT_a", "text"}}));
    QVERIFY(db->openDb(folder->file("other.db")));
    QVERIFY(QFile::exists(folder->file("other.db")));
    QCOMPARE(db->getTables(), QStringList());
    QVERIFY(db->openDb(folder->file("test.db")));
    QCOMPARE(db->getTables(), QStringList{"A"});
    QVERIFY(messages->said.isEmpty());
}

void TestDbConnection::openRefusesAFileThatIsNotADatabase()
{
    QVERIFY(db->createTable("A", {{"NSTRINGFORMAT_a", "text"}}));
    QFile junk(folder->file("junk.db"));
    QVERIFY(junk.open(QIODevice::WriteOnly));
    junk.write(QByteArray(4096, 'x'));
    junk.close();

    QVERIFY(!db->openDb(folder->file("junk.db")));
    QCOMPARE(messages->warnings, QStringList{"ERRORE: Impossibile aprire il Db!"});
    // The database that was open stays open.
    QCOMPARE(db->getTables(), QStringList{"A"});

    messages->clear();
    QVERIFY(!db->openDb(folder->file("no/such/folder/x.db")));
    QCOMPARE(messages->warnings, QStringList{"ERRORE: Impossibile aprire il Db!"});
    QCOMPARE(db->getTables(), QStringList{"A"});
}

void TestDbConnection::tablesHideSqliteInternals()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
    QSqlQuery q(QSqlDatabase::database());
    QVERIFY(q.exec("CREATE TABLE auto (k INTEGER PRIMARY KEY AUTOINCREMENT, v text)"));
    QVERIFY(q.exec("INSERT INTO auto (v) VALUES ('x')"));
    QVERIFY(q.exec("CREATE VIEW vw AS SELECT * FROM T"));
    QStringList tables = db->getTables();
    tables.sort();
    QCOMPARE(tables, (QStringList{"T", "auto"}));
    QVERIFY(db->tableExists("T"));
    QVERIFY(!db->tableExists("t"));
}

void TestDbConnection::createTableRefusesExistingName()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
    QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);
    QVERIFY(!db->createTable("T", {{"NSTRINGFORMAT_b", "text"}}));
    QCOMPARE(messages->warnings, QStringList{QString::fromUtf8("ERRORE: La Tabella T è già presente nel Db!\n")});
    QCOMPARE(db->getFieldNames("T"), (QStringList{"RINTEGERFORMAT_Id", "NSTRINGFORMAT_a"}));
    QCOMPARE(db->countRecords("T"), 1);
}

void TestDbConnection::createTableSuffixesRepeatedLookups()
{
    const QString lookup = "XC_XDTX_RSTRINGFORMAT_name";
    QVERIFY(db->createTable("T", {{lookup, "Integer"}, {"NSTRINGFORMAT_a", "text"}, {lookup, "Integer"},
                                  {lookup, "Integer"}}));
    QCOMPARE(db->getFieldNames("T"), (QStringList{"RINTEGERFORMAT_Id", lookup, "NSTRINGFORMAT_a",
                                                  lookup + "_XMLTYX_2", lookup + "_XMLTYX_3"}));
}

void TestDbConnection::createTableLeavesRepeatedLinksToFail()
{
    QVERIFY(!db->createTable("T", {{"NLINKFORMAT_C", "text"}, {"NLINKFORMAT_C", "text"}}));
    QCOMPARE(messages->warnings.size(), 1);
    QVERIFY(messages->warnings.first().startsWith("ERRORE: Impossibile creare la tabella T!\n"));
    QVERIFY(messages->warnings.first().contains("duplicate column name"));
    QVERIFY(!db->tableExists("T"));
}

void TestDbConnection::createTableWithUntypedColumn()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}, {"NLONGSTRINGFORMAT_UserPath", ""}}));
    QCOMPARE(db->getFieldNames("T").last(), QString("NLONGSTRINGFORMAT_UserPath"));
}

void TestDbConnection::addColumnSuffixIgnoresCaseAndSuffix()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_name", "text"}}));
    QVERIFY(db->addColumn("T", "nstringformat_NAME", "text"));
    QCOMPARE(db->getFieldNames("T").last(), QString("nstringformat_NAME_XMLTYX_2"));
    QVERIFY(db->addColumn("T", "NSTRINGFORMAT_name", "text"));
    QCOMPARE(db->getFieldNames("T").last(), QString("NSTRINGFORMAT_name_XMLTYX_3"));
    QVERIFY(db->addColumn("T", "NSTRINGFORMAT_other", "text"));
    QCOMPARE(db->getFieldNames("T").last(), QString("NSTRINGFORMAT_other"));
    QCOMPARE(db->countColumnsNamed("T", "  NSTRINGFORMAT_NAME ", true), 3);
    QCOMPARE(db->countColumnsNamed("T", "NSTRINGFORMAT_name", false), 1);
    QVERIFY(messages->said.isEmpty());
}

void TestDbConnection::addColumnFailureNamesTheColumnAsGiven()
{
    QVERIFY(!db->addColumn("Missing", "NSTRINGFORMAT_a", "text"));
    QCOMPARE(messages->warnings.size(), 1);
    QVERIFY(messages->warnings.first().startsWith(
        "ERRORE: Impossibile aggiungere il campo NSTRINGFORMAT_a alla tabella Missing!\n"));
}

void TestDbConnection::readingMissingTablesIsSilent()
{
    QCOMPARE(db->countRecords("Missing"), 0);
    QCOMPARE(db->getFieldNames("Missing"), QStringList());
    QVERIFY(db->getRecordAt("Missing", 0).isEmpty());
    QVERIFY(db->findRecord("Missing", "a", "x").isEmpty());
    QCOMPARE(db->getMaxId("Missing"), 0);
    QVERIFY(!db->nameInFirstColumn("Missing", "x"));
    QVERIFY(!db->hasColumnContaining("a", "Missing"));
    QVERIFY(messages->said.isEmpty());
}

void TestDbConnection::recordAtPosition()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
    for (int i = 0; i < 3; ++i) {
        const int id = db->insertEmptyRecord("T", false, 0);
        QVERIFY(db->updateField("T", id, "NSTRINGFORMAT_a", QString("v%1").arg(id)));
    }
    QCOMPARE(db->getRecordAt("T", 0).value("NSTRINGFORMAT_a").toString(), QString("v1"));
    QCOMPARE(db->getRecordAt("T", 2).value("NSTRINGFORMAT_a").toString(), QString("v3"));
    const QSqlRecord past = db->getRecordAt("T", 3);
    QCOMPARE(past.count(), 2); // names, no values
    QVERIFY(past.value(1).isNull());
    QCOMPARE(db->getFieldValue("ignored", db->getRecordAt("T", 1), "NSTRINGFORMAT_a").toString(), QString("v2"));
    QVERIFY(!db->getFieldValue("T", db->getRecordAt("T", 1), "nope").isValid());
}

void TestDbConnection::idSearchMatchesZeroOnAnyTable()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
    QVERIFY(db->idExists("T", 0));
    QVERIFY(!db->idExists("T", 1));
    QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);
    QVERIFY(db->idExists("T", 1));
    QCOMPARE(db->getRecordById("T", 1).value(0).toInt(), 1);
    const QSqlRecord zero = db->getRecordById("T", 0);
    QCOMPARE(zero.count(), 2);
    QVERIFY(zero.value(0).isNull());
    QVERIFY(db->getRecordById("T", 9).value(0).isNull());
}

void TestDbConnection::findRecordByValue()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
    for (const char *v : {"uno", "due", "due"}) {
        const int id = db->insertEmptyRecord("T", false, 0);
        db->updateField("T", id, "NSTRINGFORMAT_a", v);
    }
    QCOMPARE(db->findRecord("T", "NSTRINGFORMAT_a", "due").value(0).toInt(), 2);
    QVERIFY(db->findRecord("T", "NSTRINGFORMAT_a", "Due").isEmpty());
    QVERIFY(db->findRecord("T", "NSTRINGFORMAT_a", "tre").isEmpty());
    // An apostrophe in the value does not break the lookup.
    const int id = db->insertEmptyRecord("T", false, 0);
    db->updateField("T", id, "NSTRINGFORMAT_a", "l''anno");
    QCOMPARE(db->findRecord("T", "NSTRINGFORMAT_a", "l'anno").value(0).toInt(), id);
    QVERIFY(messages->said.isEmpty());
}

void TestDbConnection::maxIdStartsAtZero()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
    QCOMPARE(db->getMaxId("T"), 0);
    QSqlQuery q(QSqlDatabase::database());
    QVERIFY(q.exec("INSERT INTO T VALUES (-5, 'a')"));
    QVERIFY(q.exec("INSERT INTO T VALUES (-2, 'b')"));
    QCOMPARE(db->getMaxId("T"), 0);
    QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);
    QCOMPARE(db->getMaxId("T"), 1);
}

void TestDbConnection::nameInFirstColumnUndoesQuotesAndSpacing()
{
    QVERIFY(db->createTable("settings", {{"RSTRINGFORMAT_tableName", "text"}, {"RSTRINGFORMAT_iconPath", "text"}}));
    int id = db->insertEmptyRecord("settings", false, 0);
    db->updateField("settings", id, "RSTRINGFORMAT_tableName", "ab c");
    id = db->insertEmptyRecord("settings", false, 0);
    db->updateField("settings", id, "RSTRINGFORMAT_tableName", "l''anno");
    QVERIFY(db->nameInFirstColumn("settings", "Ab  c"));
    QVERIFY(db->nameInFirstColumn("settings", " AB C "));
    QVERIFY(db->nameInFirstColumn("settings", "L''Anno"));
    QVERIFY(!db->nameInFirstColumn("settings", "abc"));
}

void TestDbConnection::hasColumnContaining()
{
    QVERIFY(db->createTable("T", {{"XClienti_XDTX_RSTRINGFORMAT_name", "Integer"}, {"NLINKFORMAT_Ordini", "text"}}));
    QVERIFY(db->hasColumnContaining("Clienti", "T"));
    QVERIFY(db->hasColumnContaining("Ordini", "T"));
    QVERIFY(!db->hasColumnContaining("clienti", "T"));
    // The table can be dropped right after a match: nothing is left open on it.
    QVERIFY(db->dropTable("T"));
}

void TestDbConnection::insertEmptyRecordChoosesId()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}, {"NINTEGERFORMAT_n", "text"}}));
    QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);
    QCOMPARE(db->insertEmptyRecord("T", true, 7), 7);
    QCOMPARE(db->insertEmptyRecord("T", true, 7), 8);
    QCOMPARE(db->insertEmptyRecord("T", false, 3), 9);
    QCOMPARE(db->insertEmptyRecord("T", true, 0), 10);
    const QSqlRecord row = db->getRecordById("T", 7);
    QCOMPARE(row.value(1).toString(), QString("0"));
    QCOMPARE(row.value(2).toString(), QString("0"));

    QCOMPARE(db->insertEmptyRecord("Missing", false, 0), -1);
    QCOMPARE(messages->warnings.size(), 1);
    QVERIFY(messages->warnings.first().startsWith("ERRORE: Impossibile aggiungere un elemento alla tabella Missing!\n"));
}

void TestDbConnection::updateFieldChecksInOrder()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
    QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);

    QVERIFY(!db->updateField("Missing", 1, "NSTRINGFORMAT_a", "x"));
    QVERIFY(!db->updateField("T", 5, "NSTRINGFORMAT_a", "x"));
    QVERIFY(!db->updateField("T", 1, "NSTRINGFORMAT_b", "x"));
    QCOMPARE(messages->warnings,
             (QStringList{"ERRORE: La Tabella 'Missing' non esiste!\n",
                          QString::fromUtf8("ERRORE: L'Id 5 non è presente nella Tabella!\n"),
                          "ERRORE: Il campo 'NSTRINGFORMAT_b' non esiste!\n"}));
    // The column test ignores case and blanks.
    QVERIFY(db->updateField("T", 1, "nstringformat_A", "x"));
    QCOMPARE(db->getRecordById("T", 1).value(1).toString(), QString("x"));
}

void TestDbConnection::updateFieldFormatsByColumnName()
{
    QVERIFY(db->createTable("T", {{"NINTEGERFORMAT_n", "text"},
                                  {"NREALFORMAT_r", "text"},
                                  {"NMONEYFORMAT_m", "text"},
                                  {"NSTRINGFORMAT_REALTY", "text"}}));
    QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);
    QVERIFY(db->updateField("T", 1, "NINTEGERFORMAT_n", "42"));
    QVERIFY(db->updateField("T", 1, "NREALFORMAT_r", "3.5"));
    QVERIFY(db->updateField("T", 1, "NMONEYFORMAT_m", "12.500000"));
    QVERIFY(db->updateField("T", 1, "NSTRINGFORMAT_REALTY", "casa"));
    QSqlRecord row = db->getRecordById("T", 1);
    QCOMPARE(row.value("NINTEGERFORMAT_n").toString(), QString("42"));
    QCOMPARE(row.value("NREALFORMAT_r").toString(), QString("3.500000"));
    QCOMPARE(row.value("NMONEYFORMAT_m").toString(), QString("12.500000"));
    // "REAL" inside the field name makes it a number column.
    QCOMPARE(row.value("NSTRINGFORMAT_REALTY").toString(), QString("0.000000"));

    QVERIFY(db->updateField("T", 1, "NINTEGERFORMAT_n", "abc"));
    QCOMPARE(db->getRecordById("T", 1).value("NINTEGERFORMAT_n").toString(), QString("0"));
}

void TestDbConnection::updateFieldIdChangeAsksFirst()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
    QCOMPARE(db->insertEmptyRecord("T", true, 5), 5);

    messages->answers = {false};
    QVERIFY(db->updateField("T", 5, "RINTEGERFORMAT_Id", "9")); // No still reports success
    QCOMPARE(messages->questions,
             QStringList{QString::fromUtf8("Vuoi veramente aggiornare l'Id 5 con il nuovo Id 9? Questa "
                                           "operazione può essere molto dannosa!")});
    QVERIFY(db->idExists("T", 5));
    QVERIFY(!db->idExists("T", 9));

    messages->answers = {true};
    QVERIFY(db->updateField("T", 5, "RINTEGERFORMAT_Id", "9"));
    QVERIFY(db->idExists("T", 9));
    QVERIFY(!db->idExists("T", 5));

    // The same id asks nothing.
    messages->clear();
    QVERIFY(db->updateField("T", 9, "RINTEGERFORMAT_Id", "9"));
    QVERIFY(messages->questions.isEmpty());
}

void TestDbConnection::updateFieldUnquotedApostropheFails()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
    QCOMPARE(db->insertEmptyRecord("T", false, 0), 1);
    QVERIFY(!db->updateField("T", 1, "NSTRINGFORMAT_a", "l'anno"));
    QCOMPARE(messages->warnings.size(), 1);
    QVERIFY(messages->warnings.first().startsWith("ERRORE: Impossibile aggiornare il Record!\n"));
    QVERIFY(db->updateField("T", 1, "NSTRINGFORMAT_a", "l''anno"));
    QCOMPARE(db->getRecordById("T", 1).value(1).toString(), QString("l'anno"));
}

void TestDbConnection::deleteAndClear()
{
    QVERIFY(db->createTable("T", {{"NSTRINGFORMAT_a", "text"}}));
    for (int i = 0; i < 3; ++i)
        db->insertEmptyRecord("T", false, 0);
    QVERIFY(db->deleteRecord("T", 2));
    QVERIFY(db->deleteRecord("T", 42));
    QCOMPARE(db->countRecords("T"), 2);
    QVERIFY(db->clearTable("T"));
    QCOMPARE(db->countRecords("T"), 0);
    QVERIFY(db->dropTable("T"));
    QVERIFY(!db->tableExists("T"));
}

void TestDbConnection::foreignNamesAreReadable()
{
    QSqlQuery q(QSqlDatabase::database());
    QVERIFY(q.exec("CREATE TABLE \"order\" (id INTEGER PRIMARY KEY, \"first name\" TEXT)"));
    QVERIFY(q.exec("INSERT INTO \"order\" VALUES (1, 'Anna')"));
    QVERIFY(q.exec("CREATE TABLE \"my table\" (a, b)"));
    QVERIFY(db->tableExists("order"));
    QCOMPARE(db->countRecords("order"), 1);
    QCOMPARE(db->getFieldNames("order"), (QStringList{"id", "first name"}));
    QCOMPARE(db->getRecordAt("order", 0).value(1).toString(), QString("Anna"));
    QCOMPARE(db->getFieldNames("my table"), (QStringList{"a", "b"}));
    QCOMPARE(db->countRecords("my table"), 0);
    QCOMPARE(DbConnection::sqlName("RSTRINGFORMAT_x"), QString("RSTRINGFORMAT_x"));
    QCOMPARE(DbConnection::sqlName("order"), QString("\"order\""));
    QCOMPARE(DbConnection::sqlName("a\"b"), QString("\"a\"\"b\""));
    QVERIFY(messages->said.isEmpty());
}

QTEST_MAIN(TestDbConnection)
#include "tst_dbconnection.moc"
