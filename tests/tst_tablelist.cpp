// The table list and the modes: hidden and system tables, removing tables, icons.
#include "dialogs/listbuttonform.h"
#include "dialogs/progressbarform.h"
#include "testsupport.h"

namespace {

void fiveTables(DbConnection &db)
{
    for (const char *table : {"Clienti", "HIDDENTABLE_Segreti", "Conti_HIDDENTABLE_x", "hiddentable_y", "Ordini"})
        QVERIFY(makeTable(db, table, {"RSTRINGFORMAT_Nome", "NSUBTABLEFORMAT_Righe"}));
}

QString savePicture(const QString &path, Qt::GlobalColor color)
{
    QImage picture(8, 8, QImage::Format_RGB32);
    picture.fill(color);
    picture.save(path);
    return path;
}

QString iconOf(const Window &s, const QString &table)
{
    return s.db().findRecord("settings", "RSTRINGFORMAT_tableName", table).value("RSTRINGFORMAT_iconPath").toString();
}

} // namespace

class TestTableList : public QObject
{
    Q_OBJECT

private slots:
    void hiddenTablesFollowTheAction()
    {
        Window s(fiveTables);
        // The marker hides a table wherever it stands, but only in capitals.
        QCOMPARE(s.buttons(), (QStringList{"Clienti", "hiddentable_y", "Ordini"}));
        s.child<QAction>("actionShow_Hidden_Tables")->setChecked(true);
        s.w->showHiddenTable();
        QCOMPARE(s.buttons(), (QStringList{"Clienti", "#Segreti", "Conti_#x", "hiddentable_y", "Ordini"}));
        // A button opens its table by its own name.
        s.w->tableButtonList().at(1)->pushed();
        QCOMPARE(s.w->currentTable + " " + s.label("lbListName"), QString("HIDDENTABLE_Segreti #Segreti"));
        // After any rebuild the first listed table is current, whatever was before.
        s.child<QAction>("actionShow_Hidden_Tables")->setChecked(false);
        s.w->showHiddenTable();
        QCOMPARE(s.w->currentTable + " " + s.label("lbListName"), QString("Clienti Clienti"));
    }

    void advancedModeShowsSystemTables()
    {
        Window s(fiveTables);
        const QStringList before = s.buttons();
        auto *tech = s.child<QAction>("actionTech_Mod");
        tech->setChecked(true);
        s.messages.answers = {false};
        s.w->enableTechMod();
        QVERIFY(!tech->isChecked());
        QCOMPARE(s.buttons(), before);

        tech->setChecked(true);
        s.w->enableTechMod();
        const QString question =
            QString::fromUtf8("Nel Modo Avanzato è possibile danneggiare il Database. Abilitare il Modo Avanzato?");
        QCOMPARE(s.messages.questions, (QStringList{question, question}));
        QVERIFY(s.w->techMode);
        QCOMPARE(s.buttons(), (before + QStringList{"settings", "filters", "subtablesconfigs"}));

        tech->setChecked(false); // switching off asks nothing
        s.w->enableTechMod();
        QCOMPARE(s.messages.questions.size(), 2);
        QCOMPARE(s.buttons(), before);
    }

    void administratorModeShowsItsActions()
    {
        Window s;
        for (bool on : {false, true, false}) {
            s.w->administratorModeEnabled(on);
            for (const char *name : {"actionNew_Db", "actionTable", "actionTech_Mod", "actionAdd_Field",
                                     "actionDeleteFilter", "actionRemove_Table", "actionDelete_All_Database",
                                     "actionShow_Hidden_Tables"})
                QVERIFY2(s.child<QAction>(name)->isVisible() == on, name);
            QVERIFY(s.child<QAction>("actionOpen_Db")->isVisible());
        }
    }

