#include "records/dateedit.h"
#include "records/inputdataform.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>

class FieldEditorTest : public QObject
{
    Q_OBJECT

private slots:
    void valuePerType_data();
    void valuePerType();
    void shownTextsAndLookup();
    void conditionConnectorAndActiveFlag();
    void compareWithFilter_data();
    void compareWithFilter();
};

// Enters a value the way a user would, in the control of the type.
static void enter(inputDataForm &f, const QString &type, const QString &text)
{
    if (type == "BOOL")
        f.findChild<QCheckBox *>("cbData")->setChecked(text == "TRUE");
    else if (type == "DATE")
        f.findChild<DateEdit *>("deData")->setDate(QDate::fromString(text, "dd/MM/yyyy"));
    else if (type == "INTEGER")
        f.findChild<QSpinBox *>("sbNum")->setValue(text.toInt());
    else
        f.findChild<QLineEdit *>("leData")->setText(text);
}

void FieldEditorTest::valuePerType_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("stored");   // given to setValue (null: no value)
    QTest::addColumn<QString>("entered");  // then entered by the user (null: nothing)
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("warned");
    QTest::addColumn<QString>("shown"); // l=line edit c=check box d=date s=spin i=image p=pdf

    QTest::newRow("date never touched") << "DATE" << QString() << QString() << "" << false << "d";
    QTest::newRow("date stored") << "DATE" << "25/12/2020" << QString() << "25/12/2020" << false << "d";
    QTest::newRow("money comma") << "MONEY" << "" << "1234,5" << "1234.500000" << false << "l";
    QTest::newRow("money blanks") << "MONEY" << "" << "1 234,50" << "1234.500000" << false << "l";
    QTest::newRow("real negative") << "REAL" << "" << "-0,5" << "-0.500000" << false << "l";
    // Points before the comma separate the thousands; any other mix is no number.
    QTest::newRow("money thousands") << "MONEY" << "" << "1.234,56" << "1234.560000" << false << "l";
    QTest::newRow("real millions") << "REAL" << "" << "-1.234.567,5" << "-1234567.500000" << false << "l";
    QTest::newRow("point after comma") << "MONEY" << "" << "1,234.56" << "0.000000" << true << "l";
    QTest::newRow("two points") << "REAL" << "" << "1..5" << "0.000000" << true << "l";
    QTest::newRow("letters active") << "REAL" << "" << "abc" << "0.000000" << true << "l";
    QTest::newRow("letters inactive") << "REAL" << "abc" << QString() << "0.000000" << false << "l";
    QTest::newRow("string") << "STRING" << "" << "  l'anno   x " << "l''anno x" << false << "l";
    QTest::newRow("long string") << "LONGSTRING" << "" << "it's" << "it''s" << false << "l";
    QTest::newRow("subtable") << "SUBTABLE" << "" << "a'b" << "a''b" << false << "l";
    QTest::newRow("mail") << "MAIL" << "" << "l'anno" << "l'anno" << false << "l";
    QTest::newRow("url") << "URL" << "" << " http://x.it/a'b " << "http://x.it/a'b" << false << "l";
    QTest::newRow("other type") << "WHATEVER" << "" << " a'b " << "a'b" << false << "l";
    QTest::newRow("bool") << "BOOL" << "TRUE" << QString() << "TRUE" << false << "c";
    QTest::newRow("bool lower case") << "BOOL" << "true" << QString() << "FALSE" << false << "c";
    QTest::newRow("integer letters") << "INTEGER" << "abc" << QString() << "0" << false << "s";
    QTest::newRow("integer empty") << "INTEGER" << "" << QString() << "" << false << "s";
    QTest::newRow("image") << "IMAGE" << "a/b.png" << "typed" << "a/b.png" << false << "li";
    QTest::newRow("pdf") << "PDF" << "a/b.pdf" << "typed" << "a/b.pdf" << false << "lp";
    QTest::newRow("link") << "LINK" << "Altra" << "typed" << "Altra" << false << "";
}

void FieldEditorTest::valuePerType()
{
    QFETCH(QString, type);
    QFETCH(QString, stored);
    QFETCH(QString, entered);
    RecordingMessageHandler messages;
    inputDataForm f;
    f.setValue("IMAGE", QString("x")); // another type first: its controls must go
    f.setValue(type, stored.isNull() ? QVariant() : QVariant(stored));
    f.setActive(); // a value that was only set is not the user's
    if (!entered.isNull())
        enter(f, type, entered);
    QTEST(f.value(), "value");
    QFETCH(bool, warned);
    QCOMPARE(messages.said, warned ? QStringList("warning: ERRORE: Valore numerico non valido") : QStringList());

    const QStringList controls = {"leData", "cbData", "deData", "buttonFrame", "pbViewImage", "pbViewPdf"};
    QString shown;
    for (int i = 0; i < controls.size(); ++i)
        if (!f.findChild<QWidget *>(controls[i])->isHidden())
            shown += QLatin1Char("lcdsip"[i]);
    QTEST(shown, "shown");
}

