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

QString savePicture(const QString &path, Qt::GlobalColor color)
{
    QImage picture(8, 8, QImage::Format_RGB32);
    picture.fill(color);
    picture.save(path);
    return path;
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
    void administratorModeShowsItsActions();
    void removeTable();
    void removeLastTablesLeavesNoneCurrent();
    void deleteAllRecreatesSystemTables();
    void changeIconCopiesNeverOverwritesAndStores();
    void buttonsEmitTheirTable();
    void progressOfEmptyTotal();

private:
    TestFolder *folder = nullptr;
    RecordingMessageHandler *messages = nullptr;
    Tessaro *w = nullptr;
    QString iconOf(const QString &table)
    {
        return w->connection()
            ->findRecord("settings", "RSTRINGFORMAT_tableName", table)
            .value("RSTRINGFORMAT_iconPath")
            .toString();
    }
};

void TestTableList::init()
{
    folder = new TestFolder;
    messages = new RecordingMessageHandler;
    const QString path = folder->file("t.db");
    {
        DbConnection db;
        QVERIFY(db.openDb(path));
        for (const char *table : {"Clienti", "HIDDENTABLE_Segreti", "Conti_HIDDENTABLE_x", "hiddentable_y", "Ordini"})
            QVERIFY(db.createTable(table, {{"RSTRINGFORMAT_Nome", "text"}}));
    }
    QVERIFY(rememberDb(path));
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
    // The marker hides a table wherever it stands, but only in capitals.
    QCOMPARE(listed(*w), (QStringList{"Clienti|Clienti", "hiddentable_y|hiddentable_y", "Ordini|Ordini"}));
    w->findChild<QAction *>("actionShow_Hidden_Tables")->setChecked(true);
    w->showHiddenTable();
    QCOMPARE(listed(*w), (QStringList{"Clienti|Clienti", "HIDDENTABLE_Segreti|#Segreti", "Conti_HIDDENTABLE_x|Conti_#x",
                                      "hiddentable_y|hiddentable_y", "Ordini|Ordini"}));
    // After any rebuild the first listed table is current, whatever was before.
    w->changeTable("Ordini");
    w->findChild<QAction *>("actionShow_Hidden_Tables")->setChecked(false);
    w->showHiddenTable();
    QCOMPARE(w->currentTable, QString("Clienti"));
    QCOMPARE(w->findChild<QLabel *>("lbListName")->text(), QString("Clienti"));
}

void TestTableList::advancedModeShowsSystemTables()
{
    const QStringList before = listed(*w);
    QAction *tech = w->findChild<QAction *>("actionTech_Mod");
    tech->setChecked(true);
    messages->answers = {false};
    w->enableTechMod();
    QVERIFY(!tech->isChecked());
    QCOMPARE(listed(*w), before);

    tech->setChecked(true);
    w->enableTechMod();
    const QString question =
        QString::fromUtf8("Nel Modo Avanzato è possibile danneggiare il Database. Abilitare il Modo Avanzato?");
    QCOMPARE(messages->questions, (QStringList{question, question}));
    QVERIFY(w->techMode);
    for (const char *system : {"settings|settings", "filters|filters", "subtablesconfigs|subtablesconfigs"})
        QVERIFY2(listed(*w).contains(system), system);

    tech->setChecked(false); // switching off asks nothing
    w->enableTechMod();
    QCOMPARE(messages->questions.size(), 2);
    QCOMPARE(listed(*w), before);
}

void TestTableList::administratorModeShowsItsActions()
{
    const char *adminActions[] = {"actionNew_Db", "actionTable", "actionTech_Mod", "actionAdd_Field",
                                  "actionDeleteFilter", "actionRemove_Table", "actionDelete_All_Database",
                                  "actionShow_Hidden_Tables"};
    for (bool on : {false, true, false}) {
        if (on != w->adminMode)
            w->administratorModeEnabled(on);
        for (const char *name : adminActions)
            QVERIFY2(w->findChild<QAction *>(name)->isVisible() == on, name);
        QVERIFY(w->findChild<QAction *>("actionOpen_Db")->isVisible());
    }
}

