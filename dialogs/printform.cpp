#include "dialogs/printform.h"
#include "ui_printform.h"

#include "app/accessibility.h"

#include <QPushButton>

PrintForm::PrintForm(QWidget *parent) : QDialog(parent), ui(new Ui::PrintForm)
{
    ui->setupUi(this);
    ui->buttonBox->button(QDialogButtonBox::Cancel)->setText("Annulla");
    connect(ui->buttonBox, &QDialogButtonBox::accepted, this, &PrintForm::accept);
    connect(ui->buttonBox, &QDialogButtonBox::rejected, this, &PrintForm::reject);
    connect(ui->rbRecord, &QRadioButton::toggled, this, &PrintForm::update);
    connect(ui->lwColumns, &QListWidget::itemChanged, this, &PrintForm::update);
    connect(ui->pbAllColumns, &QPushButton::clicked, this, [this] { checkAll(true); });
    connect(ui->pbNoColumns, &QPushButton::clicked, this, [this] { checkAll(false); });
    Accessibility::nameControls(this);
}

PrintForm::~PrintForm()
{
    delete ui;
}

void PrintForm::setChoices(const QString &record, int records, bool filtered)
{
    ui->rbRecord->setText(record.isEmpty() ? QString("Il Record selezionato: nessuno")
                                           : QString("Il Record selezionato: %1").arg(record));
    ui->rbRecord->setEnabled(!record.isEmpty());
    ui->rbList->setText(QString(filtered ? "La lista filtrata: %1 Record" : "La lista: %1 Record").arg(records));
    if (record.isEmpty())
        chooseList(true);
    update();
}

void PrintForm::setColumns(const QStringList &titles, const QList<bool> &chosen)
{
    ui->lwColumns->clear();
    for (int i = 0; i < titles.size(); ++i) {
        auto *item = new QListWidgetItem(titles.at(i), ui->lwColumns);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setCheckState(chosen.value(i, true) ? Qt::Checked : Qt::Unchecked);
    }
    if (ui->lwColumns->count() > 0)
        ui->lwColumns->setCurrentRow(0);
    update();
}

void PrintForm::chooseList(bool list)
{
    (list ? ui->rbList : ui->rbRecord)->setChecked(true);
    update();
}

void PrintForm::setAcceptText(const QString &text)
{
    ui->buttonBox->button(QDialogButtonBox::Ok)->setText(text);
}

bool PrintForm::listChosen() const
{
    return ui->rbList->isChecked();
}

QList<bool> PrintForm::chosenColumns() const
{
    QList<bool> chosen;
    for (int i = 0; i < ui->lwColumns->count(); ++i)
        chosen << (ui->lwColumns->item(i)->checkState() == Qt::Checked);
    return chosen;
}

void PrintForm::checkAll(bool on)
{
    for (int i = 0; i < ui->lwColumns->count(); ++i)
        ui->lwColumns->item(i)->setCheckState(on ? Qt::Checked : Qt::Unchecked);
}

// The fields matter for the list only, and a list needs one at least.
void PrintForm::update()
{
    const bool list = ui->rbList->isChecked();
    ui->gbColumns->setEnabled(list);
    ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(!list || chosenColumns().contains(true));
}