void FieldEditorTest::shownTextsAndLookup()
{
    inputDataForm f;
    f.setValue("MONEY", 1234.5);
    QCOMPARE(f.findChild<QLineEdit *>("leData")->text(), QString("1234.50"));
    // Titles: underscores become blanks; a repeat suffix leaves its number run on.
    f.setTitle(true, "Data_di_nascita");
    QCOMPARE(f.findChild<QLabel *>("lbTitle")->text(), QString("Data di nascita"));
    f.setTitle(true, "Costo_base_XMLTYX_3");
    QCOMPARE(f.findChild<QLabel *>("lbTitle")->text(), QString("Costo base3"));

    inputDataForm lookup;
    lookup.setValue("_XDTX_", 3);
    lookup.setComboBox(true, {"---", "1 Anna Bianchi", "3 Bruno", "3 Carla"});
    lookup.selectLookupItem("3");
    QCOMPARE(lookup.comboText(), QString("3 Carla")); // the last item with the key wins
    lookup.selectLookupItem("7"); // no such key: stays
    QCOMPARE(lookup.value(), QString("3"));

    // As a filter a lookup compares the record's id with the chosen key.
    lookup.setColumnName("XClienti_XDTX_RSTRINGFORMAT_Nome");
    lookup.setCondition("Equal");
    QVERIFY(lookup.compareWithFilter("_XDTX_", 3));
    QVERIFY(!lookup.compareWithFilter("_XDTX_", 1));
    lookup.setCondition("Minor");
    QVERIFY(lookup.compareWithFilter("_XDTX_", 1));
    lookup.setComboIndex(0); // back to "---": takes no part
    QCOMPARE(lookup.isActive(), 0);
    QCOMPARE(lookup.condition(), QString("NoCondition"));
}

void FieldEditorTest::conditionConnectorAndActiveFlag()
{
    inputDataForm f;
    f.setFilterMode(true);
    f.setValue("STRING", QString());
    f.show();
    QCOMPARE(f.connector(), QString("And"));
    f.setConnector("Or");
    f.setConnector("and"); // not exactly "And": the checked one cannot be cleared
    QCOMPARE(f.connector(), QString("Or"));

    f.setCondition("Major");
    f.setCondition("Disequal");
    QCOMPARE(f.condition(), QString("Disequal"));
    QVERIFY(!f.findChild<QPushButton *>("pbMajor")->isChecked());
    f.setCondition("equal");
    QCOMPARE(f.condition(), QString("NoCondition"));

    // "!=" selects its condition but does not make the field take part.
    QTest::mouseClick(f.findChild<QPushButton *>("pbDiff"), Qt::LeftButton);
    QCOMPARE(f.condition(), QString("Disequal"));
    QCOMPARE(f.isActive(), 0);
    QTest::mouseClick(f.findChild<QPushButton *>("pbMajor"), Qt::LeftButton);
    QCOMPARE(f.isActive(), 1);
    QTest::mouseClick(f.findChild<QPushButton *>("pbNoFilter"), Qt::LeftButton);
    QCOMPARE(f.isActive(), 0);
    // Editing the value makes it take part with "=".
    QTest::keyClicks(f.findChild<QLineEdit *>("leData"), "x");
    QCOMPARE(f.isActive(), 1);
    QCOMPARE(f.condition(), QString("Equal"));
}

void FieldEditorTest::compareWithFilter_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("input"); // what the user entered on the filter page
    QTest::addColumn<QString>("condition");
    QTest::addColumn<QString>("record");
    QTest::addColumn<bool>("passes");

    QTest::newRow("string equal is case-sensitive") << "STRING" << "rossi" << "Equal" << "Rossi" << false;
    QTest::newRow("string doubled quote differs") << "STRING" << "O'Brien" << "Equal" << "O''Brien" << false;
    QTest::newRow("string disequal") << "URL" << "x" << "Disequal" << "y" << true;
    QTest::newRow("bool major is equal") << "BOOL" << "TRUE" << "Major" << "TRUE" << true;
    QTest::newRow("date later") << "DATE" << "01/02/2020" << "Major" << "15/03/2020" << true;
    QTest::newRow("integer minor") << "INTEGER" << "10" << "Minor" << "11" << false;
    QTest::newRow("money equal") << "MONEY" << "12.5" << "Equal" << "12.500000" << true;
    QTest::newRow("image never excludes") << "IMAGE" << "x" << "Equal" << "y" << true;
}

void FieldEditorTest::compareWithFilter()
{
    QFETCH(QString, type);
    QFETCH(QString, condition);
    QFETCH(QString, record);
    inputDataForm f;
    f.setFilterMode(true);
    f.setValue(type, QString());
    f.setActive();
    QFETCH(QString, input);
    enter(f, type, input);
    f.activated(); // the user picked the field
    f.setCondition(condition);
    QTEST(f.compareWithFilter(type, record), "passes");
    // A field that takes no part lets every record through.
    f.setActive();
    QVERIFY(f.compareWithFilter(type, record));
}

QTEST_MAIN(FieldEditorTest)
#include "tst_fieldeditor.moc"
