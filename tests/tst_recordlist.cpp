#include "app/tessaro.h"
#include "dialogs/progressbarform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSqlQuery>
#include <QtTest>
#include <climits>
#include <memory>

namespace {

struct Fixture {
    TestFolder folder;
    RecordingMessageHandler messages;
    std::unique_ptr<Tessaro> window;

    Fixture() { start(); }
    void start(const QString &file = "test.db")
    {
        window.reset();
        rememberDb(folder.file(file));
        window.reset(new Tessaro);
    }
    void table(const QString &name, const QStringList &columns, const QStringList &rows)
    {
        QVERIFY(makeTable(*window->connection(), name, columns, rows));
    }
    QListWidget *list() { return window->findChild<QListWidget *>("userListWidget"); }
    QString label(const char *name) { return window->findChild<QLabel *>(name)->text(); }
    QPushButton *button(const char *name) { return window->findChild<QPushButton *>(name); }
    QStringList items() { return itemTexts(list()); }
    // "selected row, current id, shown text".
    QString state()
    {
        const QList<QListWidgetItem *> selected = list()->selectedItems();
        const int row = selected.isEmpty() ? -1 : list()->row(selected.first());
        return QString("%1 %2 %3").arg(row).arg(window->currentId).arg(label("lbViewInfo"));
    }
};

} // namespace

class TestRecordList : public QObject
{
    Q_OBJECT

private slots:
    void recordMapIndexFollowsChanges();
    void recordMapGrowsAndKeepsFarIds();
    void rowOfARecord_data();
    void rowOfARecord();
    void startUpShowsTheWindowFirst();
    void textsAndCollisions();
    void stepsSearchAndSortStopAtTheEnds();
    void linkAndBackKeepOneStep();
    void startUpAndNoTable();
    void foreignDatabase();
};

void TestRecordList::recordMapIndexFollowsChanges()
{
    // A record's text is the first key in key order that maps to its id, also after changes.
    RecordMap map;
    map.insert("mela", 1);
    map.insert("pera", 2);
    map.insert("banana", 2);
    map.insert("mela", 3); // a later record takes the text over
    QString text;
    QVERIFY(!map.textOf(1, &text));
    QVERIFY(map.textOf(2, &text) && text == "banana");
    // Later changes: a looked-up text entered with 0, a text moved on to another record.
    QCOMPARE(map.idOf("zucca"), 0);
    map.insert("albicocca", 2);
    map.insert("albicocca", 3);
    QVERIFY(map.textOf(0, &text) && text == "zucca");
    QVERIFY(map.textOf(2, &text) && text == "banana");
    QVERIFY(map.textOf(3, &text) && text == "albicocca");
}

void TestRecordList::recordMapGrowsAndKeepsFarIds()
{
    // Past its first room, and with ids far apart or below 0, every text keeps its id.
    RecordMap map;
    const QList<int> far = {-7, 2000000000, 0, INT_MIN};
    for (int i = 0; i < 3000; ++i)
        map.insert(QString::number(i), i < int(far.size()) ? far.at(i) : i);
    QCOMPARE(map.size(), 3000);
    QString text;
    for (int i : {0, 1, 2, 3, 17, 2999}) {
        QCOMPARE(map.value(QString::number(i)), i < int(far.size()) ? far.at(i) : i);
        QVERIFY(map.textOf(i < int(far.size()) ? far.at(i) : i, &text) && text == QString::number(i));
    }
    QVERIFY(!map.contains("3000") && !map.isShared("17"));
    map.insert(QString(), 9); // a null text is the empty text
    QVERIFY(map.contains("") && map.value("") == 9 && map.size() == 3001);
    map.insert("17", 18);
    QVERIFY(map.isShared("17") && map.textOf(18, &text) && text == "17");
    QCOMPARE(map.map().firstKey() + "/" + map.map().lastKey(), QString("/999"));
}

void TestRecordList::rowOfARecord_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QString>("state");
    // Rows: mela, (empty), "----", pera and kiwi under one id, mela again.
    QTest::newRow("literal ---- is found on the first ---- item") << 3 << "1 3 ----";
    QTest::newRow("an id with two texts shows its least") << 4 << "4 4 kiwi";
    QTest::newRow("a shared text is found on its first item") << 5 << "0 5 mela";
    QTest::newRow("a record without text selects the first row") << 1 << "0 1 mela";
}

