#include "app/tessaro.h"
#include "dialogs/listbuttonform.h"
#include "records/newtableelement.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSqlQuery>
#include <QtTest>
#include <memory>

namespace {

template <typename T> T *part(QObject *parent, const char *name) { return parent->findChild<T *>(name); }

// A main window on a fresh database "test.db" in its own working folder.
struct Fixture {
    TestFolder folder;
    RecordingMessageHandler messages;
    std::unique_ptr<Tessaro> window;

    Fixture()
    {
        rememberDb(folder.file("test.db"));
        window.reset(new Tessaro);
    }
    DbConnection &db() { return *window->connection(); }
    // A table made behind the designer's back, then the session's table list refreshed.
    void makeTable(const QString &name, const QList<ColumnDefinition> &columns)
    {
        QVERIFY(db().createTable(name, columns));
        window->showHiddenTable();
    }
    newTableElement *row(int i) { return window->newTableElements().at(i); }
    // Fills the open page: the table name (a null one is left as it is) and, per row, "[R:]TYPE:name"
    // for a new field, "LINK:table" for a link or "LOOKUP:table:column" for a field from a table.
    void fill(const QString &table, const QStringList &rows, bool hidden = false)
    {
        if (!table.isNull())
            part<QLineEdit>(window.get(), "leTableName")->setText(table);
        part<QCheckBox>(window.get(), "cbHiddenTable")->setChecked(hidden);
        for (int i = 0; i < rows.size(); ++i) {
            if (i == window->newTableElements().size()) // "+" appends a row at the end
                part<QPushButton>(row(0), "pbAddNew")->click();
            QStringList p = rows.at(i).split(':');
            const bool lookup = p.first() == "LOOKUP";
            part<QCheckBox>(row(i), "cbFromTable")->setChecked(lookup);
            part<QCheckBox>(row(i), "cbRequired")->setChecked(p.first() == "R");
            if (p.first() == "R" || lookup)
                p.removeFirst();
            part<QComboBox>(row(i), lookup ? "cbExistList" : "cbType")->setCurrentText(p.at(0));
            part<QComboBox>(row(i), "cbExistField")->setCurrentText(p.value(1));
            part<QComboBox>(row(i), "cbExistList2")->setCurrentText(p.value(1));
            part<QLineEdit>(row(i), "leName")->setText(p.value(1));
        }
    }
    bool onDesignerPage() { return part<QWidget>(window.get(), "newTable")->isVisibleTo(window.get()); }
    QStringList buttons()
    {
        QStringList labels;
        for (ListButtonForm *button : window->tableButtonList())
            labels << button->labelText();
        return labels;
    }
};

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

} // namespace

class TestDesigner : public QObject
{
    Q_OBJECT

private slots:
    void createdColumns_data();
    void createdColumns();
    void buttonsAndSettingsRows();
    void refusedOrCancelledWriteNothing_data();
    void refusedOrCancelledWriteNothing();
    void addFieldMode();
};

void TestDesigner::createdColumns_data()
{
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QStringList>("columns");
    const QString id = "RINTEGERFORMAT_Id integer", userPath = "NLONGSTRINGFORMAT_UserPath";

    QTest::newRow("every type, every other one required, names refused for tables only")
        << QStringList{"R:STRING:2020", "DATE:order", "R:INTEGER:c", "REAL:d", "R:MONEY:e", "PDF:f", "R:IMAGE:g",
                       "BOOL:h", "R:MAIL:i", "URL:hiddentable_x", "R:SUBTABLE:k"}
        << QStringList{id, "RSTRINGFORMAT_2020 text", "NDATEFORMAT_order text", "RINTEGERFORMAT_c text",
                       "NREALFORMAT_d text", "RMONEYFORMAT_e text", userPath, "NPDFFORMAT_f text", "RIMAGEFORMAT_g text",
                       "NBOOLFORMAT_h text", "RMAILFORMAT_i text", "NURLFORMAT_hiddentable_x text", "RSUBTABLEFORMAT_k text"};
    QTest::newRow("blanks, link always N, equal rows, lookups, a hidden table's internal name")
        << QStringList{"R:STRING:Data di nascita", "R:LINK:Other", "STRING:Nome", "STRING:Nome",
                       "LOOKUP:Other:RSTRINGFORMAT_x", "LOOKUP:Other:RSTRINGFORMAT_x", "LOOKUP:#H:RSTRINGFORMAT_h"}
        << QStringList{id, "RSTRINGFORMAT_Data_di_nascita text", "NLINKFORMAT_Other text", "NSTRINGFORMAT_Nome text",
                       "NSTRINGFORMAT_Nome_XMLTYX_2 text", "XOther_XDTX_RSTRINGFORMAT_x integer",
                       "XOther_XDTX_RSTRINGFORMAT_x_XMLTYX_2 integer", "XHIDDENTABLE_H_XDTX_RSTRINGFORMAT_h integer",
                       userPath};
    QTest::newRow("no non-empty row") << QStringList{"STRING:", "DATE:"} << QStringList{id, userPath};
}

