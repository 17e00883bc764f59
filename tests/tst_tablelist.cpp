#include "app/tessaro.h"
#include "dialogs/listbuttonform.h"
#include "dialogs/progressbarform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QAction>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QSignalSpy>
#include <QtTest>

namespace {
QStringList listed(const Tessaro &w)
{
    QStringList names;
    for (const ListButtonForm *button : w.tableButtonList())
        names << button->tableName() + "|" + button->labelText();
    return names;
}
} // namespace

class TestTableList : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void hiddenTablesFollowTheAction();
    void advancedModeShowsSystemTables();
    void advancedModeAnsweredNo();
    void administratorModeShowsItsActions();
    void removeTableAskedNo();
    void removeTableDropsTableSettingsAndButton();
    void removeLastTablesLeavesNoneCurrent();
    void deleteAllRecreatesSystemTables();
    void deleteAllOnEmptyDatabase();
    void changeIconCopiesAndStores();
    void changeIconNeverOverwrites();
    void changeIconCancelledKeepsGoing();
    void buttonsEmitTheirTable();
    void progressOfEmptyTotal();

private:
    Tessaro *openWindow();

    TestFolder *folder = nullptr;
    RecordingMessageHandler *messages = nullptr;
    Tessaro *w = nullptr;
};

void TestTableList::init()
{
    folder = new TestFolder;
    messages = new RecordingMessageHandler;
    const QString path = folder->file("t.db");
    {
        DbConnection db;
        QVERIFY(db.openDb(path));
        QVERIFY(db.createTable("Clienti", {{"RSTRINGFORMAT_Nome", "text"}}));
        QVERIFY(db.createTable("HIDDENTABLE_Segreti", {{"RSTRINGFORMAT_Nome", "text"}}));
        QVERIFY(db.createTable("Conti_HIDDENTABLE_x", {{"RSTRINGFORMAT_Nome", "text"}}));
        QVERIFY(db.createTable("hiddentable_y", {{"RSTRINGFORMAT_Nome", "text"}}));
        QVERIFY(db.createTable("Ordini", {{"RSTRINGFORMAT_Codice", "text"}}));
    }
    QFile last("lastDb.dat");
    QVERIFY(last.open(QIODevice::WriteOnly));
    last.write(path.toUtf8());
    last.close();
    w = new Tessaro;
}

void TestTableList::cleanup()
{
    delete w;
    delete messages;
    delete folder;
}

void TestTableList::hiddenTablesFollowTheAction()
{
    QCOMPARE(listed(*w), (QStringList{"Clienti|Clienti", "hiddentable_y|hiddentable_y", "Ordini|Ordini"}));
    w->findChild<QAction *>("actionShow_Hidden_Tables")->setChecked(true);
    w->showHiddenTable();
    QCOMPARE(listed(*w), (QStringList{"Clienti|Clienti", "HIDDENTABLE_Segreti|#Segreti", "Conti_HIDDENTABLE_x|Conti_#x",
                                      "hiddentable_y|hiddentable_y", "Ordini|Ordini"}));
    QCOMPARE(w->currentTable, QString("Clienti"));
    // After any rebuild the first listed table is current, whatever was before.
    w->changeTable("Ordini");
    w->findChild<QAction *>("actionShow_Hidden_Tables")->setChecked(false);
    w->showHiddenTable();
    QCOMPARE(w->currentTable, QString("Clienti"));
    QCOMPARE(w->findChild<QLabel *>("lbListName")->text(), QString("Clienti"));
}

void TestTableList::advancedModeShowsSystemTables()
{
    QAction *tech = w->findChild<QAction *>("actionTech_Mod");
    tech->setChecked(true);
    w->enableTechMod();
    QCOMPARE(messages->questions,
             QStringList{QString::fromUtf8("Nel Modo Avanzato è possibile danneggiare il Database. Abilitare il Modo Avanzato?")});
    QVERIFY(w->techMode);
    const QStringList shown = listed(*w);
    QVERIFY(shown.contains("settings|settings"));
    QVERIFY(shown.contains("filters|filters"));
    QVERIFY(shown.contains("subtablesconfigs|subtablesconfigs"));
    QVERIFY(!shown.contains("HIDDENTABLE_Segreti|#Segreti"));

    messages->clear();
    tech->setChecked(false);
    w->enableTechMod();
    QVERIFY(messages->questions.isEmpty());
    QVERIFY(!w->techMode);
    QVERIFY(!listed(*w).contains("settings|settings"));
}

void TestTableList::advancedModeAnsweredNo()
{
    const QStringList before = listed(*w);
    QAction *tech = w->findChild<QAction *>("actionTech_Mod");
    tech->setChecked(true);
    messages->answers = {false};
    w->enableTechMod();
    QVERIFY(!tech->isChecked());
    QVERIFY(!w->techMode);
    QCOMPARE(listed(*w), before);
}

