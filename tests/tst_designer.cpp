// The table designer page: the columns it creates, add-field mode, refused
// names, the settings row and the table button.
#include "app/tessaro.h"
#include "dialogs/listbuttonform.h"
#include "records/newtableelement.h"
#include "records/tabledesign.h"
#include "storage/dbconnection.h"
#include "storage/namingscheme.h"
#include "testsupport.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QSqlQuery>
#include <QStackedWidget>
#include <QtTest>
#include <memory>

namespace {

// A main window on a fresh database "test.db" in its own working folder.
struct Session {
    TestFolder folder;
    RecordingMessageHandler messages;
    std::unique_ptr<Tessaro> window;

    Session()
    {
        QFile last(folder.file("lastDb.dat"));
        last.open(QIODevice::WriteOnly);
        last.write(folder.file("test.db").toUtf8());
        last.close();
        window.reset(new Tessaro);
    }
    DbConnection &db() { return *window->connection(); }
    template <typename T> T *child(const char *name) { return window->findChild<T *>(name); }
    // Tables made behind the designer's back, then the session's table list refreshed.
    void makeTable(const QString &name, const QList<ColumnDefinition> &columns)
    {
        QVERIFY(db().createTable(name, columns));
        window->showHiddenTable();
    }
    newTableElement *row(int i) { return window->newTableElements().at(i); }
    newTableElement *addRow()
    {
        row(window->newTableElements().size() - 1)->findChild<QPushButton *>("pbAddNew")->click();
        return window->newTableElements().last();
    }
    bool onDesignerPage() { return child<QStackedWidget>("stPages")->currentWidget()->objectName() == "newTable"; }
};

template <typename T> T *part(newTableElement *row, const char *name)
{
    return row->findChild<T *>(name);
}

// Fills a row from a short description: "[R:]TYPE:name" for a new field,
// "LINK:table" for a link, "LOOKUP:table:column" for a field from a table.
void fillRow(newTableElement *row, const QString &description)
{
    QStringList parts = description.split(':');
    const bool required = parts.first() == "R";
    if (required)
        parts.removeFirst();
    if (parts.first() == "LOOKUP") {
        part<QCheckBox>(row, "cbFromTable")->setChecked(true);
        part<QComboBox>(row, "cbExistList")->setCurrentText(parts.at(1));
        part<QComboBox>(row, "cbExistField")->setCurrentText(parts.at(2));
        return;
    }
    part<QComboBox>(row, "cbType")->setCurrentText(parts.at(0));
    part<QCheckBox>(row, "cbRequired")->setChecked(required);
    if (parts.first() == "LINK")
        part<QComboBox>(row, "cbExistList2")->setCurrentText(parts.at(1));
    else
        part<QLineEdit>(row, "leName")->setText(parts.value(1));
}

// "name type" for each column, the declared type as SQLite reports it, in lower case.
QStringList declaredColumns(const QString &table)
{
    QStringList columns;
    QSqlQuery q(QSqlDatabase::database());
    q.exec("PRAGMA table_info(" + table + ")");
    while (q.next())
        columns << (q.value(1).toString() + " " + q.value(2).toString().toLower()).trimmed();
    return columns;
}

QStringList buttonLabels(Tessaro &w)
{
    QStringList labels;
    for (ListButtonForm *button : w.tableButtonList())
        labels << button->labelText();
    return labels;
}

} // namespace

class TestDesigner : public QObject
{
    Q_OBJECT

private slots:
    void nameCheck_data();
    void nameCheck();
    void rowWidget();
    void createdColumns_data();
    void createdColumns();
    void tableNameHiddenAndButton();
    void settingsRowAndIcon();
    void cancel();
    void refusedNamesWriteNothing_data();
    void refusedNamesWriteNothing();
    void addFieldMode();
    void reopenedTableKeepsTypesAndFlags();
};

