// One field on screen: its editor (the value it gives back, its filter
// controls, attached files) and its display in the record view.
#include "records/imagebox.h"
#include "records/outputdataform.h"
#include "testsupport.h"

namespace {

template <typename T = QWidget> T *part(QWidget *form, const QString &name) { return form->findChild<T *>(name); }

// A control the editor has not made is not shown.
bool shown(QWidget *form, const QString &name) { return part(form, name) && part(form, name)->isVisibleTo(form); }

} // namespace

class FieldsTest : public QObject
{
    Q_OBJECT

private slots:
    void editorValue_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("stored");  // given to setValue (null: no value)
        QTest::addColumn<QString>("entered"); // then entered by the user (null: nothing)
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("warned");
        QTest::addColumn<QString>("shown"); // l=line edit c=check box d=date s=spin i=image p=pdf

        QTest::newRow("date never touched") << "DATE" << QString() << QString() << "" << false << "d";
        QTest::newRow("date stored") << "DATE" << "25/12/2020" << QString() << "25/12/2020" << false << "d";
        QTest::newRow("negative millions") << "REAL" << "" << "-1.234.567,5" << "-1234567.500000" << false << "l";
        QTest::newRow("point after comma") << "MONEY" << "" << "1,234.56" << "0.000000" << true << "l";
        QTest::newRow("letters only set") << "REAL" << "abc" << QString() << "0.000000" << false << "l";
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
    void editorValue()
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
            part<QLineEdit>(&f, "leData")->setText(entered);
        QTEST(f.value(), "value");
        QFETCH(bool, warned);
        QCOMPARE(messages.said, warned ? QStringList("warning: ERRORE: Valore numerico non valido") : QStringList());
        const QStringList controls = {"leData", "cbData", "deData", "buttonFrame", "pbViewImage", "pbViewPdf"};
        QString visible;
        for (int i = 0; i < controls.size(); ++i)
            if (part(&f, controls.at(i)) && !part(&f, controls.at(i))->isHidden())
                visible += QLatin1Char("lcdsip"[i]);
        QTEST(visible, "shown");
    }

    void editorTextsLookupAndFilterControls()
    {
        inputDataForm f;
        f.setValue("MONEY", 1234.5);
        QCOMPARE(part<QLineEdit>(&f, "leData")->text(), QString("1234.50"));
        // Titles: underscores become blanks; a repeat suffix leaves its number run on.
        f.setTitle(true, "Data_di_nascita");
        QCOMPARE(part<QLabel>(&f, "lbTitle")->text(), QString("Data di nascita"));
        f.setTitle(true, "Costo_base_XMLTYX_3");
        QCOMPARE(part<QLabel>(&f, "lbTitle")->text(), QString("Costo base3"));

        inputDataForm lookup;
        lookup.setValue("_XDTX_", 3);
        lookup.setComboBox(true, {"---", "1 Anna Bianchi", "3 Bruno", "3 Carla"});
        lookup.selectLookupItem("3");
        QCOMPARE(lookup.comboText(), QString("3 Carla")); // the last item with the key wins
        lookup.selectLookupItem("7"); // no such key: stays
        QCOMPARE(lookup.value(), QString("3"));
        lookup.setCondition("Equal");
        lookup.setComboIndex(0); // back to "---": takes no part
        QCOMPARE(lookup.isActive(), 0);
        QCOMPARE(lookup.condition(), QString("NoCondition"));

        // The filter page's condition, connector and active flag, as each step leaves them.
        inputDataForm g;
        g.setFilterMode(true);
        g.setValue("STRING", QString());
        g.show();
        QStringList seen;
        auto note = [&g, &seen] {
            seen << g.condition() + "/" + QString::number(g.isActive()) + "/" + g.connector()
                        + (part<QPushButton>(&g, "pbMajor")->isChecked() ? "/>" : "");
        };
        note();
        g.setConnector("Or");
        g.setConnector("and"); // not exactly "And": the checked one cannot be cleared
        g.setCondition("Major");
        g.setCondition("Disequal");
        note();
        g.setCondition("equal");
        note();
        // "!=" selects its condition but does not make the field take part; ">" does.
        for (const char *button : {"pbDiff", "pbMajor", "pbNoFilter"}) {
            QTest::mouseClick(part<QPushButton>(&g, button), Qt::LeftButton);
            note();
        }
        // Editing the value makes it take part with "=".
        QTest::keyClicks(part(&g, "leData"), "x");
        note();
        QCOMPARE(seen, QStringList({"NoCondition/0/And", "Disequal/0/Or", "NoCondition/0/Or", "Disequal/0/Or",
                                    "Major/1/Or/>", "NoCondition/0/Or", "Equal/1/Or"}));
    }

    void displayByType_data()
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
        QTest::newRow("url") << "URLFORMAT" << QVariant("https://esempio.it")
                             << "lbUrl: <a href=\"https://esempio.it\">https://esempio.it</a>";
        QTest::newRow("subtable") << "SUBTABLEFORMAT" << QVariant("cfg") << "pbSubTable: ";
        QTest::newRow("link") << "LINKFORMAT" << QVariant("Ordini") << "pbLink: ";
    }
    void displayByType()
    {
        QFETCH(QString, tag);
        QFETCH(QVariant, value);
        outputDataForm form;
        form.setData(tag, value);
        QStringList widgets;
        for (const char *name : {"leData", "imageFrame", "pbViewPdf", "cbData", "pbMail", "lbUrl", "pbSubTable", "pbLink"})
            if (shown(&form, name))
                widgets << name;
        const QString text = shown(&form, "lbUrl")    ? part<QLabel>(&form, "lbUrl")->text()
                             : shown(&form, "cbData") ? (part<QCheckBox>(&form, "cbData")->isChecked() ? "[x]" : "[ ]")
                             : shown(&form, "leData") ? part<QLineEdit>(&form, "leData")->text() : QString();
        QTEST(widgets.join(' ') + ": " + text, "shown");
    }

    void displayThumbnailsAndCheckBox()
    {
        TestFolder folder;
        makePicture(folder.file("tall.png"), 40, 200);
        makePicture(folder.file("wide.png"), 400, 100);
        outputDataForm picture;
        picture.setDocumentsBase(folder.path() + "/");
        auto *image = part<QLabel>(&picture, "lbImage");
        picture.setData("IMAGEFORMAT", "tall.png");
        QCOMPARE(image->pixmap()->size(), QSize(20, 100));
        picture.setData("IMAGEFORMAT", "wide.png");
        QCOMPARE(image->pixmap()->size(), QSize(120, 30));
        picture.setData("IMAGEFORMAT", "missing.png");
        QVERIFY(!image->pixmap() || image->pixmap()->isNull());

        // Clicks go through the window as a user's would: the control box toggles, the display does not.
        QWidget window;
        auto *layout = new QVBoxLayout(&window);
        auto *form = new outputDataForm;
        auto *control = new QCheckBox("control");
        layout->addWidget(form);
        layout->addWidget(control);
        form->setData("BOOLFORMAT", "FALSE");
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        for (QWidget *target : {static_cast<QWidget *>(control), part(form, "cbData")})
            QTest::mouseClick(window.windowHandle(), Qt::LeftButton, Qt::NoModifier,
                              target->mapTo(&window, QPoint(8, target->height() / 2)));
        QVERIFY(control->isChecked() && !part<QCheckBox>(form, "cbData")->isChecked());
    }

    void imageFitAndZoomLimits()
    {
        TestFolder folder;
        RecordingMessageHandler messages;
        ImageBox box;
        box.setDbFolder(folder.path() + "/");
        box.show();
        auto size = [&box] { return box.displayedPixmap().size(); };
        makePicture(folder.file("big.png"), 2000, 1000);
        box.showImage("big.png"); // opens fitted into 350x350
        QCOMPARE(size(), QSize(350, 175));
        box.fitImage(); // to the visible area, from the loaded picture
        QVERIFY(size().width() > 350 && size().width() < 2000 && size().width() == size().height() * 2);

        // A picked picture is shown as it is; zooming stops at 9999 and at 3 pixels, and
        // starts from the displayed picture; a small one is fitted unscaled.
        messages.fileAnswers << makePicture(folder.file("huge.png"), 6000, 10) << makePicture(folder.file("tiny.png"), 4, 4);
        QStringList sizes;
        for (auto step : {&ImageBox::addReplace, &ImageBox::zoomIn, &ImageBox::addReplace, &ImageBox::zoomOut,
                          &ImageBox::zoomOut, &ImageBox::zoomIn, &ImageBox::zoomIn, &ImageBox::fitImage}) {
            (box.*step)();
            sizes << QString("%1x%2").arg(size().width()).arg(size().height());
        }
        QCOMPARE(sizes.join(' '), QString("6000x10 6000x10 4x4 2x2 2x2 4x4 8x8 4x4"));
    }

    void attachNeverOverwrites_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("dialog");
        QTest::newRow("image") << "IMAGE" << "pic.png" << "Open File|/home|Images (*.png *.jpg *.jpeg *.bmp *.tif)";
        QTest::newRow("pdf") << "PDF" << "Scheda tecnica.pdf" << "Open File|/home|Pdf (*.pdf)";
    }
    void attachNeverOverwrites()
    {
        QFETCH(QString, type);
        QFETCH(QString, name);
        TestFolder folder;
        RecordingMessageHandler messages;
        inputDataForm editor;
        editor.setValue(type, QString("old/x"));
        editor.setUserPath("TABLES_DOC/Clienti_Anna");
        editor.setDbFolder(folder.path() + "/");
        // Picks a file (none: the choice is cancelled), then OK or Cancel in the image dialog.
        auto attach = [&](const QString &file, bool ok = true) {
            messages.fileAnswers << file;
            if (type == "PDF")
                return editor.addPdf();
            editor.viewImageBox();
            editor.imageBox()->addReplace();
            ok ? editor.imageBox()->accepted() : editor.imageBox()->rejected();
        };
        // The stored path, and the size of the copy it names.
        auto stored = [&] { return editor.value() + " " + QString::number(QImage(folder.file(editor.value())).width()); };
        attach(makePicture(folder.file("a/" + name), 10, 10));
        QCOMPARE(stored(), "TABLES_DOC/Clienti_Anna/" + name + " 10");
        // A second file of the same name: the first copy stays, the stored path is the same.
        attach(makePicture(folder.file("b/" + name), 30, 20));
        QCOMPARE(stored(), "TABLES_DOC/Clienti_Anna/" + name + " 10");
        // Confirmed without a file: the bare folder is stored.
        attach(QString());
        QCOMPARE(editor.value(), QString("TABLES_DOC/Clienti_Anna/"));
        QTEST(messages.fileDialogs.first(), "dialog");
        QCOMPARE(messages.warnings, QStringList());

        if (type == "IMAGE") { // Cancel after a pick copies and stores nothing.
            attach(makePicture(folder.file("c.png"), 5, 5), false);
            QCOMPARE(editor.value(), QString("TABLES_DOC/Clienti_Anna/"));
            QVERIFY(!QFile::exists(folder.file("TABLES_DOC/Clienti_Anna/c.png")));
        }
    }
};

QTEST_MAIN(FieldsTest)
#include "tst_fields.moc"