void TestTableList::administratorModeShowsItsActions()
{
    const char *adminActions[] = {"actionNew_Db", "actionTable", "actionTech_Mod", "actionAdd_Field",
                                  "actionDeleteFilter", "actionRemove_Table", "actionDelete_All_Database",
                                  "actionShow_Hidden_Tables"};
    for (const char *name : adminActions)
        QVERIFY2(!w->findChild<QAction *>(name)->isVisible(), name);
    w->administratorModeEnabled(true);
    QVERIFY(w->adminMode);
    for (const char *name : adminActions)
        QVERIFY2(w->findChild<QAction *>(name)->isVisible(), name);
    QVERIFY(w->findChild<QAction *>("actionOpen_Db")->isVisible());
    w->administratorModeEnabled(false);
    for (const char *name : adminActions)
        QVERIFY2(!w->findChild<QAction *>(name)->isVisible(), name);
}

void TestTableList::removeTableAskedNo()
{
    w->changeTable("HIDDENTABLE_Segreti");
    messages->answers = {false};
    w->removeTable();
    QCOMPARE(messages->questions, QStringList{"Eliminare #Segreti?"});
    QVERIFY(w->connection()->tableExists("HIDDENTABLE_Segreti"));
}

void TestTableList::removeTableDropsTableSettingsAndButton()
{
    DbConnection *db = w->connection();
    // Clienti has an icon row in settings.
    w->changeTable("Clienti");
    messages->fileAnswers = QStringList{QString()};
    w->changeTableIcon();
    QVERIFY(!db->findRecord("settings", "RSTRINGFORMAT_tableName", "Clienti").isEmpty());

    w->changeTable("Clienti");
    w->removeTable();
    QCOMPARE(messages->questions, QStringList{"Eliminare Clienti?"});
    QVERIFY(!db->tableExists("Clienti"));
    QVERIFY(db->findRecord("settings", "RSTRINGFORMAT_tableName", "Clienti").isEmpty());
    QVERIFY(!w->tableNames.contains("Clienti"));
    QCOMPARE(listed(*w), (QStringList{"hiddentable_y|hiddentable_y", "Ordini|Ordini"}));
    // The second remaining name becomes current.
    QCOMPARE(w->currentTable, w->tableNames.at(1));
}

void TestTableList::removeLastTablesLeavesNoneCurrent()
{
    DbConnection *db = w->connection();
    for (const QString &name : w->tableNames)
        if (name != "Ordini")
            db->dropTable(name);
    w->tableNames = QStringList{"Ordini"};
    w->changeTable("Ordini");
    w->removeTable();
    QVERIFY(!db->tableExists("Ordini"));
    QVERIFY(w->tableNames.isEmpty());
    QCOMPARE(w->currentTable, QString("Ordini")); // nothing else was made current
}

void TestTableList::deleteAllRecreatesSystemTables()
{
    DbConnection *db = w->connection();
    const int id = db->insertEmptyRecord("settings", false, 0);
    db->updateField("settings", id, "RSTRINGFORMAT_tableName", "Clienti");
    messages->answers = {false};
    w->deleteAll();
    QVERIFY(db->tableExists("Clienti"));

    w->deleteAll();
    QCOMPARE(messages->questions, (QStringList{"Eliminare tutte le tabelle?", "Eliminare tutte le tabelle?"}));
    QStringList tables = db->getTables();
    tables.sort();
    QCOMPARE(tables, (QStringList{"filters", "settings", "subtablesconfigs"}));
    QCOMPARE(db->countRecords("settings"), 0);
    QVERIFY(w->tableButtonList().isEmpty());
    QVERIFY(w->tableNames.isEmpty());
    QCOMPARE(w->findChild<QLabel *>("lbListName")->text(), QString("----"));
    QCOMPARE(w->findChild<QLabel *>("lbViewInfo")->text(), QString("----"));
    QVERIFY(!w->findChild<progressBarForm *>()->isVisible());
    QVERIFY(messages->warnings.isEmpty());
}

void TestTableList::deleteAllOnEmptyDatabase()
{
    w->deleteAll();
    w->tableNames.clear();
    w->deleteAll();
    QStringList tables = w->connection()->getTables();
    tables.sort();
    QCOMPARE(tables, (QStringList{"filters", "settings", "subtablesconfigs"}));
}

