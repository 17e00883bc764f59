// Subtables: each record owns a list of rows (an invoice's lines).
#include "app/tessaro.h"
#include "calc/calcform.h"
#include "records/inputdataform.h"
#include "records/newtableelement.h"
#include "records/outputdataform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>

namespace {

const char *const Lines = "HIDDENTABLE_Fatture_XSBTX_SUBTABLEFORMAT_Righe_XSBTUSRX_Dettaglio";

// Fills a designer row: type, name, required.
void row(newTableElement *element, const QString &type, const QString &name, bool required = false)
{
    element->findChild<QComboBox *>("cbType")->setCurrentText(type);
    element->findChild<QLineEdit *>("leName")->setText(name);
    element->findChild<QCheckBox *>("cbRequired")->setChecked(required);
}

// Designs Fatture (Numero, Righe as a subtable of three fields), named name.
void designInvoices(Window &s, const QString &subtable)
{
    s.w->administratorModeEnabled(true);
    s.w->newTable();
    s.child<QLineEdit>("leTableName")->setText("Fatture");
    row(s.w->newTableElements().at(0), "STRING", "Numero", true);
    s.w->addNewTableElement();
    newTableElement *lines = s.w->newTableElements().at(1);
    row(lines, "SUBTABLE", "Righe");
    QCOMPARE(lines->findChild<QLineEdit *>("leSubName")->text(), QString("Nuovo Nome"));
    lines->findChild<QLineEdit *>("leSubName")->setText(subtable);
    row(lines->subtableRows().at(0), "STRING", "Descrizione", true);
    lines->subtableRows().at(0)->sendNewAdd();
    row(lines->subtableRows().at(1), "INTEGER", "Quantita");
    lines->subtableRows().at(1)->sendNewAdd();
    row(lines->subtableRows().at(2), "MONEY", "Prezzo");
    QCOMPARE(lines->subtableRows().at(0)->findChild<QComboBox *>("cbType")->findText("SUBTABLE"), -1);
    s.w->acceptedNewTable();
}

void add(Window &s, const QStringList &values)
{
    s.click("pbNewUser");
    const QStringList columns = {"RSTRINGFORMAT_Descrizione", "NINTEGERFORMAT_Quantita", "NMONEYFORMAT_Prezzo"};
    for (int i = 0; i < values.size(); ++i)
        s.type(s.editor(values.size() == 1 ? "RSTRINGFORMAT_Numero" : columns.at(i)), values.at(i));
    s.click("pbSaveNewUser");
}

void open(Window &s, int invoice)
{
    s.w->changeTable("Fatture");
    s.w->vwRecord(invoice);
    const QList<outputDataForm *> fields = s.w->recordViewWidgets();
    for (outputDataForm *field : fields) {
        auto *button = field->findChild<QPushButton *>("pbSubTable");
        if (!button->isHidden()) {
            button->click();
            return;
        }
    }
}

} // namespace

class SubtablesTest : public QObject
{
    Q_OBJECT

private slots:
    void designedWithItsOwnFields();
    void eachRecordOwnsItsRows();
    void structureFilesAndRemoval();
    void damagedSubtablesAreSaidNotWritten();
};

void SubtablesTest::designedWithItsOwnFields()
{
    Window s;
    designInvoices(s, "Dettaglio#");
    QCOMPARE(s.messages.warnings.size(), 1); // a name the designer refuses: nothing made
    QVERIFY(s.messages.warnings.first().startsWith("ERRORE: Il nome 'Dettaglio#' non è valido!"));
    QVERIFY(!s.db().tableExists("Fatture"));
    s.w->newTableElements().at(1)->findChild<QLineEdit *>("leSubName")->setText("Dettaglio");
    s.w->acceptedNewTable();
    QCOMPARE(s.db().getFieldNames(Lines),
             QStringList({"RINTEGERFORMAT_Id", "NINTEGERFORMAT_OwnerId", "RSTRINGFORMAT_Descrizione",
                          "NINTEGERFORMAT_Quantita", "NMONEYFORMAT_Prezzo", "NLONGSTRINGFORMAT_UserPath"}));
    QStringList configuration;
    for (const QString &row : s.rows("subtablesconfigs"))
        configuration << row.section(';', 1).remove(QRegularExpression("[A-Za-z]+FORMAT_subConfig[A-Za-z]+="));
    QCOMPARE(configuration, QStringList({"Fatture_Righe_XSBCONFX_Dettaglio;RSTRINGFORMAT_Descrizione;text",
                                         "Fatture_Righe_XSBCONFX_Dettaglio_XSBCONFX_1;NINTEGERFORMAT_Quantita;text",
                                         "Fatture_Righe_XSBCONFX_Dettaglio_XSBCONFX_2;NMONEYFORMAT_Prezzo;text"}));
    // One record's rows are read by the owner's index.
    QVERIFY(s.db().getTables().contains(Lines));
}

