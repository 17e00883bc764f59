#include "records/outputdataform.h"
#include "ui_outputdataform.h"

#include "app/accessibility.h"
#include "app/resources.h"
#include "storage/namingscheme.h"

#include <QDesktopServices>
#include <QPixmap>
#include <QUrl>
#include <cstring>

namespace {
using Naming::RepeatMarker;
}

outputDataForm::outputDataForm(QWidget *parent) : QWidget(parent), ui(new Ui::outputDataForm)
{
    loadTessaroResources();
    ui->setupUi(this);
    ui->pbXView->setIcon(tessaroIcon(":/viewAreaIcon"));
    ui->pbMail->setIcon(tessaroIcon(":/addIcon"));
    ui->pbViewPdf->setIcon(tessaroIcon(":/pdfIcon"));
    ui->pbViewImage->setIcon(tessaroIcon(":/imageIcon"));

    for (QWidget *widget : {static_cast<QWidget *>(ui->pbMail), static_cast<QWidget *>(ui->pbSubTable),
                            static_cast<QWidget *>(ui->pbXView), static_cast<QWidget *>(ui->pbLink),
                            static_cast<QWidget *>(ui->pbViewPdf), static_cast<QWidget *>(ui->leData),
                            static_cast<QWidget *>(ui->cbData), static_cast<QWidget *>(ui->lbUrl),
                            static_cast<QWidget *>(ui->imageFrame)})
        widget->hide();

    connect(ui->pbViewImage, &QPushButton::clicked, this, &outputDataForm::viewImageBox);
    connect(ui->pbViewPdf, &QPushButton::clicked, this, &outputDataForm::viewPdf);
    connect(ui->pbXView, &QPushButton::clicked, this, &outputDataForm::goToX);
    connect(ui->pbMail, &QPushButton::clicked, this, &outputDataForm::sendMail);
    connect(ui->pbSubTable, &QPushButton::clicked, this, &outputDataForm::callSubTable);
    connect(ui->pbLink, &QPushButton::clicked, this, &outputDataForm::callLink);
    connect(ui->lbUrl, &QLabel::linkActivated, this, &outputDataForm::linkActivated);
    Accessibility::nameControls(this);
}

outputDataForm::~outputDataForm()
{
    delete ui;
}

void outputDataForm::setTitle(bool show, const QString &name)
{
    if (!show) {
        ui->lbTitle->hide();
        return;
    }
    // A repeated column (name_XMLTYX_2) is titled with the name and number run together.
    QString text = name;
    const int marker = text.indexOf(RepeatMarker);
    if (marker >= 0)
        text.remove(marker, int(strlen(RepeatMarker)));
    ui->lbTitle->setText(text);
    ui->lbTitle->show();
    titleText = text.replace('_', ' ');
    setWindowTitle(titleText);
    // The value is read out under the field's title.
    for (QWidget *value : {static_cast<QWidget *>(ui->leData), static_cast<QWidget *>(ui->cbData),
                           static_cast<QWidget *>(ui->lbUrl)})
        value->setAccessibleName(ui->lbTitle->text());
    ui->lbTitle->setBuddy(ui->leData);
}

void outputDataForm::setText(bool show, const QString &text)
{
    if (!show) {
        ui->leData->hide();
        return;
    }
    ui->leData->setText(text);
    ui->leData->setToolTip(text);
    ui->leData->setCursorPosition(0);
    ui->leData->show();
}

void outputDataForm::setCheck(bool show, bool checked, const QString &text)
{
    if (!show) {
        ui->cbData->hide();
        return;
    }
    ui->cbData->setChecked(checked);
    ui->cbData->setText(text);
    // A display only: the box cannot be toggled by mouse or keyboard.
    ui->cbData->setAttribute(Qt::WA_TransparentForMouseEvents);
    ui->cbData->setFocusPolicy(Qt::NoFocus);
    ui->cbData->show();
}

void outputDataForm::setWebLink(bool show, const QString &url)
{
    if (!show) {
        ui->lbUrl->hide();
        return;
    }
    const QByteArray link = url.toUtf8();
    ui->lbUrl->setText(QString::asprintf("<a href=\"%s\">%s</a>", link.constData(), link.constData()));
    ui->lbUrl->setTextFormat(Qt::RichText);
    // Tab reaches the link and Return opens it, as a click does.
    ui->lbUrl->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    ui->lbUrl->setOpenExternalLinks(false);
    ui->lbUrl->show();
}

