#include "dialogs/aboutform.h"
#include "ui_aboutform.h"

#include "app/resources.h"

#include <QDesktopServices>
#include <QUrl>

namespace {
const char *const AuthorSite = "https://example.org/tessaro";
const char *const ToolkitSite = "https://www.qt.io";

QString anchor(const char *address)
{
    return QString::asprintf("<a href=\"%s\">%s</a>", address, address);
}
} // namespace

AboutForm::AboutForm(QWidget *parent) : QDialog(parent), ui(new Ui::AboutForm)
{
    loadTessaroResources();
    ui->setupUi(this);
    ui->pbClose->setText("Chiudi");
    ui->lbLink->setText(anchor(AuthorSite));
    ui->lbLinkQt->setText(anchor(ToolkitSite));
    for (QLabel *label : {ui->lbLink, ui->lbLinkQt})
        label->setTextInteractionFlags(Qt::TextBrowserInteraction);

    connect(ui->pbClose, &QPushButton::clicked, this, &AboutForm::close);
    connect(ui->lbLink, &QLabel::linkActivated, this, &AboutForm::linkActivated);
    connect(ui->lbLinkQt, &QLabel::linkActivated, this, &AboutForm::linkActivated);
}

AboutForm::~AboutForm()
{
    delete ui;
}

void AboutForm::setType(const QString &type)
{
    ui->lbType->setText(type);
}

void AboutForm::setVersion(const QString &version)
{
    ui->lbVersion->setText(version);
}

void AboutForm::setAutor(const QString &autor)
{
    ui->lbAutor->setText(autor);
}

void AboutForm::linkActivated(const QString &link)
{
    QDesktopServices::openUrl(QUrl(link));
}