void TestTableList::changeIconCopiesAndStores()
{
    QImage red(8, 8, QImage::Format_RGB32);
    red.fill(Qt::red);
    QVERIFY(red.save(folder->file("rosso.png")));
    DbConnection *db = w->connection();

    w->changeTable("Ordini");
    messages->fileAnswers = QStringList{folder->file("rosso.png")};
    w->changeTableIcon();
    QCOMPARE(messages->fileDialogs, QStringList{"Open File|/home|Images (*.png *.jpg *.jpeg *.bmp *.tif)"});
    QVERIFY(QFile::exists(folder->file("DB_DATA/rosso.png")));
    QSqlRecord row = db->findRecord("settings", "RSTRINGFORMAT_tableName", "Ordini");
    QCOMPARE(row.value("RSTRINGFORMAT_iconPath").toString(), QString("DB_DATA/rosso.png"));
    QCOMPARE(db->countRecords("settings"), 1);
    // The list is rebuilt and the first listed table is current again.
    QCOMPARE(w->currentTable, QString("Clienti"));
    QVERIFY(!w->tableIcon("Ordini").pixmap(16, 16).toImage().isNull());

    // A second change updates the same row.
    QImage blue(8, 8, QImage::Format_RGB32);
    blue.fill(Qt::blue);
    QVERIFY(blue.save(folder->file("l'azzurro.png")));
    w->changeTable("Ordini");
    messages->fileAnswers = QStringList{folder->file("l'azzurro.png")};
    w->changeTableIcon();
    row = db->findRecord("settings", "RSTRINGFORMAT_tableName", "Ordini");
    QCOMPARE(row.value("RSTRINGFORMAT_iconPath").toString(), QString("DB_DATA/l'azzurro.png"));
    QCOMPARE(db->countRecords("settings"), 1);
    QVERIFY(messages->warnings.isEmpty());
}

void TestTableList::changeIconNeverOverwrites()
{
    QImage red(8, 8, QImage::Format_RGB32);
    red.fill(Qt::red);
    QVERIFY(red.save(folder->file("DB_DATA/icona.png")));
    QImage green(8, 8, QImage::Format_RGB32);
    green.fill(Qt::green);
    QVERIFY(green.save(folder->file("icona.png")));

    w->changeTable("Ordini");
    messages->fileAnswers = QStringList{folder->file("icona.png")};
    w->changeTableIcon();
    QCOMPARE(QImage(folder->file("DB_DATA/icona.png")).pixelColor(0, 0), QColor(Qt::red));
    QCOMPARE(w->connection()
                 ->findRecord("settings", "RSTRINGFORMAT_tableName", "Ordini")
                 .value("RSTRINGFORMAT_iconPath")
                 .toString(),
             QString("DB_DATA/icona.png"));
    QVERIFY(messages->warnings.isEmpty());
}

void TestTableList::changeIconCancelledKeepsGoing()
{
    w->changeTable("Ordini");
    w->changeTableIcon(); // cancelled dialog
    QCOMPARE(w->connection()
                 ->findRecord("settings", "RSTRINGFORMAT_tableName", "Ordini")
                 .value("RSTRINGFORMAT_iconPath")
                 .toString(),
             QString("DB_DATA/"));
    QVERIFY(w->tableIcon("Ordini").pixmap(16, 16).isNull());
    QVERIFY(!w->tableIcon("Clienti").pixmap(16, 16).isNull()); // the built-in icon
}

void TestTableList::buttonsEmitTheirTable()
{
    ListButtonForm table;
    table.setName("HIDDENTABLE_Orders_XSBTX_SUBTABLEFORMAT_lines_XSBTUSRX_cfg1");
    QCOMPARE(table.labelText(), QString("#Orders->cfg1->lines"));
    QSignalSpy list(&table, &ListButtonForm::changeList);
    QSignalSpy filter(&table, &ListButtonForm::changeListAndFilter);
    table.pushed();
    QCOMPARE(list.count(), 1);
    QCOMPARE(list.first().first().toString(), QString("HIDDENTABLE_Orders_XSBTX_SUBTABLEFORMAT_lines_XSBTUSRX_cfg1"));
    QCOMPARE(filter.count(), 0);

    ListButtonForm saved;
    saved.setNameAndFilter("Clienti", "Roma");
    QSignalSpy savedSpy(&saved, &ListButtonForm::changeListAndFilter);
    saved.pushed();
    QCOMPARE(savedSpy.count(), 1);
    QCOMPARE(savedSpy.first().at(0).toString(), QString("Clienti"));
    QCOMPARE(savedSpy.first().at(1).toString(), QString("Roma"));
}

void TestTableList::progressOfEmptyTotal()
{
    progressBarForm *progress = w->findChild<progressBarForm *>();
    w->reportProgress(0, 0);
    QCOMPARE(progress->value(), 0);
    w->reportProgress(3, 4);
    QCOMPARE(progress->value(), 75);
    w->reportProgress(0, 10);
    QCOMPARE(progress->value(), 0);
    w->reportProgress(99, 100);
    QVERIFY(progress->value() < 100);
}

QTEST_MAIN(TestTableList)
#include "tst_tablelist.moc"