void TestRecordList::rowOfARecord()
{
    QFETCH(int, id);
    QFETCH(QString, state);
    Fixture s;
    s.start("rows.db");
    for (const char *statement :
         {"CREATE TABLE Frutta (RINTEGERFORMAT_Id INTEGER, RSTRINGFORMAT_Nome TEXT)",
          "INSERT INTO Frutta VALUES (1, 'mela'), (2, ''), (3, '----'), (4, 'pera'), (4, 'kiwi'), (5, 'mela')"})
        QVERIFY2(sqlOn(*s.window->connection()).exec(statement), statement);
    s.window->changeTable("Frutta");
    QCOMPARE(s.items(), QStringList({"mela", "----", "----", "pera", "kiwi", "mela"}));
    s.window->vwRecord(id);
    QCOMPARE(s.state(), state);
}

// Sees the start-up through the events: whether the main window had been painted
// when the progress dialog came up.
class StartWatch : public QObject
{
public:
    bool windowPainted = false;
    bool paintedBeforeProgress = false;
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (!object->isWidgetType())
            return false;
        QWidget *top = static_cast<QWidget *>(object)->window();
        if (event->type() == QEvent::Paint && qobject_cast<Tessaro *>(top))
            windowPainted = true;
        if (event->type() == QEvent::Paint && qobject_cast<progressBarForm *>(top))
            paintedBeforeProgress = paintedBeforeProgress || windowPainted;
        return false;
    }
};

void TestRecordList::startUpShowsTheWindowFirst()
{
    Fixture s;
    s.table("Libri", {"RSTRINGFORMAT_Titolo"}, {"Uno", "Due", "Tre"});
    StartWatch watch;
    qApp->installEventFilter(&watch);
    s.start();
    qApp->removeEventFilter(&watch);
    // The window is on screen and painted under the progress of the load, and
    // the list is complete when the constructor returns.
    QVERIFY(s.window->isVisible());
    QVERIFY(watch.paintedBeforeProgress);
    QCOMPARE(s.items(), QStringList({"Uno", "Due", "Tre"}));
    QVERIFY(!s.window->findChild<progressBarForm *>()->isVisible());
}

void TestRecordList::textsAndCollisions()
{
    Fixture s;
    s.table("Persone", {"RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Note"}, {"Anna|prima", "|vuoto", "Bruno|", "Anna|seconda"});
    s.window->changeTable("Persone");
    QCOMPARE(s.items(), QStringList({"Anna", "----", "Bruno", "Anna"}));
    QCOMPARE(s.label("lbToolbar"), QString("4 Records"));
    // The later "Anna" owns the text; "----" has no entry.
    QCOMPARE(s.window->recordMap().map(), (QMap<QString, int>{{"Anna", 4}, {"Bruno", 3}}));
    QCOMPARE(s.state(), QString("0 4 Anna"));
    // Either "Anna" shows the later record, and the first "Anna" item is selected.
    s.list()->setCurrentRow(3);
    QCOMPARE(s.state(), QString("0 4 Anna"));
    // An item without entry looks up id 0 and enters its text with it.
    s.list()->setCurrentRow(1);
    QCOMPARE(s.state(), QString("1 0 ----"));

    // Looked-up texts; empty ones are entered too (the last row wins), unlike plain ones.
    s.table("Citta", {"RSTRINGFORMAT_Nome"}, {"Roma", ""});
    s.table("Clienti", {"XCitta_XDTX_RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Cognome"},
            {"1|Rossi", "2|Bianchi", "0|Verdi", "99|Neri"});
    s.window->changeTable("Clienti");
    QCOMPARE(s.items(), QStringList({"Roma", "----", "----", "----"}));
    QCOMPARE(s.window->recordMap().map(), (QMap<QString, int>{{"", 4}, {"Roma", 1}}));
    // A lookup column carrying the repeat suffix reads the column named without it.
    s.table("Ordini", {"XCitta_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2"}, {"1"});
    s.window->changeTable("Ordini");
    QCOMPARE(s.items(), QStringList({"Roma"}));
    QCOMPARE(s.messages.warnings, QStringList());
}

void TestRecordList::stepsSearchAndSortStopAtTheEnds()
{
    Fixture s;
    s.table("Parole", {"RSTRINGFORMAT_Nome"}, {"gamma", "Alfa", "beta", "ALFABETO"});
    s.window->changeTable("Parole");
    s.window->prevRecord();
    QCOMPARE(s.state(), QString("0 1 gamma"));
    s.button("pbNext")->click();
    for (int i = 0; i < 3; ++i)
        s.window->nextRecord();
    QCOMPARE(s.state(), QString("3 4 ALFABETO"));
    s.button("pbPrev")->click();
    QCOMPARE(s.state(), QString("2 3 beta"));

    // Two characters do nothing; hits ignore case and do not wrap; no hit leaves the selection.
    s.window->userSearch("al");
    QCOMPARE(s.state(), QString("2 3 beta"));
    s.window->userSearch("alf");
    s.button("pbUserPrev")->click();
    QCOMPARE(s.state(), QString("1 2 Alfa"));
    s.button("pbUserNext")->click();
    s.window->userSearchNext();
    QCOMPARE(s.state(), QString("3 4 ALFABETO"));
    s.window->userSearch("zzz");
    s.window->userSearchNext();
    QCOMPARE(s.state(), QString("3 4 ALFABETO"));

    // Sorting by character code puts capitals first and keeps the row, not the record.
    QPushButton *sort = s.button("pbSort");
    sort->setChecked(true);
    QCOMPARE(sort->text() + " " + s.items().join(' '), QString("A-Z ALFABETO Alfa beta gamma"));
    QCOMPARE(s.state(), QString("3 1 gamma"));
    sort->setChecked(false);
    QCOMPARE(sort->text() + " " + s.items().join(' '), QString("1-N gamma Alfa beta ALFABETO"));
    QCOMPARE(s.state(), QString("3 4 ALFABETO"));
}

