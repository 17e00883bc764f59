// The record list: texts, counts, the text-to-record map, stepping, search,
// sort, the link/back history and foreign databases.
#include "app/tessaro.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QtTest>

namespace {

// A window on a fresh database file of its own folder.
struct Session {
    TestFolder folder;
    RecordingMessageHandler messages;
    Tessaro window;

    Session() { window.loadDb(folder.file("test.db")); }
    DbConnection &db() { return *window.connection(); }

    void table(const QString &name, const QStringList &columns)
    {
        QList<ColumnDefinition> definitions;
        for (const QString &column : columns)
            definitions << ColumnDefinition(column, column.startsWith('X') ? "Integer" : "text");
        QVERIFY(db().createTable(name, definitions));
    }
    // Adds a row with the given values for the data columns, in order.
    int row(const QString &table, const QStringList &values)
    {
        const int id = db().insertEmptyRecord(table, false, 0);
        const QStringList columns = db().getFieldNames(table);
        for (int i = 0; i < values.size(); ++i)
            db().updateField(table, id, columns.at(i + 1), values.at(i));
        return id;
    }

    QListWidget *list() { return window.findChild<QListWidget *>("userListWidget"); }
    QString label(const char *name) { return window.findChild<QLabel *>(name)->text(); }
    QPushButton *button(const char *name) { return window.findChild<QPushButton *>(name); }
    QStringList items()
    {
        QStringList texts;
        for (int i = 0; i < list()->count(); ++i)
            texts << list()->item(i)->text();
        return texts;
    }
    int selectedRow()
    {
        const QList<QListWidgetItem *> selected = list()->selectedItems();
        return selected.isEmpty() ? -1 : list()->row(selected.first());
    }
};

} // namespace

class TestRecordList : public QObject
{
    Q_OBJECT

private slots:
    void recordMapFindsFirstTextInKeyOrder();
    void textsCountsAndCollisions();
    void lookupTexts();
    void emptyTableAndNoTable();
    void stepsStopAtBothEnds();
    void searchSelectsHitsWithoutWrapping();
    void sortToggleAndBack();
    void linkAndBackKeepOneStep();
    void startUpListsAndSelectsFirstTable();
    void startUpWithoutUserTablesIsQuiet();
    void foreignDatabase();
};

void TestRecordList::recordMapFindsFirstTextInKeyOrder()
{
    RecordMap map;
    map.insert("mela", 1);
    map.insert("banana", 2);
    map.insert("pera", 2);
    map.insert("mela", 3); // a later record takes the text over
    // Walking the map in key order gives the answer the index must give.
    auto walk = [&map](int id) {
        for (auto it = map.map().constBegin(); it != map.map().constEnd(); ++it) {
            if (it.value() == id)
                return it.key();
        }
        return QString("(none)");
    };
    auto textOf = [&map](int id) {
        QString text;
        return map.textOf(id, &text) ? text : QString("(none)");
    };
    for (int id : {1, 2, 3, 0})
        QCOMPARE(textOf(id), walk(id));
    QCOMPARE(textOf(1), QString("(none)"));
    QCOMPARE(textOf(2), QString("banana"));

    // Texts looked up later are entered with 0; the index follows them.
    QCOMPARE(map.idOf("zucca"), 0);
    QCOMPARE(textOf(0), QString("zucca"));
    QCOMPARE(map.idOf("anguria"), 0);
    QCOMPARE(textOf(0), QString("anguria"));
    QCOMPARE(map.idOf("pera"), 2);
    map.insert("albicocca", 2);
    QCOMPARE(textOf(2), QString("albicocca"));
    map.insert("albicocca", 3);
    for (int id : {0, 1, 2, 3})
        QCOMPARE(textOf(id), walk(id));
    QCOMPARE(map.size(), 6);
}

