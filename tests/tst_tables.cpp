// Tables: what the designer makes and refuses, fields added later, the list
// of tables with its modes, removing tables, icons.
#include "dialogs/listbuttonform.h"
#include "dialogs/progressbarform.h"
#include "records/newtableelement.h"
#include "records/tabledesign.h"
#include "testsupport.h"

namespace {

template <typename T> T *part(QObject *parent, const char *name) { return parent->findChild<T *>(name); }

// Fills the open page: the table name (a null one is left as it is) and, per row, "[R:]TYPE:name"
// for a new field, "LINK:table" for a link or "LOOKUP:table:column" for a field from a table.
void fill(const Window &s, const QString &table, const QStringList &rows, bool hidden = false)
{
    if (!table.isNull())
        s.child<QLineEdit>("leTableName")->setText(table);
    s.child<QCheckBox>("cbHiddenTable")->setChecked(hidden);
    for (int i = 0; i < rows.size(); ++i) {
        if (i == s.w->newTableElements().size()) // "+" appends a row at the end
            part<QPushButton>(s.w->newTableElements().first(), "pbAddNew")->click();
        newTableElement *row = s.w->newTableElements().at(i);
        QStringList p = rows.at(i).split(':');
        const bool lookup = p.first() == "LOOKUP";
        part<QCheckBox>(row, "cbFromTable")->setChecked(lookup);
        part<QCheckBox>(row, "cbRequired")->setChecked(p.first() == "R");
        if (p.first() == "R" || lookup)
            p.removeFirst();
        part<QComboBox>(row, lookup ? "cbExistList" : "cbType")->setCurrentText(p.at(0));
        part<QComboBox>(row, "cbExistField")->setCurrentText(p.value(1));
        part<QComboBox>(row, "cbExistList2")->setCurrentText(p.value(1));
        part<QLineEdit>(row, "leName")->setText(p.value(1));
    }
}

// "name type" for each column, the declared type as SQLite reports it, in lower case.
QStringList declaredColumns(DbConnection &db, const QString &table)
{
    QStringList columns;
    QSqlQuery q = sqlOn(db);
    q.exec("PRAGMA table_info(" + table + ")");
    while (q.next())
        columns << (q.value(1).toString() + " " + q.value(2).toString().toLower()).trimmed();
    return columns;
}

// Tables hidden by the marker in capitals wherever it stands, and not by one in lower case.
void fiveTables(DbConnection &db)
{
    for (const char *table : {"Clienti", "HIDDENTABLE_Order", "Conti_HIDDENTABLE_x", "hiddentable_y", "Ordini"})
        QVERIFY(makeTable(db, table, {"RSTRINGFORMAT_Nome", "NSUBTABLEFORMAT_Righe"}));
}

QString iconOf(const Window &s, const QString &table)
{
    return s.db().findRecord("settings", "RSTRINGFORMAT_tableName", table).value("RSTRINGFORMAT_iconPath").toString();
}

} // namespace

class TestTables : public QObject
{
    Q_OBJECT

private slots:
    void createdColumns_data()
    {
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<QStringList>("columns");
        const QString id = "RINTEGERFORMAT_Id integer", userPath = "NLONGSTRINGFORMAT_UserPath";

        QTest::newRow("every type, every other one required, names refused for tables only")
            << QStringList{"R:STRING:2020", "DATE:order", "R:INTEGER:c", "REAL:d", "R:MONEY:e", "PDF:f", "R:IMAGE:g",
                           "BOOL:h", "R:MAIL:i", "URL:hiddentable_x", "R:SUBTABLE:k"}
            << QStringList{id, "RSTRINGFORMAT_2020 text", "NDATEFORMAT_order text", "RINTEGERFORMAT_c text",
                           "NREALFORMAT_d text", "RMONEYFORMAT_e text", userPath, "NPDFFORMAT_f text",
                           "RIMAGEFORMAT_g text", "NBOOLFORMAT_h text", "RMAILFORMAT_i text",
                           "NURLFORMAT_hiddentable_x text", "RSUBTABLEFORMAT_k text"};
        QTest::newRow("blanks, link always N, equal rows, lookups, a hidden table's internal name")
            << QStringList{"R:STRING:Data di nascita", "R:LINK:Clienti", "STRING:Nome", "STRING:Nome",
                           "LOOKUP:Clienti:RSTRINGFORMAT_Nome", "LOOKUP:Clienti:RSTRINGFORMAT_Nome",
                           "LOOKUP:#Order:RSTRINGFORMAT_Nome"}
            << QStringList{id, "RSTRINGFORMAT_Data_di_nascita text", "NLINKFORMAT_Clienti text",
                           "NSTRINGFORMAT_Nome text", "NSTRINGFORMAT_Nome_XMLTYX_2 text",
                           "XClienti_XDTX_RSTRINGFORMAT_Nome integer", "XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2 integer",
                           "XHIDDENTABLE_Order_XDTX_RSTRINGFORMAT_Nome integer", userPath};
        QTest::newRow("no non-empty row") << QStringList{"STRING:", "DATE:"} << QStringList{id, userPath};
    }
    void createdColumns()
    {
        QFETCH(QStringList, rows);
        Window s(fiveTables);
        s.w->newTable();
        fill(s, "INFORMATICA", rows); // "FORMAT" in a table name is harmless
        s.w->acceptedNewTable();
        QVERIFY(s.buttons().contains("INFORMATICA"));
        // A new session on the same file finds every type and flag in the names alone.
        s.restart();
        QTEST(declaredColumns(s.db(), "INFORMATICA"), "columns");
    }

