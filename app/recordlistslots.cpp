// Record list, search and navigation, and the read-only record view.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "app/accessibility.h"

#include "dialogs/progressbarform.h"
#include "records/outputdataform.h"
#include "dialogs/messagehandler.h"
#include "storage/columnname.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"

#include <QSignalBlocker>
#include <QSqlRecord>

namespace {

using Naming::RepeatMarker;

// The title of a column in the record view: its field part with blanks for
// underscores, after the name of the table a lookup column reads from; a
// repeat marker is left for the display to take out. A column outside the
// naming scheme is titled with its whole name.
QString columnTitle(const ColumnName &column)
{
    if (column.isForeign())
        return column.name();
    QString field = column.field();
    if (column.isLookup())
        field = TableName(column.lookupTable()).display() + "_" + field;
    const int marker = field.indexOf(RepeatMarker);
    if (marker < 0)
        return field.replace('_', ' ');
    return field.left(marker).replace('_', ' ') + RepeatMarker
           + field.mid(marker + int(strlen(RepeatMarker))).replace('_', ' ');
}

} // namespace

bool Tessaro::isRecordListed(const QString &table, int id)
{
    return recordPassesFilter(table, id);
}

void Tessaro::resetRecordList()
{
    records.clear();
    listedCount = 0;
    firstRowOfId.clear();
    searchHits.clear();
    searchPosition = 0;
    listTable.clear();
    ui->userListWidget->clear();
}

void Tessaro::loadList(const QString &table)
{
    if (table.isEmpty()) {
        MessageHandler::current()->warning("Nessuna Tabella Caricata!");
        return;
    }
    resetRecordList();
    forgetFilterResults();

    progress->setWindowTitle("Elaborazione");
    const int count = db->countRecords(table);
    if (constructing && !parentWidget() && !isVisible()) {
        // At start-up the window comes first, with the load's progress over it.
        show();
    }
    lastProgressValue = -1; // a new load lets events through at once
    reportProgress(0, count);
    progress->show();

    RecordListing listing = readRecordListing(
        *db, table, count, ui->pbSort->isChecked(), [this, &table](int id) { return isRecordListed(table, id); },
        [this](int step, int total) { reportProgress(step, total); });
    records = std::move(listing.map);
    firstRowOfId = std::move(listing.firstRowOfId);
    listedIds = std::move(listing.ids);

    QListWidget *list = ui->userListWidget;
    list->setUpdatesEnabled(false);
    list->addItems(listing.texts);
    listedCount = listing.texts.size();
    listing.texts.clear();
    list->setUpdatesEnabled(true);
    listTable = table;
    ++listLoads;

    if (list->count() == 0)
        ui->lbViewInfo->setText("----");
    ui->lbToolbar->setText(QString::asprintf("%d Records", list->count()));
    Accessibility::describe(list, QString("%1 Record").arg(list->count()));
    progress->hide();
}

QVector<int> Tessaro::listedRecordIds() const
{
    const QListWidget *list = ui->userListWidget;
    if (listedIds.size() == list->count())
        return listedIds;
    // The items changed since the load: their texts name the records.
    QVector<int> ids;
    for (int row = 0; row < list->count(); ++row)
        ids << records.value(list->item(row)->text());
    return ids;
}

// Row of the first item showing the text of record id: 0 when the record has
// no text, -1 when its text is on no item.
int Tessaro::rowOfRecord(int id) const
{
    QString text;
    if (!records.textOf(id, &text))
        return 0;
    const QListWidget *list = ui->userListWidget;
    if (list->count() == listedCount) {
        // A text entered once is on one item only, the row of its record
        // ("----" may also stand for records without text).
        if (!records.isShared(text) && text != QLatin1String("----")) {
            const int *row = firstRowOfId.find(records.value(text));
            if (row && list->item(*row)->text() == text)
                return *row;
        }
    }
    // A shared text, or items changed since the load: look for the text itself.
    const int count = list->count();
    for (int row = 0; row < count; ++row) {
        if (list->item(row)->text() == text)
            return row;
    }
    return -1;
}

int Tessaro::idOfRow(int row)
{
    const QListWidgetItem *item = ui->userListWidget->item(row);
    return item ? records.idOf(item->text()) : 0;
}

