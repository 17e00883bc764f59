// Image and PDF attachments: copies into the record's folder that never
// overwrite, the stored paths, and the image dialog's fit and zoom.
#include "records/imagebox.h"
#include "records/inputdataform.h"
#include "testsupport.h"

#include <QFile>
#include <QImage>
#include <QLineEdit>
#include <QSignalSpy>
#include <QtTest>

class AttachmentsTest : public QObject
{
    Q_OBJECT

private slots:
    void largePictureOpensFittedInto350();
    void zoomStepsAndLimits();
    void fitStartsFromTheLoadedPicture();
    void imageAttachCopiesWithoutOverwriting();
    void okWithoutChoiceStoresTheBareFolder();
    void pdfAttachCopiesWithoutOverwriting();
};

static QString makePicture(const QString &path, int w, int h, Qt::GlobalColor color = Qt::red)
{
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(color);
    image.save(path, "PNG");
    return path;
}

static QByteArray contents(const QString &path)
{
    QFile f(path);
    f.open(QIODevice::ReadOnly);
    return f.readAll();
}

void AttachmentsTest::largePictureOpensFittedInto350()
{
    TestFolder folder;
    makePicture(folder.file("wide.png"), 400, 200);
    makePicture(folder.file("small.png"), 300, 120);
    ImageBox box;
    box.setDbFolder(folder.path() + "/");
    box.showImage("wide.png");
    QCOMPARE(box.displayedPixmap().size(), QSize(350, 175));
    QCOMPARE(box.loadedPixmap().size(), QSize(400, 200));
    box.showImage("small.png");
    QCOMPARE(box.displayedPixmap().size(), QSize(300, 120));
    box.showImage("missing.png");
    QVERIFY(box.displayedPixmap().isNull());
}

void AttachmentsTest::zoomStepsAndLimits()
{
    TestFolder folder;
    makePicture(folder.file("huge.png"), 6000, 10);
    makePicture(folder.file("tiny.png"), 4, 4);
    makePicture(folder.file("odd.png"), 102, 50);
    RecordingMessageHandler messages;
    ImageBox box;

    messages.fileAnswers << folder.file("huge.png");
    box.addReplace(); // a picked picture is shown as it is
    QCOMPARE(box.displayedPixmap().size(), QSize(6000, 10));
    box.zoomIn(); // 12000 > 9999
    QCOMPARE(box.displayedPixmap().size(), QSize(6000, 10));

    messages.fileAnswers << folder.file("tiny.png");
    box.addReplace();
    box.zoomOut();
    QCOMPARE(box.displayedPixmap().size(), QSize(2, 2));
    box.zoomOut();
    QCOMPARE(box.displayedPixmap().size(), QSize(2, 2));
    box.zoomIn();
    QCOMPARE(box.displayedPixmap().size(), QSize(4, 4));

    messages.fileAnswers << folder.file("odd.png");
    box.addReplace();
    box.zoomOut();
    box.zoomOut(); // 51x25, then halves 25x12 with the ratio kept: 24x12
    QCOMPARE(box.displayedPixmap().size(), QSize(24, 12));
    box.zoomIn(); // from the displayed picture, not the loaded one
    QCOMPARE(box.displayedPixmap().size(), QSize(48, 24));
    QCOMPARE(messages.fileDialogs.first(), QString("Open File|/home|Images (*.png *.jpg *.jpeg *.bmp *.tif)"));
}

void AttachmentsTest::fitStartsFromTheLoadedPicture()
{
    TestFolder folder;
    makePicture(folder.file("big.png"), 2000, 1000);
    makePicture(folder.file("small.png"), 20, 10);
    ImageBox box;
    box.setDbFolder(folder.path() + "/");
    box.show();
    box.showImage("big.png");
    box.zoomIn();
    box.zoomIn();
    box.fitImage();
    const QSize fitted = box.displayedPixmap().size();
    QVERIFY(fitted.width() < 2000);
    QCOMPARE(fitted.width(), fitted.height() * 2);

    box.showImage("small.png");
    box.zoomIn();
    box.fitImage(); // smaller than the area: unscaled
    QCOMPARE(box.displayedPixmap().size(), QSize(20, 10));
}

