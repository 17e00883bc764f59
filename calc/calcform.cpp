#include "calc/calcform.h"
#include "ui_calcform.h"

#include "app/accessibility.h"
#include "calc/columnsums.h"

calcForm::calcForm(QWidget *parent) : QWidget(parent), ui(new Ui::calcForm)
{
    ui->setupUi(this);
    Accessibility::nameControls(this);
}

calcForm::~calcForm()
{
    delete ui;
}

void calcForm::setName(const QString &name)
{
    column = name;
    ui->lbName->setText(name);
    ui->lbName->setBuddy(ui->leResult);
    ui->leResult->setAccessibleName(name);
    // The names' column grows with the desktop's font, and with a name that
    // would not fit it: a coded name has no blank to wrap at.
    const QFontMetrics metrics = ui->lbName->fontMetrics();
    const int width = qMax(qMax(220, metrics.averageCharWidth() * 30), metrics.horizontalAdvance(name) + 4);
    ui->lbName->setFixedWidth(width);
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
