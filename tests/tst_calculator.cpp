// The sums of a table's numeric fields, alone and on the calculator page.
#include "calc/calcform.h"
#include "calc/columnsums.h"
#include "testsupport.h"

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
    void sums_data()
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
    void sums()
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
        run(db, {"CREATE INDEX byPeso ON Conti (NREALFORMAT_Peso)"});
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

    void pageInTheWindow()
    {
        Window s;
        s.w->changeToCalcPage();
        QCOMPARE(s.messages.warnings, QStringList{"Nessuna Tabella Caricata!"});
        QCOMPARE(s.page(), QString("calcPage"));

        // Integer columns named with "Id" get no row; real and money ones do.
        fillTable(s.db(), {"RSTRINGFORMAT_Nome", "NINTEGERFORMAT_Pezzi", "NINTEGERFORMAT_Idoneo", "NMONEYFORMAT_Saldo",
                           "NREALFORMAT_Idratazione"},
                  {"a|2|1|10.50|0.5", "b|3|1|4.25|1.5", "c|5|1|0.25|2"});
        s.restart();
        // The sums take every record, whatever the filter lets through.
        s.click("pbFilter");
        s.type(s.filterEditor("RSTRINGFORMAT_Nome"), "a");
        s.click("pbSaveFilters");
        QCOMPARE(s.items(), QStringList("a"));
        s.messages.clear();
        s.click("pbCalc");
        QStringList shown;
        for (calcForm *row : s.w->calcForms()) {
            shown << row->findChild<QLabel *>("lbName")->text() + row->findChild<QLabel *>("lbType")->text() + "="
                         + row->resultText();
            QCOMPARE(row->sign(), int(SumPlus));
        }
        QCOMPARE(shown, (QStringList{"NINTEGERFORMAT_Pezzi=10.000000", QString::fromUtf8("NMONEYFORMAT_Saldo€=15.00"),
                                     "NREALFORMAT_Idratazione=4.000000"}));
        auto *result = s.child<QLineEdit>("leCalcResult");
        QVERIFY(result->isReadOnly());
        QCOMPARE(result->text(), QString("29.000000"));

        // A changed sign counts from "Ricalcola" on; a left-out row keeps its total.
        const QList<calcForm *> &rows = s.w->calcForms();
        QTest::mouseClick(rows.at(0)->findChild<QPushButton *>("pbMinus"), Qt::LeftButton);
        QTest::mouseClick(rows.at(2)->findChild<QPushButton *>("pbExclude"), Qt::LeftButton);
        QCOMPARE(result->text(), QString("29.000000"));
        s.click("pbResult");
        QCOMPARE(result->text(), QString("5.000000"));
        QCOMPARE(rows.at(2)->resultText(), QString("4.000000"));
        QVERIFY(s.messages.said.isEmpty());
        s.click("pbExitCalc");
        QCOMPARE(s.page(), QString("userPage"));
    }
};

QTEST_MAIN(TestCalculator)
#include "tst_calculator.moc"
