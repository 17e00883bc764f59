// The table designer: the columns it makes, the names it refuses, added fields.
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

bool onDesignerPage(const Window &s)
{
    return s.child("newTable")->isVisibleTo(s.w.get());
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

void clientsAndHidden(DbConnection &db)
{
    QVERIFY(makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome"}));
    QVERIFY(makeTable(db, "HIDDENTABLE_H", {"RSTRINGFORMAT_h"}));
}

} // namespace

class TestDesigner : public QObject
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
                           "LOOKUP:#H:RSTRINGFORMAT_h"}
            << QStringList{id, "RSTRINGFORMAT_Data_di_nascita text", "NLINKFORMAT_Clienti text",
                           "NSTRINGFORMAT_Nome text", "NSTRINGFORMAT_Nome_XMLTYX_2 text",
                           "XClienti_XDTX_RSTRINGFORMAT_Nome integer", "XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2 integer",
                           "XHIDDENTABLE_H_XDTX_RSTRINGFORMAT_h integer", userPath};
        QTest::newRow("no non-empty row") << QStringList{"STRING:", "DATE:"} << QStringList{id, userPath};
    }
    void createdColumns()
    {
        QFETCH(QStringList, rows);
        Window s(clientsAndHidden);
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
        QVERIFY(!onDesignerPage(s) && s.w->newTableElements().isEmpty());
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
        QTest::newRow("blanks only") << true << "  " << "Usa almeno una lettera o una cifra.";
        QTest::newRow("keyword in capitals") << true << "TABLE" << "È una parola riservata del linguaggio SQL.";
        QTest::newRow("digit first") << true << "2020" << "Il nome di una tabella non può iniziare con una cifra.";
        QTest::newRow("sqlite_") << true << "SQLite_x" << "I nomi che iniziano con 'sqlite_' sono riservati al database.";
        QTest::newRow("system table") << true << "Settings" << "È il nome di una tabella di sistema.";
        QTest::newRow("keyword field") << false << "order" << "";
        QTest::newRow("digit-first field") << false << "2020" << "";
        QTest::newRow("marker in a field") << false << "Foto_XDTX_1" << reserved.arg("_XDTX_");
        QTest::newRow("type tag in a field") << false << "LINKFORMAT" << reserved.arg("LINKFORMAT");
        QTest::newRow("hash in a field") << false << "Dopo#" << reserved.arg("#");
        QTest::newRow("id field") << false << "Id" << "È un nome che il programma usa per i propri campi.";
        QTest::newRow("folder field") << false << "UserPath" << "È un nome che il programma usa per i propri campi.";
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
        QTest::newRow("cancelled") << "Ordini" << "Foto" << "";
        QTest::newRow("empty table name") << "" << "Nome" << "ERRORE: La Tabella è vuota!";
        QTest::newRow("bad table name") << "TABLE" << "Nome"
                                        << refusedNameWarning("TABLE", "È una parola riservata del linguaggio SQL.");
        QTest::newRow("table in another case") << "clienti" << "Nome"
                                               << "ERRORE: Il nome 'clienti' è già stato usato per una tabella.\n";
        QTest::newRow("bad field name") << "Ordini" << "Id"
                                        << refusedNameWarning("Id", "È un nome che il programma usa per i propri campi.");
    }
    void refusedOrCancelledWriteNothing()
    {
        QFETCH(QString, table);
        QFETCH(QString, field);
        QFETCH(QString, warning);
        Window s(clientsAndHidden);
        const QStringList before = s.db().getTables();
        s.w->newTable();
        fill(s, table, {"STRING:Nome", "IMAGE:" + field});
        warning.isEmpty() ? s.w->cancelNewTable() : s.w->acceptedNewTable();
        QCOMPARE(s.messages.warnings, warning.isEmpty() ? QStringList() : QStringList{warning});
        QCOMPARE(s.db().getTables(), before);
        QCOMPARE(s.db().countRecords("settings"), 0);
        QCOMPARE(s.db().getFieldNames("Clienti").size(), 2);
        // A refused page stays as the user left it; a cancelled one is cleared.
        QCOMPARE(onDesignerPage(s), !warning.isEmpty());
        QCOMPARE(s.w->newTableElements().size(), warning.isEmpty() ? 0 : 2);
    }

    void addFieldMode()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Plain", {"RSTRINGFORMAT_Nome"}));
            QVERIFY(makeTable(db, "HIDDENTABLE_Order", {"RSTRINGFORMAT_n"}));
        });
        const QStringList buttons = s.buttons();
        // The page names the current table; a hidden one whose plain name is a keyword is not refused,
        // as it exists already, but the new fields are checked before any is added.
        s.w->changeTable("HIDDENTABLE_Order");
        s.w->addField();
        fill(s, QString(), {"DATE:Prima", "DATE:Dopo#"});
        s.w->acceptedNewTable();
        QCOMPARE(s.db().getFieldNames("HIDDENTABLE_Order").size(), 2);
        fill(s, QString(), {"DATE:Prima", "DATE:Dopo"});
        s.w->acceptedNewTable();
        QCOMPARE(s.db().getFieldNames("HIDDENTABLE_Order").size(), 4);
        // No UserPath even for an image, the repeat suffix, empty rows skipped; then a typed existing name.
        s.w->changeTable("Plain");
        s.w->addField();
        fill(s, QString(), {"IMAGE:Foto", "R:STRING:Nome", "STRING:"});
        s.w->acceptedNewTable();
        s.w->newTable();
        fill(s, "Plain", {"URL:Sito"});
        s.w->acceptedNewTable();
        QCOMPARE(declaredColumns(s.db(), "Plain"), QStringList({"RINTEGERFORMAT_Id integer", "RSTRINGFORMAT_Nome text",
                                                                "NIMAGEFORMAT_Foto text", "RSTRINGFORMAT_Nome_XMLTYX_2 text",
                                                                "NURLFORMAT_Sito text"}));
        QCOMPARE(s.buttons(), buttons);
        QCOMPARE(s.db().countRecords("settings"), 0);
        QCOMPARE(s.messages.warnings,
                 QStringList{"ERRORE: Il nome 'Dopo#' non è valido!\nContiene la sequenza riservata '#'."});
    }
};

QTEST_MAIN(TestDesigner)
#include "tst_designer.moc"
