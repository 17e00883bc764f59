// The field editor: what each type gives back for what a user types, and the
// comparison and connector buttons of filter mode.
#include "records/inputdataform.h"
#include "testsupport.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QtTest>

class FieldEditorTest : public QObject
{
    Q_OBJECT

private slots:
    void typedTextGivesStoredValue_data();
    void typedTextGivesStoredValue();
    void invalidNumberWarnsOnlyWhenActive();
    void moneyIsShownWithTwoDecimals();
    void dates();
    void booleansAndIntegers();
    void shownControlPerType_data();
    void shownControlPerType();
    void linkKeepsItsValueAndLookupGivesTheKey();
    void title_data();
    void title();
    void conditionAndConnector();
    void activeFlagFollowsEditsAndButtons();
    void compareWithFilter_data();
    void compareWithFilter();
};

static QLineEdit *lineEdit(inputDataForm &f)
{
    return f.findChild<QLineEdit *>("leData");
}

void FieldEditorTest::typedTextGivesStoredValue_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored");

    QTest::newRow("money with comma") << "MONEY" << "1234,5" << "1234.500000";
    QTest::newRow("money with blanks") << "MONEY" << "1 234,50" << "1234.500000";
    QTest::newRow("real with point") << "REAL" << "3.25" << "3.250000";
    QTest::newRow("real negative comma") << "REAL" << "-0,5" << "-0.500000";
    QTest::newRow("string apostrophe doubled") << "STRING" << "l'anno" << "l''anno";
    QTest::newRow("string blanks simplified") << "STRING" << "  Mario   Rossi " << "Mario Rossi";
    QTest::newRow("long string doubled") << "LONGSTRING" << "it's 'x'" << "it''s ''x''";
    QTest::newRow("subtable doubled") << "SUBTABLE" << "a'b" << "a''b";
    QTest::newRow("mail not doubled") << "MAIL" << "l'anno" << "l'anno";
    QTest::newRow("url not doubled") << "URL" << " http://x.it/a'b " << "http://x.it/a'b";
    QTest::newRow("unknown type plain") << "WHATEVER" << " a'b " << "a'b";
}

void FieldEditorTest::typedTextGivesStoredValue()
{
    QFETCH(QString, type);
    QFETCH(QString, typed);
    QFETCH(QString, stored);
    RecordingMessageHandler messages;
    inputDataForm f;
    f.setValue(type, QString());
    f.show();
    QTest::keyClicks(lineEdit(f), typed);
    QCOMPARE(f.value(), stored);
    QVERIFY(messages.said.isEmpty());
}

void FieldEditorTest::invalidNumberWarnsOnlyWhenActive()
{
    RecordingMessageHandler messages;
    inputDataForm f;
    f.setValue("REAL", QString());
    f.show();

    // Never edited: a bad (here empty) number is 0 without a word.
    QCOMPARE(f.isActive(), 0);
    QCOMPARE(f.value(), QString("0.000000"));
    QVERIFY(messages.warnings.isEmpty());

    QTest::keyClicks(lineEdit(f), "abc");
    QCOMPARE(f.isActive(), 1);
    QCOMPARE(f.value(), QString("0.000000"));
    QCOMPARE(messages.warnings, QStringList{"ERRORE: Valore numerico non valido"});

    f.setActive();
    messages.clear();
    QCOMPARE(f.numberValue(), 0.0);
    QVERIFY(messages.warnings.isEmpty());
}

void FieldEditorTest::moneyIsShownWithTwoDecimals()
{
    inputDataForm f;
    f.setValue("MONEY", 1234.5);
    QCOMPARE(lineEdit(f)->text(), QString("1234.50"));
    QCOMPARE(f.findChild<QLabel *>("lbType")->text(), QString::fromUtf8("€"));
    QVERIFY(!f.findChild<QLabel *>("lbType")->isHidden());
    QCOMPARE(f.value(), QString("1234.500000"));

    f.setValue("MONEY", QString("1234.500000"));
    QCOMPARE(lineEdit(f)->text(), QString("1234.50"));
    f.setValue("MONEY", QString());
    QCOMPARE(lineEdit(f)->text(), QString());

    // Leaving money hides the unit again.
    f.setValue("REAL", QString("2"));
    QVERIFY(f.findChild<QLabel *>("lbType")->isHidden());
}