void TestRecordList::textsCountsAndCollisions()
{
    Session s;
    s.table("Persone", {"RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Note"});
    s.row("Persone", {"Anna", "prima"});
    s.row("Persone", {"", "vuoto"});
    const int bruno = s.row("Persone", {"Bruno", ""});
    const int anna2 = s.row("Persone", {"Anna", "seconda"});

    s.window.changeTable("Persone");
    QCOMPARE(s.items(), QStringList({"Anna", "----", "Bruno", "Anna"}));
    QCOMPARE(s.label("lbToolbar"), QString("4 Records"));
    QCOMPARE(s.label("lbListName"), QString("Persone"));
    // The later "Anna" owns the text; "----" has no entry.
    QCOMPARE(s.window.recordMap().map(), (QMap<QString, int>{{"Anna", anna2}, {"Bruno", bruno}}));
    QCOMPARE(s.window.currentId, anna2);
    QCOMPARE(s.selectedRow(), 0);
    QCOMPARE(s.label("lbViewInfo"), QString("Anna"));

    // Either "Anna" shows the later record, and the first "Anna" item is selected.
    s.list()->setCurrentRow(3);
    QCOMPARE(s.window.currentId, anna2);
    QCOMPARE(s.selectedRow(), 0);

    // An item without entry looks up id 0 and enters its text with it.
    s.list()->setCurrentRow(1);
    QCOMPARE(s.window.currentId, 0);
    QCOMPARE(s.window.recordMap().map().value("----", -1), 0);
    QCOMPARE(s.label("lbViewInfo"), QString("----"));
    QVERIFY(s.messages.warnings.isEmpty());
}

void TestRecordList::lookupTexts()
{
    Session s;
    s.table("Citta", {"RSTRINGFORMAT_Nome"});
    const int roma = s.row("Citta", {"Roma"});
    const int blank = s.row("Citta", {""});
    s.table("Persone", {"XCitta_XDTX_RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Cognome"});
    const int first = s.row("Persone", {QString::number(roma), "Rossi"});
    s.row("Persone", {QString::number(blank), "Bianchi"});
    s.row("Persone", {"0", "Verdi"});
    const int missing = s.row("Persone", {"99", "Neri"});

    s.window.changeTable("Persone");
    QCOMPARE(s.items(), QStringList({"Roma", "----", "----", "----"}));
    // Empty looked-up texts are entered too (the last row wins), unlike plain ones.
    QCOMPARE(s.window.recordMap().map(), (QMap<QString, int>{{"", missing}, {"Roma", first}}));

    // A lookup column whose text carries the repeat suffix reads the named column.
    s.table("Ordini", {"XCitta_XDTX_RSTRINGFORMAT_Nome", "XCitta_XDTX_RSTRINGFORMAT_Nome"});
    s.row("Ordini", {"0", QString::number(roma)});
    QCOMPARE(s.db().getFieldNames("Ordini").at(2), QString("XCitta_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2"));
    s.window.changeTable("Ordini");
    QCOMPARE(s.items(), QStringList({"----"}));
}

void TestRecordList::emptyTableAndNoTable()
{
    Session s;
    s.table("Vuota", {"RSTRINGFORMAT_Nome"});
    s.window.changeTable("Vuota");
    QCOMPARE(s.list()->count(), 0);
    QCOMPARE(s.label("lbViewInfo"), QString("----"));
    QCOMPARE(s.label("lbToolbar"), QString("0 Records"));
    QVERIFY(s.window.recordViewWidgets().isEmpty());

    s.window.loadList(QString());
    QCOMPARE(s.messages.warnings, QStringList({"Nessuna Tabella Caricata!"}));
}

void TestRecordList::stepsStopAtBothEnds()
{
    Session s;
    s.table("Lettere", {"RSTRINGFORMAT_Nome"});
    const int a = s.row("Lettere", {"Alfa"});
    const int b = s.row("Lettere", {"Beta"});
    const int c = s.row("Lettere", {"Gamma"});
    s.window.changeTable("Lettere");

    s.window.prevRecord();
    QCOMPARE(s.window.currentId, a);
    QCOMPARE(s.selectedRow(), 0);

    s.button("pbNext")->click();
    QCOMPARE(s.window.currentId, b);
    QCOMPARE(s.label("lbViewInfo"), QString("Beta"));
    s.window.nextRecord();
    QCOMPARE(s.window.currentId, c);
    s.window.nextRecord();
    QCOMPARE(s.window.currentId, c);
    QCOMPARE(s.selectedRow(), 2);
    QCOMPARE(s.label("lbViewInfo"), QString("Gamma"));

    s.button("pbPrev")->click();
    QCOMPARE(s.window.currentId, b);
    QCOMPARE(s.selectedRow(), 1);
}