void outputDataForm::setImage(bool show, const QString &relativePath)
{
    if (!show) {
        ui->imageFrame->hide();
        return;
    }
    ui->lbImage->setMinimumWidth(60);
    ui->lbImage->setMaximumWidth(120);
    ui->lbImage->setFixedHeight(100);
    const QPixmap picture(documentsBase + relativePath);
    QPixmap thumbnail;
    if (!picture.isNull()) {
        // Portrait (or square) pictures fit 60x100, landscape ones 120x100.
        const QSize box = picture.width() <= picture.height() ? QSize(60, 100) : QSize(120, 100);
        // Made for the screen's pixels, so that a scaled desktop shows it sharp.
        const qreal ratio = devicePixelRatioF();
        thumbnail = picture.scaled(box * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        thumbnail.setDevicePixelRatio(ratio);
    }
    ui->lbImage->setPixmap(thumbnail);
    ui->imageFrame->show();
}

void outputDataForm::setData(const QString &typeTag, const QVariant &value)
{
    ui->pbLink->hide();
    if (typeTag != "BOOLFORMAT")
        ui->cbData->hide();

    const QString text = value.toString();
    if (typeTag == "BOOLFORMAT") {
        setCheck(true, value.toBool(), QString());
    } else if (typeTag == "STRINGFORMAT" || typeTag == "LONGSTRINGFORMAT") {
        setText(true, text);
    } else if (typeTag == "MONEYFORMAT") {
        setText(true, QString::asprintf("%.2f%s", value.toDouble(), "€"));
    } else if (typeTag == "IMAGEFORMAT") {
        setText(true, text.section('/', -1));
        imageFile = text;
        setImage(true, text);
    } else if (typeTag == "PDFFORMAT") {
        setText(true, text.section('/', -1));
        pdfFile = text;
        ui->pbViewPdf->show();
    } else if (typeTag == "MAILFORMAT") {
        setText(true, text);
        ui->pbMail->show();
    } else if (typeTag == "LINKFORMAT") {
        setText(false, QString());
        ui->pbMail->hide();
        searchText = text;
        ui->pbLink->show();
    } else if (typeTag == "URLFORMAT") {
        setWebLink(true, text);
        setText(false, QString());
    } else if (typeTag == "SUBTABLEFORMAT") {
        setText(false, QString());
        ui->pbSubTable->show();
    } else {
        setText(true, text);
    }
}

void outputDataForm::setReferenceTarget(const QString &table, int id)
{
    xTable = table;
    xId = id;
    ui->pbXView->show();
}

void outputDataForm::setSearchTarget(const QString &table, int id)
{
    searchText = table;
    searchId = id;
}

void outputDataForm::setSubTableParts(const QString &owner, const QString &configuration)
{
    subTableOwner = owner;
    subTableConfiguration = configuration;
}

QString outputDataForm::subTableName() const
{
    const QByteArray owner = subTableOwner.toUtf8(), field = titleText.toUtf8(),
                     configuration = subTableConfiguration.toUtf8();
    QString name = QString::asprintf("%s%s%s%s_%s%s%s", Naming::HiddenMarker, owner.constData(), Naming::SubtableMarker,
                                     Naming::SubtableTag, field.constData(), Naming::SubtableUserMarker,
                                     configuration.constData());
    return name.simplified().replace(' ', '_');
}

void outputDataForm::viewImageBox()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(documentsBase + imageFile));
}

void outputDataForm::viewPdf()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(documentsBase + pdfFile));
}

void outputDataForm::goToX()
{
    emit goToList(xTable, xId);
}

void outputDataForm::sendMail()
{
    QDesktopServices::openUrl(QUrl("mailto:" + ui->leData->text()));
}

void outputDataForm::callSubTable()
{
    emit goToSubList(subTableName());
}

void outputDataForm::callLink()
{
    emit goToFilter(searchText, searchId);
}

void outputDataForm::linkActivated(const QString &link)
{
    QDesktopServices::openUrl(QUrl(link));
}
