// The calculator: which columns get a row, the signed sums and their formats
// over every record, and the page in the window.
#include "app/tessaro.h"
#include "calc/calcform.h"
#include "calc/columnsums.h"
#include "storage/dbconnection.h"
#include "storage/namingscheme.h"
#include "testsupport.h"

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStackedWidget>
#include <QtTest>

namespace {

const QStringList Columns = {"NINTEGERFORMAT_Pezzi", "NREALFORMAT_Peso", "NMONEYFORMAT_Saldo"};

// Rows of "|"-separated values written as they are ("NULL" for no value),
// so that texts the editors would never store can be summed too.
void fillTable(DbConnection &db, const QString &table, const QStringList &columns, const QStringList &rows)
{
    QList<ColumnDefinition> definitions;
    for (const QString &column : columns)
        definitions << ColumnDefinition(column, "text");
    QVERIFY(db.createTable(table, definitions));
    QSqlQuery insert(QSqlDatabase::database());
    const QString marks = QString("?,").repeated(columns.size()).chopped(1);
    QVERIFY(insert.prepare(QString("INSERT INTO %1 (%2) VALUES (%3)").arg(table, columns.join(','), marks)));
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
    void rowsMade_data();
    void rowsMade();
    void sums_data();
    void sums();
    void pageInTheWindow();
};

void TestCalculator::rowsMade_data()
{
    QTest::addColumn<QString>("column");
    QTest::addColumn<bool>("made");
    QTest::newRow("integer") << "NINTEGERFORMAT_Pezzi" << true;
    QTest::newRow("real") << "RREALFORMAT_Peso" << true;
    QTest::newRow("money, repeated") << "NMONEYFORMAT_Saldo_XMLTYX_2" << true;
    QTest::newRow("key column") << "RINTEGERFORMAT_Id" << false;
    QTest::newRow("integer named with Id") << "NINTEGERFORMAT_Idoneo" << false;
    QTest::newRow("integer named with id") << "NINTEGERFORMAT_idoneo" << true;
    QTest::newRow("real named with Id") << "NREALFORMAT_Idratazione" << true;
    QTest::newRow("text") << "NSTRINGFORMAT_Nome" << false;
    QTest::newRow("date") << "NDATEFORMAT_Nascita" << false;
}

void TestCalculator::rowsMade()
{
    QFETCH(QString, column);
    QTEST(isSummedColumn(column), "made");
}

void TestCalculator::sums_data()
{
    QTest::addColumn<QStringList>("records"); // Pezzi|Peso|Saldo
    QTest::addColumn<QList<int>>("signs");
    QTest::addColumn<QStringList>("rowTexts");
    QTest::addColumn<QString>("total");

    const QStringList records = {"3|1.25|10.10", "4|0.5|-2.05", "-1|2|100"};
    QTest::newRow("all added") << records << QList<int>{SumPlus, SumPlus, SumPlus}
                               << QStringList{"6.000000", "3.750000", "108.05"} << "117.800000";
    QTest::newRow("one subtracted, one left out")
        << records << QList<int>{SumMinus, SumExclude, SumPlus} << QStringList{"6.000000", "3.750000", "108.05"}
        << "102.050000";
    QTest::newRow("values that do not read as numbers")
        << QStringList{"abc|1,5|12abc", "NULL||nan", " 7 |1e2|inf", "2.5|-0.25|0.1"}
        << QList<int>{SumPlus, SumMinus, SumPlus} << QStringList{"9.500000", "99.750000", "0.10"} << "-90.150000";
    // A money row carries its shown text, so it is rounded to cents at every
    // record; the page result is not.
    QTest::newRow("money rounded at each record")
        << QStringList{"0|0|0.004", "0|0|0.004", "0|0|0.004"} << QList<int>{SumPlus, SumPlus, SumPlus}
        << QStringList{"0.000000", "0.000000", "0.00"} << "0.012000";
    QTest::newRow("halfway values round to even at each record")
        << QStringList{"0|0.0078125|0.125", "0|0.0078125|0.125", "0|0.0078125|0.125"} << QList<int>{SumPlus, SumPlus, SumPlus}
        << QStringList{"0.000000", "0.023436", "0.36"} << "0.398438";
    QTest::newRow("no records") << QStringList() << QList<int>{SumPlus, SumMinus, SumExclude}
                                << QStringList{"0", "0", "0"} << "0.000000";
}

void TestCalculator::sums()
{
    QFETCH(QStringList, records);
    QFETCH(QList<int>, signs);
    QFETCH(QStringList, rowTexts);
    TestFolder folder;
    RecordingMessageHandler messages;
    DbConnection db;
    QVERIFY(db.openDb(folder.file("calc.db")));
    fillTable(db, "Conti", Columns, records);

    QVector<SumRow> rows;
    for (int i = 0; i < Columns.size(); ++i)
        rows.append({Columns.at(i), Columns.at(i).contains("MONEY"), signs.at(i)});
    const SumResult result = sumColumns(db, "Conti", rows);
    QCOMPARE(result.rowTexts, rowTexts);
    QTEST(result.totalText, "total");
    QCOMPARE(result.records, records.size());
    // A table with an index is read whole, with its columns where they stand.
    QVERIFY(QSqlQuery(QSqlDatabase::database()).exec("CREATE INDEX byPeso ON Conti (NREALFORMAT_Peso)"));
    QCOMPARE(sumColumns(db, "Conti", rows).rowTexts, rowTexts);

    // A row adding the values itself shows the same totals.
    for (int i = 0; i < Columns.size(); ++i) {
        calcForm row;
        row.setType(typeTagOf(Columns.at(i)));
        row.reset();
        for (const QString &record : records)
            row.addValue(sumValue(record.split('|').at(i) == "NULL" ? QVariant() : record.split('|').at(i)));
        QCOMPARE(row.resultText(), rowTexts.at(i));
    }
    QVERIFY(messages.said.isEmpty());
}

void TestCalculator::pageInTheWindow()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    QFile last("lastDb.dat");
    QVERIFY(last.open(QIODevice::WriteOnly));
    last.write(folder.file("calc.db").toUtf8());
    last.close();
    auto window = std::make_unique<Tessaro>();

