#include "dialogs/progressbarform.h"
#include "ui_progressbarform.h"

progressBarForm::progressBarForm(QWidget *parent) : QDialog(parent), ui(new Ui::progressBarForm)
{
    ui->setupUi(this);
}

progressBarForm::~progressBarForm()
{
    delete ui;
}

void progressBarForm::setValue(int value)
{
    ui->progressBar->setValue(value);
}

int progressBarForm::value() const
{
    return ui->progressBar->value();
}

void progressBarForm::setLabel(const QString &text)
{
    ui->lbProgressTitle->setText(text);
}

QString progressBarForm::label() const
{
    return ui->lbProgressTitle->text();
}
