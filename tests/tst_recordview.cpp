// The record view: one display per column, shown by type, and the display
// widget itself.
#include "app/tessaro.h"
#include "records/outputdataform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QCheckBox>
#include <QDir>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QtTest>

namespace {

struct Session {
    TestFolder folder;
    RecordingMessageHandler messages;
    Tessaro window;

    Session() { window.loadDb(folder.file("test.db")); }
    DbConnection &db() { return *window.connection(); }
    int row(const QString &table, const QStringList &values)
    {
        const int id = db().insertEmptyRecord(table, false, 0);
        const QStringList columns = db().getFieldNames(table);
        for (int i = 0; i < values.size(); ++i)
            db().updateField(table, id, columns.at(i + 1), values.at(i));
        return id;
    }
    outputDataForm *display(const QString &title)
    {
        for (outputDataForm *widget : window.recordViewWidgets()) {
            if (widget->title() == title)
                return widget;
        }
        return nullptr;
    }
};

template <typename T> T *part(outputDataForm *form, const char *name)
{
    return form->findChild<T *>(name);
}

bool shown(outputDataForm *form, const char *name)
{
    return form->findChild<QWidget *>(name)->isVisibleTo(form);
}

// Every type, the columns a designed table carries, a lookup and a link.
const QStringList AllTypes = {
    "RSTRINGFORMAT_Nome",    "NDATEFORMAT_Nascita",  "NINTEGERFORMAT_Eta",
    "NREALFORMAT_Peso",      "NMONEYFORMAT_Saldo",   "NLONGSTRINGFORMAT_UserPath",
    "NIMAGEFORMAT_Foto",     "NPDFFORMAT_Scheda",    "NBOOLFORMAT_Attivo",
    "NMAILFORMAT_Posta",     "NURLFORMAT_Sito",      "NSUBTABLEFORMAT_Righe_mese",
    "NLINKFORMAT_Citta",     "XCitta_XDTX_RSTRINGFORMAT_Nome"};

} // namespace

class TestRecordView : public QObject
{
    Q_OBJECT

private slots:
    void titles_data();
    void titles();
    void money_data();
    void money();
    void hiddenAtConstruction();
    void signalsCarryTargets();
    void thumbnails();
    void everyTypeShown();
    void checkBoxCannotBeToggled();
    void idAndUserPathOnlyInAdvancedMode();
    void linkColumnIsWrittenBack();
    void lookupLeadsToRecordAndBack();
};

void TestRecordView::titles_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("title");
    QTest::newRow("plain") << "Nome" << "Nome" << "Nome";
    QTest::newRow("underscores") << "Data_di_nascita" << "Data_di_nascita" << "Data di nascita";
    QTest::newRow("repeat") << "Prezzo_XMLTYX_2" << "Prezzo2" << "Prezzo2";
    QTest::newRow("repeat, underscores") << "Citta_a_XMLTYX_3" << "Citta_a3" << "Citta a3";
}

void TestRecordView::titles()
{
    QFETCH(QString, name);
    outputDataForm form;
    form.setTitle(true, name);
    QTEST(part<QLabel>(&form, "lbTitle")->text(), "label");
    QTEST(form.title(), "title");
    form.setTitle(false, name);
    QVERIFY(!shown(&form, "lbTitle"));
}

void TestRecordView::money_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("shown");
    QTest::newRow("integer text") << QVariant("3") << QString("3.00€");
    QTest::newRow("number") << QVariant(2.5) << QString("2.50€");
    QTest::newRow("negative") << QVariant("-12.345") << QString("-12.35€");
    QTest::newRow("not a number") << QVariant("tre") << QString("0.00€");
    QTest::newRow("nothing") << QVariant() << QString("0.00€");
}

void TestRecordView::money()
{
    QFETCH(QVariant, value);
    outputDataForm form;
    form.setData("MONEYFORMAT", value);
    QTEST(part<QLineEdit>(&form, "leData")->text(), "shown");
    QVERIFY(shown(&form, "leData"));
    QVERIFY(part<QLineEdit>(&form, "leData")->isReadOnly());
}