void Tessaro::selectRow(int row)
{
    ui->userListWidget->setCurrentRow(row);
}

void Tessaro::changeTable(const QString &table)
{
    setTableHeader(table);
    currentTable = table;
    disableFilters();
    changeToUsersPage();
    updateTableActions();

    QListWidget *list = ui->userListWidget;
    if (records.isEmpty()) {
        listedCount = 0;
        firstRowOfId.clear();
        searchHits.clear();
        list->clear();
        clearRecordView();
        return;
    }
    showFirstRecord();
}

void Tessaro::showFirstRecord()
{
    currentRow = 0;
    const int id = idOfRow(0);
    currentId = id;
    {
        // vwRecord below shows this record; the selection need not show it first.
        const QSignalBlocker quiet(ui->userListWidget);
        selectRow(0);
    }
    vwRecord(id);
}

void Tessaro::changeToUsersPage()
{
    // Leaving the record page drops its editors, and what was attached on it.
    if (ui->stPages->currentWidget() == ui->newUserPage)
        discardRecordPage();
    if (!currentTable.isEmpty()) {
        loadList(currentTable);
    } else if (techMode) {
        if (tableNames.size() >= 3) {
            currentTable = tableNames.at(2);
            loadList(currentTable);
        }
    } else {
        // Outside Advanced Mode a system table never becomes current: the
        // first table the list shows does, if there is one.
        for (const QString &name : qAsConst(tableNames)) {
            if (!TableName(name).isSystem() && (showHidden || !TableName(name).isHidden())) {
                currentTable = name;
                break;
            }
        }
        if (!currentTable.isEmpty()) {
            setTableHeader(currentTable);
            loadList(currentTable);
        }
    }
    ui->stPages->setCurrentWidget(ui->userPage);
}

void Tessaro::userSelectionChange()
{
    const QList<QListWidgetItem *> selected = ui->userListWidget->selectedItems();
    if (selected.isEmpty())
        return;
    QListWidgetItem *top = selected.first();
    for (QListWidgetItem *item : selected) {
        if (ui->userListWidget->row(item) < ui->userListWidget->row(top))
            top = item;
    }
    const int id = records.idOf(top->text());
    currentId = id;
    vwRecord(id);
}

void Tessaro::vwRecord(int id)
{
    currentId = id;
    showRecordView(id);

    QListWidget *list = ui->userListWidget;
    const int row = rowOfRecord(id);
    if (row >= 0 && row < list->count()) {
        {
            // The record is shown already; selecting its item must not show another.
            const QSignalBlocker quiet(list);
            selectRow(row);
        }
        currentRow = row;
        ui->lbViewInfo->setText(list->item(row)->text());
    }
}

// One step through the list, skipping records the list does not show now.
// Next stops at the end of the record map (the items may be fewer when texts
// collide), previous before the first row; with nothing left in that
// direction the record the step began from stays current.
void Tessaro::stepRecord(int direction)
{
    int row = rowOfRecord(currentId);
    currentRow = row;
    const int items = ui->userListWidget->count();
    const auto pastEnd = [&](int r) { return direction > 0 ? r >= records.size() || r >= items : r < 1; };
    if (direction > 0 ? row >= records.size() - 1 || row + 1 >= items : row < 1)
        return;
    const int start = currentId;
    row += direction;
    int id = idOfRow(row);
    while (!isRecordListed(currentTable, id)) {
        row += direction;
        if (pastEnd(row)) {
            id = start;
            break;
        }
        id = idOfRow(row);
    }
    currentRow = row;
    currentId = id;
    vwRecord(id);
}

void Tessaro::nextRecord()
{
    stepRecord(1);
}

void Tessaro::prevRecord()
{
    stepRecord(-1);
}

void Tessaro::userSearch(const QString &text)
{
    if (text.size() < 3)
        return;
    searchHits.clear();
    const QListWidget *list = ui->userListWidget;
    const int count = list->count();
    for (int row = 0; row < count; ++row) {
        const QString itemText = list->item(row)->text();
        if (itemText.contains(text, Qt::CaseInsensitive))
            searchHits << row;
    }
    if (searchHits.isEmpty())
        return;
    searchPosition = 0;
    selectRow(searchHits.first());
}