    void removeTable()
    {
        Window s(fiveTables);
        DbConnection &db = s.db();
        s.messages.fileAnswers = QStringList{QString()};
        s.w->changeTableIcon(); // gives Clienti a settings row
        for (const char *configuration : {"Clienti_Righe_XSBCONFX_a", "Ordini_Righe_XSBCONFX_a"})
            db.updateField("subtablesconfigs", db.insertEmptyRecord("subtablesconfigs", false, 0),
                           "RSTRINGFORMAT_subConfigName", configuration);

        s.w->changeTable("HIDDENTABLE_Segreti");
        s.messages.answers = {false};
        s.w->removeTable();
        QVERIFY(db.tableExists("HIDDENTABLE_Segreti"));

        // The table goes with its icon row and its subtable configurations.
        s.w->changeTable("Clienti");
        s.w->removeTable();
        QCOMPARE(s.messages.questions, (QStringList{"Eliminare #Segreti?", "Eliminare Clienti?"}));
        QVERIFY(!db.tableExists("Clienti") && !s.w->tableNames.contains("Clienti"));
        QVERIFY(db.findRecord("settings", "RSTRINGFORMAT_tableName", "Clienti").isEmpty());
        QCOMPARE(db.countRecords("subtablesconfigs"), 1);
        QVERIFY(!db.findRecord("subtablesconfigs", "RSTRINGFORMAT_subConfigName", "Ordini_Righe_XSBCONFX_a").isEmpty());
        QCOMPARE(s.buttons(), (QStringList{"hiddentable_y", "Ordini"}));
        // The second remaining name becomes current.
        QCOMPARE(s.w->currentTable, s.w->tableNames.at(1));
    }

    void deleteAllRecreatesSystemTables()
    {
        Window s(fiveTables);
        DbConnection &db = s.db();
        db.updateField("settings", db.insertEmptyRecord("settings", false, 0), "RSTRINGFORMAT_tableName", "Clienti");
        s.messages.answers = {false};
        s.w->deleteAll();
        QVERIFY(db.tableExists("Clienti"));

        for (int run = 0; run < 2; ++run) { // the second run starts with no tables at all
            s.w->deleteAll();
            QStringList tables = db.getTables();
            tables.sort();
            QCOMPARE(tables, (QStringList{"filters", "settings", "subtablesconfigs"}));
            QCOMPARE(db.countRecords("settings"), 0);
            QVERIFY(s.w->tableButtonList().isEmpty());
            QCOMPARE(s.label("lbListName") + s.label("lbViewInfo"), QString("--------"));
            QVERIFY(!s.w->findChild<progressBarForm *>()->isVisible());
        }
        const QString question = "question: Eliminare tutte le tabelle?";
        QCOMPARE(s.messages.said, (QStringList{question, question, question}));
    }

    void changeIconCopiesNeverOverwritesAndStores()
    {
        Window s(fiveTables);
        auto change = [&s](const QString &picture) {
            s.w->changeTable("Ordini");
            s.messages.fileAnswers = QStringList{picture};
            s.w->changeTableIcon();
        };
        change(savePicture(s.folder.file("rosso.png"), Qt::red));
        QCOMPARE(s.messages.fileDialogs, QStringList{"Open File|/home|Images (*.png *.jpg *.jpeg *.bmp *.tif)"});
        QVERIFY(QFile::exists(s.folder.file("DB_DATA/rosso.png")));
        QCOMPARE(iconOf(s, "Ordini"), QString("DB_DATA/rosso.png"));
        // The list is rebuilt and the first listed table is current again.
        QCOMPARE(s.w->currentTable, QString("Clienti"));
        QVERIFY(!s.w->tableIcon("Ordini").pixmap(16, 16).toImage().isNull());

        // A second change updates the same row; an apostrophe in the name is kept.
        change(savePicture(s.folder.file("l'azzurro.png"), Qt::blue));
        QCOMPARE(iconOf(s, "Ordini"), QString("DB_DATA/l'azzurro.png"));
        QCOMPARE(s.db().countRecords("settings"), 1);

        // A file of the same name already there is kept and used.
        savePicture(s.folder.file("DB_DATA/icona.png"), Qt::red);
        change(savePicture(s.folder.file("icona.png"), Qt::green));
        QCOMPARE(QImage(s.folder.file("DB_DATA/icona.png")).pixelColor(0, 0), QColor(Qt::red));
        QCOMPARE(iconOf(s, "Ordini"), QString("DB_DATA/icona.png"));

        // A cancelled dialog still stores "DB_DATA/", and the table shows an empty icon.
        change(QString());
        QCOMPARE(iconOf(s, "Ordini"), QString("DB_DATA/"));
        QVERIFY(s.w->tableIcon("Ordini").pixmap(16, 16).isNull());
        QVERIFY(!s.w->tableIcon("Clienti").pixmap(16, 16).isNull()); // the built-in icon
        QVERIFY(s.messages.warnings.isEmpty());
    }
};

QTEST_MAIN(TestTableList)
#include "tst_tablelist.moc"