void AttachmentsTest::imageAttachCopiesWithoutOverwriting()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    QDir().mkpath(folder.file("first"));
    QDir().mkpath(folder.file("second"));
    makePicture(folder.file("first/pic.png"), 10, 10, Qt::red);
    makePicture(folder.file("second/pic.png"), 30, 30, Qt::blue);
    const QByteArray original = contents(folder.file("first/pic.png"));

    inputDataForm editor;
    editor.setValue("IMAGE", QString());
    editor.setUserPath("TABLES_DOC/Clienti_Mario_Rossi");
    editor.setDbFolder(folder.path() + "/");

    editor.viewImageBox();
    QVERIFY(editor.imageBox()->isModal());
    messages.fileAnswers << folder.file("first/pic.png");
    editor.imageBox()->addReplace();
    editor.imageBox()->accepted();
    QVERIFY(!editor.imageBox()->isVisible());
    QCOMPARE(editor.value(), QString("TABLES_DOC/Clienti_Mario_Rossi/pic.png"));
    QCOMPARE(editor.findChild<QLineEdit *>("leData")->text(), editor.value());
    const QString target = folder.file("TABLES_DOC/Clienti_Mario_Rossi/pic.png");
    QCOMPARE(contents(target), original);

    // A second picture of the same name: the first file stays, same stored path.
    editor.viewImageBox();
    messages.fileAnswers << folder.file("second/pic.png");
    editor.imageBox()->addReplace();
    editor.imageBox()->accepted();
    QCOMPARE(editor.value(), QString("TABLES_DOC/Clienti_Mario_Rossi/pic.png"));
    QCOMPARE(contents(target), original);
    QVERIFY(messages.warnings.isEmpty());

    // Showing the attached picture again loads it from the record's folder.
    editor.viewImageBox();
    QCOMPARE(editor.imageBox()->displayedPixmap().size(), QSize(10, 10));
}

void AttachmentsTest::okWithoutChoiceStoresTheBareFolder()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    ImageBox box;
    box.setUserPath("TABLES_DOC/T_x");
    box.setDbFolder(folder.path() + "/");
    QSignalSpy spy(&box, &ImageBox::acceptedFile);
    box.addReplace(); // cancelled
    box.accepted();
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QString("TABLES_DOC/T_x/"));
    QVERIFY(QDir(folder.file("TABLES_DOC/T_x")).exists());

    box.setViewOnly(true);
    box.accepted();
    QCOMPARE(spy.count(), 1);

    // Cancel copies and announces nothing.
    box.setViewOnly(false);
    makePicture(folder.file("pic.png"), 5, 5);
    messages.fileAnswers << folder.file("pic.png");
    box.addReplace();
    box.rejected();
    QCOMPARE(spy.count(), 1);
    QVERIFY(!QFile::exists(folder.file("TABLES_DOC/T_x/pic.png")));
}

void AttachmentsTest::pdfAttachCopiesWithoutOverwriting()
{
    TestFolder folder;
    RecordingMessageHandler messages;
    QDir().mkpath(folder.file("a"));
    QDir().mkpath(folder.file("b"));
    QFile a(folder.file("a/Scheda tecnica.pdf"));
    a.open(QIODevice::WriteOnly);
    a.write("first");
    a.close();
    QFile b(folder.file("b/Scheda tecnica.pdf"));
    b.open(QIODevice::WriteOnly);
    b.write("second");
    b.close();

    inputDataForm editor;
    editor.setValue("PDF", QString("old/x.pdf"));
    QCOMPARE(editor.value(), QString("old/x.pdf"));
    editor.setUserPath("TABLES_DOC/Clienti_Anna");
    editor.setDbFolder(folder.path() + "/");

    messages.fileAnswers << folder.file("a/Scheda tecnica.pdf") << folder.file("b/Scheda tecnica.pdf");
    editor.addPdf();
    QCOMPARE(editor.value(), QString("TABLES_DOC/Clienti_Anna/Scheda tecnica.pdf"));
    editor.addPdf();
    QCOMPARE(editor.value(), QString("TABLES_DOC/Clienti_Anna/Scheda tecnica.pdf"));
    QCOMPARE(contents(folder.file("TABLES_DOC/Clienti_Anna/Scheda tecnica.pdf")), QByteArray("first"));
    QCOMPARE(messages.fileDialogs.first(), QString("Open File|/home|Pdf (*.pdf)"));

    editor.addPdf(); // cancelled: the bare folder, as for images
    QCOMPARE(editor.value(), QString("TABLES_DOC/Clienti_Anna/"));
}

QTEST_MAIN(AttachmentsTest)
#include "tst_attachments.moc"