void TestRecordList::searchSelectsHitsWithoutWrapping()
{
    Session s;
    s.table("Parole", {"RSTRINGFORMAT_Nome"});
    s.row("Parole", {"gamma"});
    const int alfa = s.row("Parole", {"Alfa"});
    s.row("Parole", {"beta"});
    const int alfabeto = s.row("Parole", {"ALFABETO"});
    s.window.changeTable("Parole");
    QLineEdit *edit = s.window.findChild<QLineEdit *>("userSearchEdit");

    edit->setText("al");
    QCOMPARE(s.selectedRow(), 0);
    edit->setText("alf");
    QCOMPARE(s.selectedRow(), 1);
    QCOMPARE(s.window.currentId, alfa);

    s.button("pbUserNext")->click();
    QCOMPARE(s.selectedRow(), 3);
    QCOMPARE(s.window.currentId, alfabeto);
    s.window.userSearchNext();
    QCOMPARE(s.selectedRow(), 3);

    s.button("pbUserPrev")->click();
    QCOMPARE(s.selectedRow(), 1);
    s.window.userSearchPrev();
    QCOMPARE(s.selectedRow(), 1);
    QCOMPARE(s.window.currentId, alfa);

    // No hit: the selection stays and stepping through hits does nothing.
    edit->setText("zzz");
    s.window.userSearchNext();
    QCOMPARE(s.selectedRow(), 1);
}

void TestRecordList::sortToggleAndBack()
{
    Session s;
    s.table("Nomi", {"RSTRINGFORMAT_Nome"});
    s.row("Nomi", {"Carlo"});
    s.row("Nomi", {"alba"});
    s.row("Nomi", {"Bea"});
    s.window.changeTable("Nomi");
    s.window.nextRecord(); // row 1

    QPushButton *sort = s.button("pbSort");
    sort->setChecked(true);
    QCOMPARE(sort->text(), QString("A-Z"));
    // By character code: capitals first.
    QCOMPARE(s.items(), QStringList({"Bea", "Carlo", "alba"}));
    QCOMPARE(s.selectedRow(), 1);
    QCOMPARE(s.label("lbViewInfo"), QString("Carlo"));
    QCOMPARE(s.window.currentId, s.window.recordMap().map().value("Carlo"));

    sort->setChecked(false);
    QCOMPARE(sort->text(), QString("1-N"));
    QCOMPARE(s.items(), QStringList({"Carlo", "alba", "Bea"}));
    QCOMPARE(s.selectedRow(), 1);
    QCOMPARE(s.label("lbViewInfo"), QString("alba"));
}

void TestRecordList::linkAndBackKeepOneStep()
{
    Session s;
    s.table("Prima", {"RSTRINGFORMAT_Nome"});
    s.row("Prima", {"p1"});
    const int p2 = s.row("Prima", {"p2"});
    s.table("Seconda", {"RSTRINGFORMAT_Nome"});
    s.row("Seconda", {"s1"});
    const int s2 = s.row("Seconda", {"s2"});
    s.table("Terza", {"RSTRINGFORMAT_Nome"});
    const int t1 = s.row("Terza", {"t1"});

    s.window.changeTable("Prima");
    s.window.nextRecord();
    QCOMPARE(s.window.currentId, p2);
    QVERIFY(s.button("pbReturn")->isHidden());

    s.window.goToRequest("Seconda", s2);
    QCOMPARE(s.window.currentTable, QString("Seconda"));
    QCOMPARE(s.window.currentId, s2);
    QCOMPARE(s.label("lbViewInfo"), QString("s2"));
    QVERIFY(!s.button("pbReturn")->isHidden());

    s.window.goToRequest("Terza", t1);
    QCOMPARE(s.label("lbListName"), QString("Terza"));

    s.button("pbReturn")->click();
    QCOMPARE(s.window.currentTable, QString("Seconda"));
    QCOMPARE(s.label("lbListName"), QString("Seconda"));
    QCOMPARE(s.window.currentId, s2);
    QCOMPARE(s.label("lbViewInfo"), QString("s2"));
    QVERIFY(s.button("pbReturn")->isHidden());

    // Going back leaves the history as it is.
    s.window.goBack();
    QCOMPARE(s.window.currentTable, QString("Seconda"));
}