void TestDesigner::nameCheck_data()
{
    QTest::addColumn<bool>("table");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("reasonPart"); // empty: the name is accepted

    QTest::newRow("table with blanks") << true << "Clienti Roma" << "";
    QTest::newRow("accented letters") << true << "Città" << "";
    QTest::newRow("FORMAT without underscore") << true << "INFORMATICA" << "";
    QTest::newRow("hash") << true << "Clienti#1" << "'#'";
    QTest::newRow("arrow") << true << "A->B" << "'->'";
    QTest::newRow("marker made by a blank") << true << "a HIDDENTABLE b" << "'HIDDENTABLE_'";
    QTest::newRow("subtable marker") << true << "a_XSBTUSRX_b" << "'_XSBTUSRX_'";
    QTest::newRow("FORMAT_") << true << "a FORMAT b" << "'FORMAT_'";
    QTest::newRow("type tag") << true << "IMAGEFORMAT" << "'IMAGEFORMAT'";
    QTest::newRow("apostrophe") << true << "L'Aquila" << "'''";
    QTest::newRow("point") << true << "Vendite 2020.1" << "'.'";
    QTest::newRow("only blanks") << true << "   " << "almeno una lettera";
    QTest::newRow("table with a leading digit") << true << "2020" << "cifra";
    QTest::newRow("keyword") << true << "order" << "SQL";
    QTest::newRow("keyword in capitals") << true << "TABLE" << "SQL";
    QTest::newRow("sqlite prefix") << true << "sqlite_stat" << "sqlite_";
    QTest::newRow("system table in another case") << true << "Settings" << "sistema";
    QTest::newRow("field with blanks") << false << "Data di nascita" << "";
    QTest::newRow("field with a leading digit") << false << "2020" << "";
    QTest::newRow("keyword field") << false << "order" << "";
    QTest::newRow("lower-case marker") << false << "hiddentable_x" << "";
    QTest::newRow("id") << false << "Id" << "programma";
    QTest::newRow("user path") << false << "UserPath" << "programma";
    QTest::newRow("lookup marker") << false << "Foto_XDTX_1" << "'_XDTX_'";
    QTest::newRow("euro sign") << false << "Prezzo €" << "'€'";
}

void TestDesigner::nameCheck()
{
    QFETCH(bool, table);
    QFETCH(QString, typed);
    QFETCH(QString, reasonPart);
    const QString reason = table ? invalidTableNameReason(typed) : invalidFieldNameReason(typed);
    if (reasonPart.isEmpty())
        QCOMPARE(reason, QString());
    else
        QVERIFY2(reason.contains(reasonPart), qPrintable(reason));
}

void TestDesigner::rowWidget()
{
    Session s;
    s.makeTable("Other", {{"RSTRINGFORMAT_x", "text"}, {"NSUBTABLEFORMAT_s", "text"},
                          {"XThird_XDTX_RSTRINGFORMAT_y", "Integer"}, {"NLINKFORMAT_Third", "text"}});
    s.makeTable("HIDDENTABLE_H", {{"RSTRINGFORMAT_h", "text"}});
    s.window->newTable();
    newTableElement *row = s.row(0);

    QStringList types;
    for (int i = 0; i < part<QComboBox>(row, "cbType")->count(); ++i)
        types << part<QComboBox>(row, "cbType")->itemText(i);
    QCOMPARE(types, QString("STRING DATE INTEGER REAL MONEY IMAGE PDF BOOL MAIL LINK URL SUBTABLE").split(' '));

    // The table combos offer display names of user tables only.
    QComboBox *tables = part<QComboBox>(row, "cbExistList");
    QStringList offered;
    for (int i = 0; i < tables->count(); ++i)
        offered << tables->itemText(i);
    offered.sort();
    QCOMPARE(offered, QStringList({"#H", "Other"}));
    QCOMPARE(part<QComboBox>(row, "cbExistList2")->count(), 2);

    // The link table combo shows for LINK only.
    QVERIFY(!part<QComboBox>(row, "cbExistList2")->isVisibleTo(row));
    part<QComboBox>(row, "cbType")->setCurrentText("LINK");
    QVERIFY(part<QComboBox>(row, "cbExistList2")->isVisibleTo(row));
    part<QComboBox>(row, "cbType")->setCurrentText("URL");
    QVERIFY(!part<QComboBox>(row, "cbExistList2")->isVisibleTo(row));

    // The from-table page lists the chosen table's columns but its id, subtable and lookup columns,
    // and the lookup uses the chosen table's internal name.
    part<QCheckBox>(row, "cbFromTable")->setChecked(true);
    QCOMPARE(part<QStackedWidget>(row, "tableElementsPages")->currentWidget()->objectName(), QString("existElemPage"));
    tables->setCurrentText("Other");
    QComboBox *fields = part<QComboBox>(row, "cbExistField");
    QCOMPARE(fields->count(), 2);
    QCOMPARE(fields->itemText(0), QString("RSTRINGFORMAT_x"));
    QCOMPARE(fields->itemText(1), QString("NLINKFORMAT_Third"));
    tables->setCurrentText("#H");
    QCOMPARE(row->columnDefinition(), ColumnDefinition("XHIDDENTABLE_H_XDTX_RSTRINGFORMAT_h", "Integer"));

    // "+" always appends a row at the end.
    part<QPushButton>(row, "pbAddNew")->click();
    part<QPushButton>(row, "pbAddNew")->click();
    QCOMPARE(s.window->newTableElements().size(), 3);
    QCOMPARE(s.window->newTableElements().first(), row);
}

