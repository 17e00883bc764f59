// The table designer: the page on which a table is created, or fields are
// added to the current one, one newTableElement row per field.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "dialogs/listbuttonform.h"
#include "records/newtableelement.h"
#include "records/tabledesign.h"
#include "dialogs/messagehandler.h"
#include "storage/columnname.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"


void Tessaro::clearTableDesigner()
{
    qDeleteAll(tableElements);
    tableElements.clear();
}

void Tessaro::openTableDesigner()
{
    clearTableDesigner();
    ui->stPages->setCurrentWidget(ui->newTable);
    addNewTableElement();
}

void Tessaro::newTable()
{
    clearTableDesigner();
    ui->leTableName->clear();
    ui->leTableName->setEnabled(true);
    ui->cbHiddenTable->setChecked(false);
    ui->cbHiddenTable->show();
    // A new table starts without an icon; the icon row only matters here.
    ui->leIconData->clear();
    for (QWidget *widget : {static_cast<QWidget *>(ui->lbIcon), static_cast<QWidget *>(ui->leIconData),
                            static_cast<QWidget *>(ui->pbIconImage)})
        widget->show();
    openTableDesigner();
    ui->leTableName->setFocus(Qt::OtherFocusReason);
}

void Tessaro::addField()
{
    ui->leTableName->setText(TableName(currentTable).display());
    ui->leTableName->setEnabled(false);
    ui->cbHiddenTable->hide();
    ui->cbHiddenTable->setChecked(false);
    for (QWidget *widget : {static_cast<QWidget *>(ui->lbIcon), static_cast<QWidget *>(ui->leIconData),
                            static_cast<QWidget *>(ui->pbIconImage)})
        widget->hide();
    openTableDesigner();
    tableElements.first()->focusName();
}

void Tessaro::addNewTableElement()
{
    auto *element = new newTableElement(ui->newElementContents);
    tableElements << element;
    connect(element, &newTableElement::addNewElem, this, &Tessaro::addNewTableElement);
    connect(element, &newTableElement::changeTable, this, &Tessaro::changeElementSelectedTable);
    connect(element, &newTableElement::changeSubTable, this, &Tessaro::changeElementSelectedSubTable);
    element->setTableList(tableNames);
    ui->newTableLayout->addWidget(element);
}

void Tessaro::changeElementSelectedTable(newTableElement *element, const QString &table)
{
    QStringList fields;
    if (!table.isEmpty()) {
        for (const QString &column : db->getFieldNames(table)) {
            // Neither the id, nor a subtable, nor a lookup can be looked up.
            const ColumnName name(column);
            if (!name.isId() && !name.isSubtable() && !name.isLookup())
                fields << column;
        }
    }
    element->setFieldList(fields);
}

void Tessaro::changeElementSelectedSubTable(newTableElement *element, const QString &table)
{
    // A subtable's field looks up other tables as any field does.
    changeElementSelectedTable(element, table);
}

void Tessaro::createSubtable(const QString &table, const QString &column, const SubtableDesign &design)
{
    if (design.isEmpty())
        return;
    QString refusal;
    if (!Subtables::create(*db, table, column, design, &refusal) && !refusal.isEmpty())
        MessageHandler::current()->warning(refusal);
}

void Tessaro::addTableIcon()
{
    const QString file = MessageHandler::current()->openFileName(this, "Open File", "/home",
                                                                 "Images (*.png *.jpg *.jpeg *.bmp *.tif)");
    // A cancelled choice leaves the icon as it was.
    if (file.isEmpty())
        return;
    QString stored;
    copyIconToDataFolder(file, &stored);
    ui->leIconData->setText(stored);
}

void Tessaro::cancelNewTable()
{
    clearTableDesigner();
    changeToUsersPage();
    vwRecord(currentId);
}

void Tessaro::acceptedNewTable()
{
    MessageHandler *messages = MessageHandler::current();
    const QString typed = ui->leTableName->text();
    QString name = toInternalTableName(typed);
    if (name.isEmpty()) {
        messages->warning("ERRORE: La Tabella è vuota!");
        return;
    }
    name.replace(' ', '_');
    if (ui->cbHiddenTable->isChecked())
        name.prepend(Naming::HiddenMarker);

    // With the name field locked the page adds fields to the current table;
    // a typed name is checked, and so is every field name, before anything is written.
    const bool addingFields = !ui->leTableName->isEnabled();
    if (addingFields && !currentTable.isEmpty() && typed == TableName(currentTable).display()
        && db->tableExists(currentTable)) {
        name = currentTable;
    } else {
        const QString reason = invalidTableNameReason(typed);
        if (!reason.isEmpty()) {
            messages->warning(refusedNameWarning(typed, reason));
            return;
        }
    }
    for (newTableElement *element : qAsConst(tableElements)) {
        // A subtable's name becomes part of a table name; its fields are fields.
        QList<QPair<QString, QString>> checked; // (name, why not)
        const QString field = element->typedFieldName();
        if (!field.isEmpty())
            checked << qMakePair(field, invalidFieldNameReason(field));
        const QString subtable = element->typedSubtableName();
        if (!element->subtableDesign().isEmpty() || !subtable.isNull())
            checked << qMakePair(subtable, subtable.trimmed().isEmpty() ? QString::fromUtf8("Usa almeno una lettera o una cifra.")
                                                                     : invalidTableNameReason(subtable));
        for (const QString &subField : element->typedSubtableFieldNames())
            checked << qMakePair(subField, invalidFieldNameReason(subField));
        for (const auto &name : qAsConst(checked)) {
            if (!name.second.isEmpty()) {
                messages->warning(refusedNameWarning(name.first, name.second));
                return;
            }
        }
    }

    if (db->tableExists(name)) {
        // Add-field mode: the columns go into the existing table.
        if (!copyBefore("aggiungi-campo"))
            return;
        for (newTableElement *element : qAsConst(tableElements)) {
            const ColumnDefinition column = element->columnDefinition();
            if (!column.first.isEmpty() && db->addColumn(name, column.first, column.second))
                createSubtable(name, column.first, element->subtableDesign());
        }
        tableNames = db->getTables();
        clearTableDesigner();
        changeToUsersPage();
        vwRecord(currentId);
        return;
    }

    // SQLite does not tell table names apart by case: a name that differs from
    // an existing one only in case is taken.
    for (const QString &existing : db->getTables()) {
        if (existing.compare(name, Qt::CaseInsensitive) == 0) {
            messages->warning(QString::asprintf("ERRORE: Il nome '%s' è già stato usato per una tabella.\n",
                                                TableName(name).display().toUtf8().constData()));
            return;
        }
    }

    QList<ColumnDefinition> rows;
    for (newTableElement *element : qAsConst(tableElements))
        rows << element->columnDefinition();
    if (!createNamedTable(name, newTableColumns(rows)))
        return;

    // The Id text is a single character, which insertRecord does not read as
    // a number: the database gives the row the next free id.
    addSettingsRow(name, ui->leIconData->text(), QString(QChar((db->countRecords(Naming::SettingsTable) + 1) % 256)));
    for (newTableElement *element : qAsConst(tableElements))
        createSubtable(name, element->columnDefinition().first, element->subtableDesign());

    clearTableDesigner();
    tableNames << name;
    if (!TableName(name).isHidden() || showHidden) {
        addTableButton(name);
    }
    changeToUsersPage();
    vwRecord(currentId);
}
