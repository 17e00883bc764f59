// The record list: start-up, texts, stepping, searching, sorting, links.
#include "dialogs/progressbarform.h"
#include "testsupport.h"

namespace {

// "selected row, current id, shown text".
QString state(const Window &s)
{
    const QList<QListWidgetItem *> selected = s.child<QListWidget>("userListWidget")->selectedItems();
    const int row = selected.isEmpty() ? -1 : s.child<QListWidget>("userListWidget")->row(selected.first());
    return QString("%1 %2 %3").arg(row).arg(s.w->currentId).arg(s.label("lbViewInfo"));
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
        if (!object->isWidgetType() || event->type() != QEvent::Paint)
            return false;
        QWidget *top = static_cast<QWidget *>(object)->window();
        windowPainted = windowPainted || qobject_cast<Tessaro *>(top);
        paintedBeforeProgress = paintedBeforeProgress || (windowPainted && qobject_cast<progressBarForm *>(top));
        return false;
    }
};

} // namespace

class TestRecordList : public QObject
{
    Q_OBJECT

private slots:
    void startUp()
    {
        // A database without user tables starts quietly, with an empty list.
        Window s;
        QVERIFY(s.items().isEmpty() && s.messages.said.isEmpty());
        QVERIFY(makeTable(s.db(), "Libri", {"RSTRINGFORMAT_Titolo"}, {"Uno", "Due", "Tre"}));
        QVERIFY(makeTable(s.db(), "Autori", {"RSTRINGFORMAT_Nome"}));
        StartWatch watch;
        qApp->installEventFilter(&watch);
        s.restart();
        qApp->removeEventFilter(&watch);
        // The window is on screen and painted under the progress of the load, and
        // the first table is listed, its first record shown, when the constructor returns.
        QVERIFY(watch.paintedBeforeProgress);
        QCOMPARE(s.items(), QStringList({"Uno", "Due", "Tre"}));
        QCOMPARE(state(s), QString("0 1 Uno"));
        QCOMPARE(s.w->recordViewWidgets().size(), 2);
        QVERIFY(!s.w->findChild<progressBarForm *>()->isVisible());
        s.w->loadList(QString());
        QCOMPARE(s.messages.warnings, QStringList({"Nessuna Tabella Caricata!"}));
    }