void TestDesigner::createdColumns_data()
{
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<QStringList>("columns");
    const QString id = "RINTEGERFORMAT_Id integer", userPath = "NLONGSTRINGFORMAT_UserPath";

    QTest::newRow("user path before the first image")
        << QStringList{"STRING:Nome", "IMAGE:Foto", "PDF:Scheda"}
        << QStringList{id, "NSTRINGFORMAT_Nome text", userPath, "NIMAGEFORMAT_Foto text", "NPDFFORMAT_Scheda text"};
    QTest::newRow("user path before a PDF, once")
        << QStringList{"PDF:Scheda", "IMAGE:Foto"}
        << QStringList{id, userPath, "NPDFFORMAT_Scheda text", "NIMAGEFORMAT_Foto text"};
    QTest::newRow("required, blanks") << QStringList{"R:STRING:Data di nascita"}
                                      << QStringList{id, "RSTRINGFORMAT_Data_di_nascita text", userPath};
    QTest::newRow("every other type")
        << QStringList{"DATE:a", "INTEGER:b", "REAL:c", "MONEY:d", "BOOL:e", "MAIL:f", "URL:g", "SUBTABLE:h"}
        << QStringList{id, "NDATEFORMAT_a text", "NINTEGERFORMAT_b text", "NREALFORMAT_c text",
                       "NMONEYFORMAT_d text", "NBOOLFORMAT_e text", "NMAILFORMAT_f text", "NURLFORMAT_g text",
                       "NSUBTABLEFORMAT_h text", userPath};
    QTest::newRow("two equal rows") << QStringList{"STRING:Nome", "STRING:Nome"}
                                    << QStringList{id, "NSTRINGFORMAT_Nome text",
                                                   "NSTRINGFORMAT_Nome_XMLTYX_2 text", userPath};
    QTest::newRow("lookup rows")
        << QStringList{"LOOKUP:Other:RSTRINGFORMAT_x", "LOOKUP:Other:RSTRINGFORMAT_x"}
        << QStringList{id, "XOther_XDTX_RSTRINGFORMAT_x integer", "XOther_XDTX_RSTRINGFORMAT_x_XMLTYX_2 integer",
                       userPath};
    QTest::newRow("link, always N") << QStringList{"R:LINK:Other"}
                                    << QStringList{id, "NLINKFORMAT_Other text", userPath};
    QTest::newRow("no non-empty row") << QStringList{"STRING:", "DATE:"} << QStringList{id, userPath};
}

void TestDesigner::createdColumns()
{
    QFETCH(QStringList, rows);
    QFETCH(QStringList, columns);
    Session s;
    s.makeTable("Other", {{"RSTRINGFORMAT_x", "text"}});
    s.window->newTable();
    s.child<QLineEdit>("leTableName")->setText("Nuova");
    fillRow(s.row(0), rows.first());
    for (int i = 1; i < rows.size(); ++i)
        fillRow(s.addRow(), rows.at(i));
    s.window->acceptedNewTable();
    QCOMPARE(s.messages.warnings, QStringList());
    QCOMPARE(declaredColumns("Nuova"), columns);
}

