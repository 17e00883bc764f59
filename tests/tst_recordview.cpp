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
#include <QVBoxLayout>
#include <QtTest>

namespace {

template <typename T> T *part(QWidget *form, const char *name) { return form->findChild<T *>(name); }

bool shown(QWidget *form, const char *name) { return part<QWidget>(form, name)->isVisibleTo(form); }

} // namespace

class TestRecordView : public QObject
{
    Q_OBJECT

private slots:
    void shownByType_data();
    void shownByType();
    void thumbnails();
    void checkBoxCannotBeToggled();
    void recordInTheWindow();
};

void TestRecordView::shownByType_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("shown"); // the parts shown, then what they show
    QTest::newRow("money") << "MONEYFORMAT" << QVariant("3") << "leData: 3.00€";
    QTest::newRow("money, rounded") << "MONEYFORMAT" << QVariant(-12.345) << "leData: -12.35€";
    QTest::newRow("money, not a number") << "MONEYFORMAT" << QVariant("tre") << "leData: 0.00€";
    QTest::newRow("date") << "DATEFORMAT" << QVariant("01/02/1990") << "leData: 01/02/1990";
    QTest::newRow("image") << "IMAGEFORMAT" << QVariant("TABLES_DOC/A/foto.png") << "leData imageFrame: foto.png";
    QTest::newRow("pdf") << "PDFFORMAT" << QVariant("TABLES_DOC/A/scheda.pdf") << "leData pbViewPdf: scheda.pdf";
    QTest::newRow("bool") << "BOOLFORMAT" << QVariant("TRUE") << "cbData: [x]";
    QTest::newRow("mail") << "MAILFORMAT" << QVariant("a@b.it") << "leData pbMail: a@b.it";
    QTest::newRow("url") << "URLFORMAT" << QVariant("https://esempio.it") << "lbUrl: <a href=\"https://esempio.it\">https://esempio.it</a>";
    QTest::newRow("subtable") << "SUBTABLEFORMAT" << QVariant("cfg") << "pbSubTable: ";
    QTest::newRow("link") << "LINKFORMAT" << QVariant("Ordini") << "pbLink: ";
}

void TestRecordView::shownByType()
{
    QFETCH(QString, tag);
    QFETCH(QVariant, value);
    outputDataForm form;
    form.setData(tag, value);
    QStringList widgets;
    for (const char *name : {"leData", "imageFrame", "pbViewPdf", "cbData", "pbMail", "lbUrl", "pbSubTable", "pbLink"}) {
        if (shown(&form, name))
            widgets << name;
    }
    const QString text = shown(&form, "lbUrl")    ? part<QLabel>(&form, "lbUrl")->text()
                         : shown(&form, "cbData") ? (part<QCheckBox>(&form, "cbData")->isChecked() ? "[x]" : "[ ]")
                         : shown(&form, "leData") ? part<QLineEdit>(&form, "leData")->text() : QString();
    QTEST(widgets.join(' ') + ": " + text, "shown");
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
    QCOMPARE(image->pixmap()->size(), QSize(20, 100));
    form.setData("IMAGEFORMAT", "wide.png");
    QCOMPARE(image->pixmap()->size(), QSize(120, 30));
    form.setData("IMAGEFORMAT", "missing.png");
    QVERIFY(!image->pixmap() || image->pixmap()->isNull());
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
    // Clicks go through the window as a user's would: the control box toggles, the display does not.
    for (QWidget *target : {static_cast<QWidget *>(control), part<QWidget>(form, "cbData")})
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, Qt::NoModifier,
                          target->mapTo(&window, QPoint(8, target->height() / 2)));
    QVERIFY(control->isChecked());
    QVERIFY(!part<QCheckBox>(form, "cbData")->isChecked());
}

void TestRecordView::recordInTheWindow()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    Tessaro w;
    w.loadDb(folder.file("test.db"));
    DbConnection &db = *w.connection();
    QDir(folder.path()).mkpath("TABLES_DOC/Persone_Anna");
    QImage(50, 80, QImage::Format_RGB32).save(folder.file("TABLES_DOC/Persone_Anna/foto.png"));
    QVERIFY(makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"", "Roma"}));
    QVERIFY(makeTable(db, "Persone",
                      {"NSTRINGFORMAT_Data_di_nascita_XMLTYX_2", "NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto",
                       "NSUBTABLEFORMAT_Righe__mese", "NLINKFORMAT_Clienti", "XCitta_XDTX_RSTRINGFORMAT_Nome"},
                      {"Anna|TABLES_DOC/Persone_Anna|TABLES_DOC/Persone_Anna/foto.png|cfg 1|x|2"}));
    const int id = 1;
    w.changeTable("Persone");

    // Titles without the repeat marker and with blanks for "_"; Id and UserPath are shown in
    // advanced mode only; every display knows the shown record.
    auto visibleTitles = [&w, id] {
        QStringList titles;
        for (outputDataForm *widget : w.recordViewWidgets()) {
            if (!widget->isHidden())
                titles << widget->title() + (widget->searchRecordId() == id ? "" : " (wrong record)");
        }
        return titles;
    };
    QCOMPARE(visibleTitles(), QStringList({"Data di nascita2", "Foto", "Righe  mese", "Clienti", "Citta Nome"}));
    // Showing an id that is gone: the link write-back says so.
    w.vwRecord(99);
    QCOMPARE(messages.warnings, QStringList({"L'Id 99 non è valido!"}));
    w.techMode = true;
    w.vwRecord(id);
    QCOMPARE(visibleTitles().size(), 7);
    QList<outputDataForm *> view = w.recordViewWidgets();
    // The image under the database folder; the subtable of this table, its blanks made single
    // and then "_"; the link written back.
    QVERIFY(!part<QLabel>(view.at(3), "lbImage")->pixmap()->isNull());
    QCOMPARE(view.at(4)->subTableName(), QString("HIDDENTABLE_Persone_XSBTX_SUBTABLEFORMAT_Righe_mese_XSBTUSRX_cfg_1"));
    QCOMPARE(db.getRecordById("Persone", id).value("NLINKFORMAT_Clienti").toString(), QString("Clienti"));
    QCOMPARE(view.at(5)->searchTable(), QString("Clienti"));
    // The lookup shows the referenced value and leads to its record.
    QCOMPARE(part<QLineEdit>(view.at(6), "leData")->text(), QString("Roma"));
    part<QPushButton>(view.at(6), "pbXView")->click();
    QCOMPARE(w.currentTable + " " + QString::number(w.currentId), QString("Citta 2"));
    QCOMPARE(messages.warnings.size(), 1);
}

QTEST_MAIN(TestRecordView)
#include "tst_recordview.moc"