void FieldEditorTest::dates()
{
    inputDataForm f;
    f.setValue("DATE", QVariant());
    QCOMPARE(f.value(), QString()); // never touched: empty, not 01/01/1753
    QCOMPARE(f.dateText(), QString());

    f.setValue("DATE", QString("25/12/2020"));
    QCOMPARE(f.value(), QString("25/12/2020"));
    // Not a date: the previous one stays.
    f.setValue("DATE", QString("2020-12-31"));
    QCOMPARE(f.value(), QString("25/12/2020"));

    f.findChild<QDateEdit *>("deData")->setDate(QDate(1990, 5, 3));
    QCOMPARE(f.value(), QString("03/05/1990"));
}

void FieldEditorTest::booleansAndIntegers()
{
    inputDataForm f;
    f.setValue("BOOL", QString("TRUE"));
    QVERIFY(f.isChecked());
    QCOMPARE(f.checkBoxText(), QString());
    QCOMPARE(f.value(), QString("TRUE"));
    f.setValue("BOOL", QString("true")); // case-sensitive
    QCOMPARE(f.value(), QString("FALSE"));

    f.setValue("INTEGER", QString("41"));
    f.intPlus();
    QCOMPARE(f.value(), QString("42"));
    f.findChild<QPushButton *>("pbMinus")->click();
    f.findChild<QPushButton *>("pbMinus")->click();
    QCOMPARE(f.value(), QString("40"));
    f.setValue("INTEGER", QString("abc"));
    QCOMPARE(f.value(), QString("0"));
}

void FieldEditorTest::shownControlPerType_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("shown"); // l=line edit c=check box d=date s=spin i=image p=pdf

    QTest::newRow("DATE") << "DATE" << "d";
    QTest::newRow("INTEGER") << "INTEGER" << "s";
    QTest::newRow("MONEY") << "MONEY" << "l";
    QTest::newRow("IMAGE") << "IMAGE" << "li";
    QTest::newRow("PDF") << "PDF" << "lp";
    QTest::newRow("LINK") << "LINK" << "";
    QTest::newRow("lookup") << "_XDTX_" << "";
}

void FieldEditorTest::shownControlPerType()
{
    QFETCH(QString, type);
    QFETCH(QString, shown);
    inputDataForm f;
    // Start from another type so that every control must be switched.
    f.setValue("IMAGE", QString("x"));
    f.setValue("INTEGER", QString("1"));
    f.setValue(type, QString());
    QCOMPARE(f.fieldType(), type);
    QCOMPARE(f.isLineEditShown(), shown.contains('l'));
    QCOMPARE(f.isCheckBoxShown(), shown.contains('c'));
    QCOMPARE(f.isDateEditShown(), shown.contains('d'));
    QCOMPARE(f.isSpinBoxShown(), shown.contains('s'));
    QCOMPARE(f.isImageButtonShown(), shown.contains('i'));
    QCOMPARE(f.isPdfButtonShown(), shown.contains('p'));
    QCOMPARE(!f.findChild<QLineEdit *>("leData")->isHidden(), shown.contains('l'));
    QCOMPARE(!f.findChild<QWidget *>("buttonFrame")->isHidden(), shown.contains('s'));
    QCOMPARE(!f.findChild<QWidget *>("pbViewPdf")->isHidden(), shown.contains('p'));
}