    void rowOfARecord_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("state");
        // Rows: mela, (empty), "----", pera and kiwi under one id, mela again.
        QTest::newRow("literal ---- is found on the first ---- item") << 3 << "1 3 ----";
        QTest::newRow("an id with two texts shows its least") << 4 << "4 4 kiwi";
        QTest::newRow("a shared text is found on its first item") << 5 << "0 5 mela";
        QTest::newRow("a record without text selects the first row") << 1 << "0 1 mela";
    }
    void rowOfARecord()
    {
        QFETCH(int, id);
        Window s([](DbConnection &db) {
            run(db, {"CREATE TABLE Frutta (RINTEGERFORMAT_Id INTEGER, RSTRINGFORMAT_Nome TEXT)",
                     "INSERT INTO Frutta VALUES (1, 'mela'), (2, ''), (3, '----'), (4, 'pera'), (4, 'kiwi'), (5, 'mela')"});
        });
        QCOMPARE(s.items(), QStringList({"mela", "----", "----", "pera", "kiwi", "mela"}));
        s.w->vwRecord(id);
        QTEST(state(s), "state");
    }

    void textsAndCollisions()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Persone", {"RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Note"},
                              {"Anna|prima", "|vuoto", "Bruno|", "Anna|seconda"}));
            QVERIFY(makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Roma", ""}));
            QVERIFY(makeTable(db, "Clienti", {"XCitta_XDTX_RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Cognome"},
                              {"1|Rossi", "2|Bianchi", "0|Verdi", "99|Neri"}));
            // A lookup column carrying the repeat suffix reads the column named without it.
            QVERIFY(makeTable(db, "Ordini", {"XCitta_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2"}, {"1"}));
        });
        QCOMPARE(s.items(), QStringList({"Anna", "----", "Bruno", "Anna"}));
        QCOMPARE(s.label("lbToolbar"), QString("4 Records"));
        // The later "Anna" owns the text: either item shows it, and the first one is selected.
        QCOMPARE(state(s), QString("0 4 Anna"));
        s.child<QListWidget>("userListWidget")->setCurrentRow(3);
        QCOMPARE(state(s), QString("0 4 Anna"));
        // An item without text stands for no record.
        s.child<QListWidget>("userListWidget")->setCurrentRow(1);
        QCOMPARE(state(s), QString("1 0 ----"));
        // Looked-up texts, empty or missing ones shown as "----".
        s.w->changeTable("Clienti");
        QCOMPARE(s.items(), QStringList({"Roma", "----", "----", "----"}));
        s.w->changeTable("Ordini");
        QCOMPARE(s.items(), QStringList({"Roma"}));
        QCOMPARE(s.messages.warnings, QStringList());
    }

    void stepsSearchAndSortStopAtTheEnds()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Parole", {"RSTRINGFORMAT_Nome"}, {"gamma", "Alfa", "beta", "ALFABETO"}));
        });
        s.w->prevRecord();
        QCOMPARE(state(s), QString("0 1 gamma"));
        s.click("pbNext");
        for (int i = 0; i < 3; ++i)
            s.w->nextRecord();
        QCOMPARE(state(s), QString("3 4 ALFABETO"));
        s.click("pbPrev");
        QCOMPARE(state(s), QString("2 3 beta"));

        // Two characters do nothing; hits ignore case and do not wrap; no hit leaves the selection.
        s.w->userSearch("al");
        QCOMPARE(state(s), QString("2 3 beta"));
        s.w->userSearch("alf");
        s.click("pbUserPrev");
        QCOMPARE(state(s), QString("1 2 Alfa"));
        s.click("pbUserNext");
        s.w->userSearchNext();
        QCOMPARE(state(s), QString("3 4 ALFABETO"));
        s.w->userSearch("zzz");
        s.w->userSearchNext();
        QCOMPARE(state(s), QString("3 4 ALFABETO"));

        // Sorting by character code puts capitals first and keeps the row, not the record.
        auto *sort = s.child<QPushButton>("pbSort");
        sort->setChecked(true);
        QCOMPARE(sort->text() + " " + s.items().join(' '), QString("A-Z ALFABETO Alfa beta gamma"));
        QCOMPARE(state(s), QString("3 1 gamma"));
        sort->setChecked(false);
        QCOMPARE(sort->text() + " " + s.items().join(' '), QString("1-N gamma Alfa beta ALFABETO"));
        QCOMPARE(state(s), QString("3 4 ALFABETO"));
    }

    void linkAndBackKeepOneStep()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Prima", {"RSTRINGFORMAT_Nome"}, {"p1", "p2"}));
            QVERIFY(makeTable(db, "Seconda", {"RSTRINGFORMAT_Nome"}, {"s1", "s2"}));
            QVERIFY(makeTable(db, "Terza", {"RSTRINGFORMAT_Nome"}, {"t1"}));
        });
        s.w->goToRequest("Seconda", 2);
        QCOMPARE(s.w->currentTable + " " + state(s), QString("Seconda 1 2 s2"));
        QVERIFY(!s.child("pbReturn")->isHidden());
        s.w->goToRequest("Terza", 1);
        // Back returns to the record before the second link only, and leaves the history as it is.
        s.click("pbReturn");
        QCOMPARE(s.label("lbListName") + " " + state(s), QString("Seconda 1 2 s2"));
        QVERIFY(s.child("pbReturn")->isHidden());
        s.w->goBack();
        QCOMPARE(s.w->currentTable, QString("Seconda"));
    }

    void foreignDatabase()
    {
        Window s([](DbConnection &db) {
            run(db, {"CREATE TABLE \"order\" (code INTEGER PRIMARY KEY, name TEXT, qty INTEGER)",
                     "INSERT INTO \"order\" VALUES (7, 'zeta', 1), (3, 'alfa', 2), (9, 'it''s', 3)",
                     // An index on the listed column: the list keeps the order whole-table reads give
                     // (a select of the first two columns alone would walk that index).
                     "CREATE TABLE \"my table\" (RINTEGERFORMAT_Id INTEGER PRIMARY KEY, label TEXT, note TEXT)",
                     "CREATE INDEX byLabel ON \"my table\" (label)",
                     "INSERT INTO \"my table\" VALUES (1, 'mela', 'a'), (2, 'arancia', 'b'), (3, 'banana', 'c')",
                     "CREATE TABLE plain (x TEXT PRIMARY KEY, y TEXT) WITHOUT ROWID"});
        });
        s.w->changeTable("order");
        QCOMPARE(s.items(), QStringList({"alfa", "zeta", "it's"}));
        s.w->nextRecord();
        s.w->nextRecord();
        QCOMPARE(state(s), QString("2 9 it's"));
        s.w->changeTable("my table");
        QCOMPARE(s.items(), QStringList({"mela", "arancia", "banana"}));
        // An empty table without rowid: an empty list and view; stepping and searching do nothing.
        s.w->changeTable("plain");
        QCOMPARE(s.label("lbViewInfo") + " " + s.label("lbToolbar"), QString("---- 0 Records"));
        QVERIFY(s.items().isEmpty() && s.w->recordViewWidgets().isEmpty());
        s.w->userSearch("abc");
        s.w->nextRecord();
    }
};

QTEST_MAIN(TestRecordList)
#include "tst_recordlist.moc"