void TestRecordView::hiddenAtConstruction()
{
    outputDataForm form;
    for (const char *name : {"pbMail", "pbSubTable", "pbXView", "pbLink", "pbViewPdf", "leData", "cbData", "lbUrl",
                             "imageFrame"})
        QVERIFY2(!shown(&form, name), name);
    QVERIFY(shown(&form, "lbTitle"));
    QCOMPARE(part<QPushButton>(&form, "pbXView")->text(), QString("VAI"));
    QCOMPARE(part<QPushButton>(&form, "pbXView")->toolTip(), QString("Vai al Record"));
    QCOMPARE(part<QPushButton>(&form, "pbViewImage")->toolTip(), QString("Visualizza Immagine"));
    QVERIFY(!part<QPushButton>(&form, "pbViewPdf")->icon().isNull());
}

void TestRecordView::signalsCarryTargets()
{
    outputDataForm form;
    QSignalSpy toList(&form, &outputDataForm::goToList);
    QSignalSpy toSub(&form, &outputDataForm::goToSubList);
    QSignalSpy toFilter(&form, &outputDataForm::goToFilter);

    form.setReferenceTarget("Citta", 4);
    QVERIFY(shown(&form, "pbXView"));
    part<QPushButton>(&form, "pbXView")->click();
    QCOMPARE(toList.takeFirst(), QVariantList({"Citta", 4}));

    form.setSearchId(12);
    form.setData("LINKFORMAT", "Ordini");
    QVERIFY(shown(&form, "pbLink"));
    QVERIFY(!shown(&form, "leData"));
    QVERIFY(!shown(&form, "pbMail"));
    part<QPushButton>(&form, "pbLink")->click();
    QCOMPARE(toFilter.takeFirst(), QVariantList({"Ordini", 12}));

    form.setTitle(true, "Righe  del_mese");
    form.setSubTableParts("Clienti", "cfg 1");
    form.setData("SUBTABLEFORMAT", "cfg 1");
    QVERIFY(shown(&form, "pbSubTable"));
    QVERIFY(!shown(&form, "pbLink"));
    part<QPushButton>(&form, "pbSubTable")->click();
    QCOMPARE(toSub.takeFirst().first().toString(),
             QString("HIDDENTABLE_Clienti_XSBTX_SUBTABLEFORMAT_Righe_del_mese_XSBTUSRX_cfg_1"));
}

void TestRecordView::thumbnails()
{
    TestFolder folder;
    QImage(40, 200, QImage::Format_RGB32).save(folder.file("tall.png"));
    QImage(400, 100, QImage::Format_RGB32).save(folder.file("wide.png"));

    outputDataForm form;
    form.setDocumentsBase(folder.path() + "/");
    auto *image = part<QLabel>(&form, "lbImage");
    form.setData("IMAGEFORMAT", "tall.png");
    QVERIFY(shown(&form, "imageFrame"));
    QCOMPARE(image->pixmap()->size(), QSize(20, 100));
    QCOMPARE(image->minimumWidth(), 60);
    QCOMPARE(image->maximumWidth(), 120);
    QCOMPARE(image->height(), 100);

    form.setData("IMAGEFORMAT", "wide.png");
    QCOMPARE(image->pixmap()->size(), QSize(120, 30));

    form.setData("IMAGEFORMAT", "missing.png");
    QVERIFY(!image->pixmap() || image->pixmap()->isNull());
    QVERIFY(shown(&form, "imageFrame"));
}

