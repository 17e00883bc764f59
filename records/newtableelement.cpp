#include "records/newtableelement.h"
#include "ui_newtableelement.h"

#include "app/accessibility.h"
#include "app/resources.h"
#include "records/wheelguard.h"

#include <QLabel>
#include <QLineEdit>
#include "storage/namingscheme.h"
#include "storage/tablename.h"

namespace {
const char *const LinkTag = Naming::LinkTag;
} // namespace

QStringList newTableElement::typeTags()
{
    return designerTypeTags();
}

newTableElement::newTableElement(QWidget *parent, bool subtableField)
    : QWidget(parent), ui(new Ui::newTableElement), subtableVariant(subtableField)
{
    loadTessaroResources();
    ui->setupUi(this);

    tags = typeTags();
    // A subtable's field cannot own a subtable of its own.
    if (subtableVariant)
        tags.removeAll(Naming::SubtableTag);
    for (const QString &tag : qAsConst(tags)) {
        sqlTypes << sqlTypeForTag(tag);
        ui->cbType->addItem(typeStem(tag));
    }
    ui->tableElementsPages->setCurrentWidget(ui->newElemPage);
    for (QWidget *combo : {ui->cbType, ui->cbExistList, ui->cbExistList2, ui->cbExistField})
        WheelGuard::install(combo);
    ui->leName->setPlaceholderText("Nome del campo");

    connect(ui->pbAddNew, &QPushButton::clicked, this, &newTableElement::sendNewAdd);
    connect(ui->cbFromTable, &QCheckBox::toggled, this, &newTableElement::changeNewFieldType);
    connect(ui->cbExistList, &QComboBox::currentTextChanged, this, &newTableElement::changeSelectedTable);
    connect(ui->cbType, &QComboBox::currentTextChanged, this, &newTableElement::changeFieldType);

    ui->subFrame->hide();
    changeFieldType(ui->cbType->currentText());
    Accessibility::nameControls(this);
}

newTableElement::~newTableElement()
{
    delete ui;
}

void newTableElement::setTableList(const QStringList &internalNames)
{
    tables = internalNames;
    for (newTableElement *row : qAsConst(subRows))
        row->setTableList(internalNames);
    ui->cbExistList->clear();
    ui->cbExistList2->clear();
    for (const QString &name : internalNames) {
        const TableName table(name);
        if (table.isSystem())
            continue;
        ui->cbExistList2->addItem(table.display(), name);
        // Added last: the first item reports the chosen table.
        ui->cbExistList->addItem(table.display(), name);
    }
    changeFieldType(ui->cbType->currentText());
}

void newTableElement::setFieldList(const QStringList &columns)
{
    ui->cbExistField->clear();
    ui->cbExistField->addItems(columns);
}

QString newTableElement::chosenTable() const
{
    return ui->cbExistList->currentData().toString();
}

QString newTableElement::chosenLinkTable() const
{
    return ui->cbExistList2->currentData().toString();
}

ColumnDefinition newTableElement::columnDefinition() const
{
    if (ui->cbFromTable->isChecked()) {
        // A lookup column: the other table's id, shown through one of its columns.
        const QString table = chosenTable();
        const QString column = ui->cbExistField->currentText();
        if (table.isEmpty() || column.isEmpty())
            return {};
        return {"X" + table + Naming::LookupMarker + column, "Integer"};
    }

    const int type = ui->cbType->currentIndex();
    if (type < 0 || type >= tags.size())
        return {};
    const QString tag = tags.at(type);
    if (tag == LinkTag && !chosenLinkTable().isEmpty())
        return {makeColumnName("N" + tag, chosenLinkTable()), sqlTypes.at(type)};

    QString name = ui->leName->text();
    if (name.isEmpty())
        return {};
    name.replace(' ', '_');
    const QString flag = ui->cbRequired->isChecked() ? "R" : "N";
    return {makeColumnName(flag + tag, name), sqlTypes.at(type)};
}

QString newTableElement::typedFieldName() const
{
    if (ui->cbFromTable->isChecked())
        return QString();
    const int type = ui->cbType->currentIndex();
    if (type >= 0 && type < tags.size() && tags.at(type) == LinkTag && !chosenLinkTable().isEmpty())
        return QString();
    return ui->leName->text();
}

void newTableElement::sendNewAdd()
{
    emit addNewElem();
}

void newTableElement::changeNewFieldType(bool fromTable)
{
    ui->tableElementsPages->setCurrentWidget(fromTable ? ui->existElemPage : ui->newElemPage);
}

void newTableElement::changeSelectedTable(const QString &table)
{
    // The combo shows display names; the row reports the internal one.
    const int index = ui->cbExistList->findText(table, Qt::MatchExactly | Qt::MatchCaseSensitive);
    const QString internal = index >= 0 ? ui->cbExistList->itemData(index).toString() : TableName::fromDisplay(table).internal();
    emit changeTable(this, internal);
}

void newTableElement::changeFieldType(const QString &type)
{
    // A SUBTABLE row designs its subtable below it.
    const bool subtable = !subtableVariant && type == typeStem(Naming::SubtableTag);
    if (subtable && !subName) {
        auto *label = new QLabel(QString::fromUtf8("Nome della sottotabella"), ui->subFrame);
        subName = new QLineEdit(QString::fromUtf8("Nuovo Nome"), ui->subFrame);
        subName->setObjectName("leSubName");
        label->setBuddy(subName);
        ui->subLayout->addWidget(label);
        ui->subLayout->addWidget(subName);
        addSubtableRow();
    }
    ui->subFrame->setVisible(subtable);
    // A link names its table: the combo replaces the name and the flag, which
    // are only used when there is no table to link to.
    const bool link = type == typeStem(LinkTag);
    const bool linkToTable = link && ui->cbExistList2->count() > 0;
    ui->cbExistList2->setVisible(link);
    ui->leName->setVisible(!linkToTable);
    ui->cbRequired->setEnabled(!linkToTable);
}

void newTableElement::addSubtableRow()
{
    auto *row = new newTableElement(ui->subFrame, true);
    subRows << row;
    row->setTableList(tables);
    ui->subLayout->addWidget(row);
    connect(row, &newTableElement::addNewElem, this, &newTableElement::addSubtableRow);
    connect(row, &newTableElement::changeTable, this, &newTableElement::changeSubTable);
}

SubtableDesign newTableElement::subtableDesign() const
{
    SubtableDesign design;
    if (!subName || ui->subFrame->isHidden() || ui->cbFromTable->isChecked())
        return design;
    design.name = subName->text().simplified().replace(' ', '_');
    for (const newTableElement *row : subRows) {
        const ColumnDefinition field = row->columnDefinition();
        if (!field.first.isEmpty())
            design.fields << field;
    }
    return design;
}

QString newTableElement::typedSubtableName() const
{
    return subName && !ui->subFrame->isHidden() ? subName->text() : QString();
}

QStringList newTableElement::typedSubtableFieldNames() const
{
    QStringList names;
    if (subName && !ui->subFrame->isHidden()) {
        for (const newTableElement *row : subRows) {
            if (!row->typedFieldName().isEmpty())
                names << row->typedFieldName();
        }
    }
    return names;
}

bool newTableElement::hasInput() const
{
    return ui->cbFromTable->isChecked() || !ui->leName->text().trimmed().isEmpty();
}

void newTableElement::focusName()
{
    ui->leName->setFocus(Qt::OtherFocusReason);
}