void TestDesigner::tableNameHiddenAndButton()
{
    Session s;
    s.window->newTable();
    s.child<QLineEdit>("leTableName")->setText("Clienti Roma");
    fillRow(s.row(0), "STRING:Nome");
    s.window->acceptedNewTable();
    QVERIFY(s.db().tableExists("Clienti_Roma"));
    QVERIFY(s.window->tableNames.contains("Clienti_Roma"));
    QCOMPARE(buttonLabels(*s.window), QStringList{"Clienti_Roma"});
    QVERIFY(!s.onDesignerPage());
    QVERIFY(s.window->newTableElements().isEmpty());

    // Hidden, while hidden tables are not shown: made and listed in the names, but no button.
    s.window->newTable();
    s.child<QLineEdit>("leTableName")->setText("Clienti Roma");
    s.child<QCheckBox>("cbHiddenTable")->setChecked(true);
    s.window->acceptedNewTable();
    QVERIFY(s.db().tableExists("HIDDENTABLE_Clienti_Roma"));
    QVERIFY(s.window->tableNames.contains("HIDDENTABLE_Clienti_Roma"));
    QCOMPARE(buttonLabels(*s.window), QStringList{"Clienti_Roma"});

    // With hidden tables shown, a new hidden table gets its button.
    s.child<QAction>("actionShow_Hidden_Tables")->setChecked(true);
    s.window->showHiddenTable();
    s.window->newTable();
    QVERIFY(!s.child<QCheckBox>("cbHiddenTable")->isChecked());
    s.child<QLineEdit>("leTableName")->setText("Archivio");
    s.child<QCheckBox>("cbHiddenTable")->setChecked(true);
    s.window->acceptedNewTable();
    QVERIFY(buttonLabels(*s.window).contains("#Archivio"));
    QVERIFY(buttonLabels(*s.window).contains("#Clienti_Roma"));
    QCOMPARE(s.messages.warnings, QStringList());
}

void TestDesigner::settingsRowAndIcon()
{
    Session s;
    // A row with id 7: the next row's Id text is the character 2, yet the database gives it id 8.
    s.window->insertRecord("settings", {{"RINTEGERFORMAT_Id", "7"}, {"RSTRINGFORMAT_tableName", "Old"},
                                        {"RSTRINGFORMAT_iconPath", ""}}, true);
    QFile icon(s.folder.file("logo d'oro.png"));
    QVERIFY(icon.open(QIODevice::WriteOnly));
    icon.write("png");
    icon.close();

    s.window->newTable();
    s.messages.fileAnswers << s.folder.file("logo d'oro.png");
    s.child<QPushButton>("pbIconImage")->click();
    QCOMPARE(s.messages.fileDialogs, QStringList{"Open File|/home|Images (*.png *.jpg *.jpeg *.bmp *.tif)"});
    QCOMPARE(s.child<QLineEdit>("leIconData")->text(), QString("DB_DATA/logo d'oro.png"));
    QVERIFY(QFile::exists(s.folder.file("DB_DATA/logo d'oro.png")));
    s.window->addTableIcon(); // cancelled: the icon stays
    QCOMPARE(s.child<QLineEdit>("leIconData")->text(), QString("DB_DATA/logo d'oro.png"));

    s.child<QLineEdit>("leTableName")->setText("Clienti");
    s.window->acceptedNewTable();
    QCOMPARE(dumpTable(s.db(), "settings"),
             QStringList({"RINTEGERFORMAT_Id=7;RSTRINGFORMAT_tableName=Old;RSTRINGFORMAT_iconPath=",
                          "RINTEGERFORMAT_Id=8;RSTRINGFORMAT_tableName=Clienti;RSTRINGFORMAT_iconPath=DB_DATA/logo d'oro.png"}));
    // The next new table starts without an icon.
    s.window->newTable();
    QCOMPARE(s.child<QLineEdit>("leIconData")->text(), QString());
}