void TestRecordList::linkAndBackKeepOneStep()
{
    Fixture s;
    s.table("Prima", {"RSTRINGFORMAT_Nome"}, {"p1", "p2"});
    s.table("Seconda", {"RSTRINGFORMAT_Nome"}, {"s1", "s2"});
    s.table("Terza", {"RSTRINGFORMAT_Nome"}, {"t1"});
    s.window->changeTable("Prima");
    s.window->goToRequest("Seconda", 2);
    QCOMPARE(s.window->currentTable + " " + s.state(), QString("Seconda 1 2 s2"));
    QVERIFY(!s.button("pbReturn")->isHidden());
    s.window->goToRequest("Terza", 1);
    // Back returns to the record before the second link only, and leaves the history as it is.
    s.button("pbReturn")->click();
    QCOMPARE(s.label("lbListName") + " " + s.state(), QString("Seconda 1 2 s2"));
    QVERIFY(s.button("pbReturn")->isHidden());
    s.window->goBack();
    QCOMPARE(s.window->currentTable, QString("Seconda"));
}

void TestRecordList::startUpAndNoTable()
{
    Fixture s;
    // A database without user tables starts quietly, with an empty list.
    s.start();
    QCOMPARE(s.list()->count(), 0);
    s.table("Libri", {"RSTRINGFORMAT_Titolo"}, {"Uno", "Due"});
    s.table("Autori", {"RSTRINGFORMAT_Nome"}, {});
    // With user tables the first one is listed and its first record shown.
    s.start();
    QCOMPARE(s.items(), QStringList({"Uno", "Due"}));
    QCOMPARE(s.state(), QString("0 1 Uno"));
    QCOMPARE(s.window->recordViewWidgets().size(), 2);
    s.window->loadList(QString());
    QCOMPARE(s.messages.warnings, QStringList({"Nessuna Tabella Caricata!"}));
}

void TestRecordList::foreignDatabase()
{
    Fixture s;
    s.start("foreign.db");
    for (const char *statement : {
             "CREATE TABLE \"order\" (code INTEGER PRIMARY KEY, name TEXT, qty INTEGER)",
             "INSERT INTO \"order\" VALUES (7, 'zeta', 1), (3, 'alfa', 2), (9, 'it''s', 3)",
             // An index on the listed column: the list keeps the order whole-table reads give
             // (a select of the first two columns alone would walk that index).
             "CREATE TABLE \"my table\" (RINTEGERFORMAT_Id INTEGER PRIMARY KEY, label TEXT, note TEXT)",
             "CREATE INDEX byLabel ON \"my table\" (label)",
             "INSERT INTO \"my table\" VALUES (1, 'mela', 'a'), (2, 'arancia', 'b'), (3, 'banana', 'c')",
             "CREATE TABLE plain (x TEXT PRIMARY KEY, y TEXT) WITHOUT ROWID"})
        QVERIFY2(sqlOn(*s.window->connection()).exec(statement), statement);
    s.start("foreign.db"); // tables made behind the program's back

    s.window->changeTable("order");
    QCOMPARE(s.items(), QStringList({"alfa", "zeta", "it's"}));
    s.window->nextRecord();
    s.window->nextRecord();
    QCOMPARE(s.state(), QString("2 9 it's"));
    s.window->changeTable("my table");
    QCOMPARE(s.items(), QStringList({"mela", "arancia", "banana"}));
    // An empty table without rowid: an empty list and view; stepping and searching do nothing.
    s.window->changeTable("plain");
    QCOMPARE(s.label("lbViewInfo") + " " + s.label("lbToolbar"), QString("---- 0 Records"));
    QVERIFY(s.items().isEmpty() && s.window->recordViewWidgets().isEmpty());
    s.window->userSearch("abc");
    s.window->nextRecord();
}

QTEST_MAIN(TestRecordList)
#include "tst_recordlist.moc"