void FieldEditorTest::linkKeepsItsValueAndLookupGivesTheKey()
{
    inputDataForm link;
    link.setValue("LINK", QString("Altra"));
    link.findChild<QLineEdit *>("leData")->setText("typed");
    QCOMPARE(link.value(), QString("Altra"));

    inputDataForm lookup;
    lookup.setValue("_XDTX_", 3);
    lookup.setComboBox(true, {"---", "1 Anna Bianchi", "3 Bruno", "3 Carla"});
    QVERIFY(lookup.isComboBoxShown());
    QCOMPARE(lookup.value(), QString("---"));
    lookup.selectLookupItem("3");
    QCOMPARE(lookup.comboText(), QString("3 Carla")); // the last item with the key wins
    QCOMPARE(lookup.value(), QString("3"));
    lookup.selectLookupItem("7"); // no such key: stays
    QCOMPARE(lookup.value(), QString("3"));
    lookup.setComboIndex(1);
    QCOMPARE(lookup.value(), QString("1"));
    QCOMPARE(lookup.comboItems().size(), 4);

    // As a filter a lookup compares the record's id with the chosen key.
    lookup.setColumnName("XClienti_XDTX_RSTRINGFORMAT_Nome");
    lookup.setComboIndex(2);
    lookup.setCondition("Equal");
    QVERIFY(lookup.compareWithFilter("_XDTX_", 3));
    QVERIFY(!lookup.compareWithFilter("_XDTX_", 1));
    lookup.setCondition("Minor");
    QVERIFY(lookup.compareWithFilter("_XDTX_", 1));
}

void FieldEditorTest::title_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("title");
    QTest::newRow("plain") << "Nome" << "Nome";
    QTest::newRow("underscores") << "Data_di_nascita" << "Data di nascita";
    QTest::newRow("repeat suffix") << "Prezzo_XMLTYX_2" << "Prezzo2";
    QTest::newRow("repeat with words") << "Costo_base_XMLTYX_3" << "Costo base3";
}

void FieldEditorTest::title()
{
    QFETCH(QString, name);
    QFETCH(QString, title);
    inputDataForm f;
    f.setTitle(true, name);
    QCOMPARE(f.findChild<QLabel *>("lbTitle")->text(), title);
    QCOMPARE(f.fieldName(), name);
    QVERIFY(f.isTitleShown());
}

void FieldEditorTest::conditionAndConnector()
{
    inputDataForm f;
    f.setFilterMode(true);
    QCOMPARE(f.condition(), QString("NoCondition"));
    QCOMPARE(f.connector(), QString("And"));

    f.setConnector("Or");
    QCOMPARE(f.connector(), QString("Or"));
    f.setConnector("and"); // not exactly "And": the checked one cannot be cleared
    QCOMPARE(f.connector(), QString("Or"));
    QVERIFY(f.findChild<QPushButton *>("pbOr")->isChecked());
    f.setConnector("And");
    QCOMPARE(f.connector(), QString("And"));

    f.setCondition("Major");
    QCOMPARE(f.condition(), QString("Major"));
    f.setCondition("Disequal");
    QCOMPARE(f.condition(), QString("Disequal"));
    int checked = 0;
    for (const char *name : {"pbMajor", "pbEqual", "pbMinor", "pbDiff", "pbNoFilter"})
        checked += f.findChild<QPushButton *>(name)->isChecked() ? 1 : 0;
    QCOMPARE(checked, 1);
    QVERIFY(f.findChild<QPushButton *>("pbDiff")->isChecked());
    f.setCondition("equal");
    QCOMPARE(f.condition(), QString("NoCondition"));
    f.setCondition("Minor");
    QCOMPARE(f.condition(), QString("Minor"));
}

void FieldEditorTest::activeFlagFollowsEditsAndButtons()
{
    inputDataForm f;
    f.setFilterMode(true);
    f.setValue("STRING", QString());
    f.show();

    // "!=" selects its condition but does not make the field take part.
    QTest::mouseClick(f.findChild<QPushButton *>("pbDiff"), Qt::LeftButton);
    QCOMPARE(f.condition(), QString("Disequal"));
    QCOMPARE(f.isActive(), 0);
    QTest::mouseClick(f.findChild<QPushButton *>("pbMajor"), Qt::LeftButton);
    QCOMPARE(f.isActive(), 1);
    QTest::mouseClick(f.findChild<QPushButton *>("pbNoFilter"), Qt::LeftButton);
    QCOMPARE(f.isActive(), 0);

    // Editing the value activates the field with "=".
    QTest::keyClicks(lineEdit(f), "x");
    QCOMPARE(f.isActive(), 1);
    QCOMPARE(f.condition(), QString("Equal"));

    inputDataForm combo;
    combo.setValue("_XDTX_", 0);
    combo.setComboBox(true, {"---", "1 A"});
    combo.setComboIndex(1);
    QCOMPARE(combo.isActive(), 1);
    combo.setComboIndex(0);
    QCOMPARE(combo.isActive(), 0);
    QCOMPARE(combo.condition(), QString("NoCondition"));
}