void TestDesigner::cancel()
{
    Session s;
    const QStringList before = s.db().getTables();
    s.window->newTable();
    s.child<QLineEdit>("leTableName")->setText("Clienti");
    fillRow(s.row(0), "STRING:Nome");
    s.window->cancelNewTable();
    QVERIFY(!s.onDesignerPage());
    QVERIFY(s.window->newTableElements().isEmpty());
    QCOMPARE(s.db().getTables(), before);
}

void TestDesigner::refusedNamesWriteNothing_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("warning");

    QTest::newRow("empty table name") << "" << "Nome" << "ERRORE: La Tabella è vuota!";
    QTest::newRow("hash in the table name") << "Ordini#1" << "Nome" << "ERRORE: Il nome 'Ordini#1' non è valido!\n";
    QTest::newRow("arrow in the table name") << "A->B" << "Nome" << "ERRORE: Il nome 'A->B' non è valido!\n";
    QTest::newRow("keyword table name") << "order" << "Nome" << "ERRORE: Il nome 'order' non è valido!\n";
    QTest::newRow("marker in a field name") << "Ordini" << "Foto_XDTX_1"
                                            << "ERRORE: Il nome 'Foto_XDTX_1' non è valido!\n";
    QTest::newRow("symbol in a field name") << "Ordini" << "e-mail" << "ERRORE: Il nome 'e-mail' non è valido!\n";
    QTest::newRow("name of a table in another case")
        << "clienti" << "Nome" << "ERRORE: Il nome 'clienti' è già stato usato per una tabella.\n";
}

void TestDesigner::refusedNamesWriteNothing()
{
    QFETCH(QString, table);
    QFETCH(QString, field);
    QFETCH(QString, warning);
    Session s;
    s.makeTable("Clienti", {{"RSTRINGFORMAT_Nome", "text"}});
    const QStringList before = s.db().getTables();

    s.window->newTable();
    s.child<QLineEdit>("leTableName")->setText(table);
    fillRow(s.row(0), "STRING:Nome");
    fillRow(s.addRow(), "IMAGE:" + field);
    s.window->acceptedNewTable();

    QCOMPARE(s.messages.warnings.size(), 1);
    QVERIFY2(s.messages.warnings.first().startsWith(warning), qPrintable(s.messages.warnings.first()));
    if (table.isEmpty())
        QCOMPARE(s.messages.warnings.first(), warning);
    QCOMPARE(s.db().getTables(), before);
    QCOMPARE(s.db().countRecords("settings"), 0);
    QCOMPARE(s.db().getFieldNames("Clienti").size(), 2);
    // The page stays as the user left it.
    QVERIFY(s.onDesignerPage());
    QCOMPARE(s.child<QLineEdit>("leTableName")->text(), table);
    QCOMPARE(s.window->newTableElements().size(), 2);
    QCOMPARE(part<QLineEdit>(s.row(1), "leName")->text(), field);
}