void TestTableList::removeTable()
{
    DbConnection *db = w->connection();
    w->changeTable("Clienti");
    messages->fileAnswers = QStringList{QString()};
    w->changeTableIcon(); // gives Clienti a settings row
    QVERIFY(!db->findRecord("settings", "RSTRINGFORMAT_tableName", "Clienti").isEmpty());

    w->changeTable("HIDDENTABLE_Segreti");
    messages->answers = {false};
    w->removeTable();
    QVERIFY(db->tableExists("HIDDENTABLE_Segreti"));

    w->changeTable("Clienti");
    w->removeTable();
    QCOMPARE(messages->questions, (QStringList{"Eliminare #Segreti?", "Eliminare Clienti?"}));
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

    for (int run = 0; run < 2; ++run) { // the second run starts with no tables at all
        w->deleteAll();
        QStringList tables = db->getTables();
        tables.sort();
        QCOMPARE(tables, (QStringList{"filters", "settings", "subtablesconfigs"}));
        QCOMPARE(db->countRecords("settings"), 0);
        QVERIFY(w->tableButtonList().isEmpty());
        QCOMPARE(w->findChild<QLabel *>("lbListName")->text(), QString("----"));
        QCOMPARE(w->findChild<QLabel *>("lbViewInfo")->text(), QString("----"));
        QVERIFY(!w->findChild<progressBarForm *>()->isVisible());
    }
    QCOMPARE(messages->questions.size(), 3);
    messages->questions.removeDuplicates();
    QCOMPARE(messages->questions, QStringList{"Eliminare tutte le tabelle?"});
    QVERIFY(messages->warnings.isEmpty());
}

void TestTableList::changeIconCopiesNeverOverwritesAndStores()
{
    DbConnection *db = w->connection();
    w->changeTable("Ordini");
    messages->fileAnswers = QStringList{savePicture(folder->file("rosso.png"), Qt::red)};
    w->changeTableIcon();
    QCOMPARE(messages->fileDialogs, QStringList{"Open File|/home|Images (*.png *.jpg *.jpeg *.bmp *.tif)"});
    QVERIFY(QFile::exists(folder->file("DB_DATA/rosso.png")));
    QCOMPARE(iconOf("Ordini"), QString("DB_DATA/rosso.png"));
    // The list is rebuilt and the first listed table is current again.
    QCOMPARE(w->currentTable, QString("Clienti"));
    QVERIFY(!w->tableIcon("Ordini").pixmap(16, 16).toImage().isNull());

    // A second change updates the same row; an apostrophe in the name is kept.
    w->changeTable("Ordini");
    messages->fileAnswers = QStringList{savePicture(folder->file("l'azzurro.png"), Qt::blue)};
    w->changeTableIcon();
    QCOMPARE(iconOf("Ordini"), QString("DB_DATA/l'azzurro.png"));
    QCOMPARE(db->countRecords("settings"), 1);

    // A file of the same name already there is kept and used.
    savePicture(folder->file("DB_DATA/icona.png"), Qt::red);
    w->changeTable("Ordini");
    messages->fileAnswers = QStringList{savePicture(folder->file("icona.png"), Qt::green)};
    w->changeTableIcon();
    QCOMPARE(QImage(folder->file("DB_DATA/icona.png")).pixelColor(0, 0), QColor(Qt::red));
    QCOMPARE(iconOf("Ordini"), QString("DB_DATA/icona.png"));

    // A cancelled dialog still stores "DB_DATA/", and the table shows an empty icon.
    w->changeTable("Ordini");
    w->changeTableIcon();
    QCOMPARE(iconOf("Ordini"), QString("DB_DATA/"));
    QVERIFY(w->tableIcon("Ordini").pixmap(16, 16).isNull());
    QVERIFY(!w->tableIcon("Clienti").pixmap(16, 16).isNull()); // the built-in icon
    QVERIFY(messages->warnings.isEmpty());
}

void TestTableList::buttonsEmitTheirTable()
{
    ListButtonForm table;
    const QString subtable = "HIDDENTABLE_Orders_XSBTX_SUBTABLEFORMAT_lines_XSBTUSRX_cfg1";
    table.setName(subtable);
    QSignalSpy list(&table, &ListButtonForm::changeList);
    table.pushed();
    QCOMPARE(list.count(), 1);
    QCOMPARE(list.first().first().toString(), subtable);
}

void TestTableList::progressOfEmptyTotal()
{
    progressBarForm *progress = w->findChild<progressBarForm *>();
    const QList<QPair<QPair<int, int>, int>> steps = {{{0, 0}, 0}, {{3, 4}, 75}, {{0, 10}, 0}, {{99, 100}, 99}};
    for (const auto &step : steps) {
        w->reportProgress(step.first.first, step.first.second);
        QCOMPARE(progress->value(), step.second);
    }
}

QTEST_MAIN(TestTableList)
#include "tst_tablelist.moc"