    // With no table there is nothing to sum.
    window->changeToCalcPage();
    QCOMPARE(messages.warnings, QStringList{"Nessuna Tabella Caricata!"});
    auto *pages = window->findChild<QStackedWidget *>("stPages");
    QCOMPARE(pages->currentIndex(), 1);

    fillTable(*window->connection(), "Conti",
              {"RSTRINGFORMAT_Nome", "NINTEGERFORMAT_Pezzi", "NINTEGERFORMAT_Idoneo", "NMONEYFORMAT_Saldo",
               "NREALFORMAT_Peso"},
              {"a|2|1|10.50|0.5", "b|3|1|4.25|1.5", "c|5|1|0.25|2"});
    window->loadDb(folder.file("calc.db"));
    window->refreshTableList(true);
    QCOMPARE(window->currentTable, QString("Conti"));
    messages.clear();

    QTest::mouseClick(window->findChild<QPushButton *>("pbCalc"), Qt::LeftButton);
    QCOMPARE(pages->currentIndex(), 1);
    const QList<calcForm *> &rows = window->calcForms();
    QStringList shown;
    for (calcForm *row : rows) {
        shown << row->findChild<QLabel *>("lbName")->text() + row->findChild<QLabel *>("lbType")->text() + "="
                     + row->resultText();
        QVERIFY(row->findChild<QPushButton *>("pbPlus")->isChecked());
    }
    QCOMPARE(shown, (QStringList{"NINTEGERFORMAT_Pezzi=10.000000", QString::fromUtf8("NMONEYFORMAT_Saldo€=15.00"),
                                 "NREALFORMAT_Peso=4.000000"}));
    auto *result = window->findChild<QLineEdit *>("leCalcResult");
    QVERIFY(result->isReadOnly());
    QCOMPARE(result->text(), QString("29.000000"));

    // Changing a sign takes effect on "Ricalcola".
    QTest::mouseClick(rows.at(0)->findChild<QPushButton *>("pbMinus"), Qt::LeftButton);
    QTest::mouseClick(rows.at(2)->findChild<QPushButton *>("pbExclude"), Qt::LeftButton);
    QCOMPARE(result->text(), QString("29.000000"));
    QTest::mouseClick(window->findChild<QPushButton *>("pbResult"), Qt::LeftButton);
    QCOMPARE(result->text(), QString("5.000000"));
    QCOMPARE(rows.at(2)->resultText(), QString("4.000000"));
    QCOMPARE(rows.at(0)->sign(), int(SumMinus));
    QVERIFY(messages.said.isEmpty());

    QTest::mouseClick(window->findChild<QPushButton *>("pbExitCalc"), Qt::LeftButton);
    QCOMPARE(pages->currentIndex(), 2);
}

QTEST_MAIN(TestCalculator)
#include "tst_calculator.moc"