void TestRecordList::startUpListsAndSelectsFirstTable()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    const QString path = folder.file("start.db");
    {
        Tessaro setup;
        setup.loadDb(path);
        DbConnection &db = *setup.connection();
        db.createTable("Libri", {{"RSTRINGFORMAT_Titolo", "text"}});
        for (const char *title : {"Uno", "Due"}) {
            const int id = db.insertEmptyRecord("Libri", false, 0);
            db.updateField("Libri", id, "RSTRINGFORMAT_Titolo", title);
        }
        db.createTable("Autori", {{"RSTRINGFORMAT_Nome", "text"}});
    }
    QFile last("lastDb.dat");
    QVERIFY(last.open(QIODevice::WriteOnly));
    last.write(path.toUtf8());
    last.close();

    Tessaro window;
    auto *list = window.findChild<QListWidget *>("userListWidget");
    QCOMPARE(window.currentTable, QString("Libri"));
    QCOMPARE(list->count(), 2);
    QCOMPARE(list->currentRow(), 0);
    QCOMPARE(list->selectedItems().size(), 1);
    QCOMPARE(window.findChild<QLabel *>("lbViewInfo")->text(), QString("Uno"));
    QCOMPARE(window.recordViewWidgets().size(), 2);
    QVERIFY(messages.warnings.isEmpty());
}

void TestRecordList::startUpWithoutUserTablesIsQuiet()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    const QString path = folder.file("empty.db");
    {
        Tessaro first;
        first.loadDb(path);
        first.refreshTableList(true); // makes the system tables
    }
    messages.clear();
    Tessaro window;
    window.loadDb(path);
    window.refreshTableList(true);
    QCOMPARE(messages.warnings, QStringList());
    QCOMPARE(window.findChild<QListWidget *>("userListWidget")->count(), 0);
}

void TestRecordList::foreignDatabase()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    const QString path = folder.file("foreign.db");
    {
        QSqlDatabase foreign = QSqlDatabase::addDatabase("QSQLITE", "foreign-setup");
        foreign.setDatabaseName(path);
        QVERIFY(foreign.open());
        QSqlQuery q(foreign);
        const QStringList statements = {
            "CREATE TABLE \"order\" (code INTEGER PRIMARY KEY, name TEXT, qty INTEGER)",
            "INSERT INTO \"order\" VALUES (7, 'zeta', 1), (3, 'alfa', 2), (9, 'it''s', 3)",
            // An index on the listed column: the list keeps the order whole-table reads give.
            // (a select of the first two columns alone would walk that index)
            "CREATE TABLE \"my table\" (RINTEGERFORMAT_Id INTEGER PRIMARY KEY, label TEXT, note TEXT)",
            "CREATE INDEX byLabel ON \"my table\" (label)",
            "INSERT INTO \"my table\" VALUES (1, 'mela', 'a'), (2, 'arancia', 'b'), (3, 'banana', 'c')",
            "CREATE TABLE plain (x TEXT PRIMARY KEY, y TEXT) WITHOUT ROWID",
        };
        for (const QString &statement : statements)
            QVERIFY2(q.exec(statement), qPrintable(statement));
        foreign.close();
    }
    QSqlDatabase::removeDatabase("foreign-setup");

    Tessaro window;
    window.loadDb(path);
    window.refreshTableList(true);
    auto *list = window.findChild<QListWidget *>("userListWidget");
    DbConnection &db = *window.connection();

    window.changeTable("order");
    QCOMPARE(list->count(), 3);
    QCOMPARE(list->item(0)->text(), QString("alfa"));
    QCOMPARE(window.currentId, 3);
    window.nextRecord();
    window.nextRecord();
    QCOMPARE(window.currentId, 9);
    QCOMPARE(window.findChild<QLabel *>("lbViewInfo")->text(), QString("it's"));
    QCOMPARE(window.recordViewWidgets().size(), 3);

    window.changeTable("my table");
    QStringList expected;
    for (int i = 0; i < db.countRecords("my table"); ++i)
        expected << db.getRecordAt("my table", i).value(1).toString();
    QStringList texts;
    for (int i = 0; i < list->count(); ++i)
        texts << list->item(i)->text();
    QCOMPARE(texts, expected);
    QCOMPARE(texts.first(), QString("mela"));
    window.nextRecord();
    window.prevRecord();

    window.changeTable("plain");
    QCOMPARE(list->count(), 0);
    QCOMPARE(window.findChild<QLabel *>("lbToolbar")->text(), QString("0 Records"));
    window.userSearch("abc");
    window.nextRecord();
}

QTEST_MAIN(TestRecordList)
#include "tst_recordlist.moc"