    void buttonsAndSettingsRows()
    {
        Window s;
        // A row with id 7: the next row's Id text is the character 2, yet the database gives it id 8.
        s.w->insertRecord("settings", {{"RINTEGERFORMAT_Id", "7"}, {"RSTRINGFORMAT_tableName", "Old"},
                                       {"RSTRINGFORMAT_iconPath", ""}}, true);
        s.w->newTable();
        QCOMPARE(part<QComboBox>(s.w->newTableElements().first(), "cbExistList")->count(), 0); // no system tables
        s.messages.fileAnswers << s.folder.file("logo.png");
        s.click("pbIconImage");
        s.w->addTableIcon(); // cancelled: the icon stays
        QCOMPARE(s.messages.fileDialogs.first(), QString("Open File|/home|Images (*.png *.jpg *.jpeg *.bmp *.tif)"));
        // Hidden, while hidden tables are not shown: made, but no button.
        fill(s, "Clienti Roma", {"STRING:Nome"}, true);
        s.w->acceptedNewTable();
        QVERIFY(!s.child("newTable")->isVisibleTo(s.w.get()) && s.w->newTableElements().isEmpty());
        QCOMPARE(s.buttons(), QStringList());
        // With hidden tables shown, a new hidden table gets its button.
        s.child<QAction>("actionShow_Hidden_Tables")->setChecked(true);
        s.w->showHiddenTable();
        s.w->newTable();
        fill(s, "Città", {}, true);
        s.w->acceptedNewTable();
        QCOMPARE(s.buttons(), QStringList({"#Clienti_Roma", "#Città"}));
        QCOMPARE(s.rows("settings").mid(1), QStringList({
            "RINTEGERFORMAT_Id=8;RSTRINGFORMAT_tableName=HIDDENTABLE_Clienti_Roma;RSTRINGFORMAT_iconPath=DB_DATA/logo.png",
            "RINTEGERFORMAT_Id=9;RSTRINGFORMAT_tableName=HIDDENTABLE_Città;RSTRINGFORMAT_iconPath="}));
    }

    // Why a typed name cannot be used; empty when it can.
    void nameRules_data()
    {
        QTest::addColumn<bool>("table"); // a table's name, or a field's
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("reason");
        const QString reserved = "Contiene la sequenza riservata '%1'.";
        QTest::newRow("blanks and accents") << true << "Città di mare" << "";
        QTest::newRow("marker made by a blank") << true << "a HIDDENTABLE b" << reserved.arg("HIDDENTABLE_");
        QTest::newRow("apostrophe") << true << "L'Aquila"
                                    << "Il carattere ''' non è ammesso: usa solo lettere, cifre e spazi.";
        QTest::newRow("keyword in capitals") << true << "TABLE" << "È una parola riservata del linguaggio SQL.";
        QTest::newRow("system table") << true << "Settings" << "È il nome di una tabella di sistema.";
        QTest::newRow("marker in a field") << false << "Foto_XDTX_1" << reserved.arg("_XDTX_");
        QTest::newRow("id field") << false << "Id" << "È un nome che il programma usa per i propri campi.";
    }
    void nameRules()
    {
        QFETCH(bool, table);
        QFETCH(QString, typed);
        QTEST(table ? invalidTableNameReason(typed) : invalidFieldNameReason(typed), "reason");
    }

