// Large tables: the list read by a worker equals the list read at once, a
// reading stopped half-way leaves nothing behind, huge values are listed by
// their first line, searches ignore accents, and the grid shows the list.
#include "app/recordgridmodel.h"
#include "app/recordlistloader.h"
#include "records/outputdataform.h"
#include "testsupport.h"

namespace {

// Texts that repeat, are empty, carry accents or look up a missing record.
QString nameOf(int i)
{
    static const char *const names[] = {"Anna", "", "Bruno", "Perché", "anna", "Zoe"};
    return QString::fromUtf8(names[i % 6]) + (i % 7 ? "" : " " + QString::number(i));
}

// Citta; Clienti with rows records, listed by a lookup into Citta (some
// looking up a missing city or none), the last one alone in "Perché ultimo";
// Note with a huge note.
void fill(DbConnection &db, int rows)
{
    QVERIFY(makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Roma", QString::fromUtf8("Forlì"), "", QString::fromUtf8("Perché ultimo")}));
    QVERIFY(makeTable(db, "Clienti", {"XCitta_XDTX_RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo"}));
    QVERIFY(makeTable(db, "Note", {"RSTRINGFORMAT_Testo"}));
    QVERIFY(makeTable(db, "Capi", {"XCapi_XDTX_NSTRINGFORMAT_Nome", "NSTRINGFORMAT_Nome"}, {"2|Anna", "1|Bruno", "5|Carla"}));
    QSqlQuery q = sqlOn(db);
    QVERIFY(q.exec("BEGIN"));
    QVERIFY(q.prepare("INSERT INTO Clienti VALUES (?, ?, ?, ?)"));
    for (int i = 1; i <= rows; ++i) {
        q.addBindValue(i);
        q.addBindValue(i == rows ? 4 : i % 11 == 0 ? 9 : i % 4);
        q.addBindValue(nameOf(i));
        q.addBindValue((i * 37) % 1000 / 4.0);
        QVERIFY(q.exec());
    }
    // A pasted note of 10 MB: one long first line, then more.
    const QString huge = "Verbale " + QString(10 * 1024 * 1024, 'x') + " fine\nseconda riga";
    QVERIFY(q.exec("INSERT INTO Note VALUES (1, 'breve')"));
    QVERIFY(q.prepare("INSERT INTO Note VALUES (2, ?)"));
    q.addBindValue(huge);
    QVERIFY(q.exec());
    QVERIFY(q.exec("COMMIT"));
}

// A list as rows "id text".
QStringList rowsOf(const RecordListModel &list)
{
    QStringList rows;
    for (int row = 0; row < list.size(); ++row)
        rows << QString::number(list.idAt(row)) + " " + list.textAt(row);
    return rows;
}

// The grid's cells, row by row, "|" between columns.
QStringList cellsOf(const QAbstractItemModel &grid, int rows)
{
    QStringList texts;
    for (int row = 0; row < rows; ++row) {
        QStringList cells;
        for (int column = 0; column < grid.columnCount(); ++column)
            cells << grid.index(row, column).data().toString();
        texts << cells.join('|');
    }
    return texts;
}

void waitForList(const Window &s)
{
    QTRY_VERIFY_WITH_TIMEOUT(!s.w->isLoadingList(), 30000);
}

} // namespace

class TestLargeLists : public QObject
{
    Q_OBJECT

private slots:
    // The worker reads on its own connection, in batches; its list is the
    // one read at once, damage included, told once.
    void workerEqualsTheListReadAtOnce_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<bool>("damaged");
        QTest::newRow("lookups, repeats, empty texts") << "Clienti" << false;
        QTest::newRow("cut short by damage") << "Clienti" << true;
        QTest::newRow("a lookup into its own table") << "Capi" << false;
    }
    void workerEqualsTheListReadAtOnce()
    {
        QFETCH(QString, table);
        QFETCH(bool, damaged);
        TestFolder folder;
        const QString path = folder.file("grande.db");
        {
            DbConnection db;
            QVERIFY(db.openDb(path));
            fill(db, 45000);
        }
        if (damaged) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite));
            file.seek(600 * 1024); // a page amid Clienti
            file.write(QByteArray(16, char(0xff)));
        }
        RecordListRequest request;
        request.table = table;

        DbConnection db;
        QVERIFY(db.openDb(path));
        RecordListModel atOnce;
        const bool whole = RecordListReader(db, request).read([&](RecordListModel::Batch &batch) {
            atOnce.append(batch);
            return true;
        });
        QCOMPARE(whole, !damaged);
        QCOMPARE(db.takeFailures().size(), damaged ? 1 : 0);

        RecordListLoader loader(path, request);
        loader.start();
        QVERIFY(loader.wait(30000));
        RecordListModel worker;
        for (const RecordListModel::Batch &batch : loader.takeBatches())
            worker.append(batch);
        QCOMPARE(loader.isComplete(), !damaged);
        QCOMPARE(loader.failures().size(), damaged ? 1 : 0);

        if (table == "Capi")
            QCOMPARE(rowsOf(atOnce), QStringList({"1 Bruno", "2 Anna", "3 ----"}));
        else
            QVERIFY(atOnce.size() > (damaged ? 0 : 44999));
        QCOMPARE(rowsOf(worker), rowsOf(atOnce));
        // The same map: a text names the same record, a record the same text.
        for (const QString &text : {QString("Anna"), QString("Roma"), QString::fromUtf8("Forlì"), QString()})
            QCOMPARE(worker.idOf(text), atOnce.idOf(text));
        QString a, b;
        QCOMPARE(worker.textOf(9, &a), atOnce.textOf(9, &b));
        QCOMPARE(a, b);
    }

    // Rows kept out of sight are neither listed nor found until shown; sorted,
    // the texts (kept as UTF-8) come in the order strings compare them, signs
    // beyond U+FFFF before those from U+E000 on.
    void keptRowsAndSortOrder()
    {
        const QStringList texts = {QString::fromUtf8("\xef\xbc\xa1"), QString::fromUtf8("\xf0\x9f\x98\x80"), "b",
                                   QString::fromUtf8("é"), "A", QString::fromUtf8("\xee\x80\x80"), "b"};
        RecordListModel model;
        RecordListModel::Batch batch;
        for (int i = 0; i < texts.size(); ++i)
            batch.add(i + 1, texts.at(i), true);
        model.append(batch, false);
        QCOMPARE(model.size(), 0);
        QVERIFY(model.search("b").isEmpty());
        model.publish();
        QCOMPARE(model.search("b"), QVector<int>({2, 6}));
        QCOMPARE(model.idOf("b"), 7);
        QCOMPARE(model.mapSize(), 6);
        model.setSorted(true);
        QStringList expected = texts, shown;
        std::sort(expected.begin(), expected.end());
        for (int row = 0; row < model.size(); ++row)
            shown << model.textAt(row);
        QCOMPARE(shown, expected);
    }

    // More than 50,000 records: the first ones at once, the rest read while
    // the window goes on; leaving the table stops the reading and lists
    // nothing of it; a search typed early finds what comes later, accents
    // or not.
    void largeTableReadWhileTheWindowGoesOn()
    {
        Window s([](DbConnection &db) { fill(db, 60000); });
        s.w->changeTable("Clienti");
        QVERIFY(s.w->isLoadingList());
        QVERIFY(s.items().size() > 0);
        s.w->changeTable("Citta");
        QVERIFY(!s.w->isLoadingList());
        QTest::qWait(100);
        QCOMPARE(s.items(), QStringList({"Roma", QString::fromUtf8("Forlì"), "----", QString::fromUtf8("Perché ultimo")}));

        s.w->changeTable("Clienti");
        s.child<QLineEdit>("userSearchEdit")->setText("perche ult");
        waitForList(s);
        QCOMPARE(s.items().size(), 60000);
        QCOMPARE(s.label("lbToolbar"), QString("60000 Records"));
        QCOMPARE(s.items().first(), QString("Roma"));
        QCOMPARE(s.w->currentId, 60000);
        QVERIFY(s.messages.said.isEmpty());

        // What is printed or exported is the whole list, even amid a reading.
        s.w->changeTable("Citta");
        s.w->changeTable("Clienti");
        QVERIFY(s.w->isLoadingList());
        QCOMPARE(s.w->listedIds().size(), 60000);
        QVERIFY(!s.w->isLoadingList());

        // Closing the window amid a reading ends it at once.
        s.w->changeTable("Citta");
        s.w->changeTable("Clienti");
        QVERIFY(s.w->isLoadingList());
        s.w.reset();
    }

    // A note of 10 MB is listed by the start of its first line; the search
    // finds what the list shows, not what it leaves out.
    void hugeValuesListedByTheirStart()
    {
        Window s([](DbConnection &db) { fill(db, 10); });
        s.w->changeTable("Note");
        const QStringList items = s.items();
        QCOMPARE(items.size(), 2);
        QCOMPARE(items.at(1).size(), RecordListModel::ShownLength);
        QVERIFY(items.at(1).startsWith("Verbale xxx"));
        auto *search = s.child<QLineEdit>("userSearchEdit");
        search->setText("verbale");
        QCOMPARE(s.w->currentId, 2);
        search->setText("fine");
        s.click("pbUserNext");
        QCOMPARE(s.w->currentId, 2); // not moved: nothing found
        QVERIFY(s.messages.said.isEmpty());
    }

    // The grid: one column per field, titled as the record view titles them;
    // sorted by a column title; the record chosen in the grid is the list's.
    void gridShowsTheList()
    {
        Window s([](DbConnection &db) { fill(db, 12); });
        s.w->changeTable("Clienti");
        s.click("pbGrid");
        auto *grid = s.child<QTableView>("userGridView");
        QVERIFY(grid->isVisible() && !s.child<QWidget>("userListWidget")->isVisible());
        QAbstractItemModel &model = *grid->model();
        // The record shown is the one marked, though the list names it by a shared text.
        QCOMPARE(grid->currentIndex().data(RecordListModel::IdRole).toInt(), s.w->currentId);
        QStringList titles, viewTitles;
        for (int column = 0; column < model.columnCount(); ++column)
            titles << model.headerData(column, Qt::Horizontal).toString();
        s.w->userSelectionChange();
        for (const outputDataForm *field : s.w->recordViewWidgets()) {
            if (!field->isHidden())
                viewTitles << field->title();
        }
        QCOMPARE(titles, viewTitles);
        QCOMPARE(cellsOf(model, 3), QStringList({QString::fromUtf8("Roma||9.25€"), QString::fromUtf8("Forlì|Bruno|18.50€"),
                                                 QString::fromUtf8("|Perché|27.75€")}));

        // Clicking a title sorts by it, again the other way, a third time back.
        QHeaderView *header = grid->horizontalHeader();
        const auto clickTitle = [&](int column) {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                              QPoint(header->sectionViewportPosition(column) + 5, header->height() / 2));
        };
        clickTitle(2);
        QStringList amounts;
        for (int row = 0; row < 12; ++row)
            amounts << model.index(row, 2).data().toString();
        QCOMPARE(amounts.first(), QString::fromUtf8("9.25€"));
        QCOMPARE(amounts.last(), QString::fromUtf8("111.00€")); // by value, not by text
        clickTitle(0);
        clickTitle(0);
        QCOMPARE(model.index(0, 0).data().toString(), QString("Roma"));
        QCOMPARE(model.index(11, 0).data().toString(), QString()); // the missing city last

        // A row chosen in the grid is the list's chosen record, and the view's.
        grid->setCurrentIndex(model.index(0, 1));
        const int id = model.index(0, 1).data(RecordListModel::IdRole).toInt();
        QCOMPARE(s.w->currentId, id);
        QCOMPARE(s.w->recordList().idAt(s.child<RecordListView>("userListWidget")->currentRow()), id);
        clickTitle(0);
        QCOMPARE(grid->currentIndex().data(RecordListModel::IdRole).toInt(), id);
        s.click("pbGrid");
        QVERIFY(!grid->isVisible() && s.child<QWidget>("userListWidget")->isVisible());
        QCOMPARE(s.w->currentId, id);
    }
};

QTEST_MAIN(TestLargeLists)
#include "tst_largelists.moc"