void FieldEditorTest::compareWithFilter_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("input"); // what the user entered on the filter page
    QTest::addColumn<QString>("condition");
    QTest::addColumn<QString>("record");
    QTest::addColumn<bool>("passes");

    QTest::newRow("string equal is case-sensitive") << "STRING" << "rossi" << "Equal" << "Rossi" << false;
    QTest::newRow("string major means contains") << "STRING" << "oss" << "Major" << "Rossi" << true;
    QTest::newRow("string minor means contains") << "STRING" << "oss" << "Minor" << "Rossi" << true;
    QTest::newRow("string empty contained") << "MAIL" << "" << "Major" << "a@b.it" << true;
    QTest::newRow("string doubled quote differs") << "STRING" << "O'Brien" << "Equal" << "O''Brien" << false;
    QTest::newRow("string disequal") << "URL" << "x" << "Disequal" << "y" << true;
    QTest::newRow("bool major is equal") << "BOOL" << "TRUE" << "Major" << "TRUE" << true;
    QTest::newRow("bool minor is equal") << "BOOL" << "TRUE" << "Minor" << "FALSE" << false;
    QTest::newRow("bool disequal") << "BOOL" << "FALSE" << "Disequal" << "TRUE" << true;
    QTest::newRow("date later") << "DATE" << "01/02/2020" << "Major" << "15/03/2020" << true;
    QTest::newRow("date earlier") << "DATE" << "01/02/2020" << "Minor" << "15/03/2020" << false;
    QTest::newRow("date equal") << "DATE" << "01/02/2020" << "Equal" << "01/02/2020" << true;
    QTest::newRow("integer major") << "INTEGER" << "10" << "Major" << "11" << true;
    QTest::newRow("integer minor") << "INTEGER" << "10" << "Minor" << "11" << false;
    QTest::newRow("money equal") << "MONEY" << "12.5" << "Equal" << "12.500000" << true;
    QTest::newRow("real minor") << "REAL" << "3" << "Minor" << "2.5" << true;
    QTest::newRow("image never excludes") << "IMAGE" << "x" << "Equal" << "y" << true;
    QTest::newRow("link never excludes") << "LINK" << "x" << "Equal" << "y" << true;
}

void FieldEditorTest::compareWithFilter()
{
    QFETCH(QString, type);
    QFETCH(QString, input);
    QFETCH(QString, condition);
    QFETCH(QString, record);
    QFETCH(bool, passes);

    inputDataForm f;
    f.setFilterMode(true);
    f.setValue(type, QString());
    f.setActive();
    if (type == "BOOL")
        f.findChild<QCheckBox *>("cbData")->setChecked(input == "TRUE");
    else if (type == "DATE")
        f.findChild<QDateEdit *>("deData")->setDate(QDate::fromString(input, "dd/MM/yyyy"));
    else if (type == "INTEGER")
        f.findChild<QSpinBox *>("sbNum")->setValue(input.toInt());
    else
        f.findChild<QLineEdit *>("leData")->setText(input);
    f.activated(); // the user picked the field
    f.setCondition(condition);
    QCOMPARE(f.compareWithFilter(type, record), passes);

    // A field that takes no part lets every record through.
    f.setActive();
    QVERIFY(f.compareWithFilter(type, record));
}

QTEST_MAIN(FieldEditorTest)
#include "tst_fieldeditor.moc"