    // A refused page writes nothing and stays as the user left it; a cancelled one is cleared.
    void refusedOrCancelledWriteNothing_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("warning"); // empty: the page is cancelled
        QTest::newRow("cancelled") << "Vendite" << "Foto" << "";
        QTest::newRow("empty table name") << "" << "Nome" << "ERRORE: La Tabella è vuota!";
        QTest::newRow("table in another case") << "clienti" << "Nome"
                                               << "ERRORE: Il nome 'clienti' è già stato usato per una tabella.\n";
        QTest::newRow("bad field name") << "Vendite" << "Id"
                                        << refusedNameWarning("Id", "È un nome che il programma usa per i propri campi.");
    }
    void refusedOrCancelledWriteNothing()
    {
        QFETCH(QString, table);
        QFETCH(QString, field);
        QFETCH(QString, warning);
        Window s(fiveTables);
        const QStringList before = s.db().getTables();
        s.w->newTable();
        fill(s, table, {"STRING:Nome", "IMAGE:" + field});
        warning.isEmpty() ? s.w->cancelNewTable() : s.w->acceptedNewTable();
        QCOMPARE(s.messages.warnings, warning.isEmpty() ? QStringList() : QStringList{warning});
        QCOMPARE(s.db().getTables(), before);
        QCOMPARE(s.db().countRecords("settings"), 0);
        QCOMPARE(s.db().getFieldNames("Clienti").size(), 3);
        // A refused page stays as the user left it; a cancelled one is cleared.
        QCOMPARE(s.child("newTable")->isVisibleTo(s.w.get()), !warning.isEmpty());
        QCOMPARE(s.w->newTableElements().size(), warning.isEmpty() ? 0 : 2);
    }

    void addFieldMode()
    {
        Window s(fiveTables);
        const QStringList buttons = s.buttons();
        // The page names the current table; a hidden one whose plain name is a keyword is not refused,
        // as it exists already, but the new fields are checked before any is added.
        s.w->changeTable("HIDDENTABLE_Order");
        s.w->addField();
        fill(s, QString(), {"DATE:Prima", "DATE:Dopo#"});
        s.w->acceptedNewTable();
        QCOMPARE(s.db().getFieldNames("HIDDENTABLE_Order").size(), 3);
        fill(s, QString(), {"DATE:Prima", "DATE:Dopo"});
        s.w->acceptedNewTable();
        QCOMPARE(s.db().getFieldNames("HIDDENTABLE_Order").size(), 5);
        // No UserPath even for an image, the repeat suffix, empty rows skipped; then a typed existing name.
        s.w->changeTable("Ordini");
        s.w->addField();
        fill(s, QString(), {"IMAGE:Foto", "R:STRING:Nome", "STRING:"});
        s.w->acceptedNewTable();
        s.w->newTable();
        fill(s, "Ordini", {"URL:Sito"});
        s.w->acceptedNewTable();
        QCOMPARE(declaredColumns(s.db(), "Ordini"),
                 QStringList({"RINTEGERFORMAT_Id integer", "RSTRINGFORMAT_Nome text", "NSUBTABLEFORMAT_Righe text",
                              "NIMAGEFORMAT_Foto text", "RSTRINGFORMAT_Nome_XMLTYX_2 text", "NURLFORMAT_Sito text"}));
        QCOMPARE(s.buttons(), buttons);
        QCOMPARE(s.db().countRecords("settings"), 0);
        QCOMPARE(s.messages.warnings,
                 QStringList{"ERRORE: Il nome 'Dopo#' non è valido!\nContiene la sequenza riservata '#'."});
    }

    void modesShowTablesAndActions()
    {
        Window s(fiveTables);
        // The marker hides a table wherever it stands, but only in capitals.
        const QStringList shown = {"Clienti", "hiddentable_y", "Ordini"};
        QCOMPARE(s.buttons(), shown);
        s.child<QAction>("actionShow_Hidden_Tables")->setChecked(true);
        s.w->showHiddenTable();
        QCOMPARE(s.buttons(), (QStringList{"Clienti", "#Order", "Conti_#x", "hiddentable_y", "Ordini"}));
        // A button opens its table by its own name.
        s.w->tableButtonList().at(1)->pushed();
        QCOMPARE(s.w->currentTable + " " + s.label("lbListName"), QString("HIDDENTABLE_Order #Order"));
        // After any rebuild the first listed table is current, whatever was before.
        s.child<QAction>("actionShow_Hidden_Tables")->setChecked(false);
        s.w->showHiddenTable();
        QCOMPARE(s.w->currentTable + " " + s.label("lbListName"), QString("Clienti Clienti"));

        // Advanced mode, after a question, shows the system tables; switching it off asks nothing.
        auto *tech = s.child<QAction>("actionTech_Mod");
        s.messages.answers = {false};
        for (bool on : {true, true, false}) {
            tech->setChecked(on);
            s.w->enableTechMod();
            QCOMPARE(tech->isChecked(), s.w->techMode);
            QCOMPARE(s.buttons(), (s.w->techMode ? shown + QStringList{"settings", "filters", "subtablesconfigs"} : shown));
        }
        const QString question =
            QString::fromUtf8("Nel Modo Avanzato è possibile danneggiare il Database. Abilitare il Modo Avanzato?");
        QCOMPARE(s.messages.questions, (QStringList{question, question}));

        // Administrator mode shows the actions that change the structure.
        for (bool on : {true, false}) {
            s.w->administratorModeEnabled(on);
            for (const char *name : {"actionNew_Db", "actionTable", "actionTech_Mod", "actionAdd_Field",
                                     "actionDeleteFilter", "actionRemove_Table", "actionDelete_All_Database",
                                     "actionShow_Hidden_Tables"})
                QVERIFY2(s.child<QAction>(name)->isVisible() == on, name);
            QVERIFY(s.child<QAction>("actionOpen_Db")->isVisible());
        }
    }

    void removeTablesAndDeleteAll()
    {
        Window s(fiveTables);
        DbConnection &db = s.db();
        s.messages.fileAnswers = QStringList{QString()};
        s.w->changeTableIcon(); // gives Clienti a settings row
        for (const char *configuration : {"Clienti_Righe_XSBCONFX_a", "Ordini_Righe_XSBCONFX_a"})
            db.updateField("subtablesconfigs", db.insertEmptyRecord("subtablesconfigs", false, 0),
                           "RSTRINGFORMAT_subConfigName", configuration);

        s.w->changeTable("HIDDENTABLE_Order");
        s.messages.answers = {false};
        s.w->removeTable();
        QVERIFY(db.tableExists("HIDDENTABLE_Order"));

        // The table goes with its icon row and its subtable configurations.
        s.w->changeTable("Clienti");
        s.w->removeTable();
        QCOMPARE(s.messages.questions, (QStringList{"Eliminare #Order?", "Eliminare Clienti?"}));
        QVERIFY(!db.tableExists("Clienti") && !s.w->tableNames.contains("Clienti"));
        QVERIFY(db.findRecord("settings", "RSTRINGFORMAT_tableName", "Clienti").isEmpty());
        QCOMPARE(db.countRecords("subtablesconfigs"), 1);
        QVERIFY(!db.findRecord("subtablesconfigs", "RSTRINGFORMAT_subConfigName", "Ordini_Righe_XSBCONFX_a").isEmpty());
        QCOMPARE(s.buttons(), (QStringList{"hiddentable_y", "Ordini"}));
        // The second remaining name becomes current.
        QCOMPARE(s.w->currentTable, s.w->tableNames.at(1));

        // Deleting everything, after a question, leaves the system tables, empty.
        s.messages.clear();
        s.messages.fileAnswers = QStringList{QString()};
        s.w->changeTableIcon();
        s.messages.answers = {false};
        s.w->deleteAll();
        QVERIFY(db.tableExists("Ordini"));

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
        QCOMPARE(db.countRecords("subtablesconfigs"), 0);
    }

    void changeIconCopiesNeverOverwritesAndStores()
    {
        Window s(fiveTables);
        auto change = [&s](const QString &picture) {
            s.w->changeTable("Ordini");
            s.messages.fileAnswers = QStringList{picture};
            s.w->changeTableIcon();
        };
        change(makePicture(s.folder.file("rosso.png"), 8, 8, Qt::red));
        QCOMPARE(s.messages.fileDialogs, QStringList{"Open File|/home|Images (*.png *.jpg *.jpeg *.bmp *.tif)"});
        QVERIFY(QFile::exists(s.folder.file("DB_DATA/rosso.png")));
        QCOMPARE(iconOf(s, "Ordini"), QString("DB_DATA/rosso.png"));
        QVERIFY(!s.w->tableIcon("Ordini").pixmap(16, 16).toImage().isNull());

        // A second change updates the same row; an apostrophe in the name is kept.
        change(makePicture(s.folder.file("l'azzurro.png"), 8, 8, Qt::blue));
        QCOMPARE(iconOf(s, "Ordini"), QString("DB_DATA/l'azzurro.png"));
        QCOMPARE(s.db().countRecords("settings"), 1);

        // A file of the same name already there is kept and used.
        makePicture(s.folder.file("DB_DATA/icona.png"), 8, 8, Qt::red);
        change(makePicture(s.folder.file("icona.png"), 8, 8, Qt::green));
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

QTEST_MAIN(TestTables)
#include "tst_tables.moc"