void TestRecordView::everyTypeShown()
{
    Session s;
    QDir(s.folder.path()).mkpath("TABLES_DOC/Persone_Anna");
    QImage(50, 80, QImage::Format_RGB32).save(s.folder.file("TABLES_DOC/Persone_Anna/foto.png"));
    QList<ColumnDefinition> columns;
    for (const QString &column : AllTypes)
        columns << ColumnDefinition(column, column.startsWith('X') ? "Integer" : "text");
    QVERIFY(s.db().createTable("Citta", {{"RSTRINGFORMAT_Nome", "text"}}));
    const int roma = s.row("Citta", {"Roma"});
    QVERIFY(s.db().createTable("Persone", columns));
    s.row("Persone", {"Anna", "01/02/1990", "34", "61.5", "3", "TABLES_DOC/Persone_Anna",
                      "TABLES_DOC/Persone_Anna/foto.png", "TABLES_DOC/Persone_Anna/scheda.pdf", "TRUE",
                      "anna@esempio.it", "https://esempio.it", "cfg", "", QString::number(roma)});
    s.window.changeTable("Persone");
    QCOMPARE(s.window.recordViewWidgets().size(), AllTypes.size() + 1);

    auto text = [&](const QString &title) { return part<QLineEdit>(s.display(title), "leData")->text(); };
    QCOMPARE(text("Nome"), QString("Anna"));
    QCOMPARE(text("Nascita"), QString("01/02/1990"));
    QCOMPARE(text("Eta"), QString("34"));
    QCOMPARE(text("Peso"), QString("61.500000")); // real fields are stored with six decimals
    QCOMPARE(text("Saldo"), QString("3.00€"));
    QCOMPARE(text("Foto"), QString("foto.png"));
    QVERIFY(!part<QLabel>(s.display("Foto"), "lbImage")->pixmap()->isNull());
    QCOMPARE(s.display("Foto")->imagePath(), QString("TABLES_DOC/Persone_Anna/foto.png"));
    QCOMPARE(text("Scheda"), QString("scheda.pdf"));
    QVERIFY(shown(s.display("Scheda"), "pbViewPdf"));
    QVERIFY(part<QCheckBox>(s.display("Attivo"), "cbData")->isChecked());
    QVERIFY(!shown(s.display("Attivo"), "leData"));
    QCOMPARE(text("Posta"), QString("anna@esempio.it"));
    QVERIFY(shown(s.display("Posta"), "pbMail"));
    QCOMPARE(part<QLabel>(s.display("Sito"), "lbUrl")->text(),
             QString("<a href=\"https://esempio.it\">https://esempio.it</a>"));
    QVERIFY(!shown(s.display("Sito"), "leData"));
    QVERIFY(shown(s.display("Righe mese"), "pbSubTable"));
    QCOMPARE(s.display("Righe mese")->subTableName(),
             QString("HIDDENTABLE_Persone_XSBTX_SUBTABLEFORMAT_Righe_mese_XSBTUSRX_cfg"));

    // The lookup shows the referenced value and leads to its record.
    outputDataForm *lookup = s.window.recordViewWidgets().last();
    QCOMPARE(lookup->title(), QString("Citta Nome"));
    QCOMPARE(part<QLineEdit>(lookup, "leData")->text(), QString("Roma"));
    QVERIFY(shown(lookup, "pbXView"));
    QCOMPARE(lookup->referenceTable(), QString("Citta"));
    QCOMPARE(lookup->referenceId(), roma);
    for (outputDataForm *widget : s.window.recordViewWidgets())
        QCOMPARE(widget->searchRecordId(), s.window.currentId);
    QVERIFY(s.messages.warnings.isEmpty());
}

void TestRecordView::checkBoxCannotBeToggled()
{
    QWidget window;
    auto *layout = new QVBoxLayout(&window);
    auto *form = new outputDataForm;
    auto *control = new QCheckBox("control");
    layout->addWidget(form);
    layout->addWidget(control);
    form->setData("BOOLFORMAT", "FALSE");
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    auto *box = part<QCheckBox>(form, "cbData");
    QVERIFY(shown(form, "cbData"));
    QVERIFY(!box->isChecked());
    QCOMPARE(box->text(), QString());
    QCOMPARE(box->focusPolicy(), Qt::NoFocus);
    // Clicks go through the window as a user's would: the control box toggles, the display does not.
    auto clickAt = [&](QWidget *target) {
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, Qt::NoModifier,
                          target->mapTo(&window, QPoint(8, target->height() / 2)));
    };
    clickAt(control);
    QVERIFY(control->isChecked());
    clickAt(box);
    QVERIFY(!box->isChecked());
}