void Tessaro::userSearchNext()
{
    if (searchHits.isEmpty())
        return;
    searchPosition = qMin(searchPosition + 1, searchHits.size() - 1);
    selectRow(searchHits.at(searchPosition));
}

void Tessaro::userSearchPrev()
{
    if (searchHits.isEmpty())
        return;
    searchPosition = qMax(searchPosition - 1, 0);
    selectRow(searchHits.at(searchPosition));
}

void Tessaro::sort(bool on)
{
    ui->pbSort->setText(on ? "A-Z" : "1-N");
    const int row = currentRow;
    loadList(currentTable);
    if (row >= 0 && row < ui->userListWidget->count())
        selectRow(row);
}

void Tessaro::goToRequest(const QString &table, int id)
{
    ui->pbReturn->show();
    previousTable = currentTable;
    previousId = currentId;
    setTableHeader(table);
    currentTable = table;
    currentId = id;
    changeTable(table);
    vwRecord(id);
}

void Tessaro::goBack()
{
    setTableHeader(previousTable);
    currentTable = previousTable;
    changeTable(previousTable);
    currentId = previousId;
    vwRecord(previousId);
    ui->pbReturn->hide();
}

void Tessaro::clearRecordView()
{
    // A field widget may be the sender of the signal that got us here, so it
    // goes once control is back in the event loop.
    for (outputDataForm *widget : qAsConst(outputWidgets)) {
        ui->datiLayout->removeWidget(widget);
        widget->hide();
        widget->deleteLater();
    }
    outputWidgets.clear();
}

void Tessaro::showRecordView(int id)
{
    // The view goes out of sight while its fields are replaced: the old ones
    // are not repainted away one by one, and the new ones are laid out once,
    // when it is shown again at the end.
    ui->datiContents->setVisible(false);
    clearRecordView();
    const QStringList columns = db->getFieldNames(currentTable);
    const QSqlRecord record = db->getRecordById(currentTable, id);

    for (int i = 0; i < columns.size(); ++i) {
        const ColumnName column(columns.at(i));
        auto *widget = new outputDataForm(ui->datiContents);
        outputWidgets << widget;
        connect(widget, &outputDataForm::goToList, this, &Tessaro::goToRequest);
        connect(widget, &outputDataForm::goToFilter, this, &Tessaro::callFilter);
        widget->setDocumentsBase(dbFolder);
        widget->setSearchId(id);

        // The record's fields come in the order of the columns.
        QVariant value = i < record.count() && record.fieldName(i) == column.name()
                             ? record.value(i)
                             : db->getFieldValue(currentTable, record, column.name());
        if (column.isLookup()) {
            // Show the referenced record's value and lead to that record.
            const int otherId = value.toInt();
            const QSqlRecord other = db->getRecordById(column.lookupTable(), otherId);
            value = db->getFieldValue(column.lookupTable(), other, column.lookupColumn());
            widget->setReferenceTarget(column.lookupTable(), otherId);
        } else if (column.isLink()) {
            // A link column holds the name of the table it links to, and is
            // written back so whenever the record is shown and holds anything
            // else; a read-only session, and a table only browsed, write nothing.
            const QString linked = column.linkTable();
            if (!readOnly && db->isEditableTable(currentTable) && value.toString() != linked) {
                QString stored = linked;
                stored.replace("'", "''");
                updateRecord(id, FieldValueList{FieldValue(Naming::IdColumn, QString::number(id)),
                                                FieldValue(column.name(), stored)});
            }
            value = linked;
        } else if (column.isSubtable()) {
            widget->setSubTableParts(TableName(currentTable).isHidden()
                                         ? QString(currentTable).remove(0, int(strlen(Naming::HiddenMarker)))
                                         : currentTable,
                                     value.toString());
        }

        widget->setTitle(true, columnTitle(column));
        widget->setData(column.typeTag(), value);

        if (column.isProgramField() && !techMode) {
            widget->hide();
        } else {
            ui->datiLayout->addWidget(widget);
            widget->show();
        }
    }
    ui->datiContents->setVisible(true);
}