void TestDesigner::addFieldMode()
{
    Session s;
    s.makeTable("Plain", {{"RSTRINGFORMAT_Nome", "text"}});
    s.makeTable("HIDDENTABLE_Order", {{"RSTRINGFORMAT_n", "text"}});
    s.window->changeTable("Plain");
    const int buttons = s.window->tableButtonList().size();

    s.window->addField();
    QCOMPARE(s.child<QLineEdit>("leTableName")->text(), QString("Plain"));
    QVERIFY(!s.child<QLineEdit>("leTableName")->isEnabled());
    QVERIFY(!s.child<QCheckBox>("cbHiddenTable")->isVisibleTo(s.window.get()));
    fillRow(s.row(0), "IMAGE:Foto");
    fillRow(s.addRow(), "R:STRING:Nome");
    fillRow(s.addRow(), "STRING:");
    s.window->acceptedNewTable();
    QCOMPARE(s.messages.warnings, QStringList());
    QCOMPARE(declaredColumns("Plain"), QStringList({"RINTEGERFORMAT_Id integer", "RSTRINGFORMAT_Nome text",
                                                    "NIMAGEFORMAT_Foto text", "RSTRINGFORMAT_Nome_XMLTYX_2 text"}));
    QCOMPARE(s.db().countRecords("settings"), 0);
    QCOMPARE(s.window->tableButtonList().size(), buttons);
    QVERIFY(!s.onDesignerPage());

    // A hidden table whose plain name is a keyword is not refused: it exists already.
    s.window->changeTable("HIDDENTABLE_Order");
    s.window->addField();
    QCOMPARE(s.child<QLineEdit>("leTableName")->text(), QString("#Order"));
    fillRow(s.row(0), "DATE:Quando");
    s.window->acceptedNewTable();
    QCOMPARE(s.messages.warnings, QStringList());
    QVERIFY(s.db().getFieldNames("HIDDENTABLE_Order").contains("NDATEFORMAT_Quando"));

    // Fields are checked in add-field mode too, before any is added.
    s.window->addField();
    fillRow(s.row(0), "DATE:Prima");
    fillRow(s.addRow(), "DATE:Dopo#");
    s.window->acceptedNewTable();
    QCOMPARE(s.messages.warnings.size(), 1);
    QCOMPARE(s.db().getFieldNames("HIDDENTABLE_Order").size(), 3);

    // Typing the name of an existing table on a new-table page adds fields to it.
    s.messages.clear();
    s.window->newTable();
    s.child<QLineEdit>("leTableName")->setText("Plain");
    fillRow(s.row(0), "URL:Sito");
    s.window->acceptedNewTable();
    QCOMPARE(s.messages.warnings, QStringList());
    QCOMPARE(s.db().getFieldNames("Plain").last(), QString("NURLFORMAT_Sito"));
    QCOMPARE(s.db().countRecords("settings"), 0);
}

void TestDesigner::reopenedTableKeepsTypesAndFlags()
{
    Session s;
    s.makeTable("Citta", {{"RSTRINGFORMAT_Nome", "text"}});
    const QStringList types = {"STRING", "DATE", "INTEGER", "REAL", "MONEY", "IMAGE",
                               "PDF", "BOOL", "MAIL", "URL", "SUBTABLE"};
    s.window->newTable();
    s.child<QLineEdit>("leTableName")->setText("Tutto");
    for (int i = 0; i < types.size(); ++i) {
        newTableElement *row = i == 0 ? s.row(0) : s.addRow();
        // Every other field is required.
        fillRow(row, QString(i % 2 ? "" : "R:") + types.at(i) + ":f" + types.at(i));
    }
    fillRow(s.addRow(), "LINK:Citta");
    fillRow(s.addRow(), "LOOKUP:Citta:RSTRINGFORMAT_Nome");
    s.window->acceptedNewTable();
    QCOMPARE(s.messages.warnings, QStringList());

    // A new session on the same file reads every type and flag back from the names alone.
    s.window.reset();
    s.window.reset(new Tessaro);
    const QStringList columns = s.db().getFieldNames("Tutto");
    QStringList readBack;
    for (const QString &column : columns) {
        if (column.startsWith('X'))
            readBack << "lookup " + column.mid(1).section("_XDTX_", 0, 0) + " " + column.section("_XDTX_", 1);
        else
            readBack << column.left(1) + " " + typeStem(typeTagOf(column)) + " " + fieldNameOf(column);
    }
    QCOMPARE(readBack, (QStringList{"R INTEGER Id", "R STRING fSTRING", "N DATE fDATE", "R INTEGER fINTEGER",
                                    "N REAL fREAL", "R MONEY fMONEY", "N LONGSTRING UserPath", "N IMAGE fIMAGE",
                                    "R PDF fPDF", "N BOOL fBOOL", "R MAIL fMAIL", "N URL fURL",
                                    "R SUBTABLE fSUBTABLE", "N LINK Citta", "lookup Citta RSTRINGFORMAT_Nome"}));
    QVERIFY(buttonLabels(*s.window).contains("Tutto"));
}

QTEST_MAIN(TestDesigner)
#include "tst_designer.moc"