void TestDesigner::createdColumns()
{
    QFETCH(QStringList, rows);
    Fixture s;
    s.makeTable("Other", {{"RSTRINGFORMAT_x", "text"}});
    s.makeTable("HIDDENTABLE_H", {{"RSTRINGFORMAT_h", "text"}});
    s.window->newTable();
    s.fill("INFORMATICA", rows); // "FORMAT" in a table name is harmless
    s.window->acceptedNewTable();
    QVERIFY(s.buttons().contains("INFORMATICA"));
    // A new session on the same file finds every type and flag in the names alone.
    s.window.reset();
    s.window.reset(new Tessaro);
    QTEST(declaredColumns(s.db(), "INFORMATICA"), "columns");
}

void TestDesigner::buttonsAndSettingsRows()
{
    Fixture s;
    // A row with id 7: the next row's Id text is the character 2, yet the database gives it id 8.
    s.window->insertRecord("settings", {{"RINTEGERFORMAT_Id", "7"}, {"RSTRINGFORMAT_tableName", "Old"},
                                        {"RSTRINGFORMAT_iconPath", ""}}, true);
    s.window->newTable();
    QCOMPARE(part<QComboBox>(s.row(0), "cbExistList")->count(), 0); // system tables are not offered
    s.messages.fileAnswers << s.folder.file("logo.png");
    part<QPushButton>(s.window.get(), "pbIconImage")->click();
    s.window->addTableIcon(); // cancelled: the icon stays
    QCOMPARE(s.messages.fileDialogs.first(), QString("Open File|/home|Images (*.png *.jpg *.jpeg *.bmp *.tif)"));
    // Hidden, while hidden tables are not shown: made, but no button.
    s.fill("Clienti Roma", {"STRING:Nome"}, true);
    s.window->acceptedNewTable();
    QVERIFY(!s.onDesignerPage() && s.window->newTableElements().isEmpty());
    QCOMPARE(s.buttons(), QStringList());
    // With hidden tables shown, a new hidden table gets its button.
    part<QAction>(s.window.get(), "actionShow_Hidden_Tables")->setChecked(true);
    s.window->showHiddenTable();
    s.window->newTable();
    s.fill("Città", {}, true);
    s.window->acceptedNewTable();
    QCOMPARE(s.buttons(), QStringList({"#Clienti_Roma", "#Città"}));
    QCOMPARE(dumpTable(s.db(), "settings").mid(1), QStringList({
        "RINTEGERFORMAT_Id=8;RSTRINGFORMAT_tableName=HIDDENTABLE_Clienti_Roma;RSTRINGFORMAT_iconPath=DB_DATA/logo.png",
        "RINTEGERFORMAT_Id=9;RSTRINGFORMAT_tableName=HIDDENTABLE_Città;RSTRINGFORMAT_iconPath="}));
}

