// What is typed is what is stored: numbers and dates as typed on the record
// and filter pages, required fields, deleting a record others look up, the
// keys in open lists, the wheel, the remembered database and the actions
// that need a table.
#include "app/qtitalian.h"
#include "records/inputdataform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>

namespace {

const QStringList Columns = {"RSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo", "NREALFORMAT_Peso",
                             "NINTEGERFORMAT_Pezzi", "NDATEFORMAT_Nascita"};

// Clienti holds two records with a value in every field.
void shop(DbConnection &db)
{
    makeTable(db, "Clienti", Columns, {"Rossi|8.250000|0.500000|7|28/02/1983", "Bianchi|3.140000|2.000000|3|01/01/2000"});
}

QString stored(Window &s, const QString &column, int row = 0)
{
    const QString record = s.rows("Clienti").value(row);
    for (const QString &cell : record.split(';')) {
        if (cell.startsWith(column + "="))
            return cell.mid(column.size() + 1);
    }
    return "<none>";
}

} // namespace

class TypedValuesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(installQtItalian(qApp)); }
    void typed_data();
    void typed();
    void requiredFieldsLeftEmpty();
    void deletingARecordOthersLookUp();
    void keysStayInOpenLists();
    void wheelScrollsThePage();
    void onlyAnOpenedDatabaseIsRemembered();
    void actionsWaitForATable();
};

void TypedValuesTest::typed_data()
{
    QTest::addColumn<QString>("column");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored"); // null: refused with the warning

    const QString money = "NMONEYFORMAT_Saldo", real = "NREALFORMAT_Peso", whole = "NINTEGERFORMAT_Pezzi",
                  date = "NDATEFORMAT_Nascita";
    QTest::newRow("thousands") << money << "1.500" << "1500.000000";
    QTest::newRow("ten thousands") << money << "12.000" << "12000.000000";
    QTest::newRow("millions") << real << "1.234.567" << "1234567.000000";
    QTest::newRow("decimal comma") << money << "1,5" << "1.500000";
    QTest::newRow("thousands and comma") << money << "1.234,56" << "1234.560000";
    QTest::newRow("negative") << money << "-250,00" << "-250.000000";
    QTest::newRow("blank thousands") << real << "12 000" << "12000.000000";
    QTest::newRow("decimal point") << real << "1.5" << "1.500000";
    QTest::newRow("two decimals") << money << "12.25" << "12.250000";
    QTest::newRow("letters") << money << "abc" << QString();
    QTest::newRow("two commas") << real << "12,3,4" << QString();
    QTest::newRow("two points") << money << "1..5" << QString();
    QTest::newRow("whole thousands") << whole << "1.500" << "1500";
    QTest::newRow("date") << date << "12/03/1963" << "12/03/1963";
    QTest::newRow("leap day") << date << "29/02/1984" << "29/02/1984";
    QTest::newRow("short date") << date << "1/3/63" << "01/03/1963";
    QTest::newRow("no such date") << date << "31/02/2000" << QString();
}

// Each value typed on a new record, over an existing one, and as a filter.
void TypedValuesTest::typed()
{
    QFETCH(QString, column);
    QFETCH(QString, typed);
    QFETCH(QString, stored);
    Window s(shop);
    const QString before = ::stored(s, column);

    // Over Rossi's value first, then on a new record.
    for (const bool edit : {true, false}) {
        s.messages.clear();
        s.click(edit ? "pbEditUser" : "pbNewUser");
        if (!edit)
            s.type(s.editor("RSTRINGFORMAT_Nome"), "Verdi");
        s.type(s.editor(column), typed);
        s.click("pbSaveNewUser");
        const int row = edit ? 0 : 2;
        if (stored.isNull()) {
            // Refused before anything is written; the page keeps the text
            // and the cursor.
            QCOMPARE(s.messages.warnings.size(), 1);
            QVERIFY(s.messages.warnings.first().startsWith("ERRORE: "));
            QCOMPARE(s.page(), QString("newUserPage"));
            QWidget *focus = QApplication::focusWidget(), *control = s.input(s.editor(column));
            QVERIFY(focus == control || control->isAncestorOf(focus));
            QVERIFY(s.input(s.editor(column))->property("text").toString().contains(typed)
                    || s.editor(column)->findChild<QLineEdit *>("leData")->text() == typed);
            QCOMPARE(s.rows("Clienti").size(), 2);
            QCOMPARE(::stored(s, column), before);
            s.click("pbCancelEdit");
        } else {
            QCOMPARE(s.messages.warnings, QStringList());
            QCOMPARE(::stored(s, column, row), stored);
        }
    }
    if (stored.isNull())
        return;

    // As a filter value it is read the same way: Bianchi's value differs.
    s.click("pbFilter");
    s.type(s.filterEditor(column), typed);
    s.click("pbSaveFilters");
    QCOMPARE(s.items(), QStringList({"Rossi", "Verdi"}));
}

