#include "dialogs/listbuttonform.h"
#include "ui_listbuttonform.h"

#include "storage/namingscheme.h"

ListButtonForm::ListButtonForm(QWidget *parent) : QWidget(parent), ui(new Ui::ListButtonForm)
{
    ui->setupUi(this);
    connect(ui->pbTable, &QPushButton::clicked, this, &ListButtonForm::pushed);
}

ListButtonForm::~ListButtonForm()
{
    delete ui;
}

void ListButtonForm::setName(const QString &tableName)
{
    name = tableName;
    ui->lbName->setText(toDisplayTableName(tableName));
    // The button shows an icon only: it is named after its table.
    ui->pbTable->setAccessibleName(ui->lbName->text());
    ui->pbTable->setAccessibleDescription("Apre la tabella");
}

void ListButtonForm::setNameAndFilter(const QString &table, const QString &filter)
{
    filterPair = qMakePair(table, filter);
    // A saved-filter button is known by the filter's name.
    ui->lbName->setText(filter);
    filterMode = true;
    ui->pbTable->setAccessibleName(filter);
    ui->pbTable->setAccessibleDescription("Applica il filtro salvato");
}

void ListButtonForm::setIcon(const QIcon &icon)
{
    ui->pbTable->setIcon(icon);
}

QString ListButtonForm::labelText() const
{
    return ui->lbName->text();
}

void ListButtonForm::pushed()
{
    if (!filterMode)
        emit changeList(name);
    else
        emit changeListAndFilter(filterPair.first, filterPair.second);
}