void SubtablesTest::eachRecordOwnsItsRows()
{
    Window s;
    designInvoices(s, "Dettaglio");
    s.w->changeTable("Fatture");
    add(s, {"F1"});
    add(s, {"F2"});
    open(s, 1);
    QCOMPARE(s.w->currentTable, QString(Lines));
    QCOMPARE(s.child<QLabel>("lbListName")->text(), QString::fromUtf8("#Fatture->Dettaglio->Righe — F1"));
    // The owner is never a field: not on the form, the filter page or the calculator.
    s.click("pbNewUser");
    QVERIFY(s.editor("NINTEGERFORMAT_OwnerId")->isHidden());
    s.click("pbCancelEdit");
    add(s, {"Carta", "2", "3,50"});
    add(s, {"Penne", "10", "0,80"});
    add(s, {"Colla", "1", "2"});
    s.click("pbReturn");
    QCOMPARE(s.child<QLabel>("lbViewInfo")->text(), QString("F1"));
    open(s, 2);
    add(s, {"Carta", "5", "3,50"}); // the same text in another invoice is fine
    add(s, {"Toner", "1", "60"});
    QCOMPARE(s.items(), QStringList({"Carta", "Toner"}));
    QCOMPARE(s.db().countRecords(Lines), 2);

    s.click("pbCalc");
    QStringList sums;
    for (calcForm *sum : s.w->calcForms())
        sums << sum->name() + "=" + sum->findChild<QLineEdit *>("leResult")->text();
    QCOMPARE(sums, QStringList({"NINTEGERFORMAT_Quantita=6.000000", "NMONEYFORMAT_Prezzo=63.50"}));
    s.click("pbExitCalc");
    s.click("pbFilter");
    QVERIFY(s.filterEditor("NINTEGERFORMAT_OwnerId")->isHidden());
    s.type(s.filterEditor("RSTRINGFORMAT_Descrizione"), "Carta");
    s.click("pbSaveFilters");
    QCOMPARE(s.items(), QStringList("Carta"));
    s.w->disableFilters();
    s.w->changeTable(Lines);
    s.w->exportingToFile(s.folder.file("righe.tvf"), Lines);
    QCOMPARE(readFile(s.folder.file("righe.tvf")).count('\n'), 3);

    s.messages.answers << true;
    s.w->vwRecord(5);
    s.click("pbDeleteUser");
    QCOMPARE(s.items(), QStringList("Carta"));
    s.click("pbReturn");
    open(s, 1);
    QCOMPARE(s.items(), QStringList({"Carta", "Penne", "Colla"}));
    // All of them, outside a record: the table itself, hidden.
    s.w->changeTable("Fatture");
    QCOMPARE(s.db().countRecords(Lines), 4);
}

void SubtablesTest::structureFilesAndRemoval()
{
    Window s;
    designInvoices(s, "Dettaglio");
    s.w->exportingStructure("Fatture", {});
    const QString file = s.folder.file("TrasvoFiles/Fatture.tsc");
    QVERIFY(readFile(file).contains("#SUBTABLE###NSUBTABLEFORMAT_Righe###Dettaglio###NMONEYFORMAT_Prezzo###text\n"));
    s.w->importingStructure(file, "Preventivi");
    const QString copied = "HIDDENTABLE_Preventivi_XSBTX_SUBTABLEFORMAT_Righe_XSBTUSRX_Dettaglio";
    QCOMPARE(s.db().getFieldNames(copied), s.db().getFieldNames(Lines));

    // Removing a table removes its configurations; its subtables stay, hidden.
    s.w->changeTable("Fatture");
    s.messages.answers << true;
    s.w->removeTable();
    QVERIFY(s.db().tableExists(Lines));
    QCOMPARE(s.rows("subtablesconfigs").filter("Fatture_").size(), 0);
    QCOMPARE(s.rows("subtablesconfigs").filter("Preventivi_").size(), 3);
}

void SubtablesTest::damagedSubtablesAreSaidNotWritten()
{
    Window s;
    designInvoices(s, "Dettaglio");
    s.w->changeTable("Fatture");
    add(s, {"F1"});
    // A subtable that lost its owner column is shown whole; one that is gone is said so.
    s.db().dropTable(Lines);
    s.db().createTable(Lines, {{"RSTRINGFORMAT_Descrizione", "text"}});
    open(s, 1);
    QVERIFY(s.messages.warnings.last().contains("non ha la colonna del Record proprietario"));
    s.db().dropTable(Lines);
    s.w->goBack();
    const QStringList before = s.rows("Fatture") + s.rows("subtablesconfigs");
    open(s, 1);
    QCOMPARE(s.messages.warnings.last(), QString::fromUtf8("ERRORE: La sottotabella #Fatture->Dettaglio->Righe non esiste!"));
    QCOMPARE(s.rows("Fatture") + s.rows("subtablesconfigs"), before);
    QCOMPARE(s.w->currentTable, QString("Fatture"));
}

QTEST_MAIN(SubtablesTest)
#include "tst_subtables.moc"