void TypedValuesTest::requiredFieldsLeftEmpty()
{
    Window s([](DbConnection &db) {
        makeTable(db, "Ordini", {"RSTRINGFORMAT_Codice", "RMONEYFORMAT_Prezzo_unitario",
                                 "RINTEGERFORMAT_Quantita", "RDATEFORMAT_Data_di_consegna"});
    });
    s.click("pbNewUser");
    s.type(s.editor("RSTRINGFORMAT_Codice"), "A1");
    const QString missing = "Compila il campo %1 prima di salvare il nuovo Record!";
    QStringList said;
    for (const QString column : {"RDATEFORMAT_Data_di_consegna", "RINTEGERFORMAT_Quantita",
                                 "RMONEYFORMAT_Prezzo_unitario"}) {
        // The last empty one is named, whole; the cursor goes there.
        s.click("pbSaveNewUser");
        said << missing.arg(s.editor(column)->titleText());
        QCOMPARE(s.messages.warnings, said);
        QWidget *focus = QApplication::focusWidget(), *control = s.input(s.editor(column));
        QVERIFY(focus == control || control->isAncestorOf(focus));
        s.type(s.editor(column), column.contains("DATE") ? "1/2/2025" : "0");
    }
    QCOMPARE(said.first(), missing.arg("Data di consegna"));
    s.click("pbSaveNewUser");
    QCOMPARE(s.rows("Ordini"), QStringList("RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Codice=A1;"
                                           "RMONEYFORMAT_Prezzo_unitario=0.000000;RINTEGERFORMAT_Quantita=0;"
                                           "RDATEFORMAT_Data_di_consegna=01/02/2025"));
}

void TypedValuesTest::deletingARecordOthersLookUp()
{
    Window s([](DbConnection &db) {
        makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Milano", "Torino"});
        makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome", "XCitta_XDTX_RSTRINGFORMAT_Nome"},
                  {"Mario Rossi|2", "Anna Bianchi|2", "Luca Verdi|1"});
        makeTable(db, "Fornitori", {"RSTRINGFORMAT_Nome", "XCitta_XDTX_RSTRINGFORMAT_Nome"}, {"Acme|2"});
    });
    s.w->changeTable("Citta");
    s.w->vwRecord(2);
    s.messages.answers << false << true;
    s.click("pbDeleteUser");
    const QString question = QString::fromUtf8(
        "Eliminare questo elemento? È usato da 2 Record di Clienti e 1 Record di Fornitori.");
    QCOMPARE(s.messages.questions, QStringList(question));
    QCOMPARE(s.db().countRecords("Citta"), 2); // No keeps everything
    s.click("pbDeleteUser");
    QCOMPARE(s.rows("Citta"), QStringList("RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Nome=Milano"));
    QCOMPARE(s.rows("Clienti"), QStringList({"RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Nome=Mario Rossi;"
                                             "XCitta_XDTX_RSTRINGFORMAT_Nome=",
                                             "RINTEGERFORMAT_Id=2;RSTRINGFORMAT_Nome=Anna Bianchi;"
                                             "XCitta_XDTX_RSTRINGFORMAT_Nome=",
                                             "RINTEGERFORMAT_Id=3;RSTRINGFORMAT_Nome=Luca Verdi;"
                                             "XCitta_XDTX_RSTRINGFORMAT_Nome=1"}));

    // The next city takes Torino's id; nobody moves there.
    s.click("pbNewUser");
    s.type(s.editor("RSTRINGFORMAT_Nome"), "Bari");
    s.click("pbSaveNewUser");
    QCOMPARE(s.rows("Citta").last(), QString("RINTEGERFORMAT_Id=2;RSTRINGFORMAT_Nome=Bari"));
    QCOMPARE(s.db().referencesTo("Citta", 2).size(), 0);
}