void TestDesigner::refusedOrCancelledWriteNothing_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("warning"); // empty: the page is cancelled
    auto bad = [](const QString &name, const QString &reason) {
        return QString("ERRORE: Il nome '%1' non è valido!\n%2").arg(name, reason);
    };
    const QString reserved = "Contiene la sequenza riservata '%1'.";

    QTest::newRow("cancelled") << "Ordini" << "Foto" << "";
    QTest::newRow("empty table name") << "" << "Nome" << "ERRORE: La Tabella è vuota!";
    QTest::newRow("marker made by a blank") << "a HIDDENTABLE b" << "Nome"
                                            << bad("a HIDDENTABLE b", reserved.arg("HIDDENTABLE_"));
    QTest::newRow("apostrophe") << "L'Aquila" << "Nome"
                                << bad("L'Aquila", "Il carattere ''' non è ammesso: usa solo lettere, cifre e spazi.");
    QTest::newRow("keyword in capitals") << "TABLE" << "Nome" << bad("TABLE", "È una parola riservata del linguaggio SQL.");
    QTest::newRow("system table") << "Settings" << "Nome" << bad("Settings", "È il nome di una tabella di sistema.");
    QTest::newRow("table in another case") << "clienti" << "Nome"
                                           << "ERRORE: Il nome 'clienti' è già stato usato per una tabella.\n";
    QTest::newRow("marker in a field") << "Ordini" << "Foto_XDTX_1" << bad("Foto_XDTX_1", reserved.arg("_XDTX_"));
    QTest::newRow("id field") << "Ordini" << "Id" << bad("Id", "È un nome che il programma usa per i propri campi.");
}

void TestDesigner::refusedOrCancelledWriteNothing()
{
    QFETCH(QString, table);
    QFETCH(QString, field);
    QFETCH(QString, warning);
    Fixture s;
    s.makeTable("Clienti", {{"RSTRINGFORMAT_Nome", "text"}});
    const QStringList before = s.db().getTables();
    s.window->newTable();
    s.fill(table, {"STRING:Nome", "IMAGE:" + field});
    warning.isEmpty() ? s.window->cancelNewTable() : s.window->acceptedNewTable();
    QCOMPARE(s.messages.warnings, warning.isEmpty() ? QStringList() : QStringList{warning});
    QCOMPARE(s.db().getTables(), before);
    QCOMPARE(s.db().countRecords("settings"), 0);
    QCOMPARE(s.db().getFieldNames("Clienti").size(), 2);
    // A refused page stays as the user left it; a cancelled one is cleared.
    QCOMPARE(s.onDesignerPage(), !warning.isEmpty());
    QCOMPARE(s.window->newTableElements().size(), warning.isEmpty() ? 0 : 2);
}

void TestDesigner::addFieldMode()
{
    Fixture s;
    s.makeTable("Plain", {{"RSTRINGFORMAT_Nome", "text"}});
    s.makeTable("HIDDENTABLE_Order", {{"RSTRINGFORMAT_n", "text"}});
    const QStringList buttons = s.buttons();
    // The page names the current table; a hidden one whose plain name is a keyword is not refused,
    // as it exists already, but the new fields are checked before any is added.
    s.window->changeTable("HIDDENTABLE_Order");
    s.window->addField();
    s.fill(QString(), {"DATE:Prima", "DATE:Dopo#"});
    s.window->acceptedNewTable();
    QCOMPARE(s.db().getFieldNames("HIDDENTABLE_Order").size(), 2);
    s.fill(QString(), {"DATE:Prima", "DATE:Dopo"});
    s.window->acceptedNewTable();
    QCOMPARE(s.db().getFieldNames("HIDDENTABLE_Order").size(), 4);
    // No UserPath even for an image, the repeat suffix, empty rows skipped; then a typed existing name.
    s.window->changeTable("Plain");
    s.window->addField();
    s.fill(QString(), {"IMAGE:Foto", "R:STRING:Nome", "STRING:"});
    s.window->acceptedNewTable();
    s.window->newTable();
    s.fill("Plain", {"URL:Sito"});
    s.window->acceptedNewTable();
    QCOMPARE(declaredColumns(s.db(), "Plain"), QStringList({"RINTEGERFORMAT_Id integer", "RSTRINGFORMAT_Nome text",
                                                    "NIMAGEFORMAT_Foto text", "RSTRINGFORMAT_Nome_XMLTYX_2 text",
                                                    "NURLFORMAT_Sito text"}));
    QCOMPARE(s.buttons(), buttons);
    QCOMPARE(s.db().countRecords("settings"), 0);
    QCOMPARE(s.messages.warnings, QStringList{"ERRORE: Il nome 'Dopo#' non è valido!\nContiene la sequenza riservata '#'."});
}

QTEST_MAIN(TestDesigner)
#include "tst_designer.moc"
