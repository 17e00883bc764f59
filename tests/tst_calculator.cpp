#include "app/tessaro.h"
#include "calc/calcform.h"
#include "calc/columnsums.h"
#include "records/inputdataform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSqlQuery>
#include <QStackedWidget>
#include <QtTest>

namespace {

// Rows of "|"-separated values written as they are ("NULL" for none), so
// that texts the editors would never store are summed too.
void fillTable(DbConnection &db, const QStringList &columns, const QStringList &rows)
{
    QList<ColumnDefinition> definitions;
    for (const QString &column : columns)
        definitions << ColumnDefinition(column, "text");
    QVERIFY(db.createTable("Conti", definitions));
    QSqlQuery insert = sqlOn(db);
    QVERIFY(insert.prepare(QString("INSERT INTO Conti (%1) VALUES (%2)")
                               .arg(columns.join(','), QString("?,").repeated(columns.size()).chopped(1))));
    for (const QString &row : rows) {
        for (const QString &value : row.split('|'))
            insert.addBindValue(value == "NULL" ? QVariant(QVariant::String) : QVariant(value));
        QVERIFY(insert.exec());
    }
}

} // namespace

class TestCalculator : public QObject
{
    Q_OBJECT

private slots:
    void sums_data();
    void sums();
    void pageInTheWindow();
};

void TestCalculator::sums_data()
{
    QTest::addColumn<QStringList>("records"); // integer|real|money
    QTest::addColumn<QList<int>>("signs");
    QTest::addColumn<QStringList>("rowTexts");
    QTest::addColumn<QString>("total");

    const QStringList records = {"3|1.25|10.10", "4|0.5|-2.05", "-1|2|100"};
    const QList<int> plus = {SumPlus, SumPlus, SumPlus};
    QTest::newRow("all added") << records << plus << QStringList{"6.000000", "3.750000", "108.05"} << "117.800000";
    QTest::newRow("one subtracted, one left out") << records << QList<int>{SumMinus, SumExclude, SumPlus}
                                                  << QStringList{"6.000000", "3.750000", "108.05"} << "102.050000";
    QTest::newRow("values that do not read as numbers")
        << QStringList{"abc|1,5|12abc", "NULL||nan", " 7 |1e2|inf", "2.5|-0.25|0.1"}
        << QList<int>{SumPlus, SumMinus, SumPlus} << QStringList{"9.500000", "99.750000", "0.10"} << "-90.150000";
    // A row carries its shown text from record to record, so it is rounded
    // (half to even) at each one; the page result is not.
    QTest::newRow("rounded at each record")
        << QStringList{"0|0.0078125|0.125", "0|0.0078125|0.125", "0|0.0078125|0.125"} << plus
        << QStringList{"0.000000", "0.023436", "0.36"} << "0.398438";
    QTest::newRow("no records") << QStringList() << plus << QStringList{"0", "0", "0"} << "0.000000";
}

void TestCalculator::sums()
{
    QFETCH(QStringList, records);
    QFETCH(QList<int>, signs);
    QFETCH(QStringList, rowTexts);
    TestFolder folder;
    RecordingMessageHandler messages;
    DbConnection db;
    reportTo(db, messages);
    QVERIFY(db.openDb(folder.file("calc.db")));
    const QStringList columns = {"NINTEGERFORMAT_Pezzi", "NREALFORMAT_Peso", "NMONEYFORMAT_Saldo"};
    fillTable(db, columns, records);

    QVector<SumRow> rows;
    for (int i = 0; i < columns.size(); ++i)
        rows.append({columns.at(i), i == 2, signs.at(i)});
    const SumResult result = sumColumns(db, "Conti", rows);
    QCOMPARE(result.rowTexts, rowTexts);
    QTEST(result.totalText, "total");
    // A table with an index is read whole, its columns where they stand.
    QVERIFY(sqlOn(db).exec("CREATE INDEX byPeso ON Conti (NREALFORMAT_Peso)"));
    QCOMPARE(sumColumns(db, "Conti", rows).rowTexts, rowTexts);

    // A row adding the values one by one shows the same totals.
    for (int i = 0; i < columns.size(); ++i) {
        calcForm row;
        row.setType(i == 2 ? "MONEYFORMAT" : "REALFORMAT");
        row.reset();
        for (const QString &record : records)
            row.addValue(sumValue(record.section('|', i, i)));
        QCOMPARE(row.resultText(), rowTexts.at(i));
    }
    QVERIFY(messages.said.isEmpty());
}

void TestCalculator::pageInTheWindow()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    QVERIFY(rememberDb(folder.file("calc.db")));
    Tessaro window;
    auto *pages = window.findChild<QStackedWidget *>("stPages");
    auto *result = window.findChild<QLineEdit *>("leCalcResult");
    auto click = [](QWidget *parent, const char *name) {
        QTest::mouseClick(parent->findChild<QPushButton *>(name), Qt::LeftButton);
    };

    window.changeToCalcPage();
    QCOMPARE(messages.warnings, QStringList{"Nessuna Tabella Caricata!"});
    QCOMPARE(pages->currentIndex(), 1);

    // Integer columns named with "Id" get no row; real and money ones do.
    fillTable(*window.connection(),
              {"RSTRINGFORMAT_Nome", "NINTEGERFORMAT_Pezzi", "NINTEGERFORMAT_Idoneo", "NMONEYFORMAT_Saldo",
               "NREALFORMAT_Idratazione"},
              {"a|2|1|10.50|0.5", "b|3|1|4.25|1.5", "c|5|1|0.25|2"});
    window.loadDb(folder.file("calc.db"));
    window.refreshTableList(true);
    // The sums take every record, whatever the filter lets through.
    window.changeToFilterPage();
    for (inputDataForm *editor : window.filterEditors()) {
        if (editor->columnName() == "RSTRINGFORMAT_Nome") {
            editor->findChild<QLineEdit *>("leData")->setText("a");
            editor->setCondition("Equal");
        }
    }
    window.enableFilters();
    QCOMPARE(window.findChild<QListWidget *>("userListWidget")->count(), 1);
    messages.clear();
    click(&window, "pbCalc");
    QCOMPARE(pages->currentIndex(), 1);
    const QList<calcForm *> &rows = window.calcForms();
    QStringList shown;
    for (calcForm *row : rows) {
        shown << row->findChild<QLabel *>("lbName")->text() + row->findChild<QLabel *>("lbType")->text() + "="
                     + row->resultText();
        QCOMPARE(row->sign(), int(SumPlus));
    }
    QCOMPARE(shown, (QStringList{"NINTEGERFORMAT_Pezzi=10.000000", QString::fromUtf8("NMONEYFORMAT_Saldo€=15.00"),
                                 "NREALFORMAT_Idratazione=4.000000"}));
    QVERIFY(result->isReadOnly());
    QCOMPARE(result->text(), QString("29.000000"));

    // A changed sign counts from "Ricalcola" on; a left-out row keeps its total.
    click(rows.at(0), "pbMinus");
    click(rows.at(2), "pbExclude");
    QCOMPARE(result->text(), QString("29.000000"));
    click(&window, "pbResult");
    QCOMPARE(result->text(), QString("5.000000"));
    QCOMPARE(rows.at(2)->resultText(), QString("4.000000"));
    QVERIFY(messages.said.isEmpty());

    click(&window, "pbExitCalc");
    QCOMPARE(pages->currentIndex(), 2);
}

QTEST_MAIN(TestCalculator)
#include "tst_calculator.moc"