void TypedValuesTest::keysStayInOpenLists()
{
    Window s([](DbConnection &db) {
        makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Milano"});
        makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome", "XCitta_XDTX_RSTRINGFORMAT_Nome"});
    });
    s.w->changeTable("Clienti");
    s.click("pbNewUser");
    s.type(s.editor("RSTRINGFORMAT_Nome"), "Rossi");
    auto *combo = s.editor("XCitta_XDTX_RSTRINGFORMAT_Nome")->findChild<QComboBox *>("cboxData");
    combo->setFocus();
    // Return picks the item, Esc closes the list: the page stays as it is.
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape}) {
        combo->showPopup();
        QTRY_VERIFY(combo->view()->isVisible());
        if (key == Qt::Key_Return)
            QTest::keyClick(combo->view(), Qt::Key_Down);
        QTest::keyClick(combo->view(), key);
        QTRY_VERIFY(!combo->view()->isVisible());
        QCOMPARE(s.page(), QString("newUserPage"));
    }
    QCOMPARE(combo->currentText(), QString("1 Milano"));
    QCOMPARE(s.db().countRecords("Clienti"), 0);

    // Esc on the page asks before throwing changes away; No stays.
    s.messages.answers << false << true;
    QTest::keyClick(combo, Qt::Key_Escape);
    QCOMPARE(s.messages.questions, QStringList("Scartare le modifiche?"));
    QCOMPARE(s.page(), QString("newUserPage"));
    QTest::keyClick(combo, Qt::Key_Escape);
    QCOMPARE(s.page(), QString("userPage"));
    QCOMPARE(s.db().countRecords("Clienti"), 0);
}

void TypedValuesTest::wheelScrollsThePage()
{
    QStringList columns;
    for (int i = 0; i < 30; ++i)
        columns << QString("NDATEFORMAT_Data%1").arg(i);
    columns << "NINTEGERFORMAT_Pezzi" << "XCitta_XDTX_RSTRINGFORMAT_Nome";
    Window s([&columns](DbConnection &db) {
        makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Milano", "Roma"});
        makeTable(db, "Visite", columns);
    });
    s.w->changeTable("Visite");
    s.w->resize(900, 500);
    s.click("pbNewUser");
    s.type(s.editor(columns.first()), "1/1/2020");
    QScrollBar *bar = s.child<QScrollArea>("inputScrollArea")->verticalScrollBar();
    for (const QString &column : columns.mid(columns.size() - 2)) {
        QWidget *control = s.input(s.editor(column));
        const int scrolled = bar->value();
        QWheelEvent wheel(QPointF(5, 5), control->mapToGlobal(QPoint(5, 5)), QPoint(), QPoint(0, -120),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(control, &wheel);
        QVERIFY(bar->value() > scrolled);
        QVERIFY(s.editor(column)->isEmptyInput());
    }
}

void TypedValuesTest::onlyAnOpenedDatabaseIsRemembered()
{
    Window s(shop);
    QVERIFY(writeFile(s.folder.file("junk.db"), "not a database, not at all, no"));
    s.messages.fileAnswers << s.folder.file("junk.db");
    s.w->openDb();
    QCOMPARE(s.messages.warnings, QStringList("ERRORE: Impossibile aprire il Db!"));
    QCOMPARE(readFile("lastDb.dat"), s.dbFile);
    QCOMPARE(s.w->dbPath, s.dbFile);
    QCOMPARE(s.items(), QStringList({"Rossi", "Bianchi"}));
}

void TypedValuesTest::actionsWaitForATable()
{
    Window s;
    const QStringList needTable = {"pbNewUser", "pbEditUser", "pbDeleteUser", "pbFilter", "pbCalc"};
    const QStringList exports = {"actionExport", "actionExport_To_File", "actionExport_Selected_Record_To_File"};
    auto enabled = [&s, &needTable, &exports] {
        QStringList on;
        for (const QString &name : needTable)
            if (s.child(qPrintable(name))->isEnabled())
                on << name;
        for (const QString &name : exports)
            if (s.child<QAction>(qPrintable(name))->isEnabled())
                on << name;
        return on;
    };
    QCOMPARE(enabled(), QStringList());
    s.w->administratorModeEnabled(true);
    s.w->newTable();
    s.child<QLineEdit>("leTableName")->setText("Prodotti");
    s.w->acceptedNewTable();
    s.w->changeTable("Prodotti");
    QCOMPARE(enabled(), needTable + exports);
}

QTEST_MAIN(TypedValuesTest)
#include "tst_typedvalues.moc"