void TestRecordView::idAndUserPathOnlyInAdvancedMode()
{
    Session s;
    QVERIFY(s.db().createTable("Note", {{"RSTRINGFORMAT_Testo", "text"}, {"NLONGSTRINGFORMAT_UserPath", "text"}}));
    s.row("Note", {"prima", "TABLES_DOC/Note_prima"});
    s.window.changeTable("Note");
    auto visibleTitles = [&] {
        QStringList titles;
        for (outputDataForm *widget : s.window.recordViewWidgets()) {
            if (!widget->isHidden())
                titles << widget->title();
        }
        return titles;
    };
    QCOMPARE(s.window.recordViewWidgets().size(), 3);
    QCOMPARE(visibleTitles(), QStringList({"Testo"}));

    s.window.techMode = true;
    s.window.vwRecord(s.window.currentId);
    QCOMPARE(visibleTitles(), QStringList({"Id", "Testo", "UserPath"}));
}

void TestRecordView::linkColumnIsWrittenBack()
{
    Session s;
    QVERIFY(s.db().createTable("Ordini", {{"RSTRINGFORMAT_Codice", "text"}, {"NLINKFORMAT_Clienti", "text"}}));
    const int id = s.row("Ordini", {"A1", "qualcosa"});
    s.window.changeTable("Ordini");
    QCOMPARE(s.db().getRecordById("Ordini", id).value("NLINKFORMAT_Clienti").toString(), QString("Clienti"));
    outputDataForm *link = s.display("Clienti");
    QCOMPARE(link->searchTable(), QString("Clienti"));
    QVERIFY(shown(link, "pbLink"));
    QVERIFY(s.messages.warnings.isEmpty());

    // Showing an id that is gone: the write-back says so.
    s.window.vwRecord(99);
    QCOMPARE(s.messages.warnings, QStringList({"L'Id 99 non è valido!"}));
}

void TestRecordView::lookupLeadsToRecordAndBack()
{
    Session s;
    QVERIFY(s.db().createTable("Citta", {{"RSTRINGFORMAT_Nome", "text"}}));
    s.row("Citta", {"Milano"});
    const int roma = s.row("Citta", {"Roma"});
    QVERIFY(s.db().createTable("Persone", {{"RSTRINGFORMAT_Nome", "text"},
                                            {"XCitta_XDTX_RSTRINGFORMAT_Nome", "Integer"}}));
    s.row("Persone", {"Anna", "1"});
    const int bruno = s.row("Persone", {"Bruno", QString::number(roma)});
    s.window.changeTable("Persone");
    s.window.nextRecord();
    QCOMPARE(s.window.currentId, bruno);

    outputDataForm *lookup = s.window.recordViewWidgets().last();
    part<QPushButton>(lookup, "pbXView")->click();
    QCOMPARE(s.window.currentTable, QString("Citta"));
    QCOMPARE(s.window.currentId, roma);
    QCOMPARE(s.window.findChild<QLabel *>("lbViewInfo")->text(), QString("Roma"));
    QCOMPARE(s.window.previousTableName(), QString("Persone"));

    s.window.findChild<QPushButton *>("pbReturn")->click();
    QCOMPARE(s.window.currentTable, QString("Persone"));
    QCOMPARE(s.window.currentId, bruno);
    QCOMPARE(s.window.findChild<QLabel *>("lbViewInfo")->text(), QString("Bruno"));
}

QTEST_MAIN(TestRecordView)
#include "tst_recordview.moc"
