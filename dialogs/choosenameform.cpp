#include "dialogs/choosenameform.h"
#include "ui_choosenameform.h"

#include "app/accessibility.h"

chooseNameForm::chooseNameForm(QWidget *parent) : QDialog(parent), ui(new Ui::chooseNameForm)
{
    ui->setupUi(this);
    connect(ui->buttonBox, &QDialogButtonBox::accepted, this, &chooseNameForm::accept);
    connect(ui->buttonBox, &QDialogButtonBox::rejected, this, &chooseNameForm::reject);
    ui->lbName->setBuddy(ui->leName);
    Accessibility::nameControls(this);
}

chooseNameForm::~chooseNameForm()
{
    delete ui;
}

QString chooseNameForm::getName() const
{
    return ui->leName->text();
}

void chooseNameForm::clear()
{
    ui->leName->clear();
}

void chooseNameForm::setName(const QString &name)
{
    ui->leName->setText(name);
}
