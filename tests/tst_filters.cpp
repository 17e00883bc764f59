// Which records pass and what they add up to: the filter test, the filter
// page, links that filter, saved filters; the sums and the calculator page.
#include "calc/calcform.h"
#include "calc/columnsums.h"
#include "dialogs/choosenameform.h"
#include "dialogs/listbuttonform.h"
#include "filters/recordfilter.h"
#include "filters/savedfilters.h"
#include "records/outputdataform.h"
#include "testsupport.h"

namespace {

FilterCondition condition(const QString &column, const QString &comparison, const QString &value,
                          const QString &joiner = "And")
{
    FilterCondition c;
    c.column = column;
    c.active = true;
    c.comparison = comparison;
    c.joiner = joiner;
    c.text = c.dateText = c.lookupKey = value;
    c.number = value.toInt();
    c.checked = value == "TRUE";
    return c;
}

void shop(DbConnection &db)
{
    QVERIFY(makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Roma", "Milano"}));
    QVERIFY(makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome", "XCitta_XDTX_RSTRINGFORMAT_Nome", "NINTEGERFORMAT_Eta",
                                      "NIMAGEFORMAT_Foto", "NLINKFORMAT_Ordini"},
                      {"Anna|1|30||", "Bruno|2|40||", "Carla|2|50||", "O'Brien|1|60||"}));
    QVERIFY(makeTable(db, "Ordini", {"RSTRINGFORMAT_Codice", "XClienti_XDTX_RSTRINGFORMAT_Nome"},
                      {"A1|2", "A2|1", "A3|2", "A4|3"}));
}

// Sets the filter page's editor of column as the user leaves it.
void setFilter(const Window &s, const QString &column, const QString &text, const QString &comparison)
{
    s.filterEditor(column)->findChild<QLineEdit *>("leData")->setText(text);
    s.filterEditor(column)->setCondition(comparison);
}

void pickLookup(const Window &s, const QString &column, const QString &key, const QString &joiner)
{
    s.filterEditor(column)->selectLookupItem(key);
    s.filterEditor(column)->setConnector(joiner);
}

// Saves the page under name, answering the name dialog.
void save(const Window &s, const QString &name)
{
    s.click("pbNewFilter");
    auto *dialog = s.w->findChild<chooseNameForm *>();
    QVERIFY(dialog->isVisible());
    dialog->setName(name);
    dialog->accept();
}

QStringList savedRows(const Window &s)
{
    QStringList rows;
    for (const SavedFilterRow &r : readSavedFilterRows(s.db()))
        rows << QStringList{r.name, r.table, r.field, r.value, r.type, r.condition, r.joiner}.join('|');
    return rows;
}

QStringList filterButtons(const Window &s)
{
    QStringList labels;
    for (const ListButtonForm *b : s.w->savedFilterButtons())
        labels << b->labelText() + "@" + b->filterTable();
    return labels;
}

// The list as the user sees it: the table, whether the filter lamp is on, the records listed.
QString listed(const Window &s)
{
    return s.w->currentTable + (s.w->filterLampOn() ? " filtered: " : ": ") + s.items().join(", ");
}

// Rows of "|"-separated values written as they are ("NULL" for none), so
// that texts the editors would never store are summed too.
void fillTable(DbConnection &db, const QStringList &columns, const QStringList &rows)
{
    QList<ColumnDefinition> definitions;
    for (const QString &column : columns)
        definitions << ColumnDefinition(column, "text");
    QVERIFY(db.createTable("Conti", definitions));
    for (const QString &row : rows)
        run(db, {QString("INSERT INTO Conti (%1) VALUES ('%2')").arg(columns.join(','), QString(row).replace("|", "','"))
                     .replace("'NULL'", "NULL")});
}

} // namespace

class TestFilters : public QObject
{
    Q_OBJECT

private slots:
    void comparison_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<QString>("comparison");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("record");
        QTest::addColumn<bool>("passes");

