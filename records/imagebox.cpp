#include "records/imagebox.h"
#include "ui_imagebox.h"

#include "app/accessibility.h"
#include "app/resources.h"
#include "records/pendingattachments.h"
#include "dialogs/messagehandler.h"

#include <QDir>
#include <QFile>
#include <QScrollArea>

namespace {
const int InitialFit = 350;
const int ZoomLimit = 9999;
} // namespace

QString copyAttachment(const QString &file, const QString &documentsBase, const QString &recordFolder)
{
    QDir().mkpath(documentsBase + recordFolder);
    const QString name = file.section('/', -1);
    // QFile::copy never replaces an existing file: the first one of a name stays.
    if (!file.isEmpty())
        QFile::copy(file, QString::asprintf("%s%s/%s", documentsBase.toUtf8().constData(),
                                            recordFolder.toUtf8().constData(), name.toUtf8().constData()));
    return QString::asprintf("%s/%s", recordFolder.toUtf8().constData(), name.toUtf8().constData());
}

ImageBox::ImageBox(QWidget *parent) : QDialog(parent), ui(new Ui::ImageBox)
{
    loadTessaroResources();
    ui->setupUi(this);
    connect(ui->buttonBox, &QDialogButtonBox::accepted, this, &ImageBox::accepted);
    connect(ui->buttonBox, &QDialogButtonBox::rejected, this, &ImageBox::rejected);
    connect(ui->pbAddReplace, &QPushButton::clicked, this, &ImageBox::addReplace);
    connect(ui->pbzoomminus, &QPushButton::clicked, this, &ImageBox::zoomOut);
    connect(ui->pbzoomplus, &QPushButton::clicked, this, &ImageBox::zoomIn);
    connect(ui->pbZoomFit, &QPushButton::clicked, this, &ImageBox::fitImage);
    Accessibility::nameControls(this);
}

ImageBox::~ImageBox()
{
    delete ui;
}

void ImageBox::setUserPath(const QString &folder)
{
    recordFolder = folder;
}

void ImageBox::setDbFolder(const QString &folder)
{
    documentsBase = folder;
}

void ImageBox::display(const QPixmap &pixmap)
{
    displayed = pixmap;
    ui->lbImage->setPixmap(displayed);
}

void ImageBox::showImage(const QString &storedPath)
{
    loaded = QPixmap(documentsBase + storedPath);
    ui->leImage->setText(storedPath);
    if (loaded.width() <= InitialFit && loaded.height() <= InitialFit)
        display(loaded);
    else
        display(loaded.scaled(InitialFit, InitialFit, Qt::KeepAspectRatio, Qt::SmoothTransformation));
}

void ImageBox::accepted()
{
    done(QDialog::Accepted);
    if (viewOnly)
        return;
    // With no file chosen nothing is copied, and "folder/" is still announced.
    emit acceptedFile(pending ? pending->stage(chosen, documentsBase, recordFolder)
                              : copyAttachment(chosen, documentsBase, recordFolder));
}

void ImageBox::rejected()
{
    done(QDialog::Rejected);
}

void ImageBox::addReplace()
{
    chosen = MessageHandler::current()->openFileName(this, "Open File", "/home",
                                                     "Images (*.png *.jpg *.jpeg *.bmp *.tif)");
    ui->leImage->setText(chosen);
    loaded = chosen.isEmpty() ? QPixmap() : QPixmap(chosen);
    display(loaded);
}

// Each zoom step rescales the picture as now displayed; fitting starts again
// from the loaded one.
void ImageBox::zoomIn()
{
    if (displayed.width() * 2 > ZoomLimit || displayed.height() * 2 > ZoomLimit)
        return;
    display(displayed.scaled(displayed.width() * 2, displayed.height() * 2, Qt::KeepAspectRatio,
                             Qt::FastTransformation));
}

void ImageBox::zoomOut()
{
    if (displayed.width() <= 3 || displayed.height() <= 3)
        return;
    display(displayed.scaled(displayed.width() / 2, displayed.height() / 2, Qt::KeepAspectRatio));
}

void ImageBox::fitImage()
{
    const QSize area = ui->imageScroll->viewport()->size();
    if (loaded.width() < area.width() && loaded.height() < area.height())
        display(loaded);
    else
        display(loaded.scaled(area, Qt::KeepAspectRatio, Qt::SmoothTransformation));
}
