#include "records/imagebox.h"
#include "records/inputdataform.h"
#include "testsupport.h"

#include <QtTest>

class AttachmentsTest : public QObject
{
    Q_OBJECT

private slots:
    void fitAndZoomLimits();
    void attachNeverOverwrites_data();
    void attachNeverOverwrites();
};

// A picture file of the given size, whatever its name (its folder is made too):
// reading a copy back as a picture tells by its size which file it came from.
static QString makePicture(const QString &path, int w, int h)
{
    QDir().mkpath(QFileInfo(path).path());
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(Qt::red);
    image.save(path, "PNG");
    return path;
}

void AttachmentsTest::fitAndZoomLimits()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    ImageBox box;
    box.setDbFolder(folder.path() + "/");
    box.show();
    auto shown = [&box] { return box.displayedPixmap().size(); };

    makePicture(folder.file("big.png"), 2000, 1000);
    box.showImage("big.png"); // opens fitted into 350x350
    QCOMPARE(shown(), QSize(350, 175));
    box.fitImage(); // to the visible area, from the loaded picture
    QVERIFY(shown().width() > 350 && shown().width() < 2000);
    QCOMPARE(shown().width(), shown().height() * 2);

    // A picked picture is shown as it is; zooming stops at 9999 and at 3 pixels.
    messages.fileAnswers << makePicture(folder.file("huge.png"), 6000, 10);
    box.addReplace();
    box.zoomIn();
    QCOMPARE(shown(), QSize(6000, 10));
    messages.fileAnswers << makePicture(folder.file("tiny.png"), 4, 4);
    box.addReplace();
    box.zoomOut();
    box.zoomOut();
    QCOMPARE(shown(), QSize(2, 2));
    box.zoomIn(); // from the displayed picture, not the loaded one
    QCOMPARE(shown(), QSize(4, 4));
    box.zoomIn();
    box.fitImage(); // smaller than the area: the loaded picture unscaled
    QCOMPARE(shown(), QSize(4, 4));
}

void AttachmentsTest::attachNeverOverwrites_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("dialog");
    QTest::newRow("image") << "IMAGE" << "pic.png" << "Open File|/home|Images (*.png *.jpg *.jpeg *.bmp *.tif)";
    QTest::newRow("pdf") << "PDF" << "Scheda tecnica.pdf" << "Open File|/home|Pdf (*.pdf)";
}

void AttachmentsTest::attachNeverOverwrites()
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

    attach(makePicture(folder.file("a/" + name), 10, 10));
    QCOMPARE(editor.value(), "TABLES_DOC/Clienti_Anna/" + name);
    QCOMPARE(QImage(folder.file("TABLES_DOC/Clienti_Anna/" + name)).size(), QSize(10, 10));
    // A second file of the same name: the first copy stays, the stored path is the same.
    attach(makePicture(folder.file("b/" + name), 30, 20));
    QCOMPARE(editor.value(), "TABLES_DOC/Clienti_Anna/" + name);
    QCOMPARE(QImage(folder.file("TABLES_DOC/Clienti_Anna/" + name)).size(), QSize(10, 10));
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

QTEST_MAIN(AttachmentsTest)
#include "tst_attachments.moc"
