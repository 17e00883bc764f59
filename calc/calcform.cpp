#include "calc/calcform.h"
#include "ui_calcform.h"

#include "calc/columnsums.h"

calcForm::calcForm(QWidget *parent) : QWidget(parent), ui(new Ui::calcForm)
{
    ui->setupUi(this);
}

calcForm::~calcForm()
{
    delete ui;
}

void calcForm::setName(const QString &name)
{
    column = name;
    ui->lbName->setText(name);
}

void calcForm::setType(const QString &typeTag)
{
    money = typeTag == "MONEYFORMAT";
    ui->lbType->setText(money ? QString::fromUtf8("€") : QString());
}

int calcForm::sign() const
{
    if (ui->pbPlus->isChecked())
        return SumPlus;
    if (ui->pbMinus->isChecked())
        return SumMinus;
    return SumExclude;
}

void calcForm::reset()
{
    ui->leResult->setText("0");
}

void calcForm::addValue(double value)
{
    ui->leResult->setText(rowTotalText(ui->leResult->text().toDouble() + value, money));
}

QString calcForm::resultText() const
{
    return ui->leResult->text();
}

void calcForm::setResultText(const QString &text)
{
    ui->leResult->setText(text);
}