        const QString text = "NSTRINGFORMAT_Nome", lookup = "XClienti_XDTX_RSTRINGFORMAT_Nome";
        QTest::newRow("text equal is case-sensitive") << text << "Equal" << "rossi" << "Rossi" << false;
        QTest::newRow("text major means contains") << text << "Major" << "oss" << "Rossi" << true;
        QTest::newRow("text minor, contains nothing") << text << "Minor" << "" << "Rossi" << true;
        QTest::newRow("apostrophe never equal") << text << "Equal" << "O'Brien" << "O'Brien" << false;
        QTest::newRow("apostrophe contained") << text << "Major" << "Brien" << "O'Brien" << true;
        QTest::newRow("text disequal") << "NMAILFORMAT_Posta" << "Disequal" << "a@b.it" << "a@b.it" << false;
        QTest::newRow("other type contains") << "NFOOFORMAT_x" << "Major" << "b" << "abc" << true;
        QTest::newRow("bool major is equal") << "NBOOLFORMAT_Vip" << "Major" << "TRUE" << "FALSE" << false;
        QTest::newRow("bool disequal") << "NBOOLFORMAT_Vip" << "Disequal" << "FALSE" << "TRUE" << true;
        QTest::newRow("date later") << "NDATEFORMAT_Nato" << "Major" << "01/02/2020" << "15/03/2019" << false;
        QTest::newRow("date earlier") << "NDATEFORMAT_Nato" << "Minor" << "01/02/2020" << "15/03/2019" << true;
        QTest::newRow("date unreadable") << "NDATEFORMAT_Nato" << "Equal" << "01/02/2020" << "2020-02-01" << false;
        QTest::newRow("integer greater") << "NINTEGERFORMAT_Eta" << "Major" << "10" << "11" << true;
        QTest::newRow("integer not a number is 0") << "NINTEGERFORMAT_Eta" << "Equal" << "0" << "dieci" << true;
        QTest::newRow("money equal") << "NMONEYFORMAT_Saldo" << "Equal" << "12.5" << "12.500000" << true;
        QTest::newRow("money typed with a comma") << "NMONEYFORMAT_Saldo" << "Equal" << "1.234,5" << "1234.50" << true;
        QTest::newRow("nan never equal") << "NREALFORMAT_Peso" << "Equal" << "nan" << "nan" << false;
        QTest::newRow("nan always different") << "NREALFORMAT_Peso" << "Disequal" << "nan" << "nan" << true;
        for (const char *kind : {"IMAGE", "PDF", "SUBTABLE", "LINK"})
            QTest::newRow(kind) << QString("N%1FORMAT_x").arg(kind) << "Equal" << "a" << "b" << true;
        QTest::newRow("lookup same record") << lookup << "Equal" << "3" << "3" << true;
        QTest::newRow("lookup other record") << lookup << "Equal" << "3" << "4" << false;
        QTest::newRow("lookup other, disequal") << lookup << "Disequal" << "3" << "4" << true;
        QTest::newRow("no comparison") << text << "NoCondition" << "a" << "b" << true;
        QTest::newRow("id never tested") << "RINTEGERFORMAT_Id" << "Equal" << "5" << "6" << true;
        QTest::newRow("user path never tested") << "NLONGSTRINGFORMAT_UserPath" << "Equal" << "a" << "b" << true;
    }
    void comparison()
    {
        QFETCH(QString, column);
        QFETCH(QString, comparison);
        QFETCH(QString, filter);
        QFETCH(QString, record);
        const RecordFilter test({condition(column, comparison, filter)}, {"RINTEGERFORMAT_Id", column});
        QTEST(test.passes({QVariant(record)}), "passes");
        // An editor that takes no part lets everything through.
        FilterCondition idle = condition(column, comparison, filter);
        idle.active = false;
        QVERIFY(RecordFilter({idle}, {column}).isEmpty());
    }

    void joining_data()
    {
        QTest::addColumn<QString>("joiners"); // of B and C; A's is never used
        QTest::addColumn<QString>("values");  // of A, B, C: "y" passes
        QTest::addColumn<bool>("passes");
        // A Or B And C is (A Or B) And C.
        QTest::newRow("A true, C false") << "Or And" << "y n n" << false;
        QTest::newRow("B alone, C true") << "Or And" << "n y y" << true;
        QTest::newRow("A, C") << "Or And" << "y n y" << true;
        // A And B Or C is (A And B) Or C.
        QTest::newRow("C alone") << "And Or" << "n n y" << true;
        QTest::newRow("A alone") << "And Or" << "y n n" << false;
    }
    void joining()
    {
        QFETCH(QString, joiners);
        QFETCH(QString, values);
        const QStringList joins = joiners.split(' ');
        const QStringList columns = {"NSTRINGFORMAT_A", "NSTRINGFORMAT_B", "NSTRINGFORMAT_C"};
        // Conditions in any page order are taken in column order; A's joiner "Or" changes nothing.
        const RecordFilter test({condition(columns.at(2), "Equal", "y", joins.at(1)),
                                 condition(columns.at(0), "Equal", "y", "Or"),
                                 condition(columns.at(1), "Equal", "y", joins.at(0))},
                                columns);
        QVector<QVariant> record;
        for (const QString &v : values.split(' '))
            record << v;
        QTEST(test.passes(record), "passes");
    }

    void filterPageInTheWindow()
    {
        Window s(shop);
        s.w->changeTable("Clienti");
        s.click("pbFilter");
        QCOMPARE(s.page(), QString("filterPage"));
        // One editor per column; none shown for the id, the folder and the image.
        QCOMPARE(hiddenFields(s.w->filterEditors()), QStringList({"Id", "Foto"}));
        const QString city = "XCitta_XDTX_RSTRINGFORMAT_Nome", name = "RSTRINGFORMAT_Nome";
        QCOMPARE(s.filterEditor(city)->comboItems(), QStringList({"---", "1 Roma", "2 Milano"}));

        // Name contains "nn" Or living in Milano, And older than 35.
        setFilter(s, name, "nn", "Major");
        pickLookup(s, city, "2", "Or");
        s.filterEditor("NINTEGERFORMAT_Eta")->findChild<QSpinBox *>("sbNum")->setValue(35);
        s.filterEditor("NINTEGERFORMAT_Eta")->setCondition("Major");
        s.click("pbSaveFilters");
        QCOMPARE(s.page() + " " + listed(s), QString("userPage Clienti filtered: Bruno, Carla"));
        QCOMPARE(s.w->currentId, 2);
        s.w->nextRecord();
        s.w->nextRecord();
        QCOMPARE(s.w->currentId, 3);

        // "Annulla" leaves the page as it was applied.
        s.click("pbFilter");
        setFilter(s, name, "zz", "Equal");
        s.click("pbCancelFilters");
        QCOMPARE(s.filterEditor(name)->filterCondition().text + " " + s.filterEditor(name)->condition(), QString("nn Major"));
        QCOMPARE(listed(s), QString("Clienti filtered: Bruno, Carla"));

        // "Resetta" clears the page at once; leaving it lists every record again.
        s.click("pbFilter");
        s.click("pbResetFilters");
        QVERIFY(!s.w->filterLampOn() && s.filterEditor(name)->filterCondition().text.isEmpty());
        s.click("pbCancelFilters");
        QCOMPARE(listed(s), QString("Clienti: Anna, Bruno, Carla, O'Brien"));

        // Nothing passes: an empty view.
        s.click("pbFilter");
        setFilter(s, name, "O'Brien", "Equal");
        s.click("pbSaveFilters");
        QCOMPARE(listed(s), QString("Clienti filtered: "));
        QCOMPARE(s.w->recordViewWidgets().size(), 0);

        // Another table turns the filter off and gets its own cleared page.
        s.w->changeTable("Ordini");
        QCOMPARE(listed(s), QString("Ordini: A1, A2, A3, A4"));
        QCOMPARE(s.w->filterEditors().size(), 3);

        // "Trova" on a link lists the records that look the shown one up; back shows it again.
        s.w->changeTable("Clienti");
        s.w->vwRecord(2);
        for (outputDataForm *field : s.w->recordViewWidgets()) {
            if (field->searchTable() == "Ordini")
                field->findChild<QPushButton *>("pbLink")->click(); // "Trova"
        }
        QCOMPARE(listed(s), QString("Ordini filtered: A1, A3"));
        QVERIFY(!s.child("pbReturn")->isHidden());
        s.click("pbReturn");
        QCOMPARE(listed(s) + " " + QString::number(s.w->currentId), QString("Clienti: Anna, Bruno, Carla, O'Brien 2"));
        QVERIFY(s.child("pbReturn")->isHidden());
    }

    void savedFiltersAcrossARestart()
    {
        Window s(shop);
        s.w->changeTable("Ordini");
        s.click("pbFilter");
        setFilter(s, "RSTRINGFORMAT_Codice", "l'A", "Disequal");
        pickLookup(s, "XClienti_XDTX_RSTRINGFORMAT_Nome", "2", "Or");
        save(s, "Q");
        QCOMPARE(savedRows(s), QStringList({"Q|Ordini|RINTEGERFORMAT_Id||INTEGER|NoCondition|And",
                                            "Q_XFLTRX_1|Ordini|RSTRINGFORMAT_Codice|l'A|STRING|Disequal|And",
                                            "Q_XFLTRX_2|Ordini|XClienti_XDTX_RSTRINGFORMAT_Nome|2|_XDTX_|Equal|Or"}));
        QCOMPARE(filterButtons(s), QStringList("Q@Ordini"));
        QCOMPARE(listed(s), QString("Ordini filtered: A1, A2, A3, A4"));

        // Names that cannot be told apart or would be lost are refused.
        for (const QString &name : {QString(" q "), QString(), QString("X_XFLTRX_1")}) {
            s.messages.clear();
            save(s, name);
            QCOMPARE(s.messages.warnings.size(), 1);
            QVERIFY(s.messages.warnings.first().startsWith("ERRORE: Il nome '"));
        }
        QCOMPARE(savedRows(s).size(), 3);

        // Rows written by another session: a name holding the marker gets no button.
        for (const QString &name : {"AB", "A", "Z_XFLTRX_9"})
            s.w->insertRecord("filters", savedFilterRowFields(name, 0, "Clienti", "RSTRINGFORMAT_Nome", "a", "STRING",
                                                              "Major", "And"), false);
        s.restart();
        QCOMPARE(filterButtons(s), QStringList({"Q@Ordini", "AB@Clienti", "A@Clienti"}));
        s.messages.clear();
        s.w->deleteFilter();
        QCOMPARE(s.messages.warnings, QStringList("ERRORE: Non è stato selezionato nessun filtro!\n"));

        // The button opens its table with the saved conditions in force.
        s.w->savedFilterButtons().first()->pushed();
        QCOMPARE(listed(s), QString("Ordini filtered: A1, A2, A3, A4"));
        const inputDataForm *client = s.filterEditor("XClienti_XDTX_RSTRINGFORMAT_Nome");
        QCOMPARE(s.filterEditor("RSTRINGFORMAT_Codice")->condition() + " " + client->comboText() + " " + client->connector(),
                 QString("Disequal 2 Bruno Or"));
        // An icon change rebuilds the buttons.
        s.messages.fileAnswers << QString();
        s.w->changeTableIcon();
        QCOMPARE(filterButtons(s).size(), 3);

        // A and AB are kept apart; No keeps the filter.
        s.w->changeTableAndFilter("Clienti", "A");
        QCOMPARE(listed(s), QString("Clienti filtered: Anna, Carla"));
        s.messages.answers << false << true;
        s.w->deleteFilter();
        QCOMPARE(s.db().countRecords("filters"), 6);
        s.w->deleteFilter();
        QCOMPARE(s.messages.questions, QStringList({"Eliminare A?", "Eliminare A?"}));
        QCOMPARE(filterButtons(s), QStringList({"Q@Ordini", "AB@Clienti"}));
        QCOMPARE(s.db().countRecords("filters"), 5);
        // The marked row is matched on its part before the marker.
        s.w->removeSavedFilter("Z");
        QCOMPARE(s.db().countRecords("filters"), 4);

        // Removing a table removes its saved filters and their buttons.
        s.w->changeTable("Ordini");
        s.w->removeTable();
        QCOMPARE(filterButtons(s), QStringList("AB@Clienti"));
        QCOMPARE(savedRows(s), QStringList("AB|Clienti|RSTRINGFORMAT_Nome|a|STRING|Major|And"));
    }

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

QTEST_MAIN(TestFilters)
#include "tst_filters.moc"
