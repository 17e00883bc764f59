// Record list, search and navigation, and the read-only record view.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "app/accessibility.h"

#include "dialogs/progressbarform.h"
#include "records/outputdataform.h"
#include "dialogs/messagehandler.h"
#include "storage/columnname.h"
#include "storage/namingscheme.h"
#include "records/subtables.h"
#include "storage/tablename.h"

#include "app/recordlistloader.h"
#include "app/recordgridmodel.h"
#include "app/recordlistview.h"
#include "records/inputdataform.h"

#include <QApplication>
#include <QEventLoop>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <QHeaderView>
#include <QTableView>
#include <QProgressBar>
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
    // The list is read through the filter: what it shows passes it.
    if (table == listTable && listModel->size() > 0)
        return true;
    return recordPassesFilter(table, id);
}

void Tessaro::stopLoading()
{
    if (!loader)
        return;
    loader->disconnect(this);
    loader->stop();
    loader->wait();
    delete loader;
    loader = nullptr;
    loadPending.stop();
    loadProgress->hide();
}

void Tessaro::resetRecordList()
{
    stopLoading();
    listModel->clear();
    searchHits.clear();
    searchPosition = 0;
    searchText.clear();
    listTable.clear();
}

// Tables larger than this are read by a worker while the window goes on.
static const int LoadedAtOnce = 50000;

void Tessaro::loadList(const QString &table)
{
    if (table.isEmpty()) {
        MessageHandler::current()->warning("Nessuna Tabella Caricata!");
        return;
    }
    resetRecordList();
    forgetFilterResults();
    listModel->setSorted(ui->pbSort->isChecked());
    if (ui->pbGrid->isChecked())
        gridModel->setTable(db, table);

    RecordListRequest request;
    request.table = table;
    if (!filterPageStale) {
        for (const inputDataForm *editor : qAsConst(filterForms))
            request.conditions << editor->filterCondition();
        for (const FilterCondition &condition : qAsConst(request.conditions))
            listFiltered = listFiltered || condition.active;
    }
    if (table == db->rowScopeTable()) {
        request.scopeColumn = Naming::OwnerColumn;
        request.scopeValue = db->rowScopeValue();
    }
    listTable = table;
    ++listLoads;

    progress->setWindowTitle("Elaborazione");
    int count = db->countRecordsUpTo(table, LoadedAtOnce + 1);
    if (constructing && !parentWidget() && !isVisible()) {
        // At start-up the window comes first, with the load's progress over it.
        show();
    }

    // A large table: its first records at once, the others from a worker,
    // with the progress in the status bar.
    if (count > LoadedAtOnce && !db->filePath().isEmpty()) {
        // Measured against the highest row id (one row's read), or the whole
        // count of one record's rows (read by their owner's index).
        count = table == db->rowScopeTable() ? db->countRecords(table) : qMax(count, db->highestRowId(table));
        loader = new RecordListLoader(db->filePath(), request, this);
        connect(loader, &RecordListLoader::rowsRead, this, &Tessaro::takeLoadedRows);
        connect(loader, &RecordListLoader::finishedReading, this, &Tessaro::finishLoading);
        loadTotal = count;
        listModel->reserve(count);
        loadProgress->setRange(0, count);
        loadProgress->setValue(0);
        loadShown.invalidate();
        loadProgress->show();
        loader->start();
        loader->waitForFirstRows(250);
        takeLoadedRows();
        if (listModel->size() == 0)
            ui->lbViewInfo->setText("----");
        fitGridColumns();
        return;
    }

    // A short load is over before a dialog could be read: it shows no
    // progress and lets no events through (the window is painted once, after).
    const bool shown = count >= 5000;
    if (shown) {
        // At start-up the load lets events through at once: the window is painted first.
        lastProgressValue = -1;
        if (constructing)
            progressPump.invalidate();
        reportProgress(0, count);
        progress->show();
        // At start-up the progress comes over the window just painted.
        if (constructing)
            QEventLoop().processEvents();
    }
    RecordListReader reader(*db, request);
    int read = 0;
    reader.read([this, &read, count, shown](RecordListModel::Batch &batch) {
        read += batch.size();
        listModel->append(batch);
        if (shown)
            reportProgress(read, count);
        return true;
    });
    if (listModel->size() == 0)
        ui->lbViewInfo->setText("----");
    showListCount(true);
    fitGridColumns();
    if (shown)
        progress->hide();
}

void Tessaro::takeLoadedRows()
{
    if (!loader)
        return;
    for (const RecordListModel::Batch &batch : loader->takeBatches())
        listModel->append(batch, false);
    // The list shows what came a few times a second, not at every batch:
    // each time the view lays all its rows out anew, and paints the count and the bar.
    if (loadShown.isValid() && loadShown.elapsed() < 200) {
        if (!loadPending.isActive())
            loadPending.start(int(200 - loadShown.elapsed()));
        return;
    }
    showLoadedRows();
}

void Tessaro::showLoadedRows()
{
    loadPending.stop();
    loadShown.start();
    const int before = listModel->size();
    listModel->publish();
    if (listModel->size() == before)
        return;
    showListCount(false);
    loadProgress->setValue(qMin(loadTotal, listModel->size()));
    // A search typed early finds the hits that come later.
    if (searchText.size() >= 3)
        extendSearch(listModel->isSorted() ? 0 : before);
}

void Tessaro::finishLoading(bool complete)
{
    if (!loader)
        return;
    takeLoadedRows();
    showLoadedRows();
    // A table cut short by damage is told once, as the window's own reads tell it.
    for (const QString &failure : loader->failures()) {
        if (!toldFailures.contains(failure)) {
            toldFailures.insert(failure);
            MessageHandler::current()->warning(failure);
        }
    }
    Q_UNUSED(complete)
    stopLoading();
#ifdef __GLIBC__
    // What the worker's batches took goes back to the system, not kept for later.
    malloc_trim(0);
#endif
    showListCount(true);
    // A grid sorted while the rest was read takes the late records into its order.
    if (gridModel->sortColumn() >= 0)
        gridModel->sort(gridModel->sortColumn(), gridModel->sortOrder());
}

// The count under the list; a screen reader hears it when a list is complete,
// not at every batch of a long load.
void Tessaro::showListCount(bool announce)
{
    ui->lbToolbar->setText(QString::asprintf("%d Records", listModel->size()));
    if (announce)
        Accessibility::describe(ui->userListWidget, QString("%1 Record").arg(listModel->size()));
}

// What is printed or exported is the whole list: a reading still under way
// is finished first.
QVector<int> Tessaro::listedIds()
{
    if (loader) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        loader->wait();
        finishLoading(loader->isComplete());
        QApplication::restoreOverrideCursor();
    }
    QVector<int> ids;
    ids.reserve(listModel->size());
    for (int row = 0; row < listModel->size(); ++row)
        ids << listModel->idAt(row);
    return ids;
}

// Row of the first item showing the text of record id: 0 when the record has
// no text, -1 when its text is on no item.
int Tessaro::rowOfRecord(int id) const
{
    return listModel->rowOf(id);
}

int Tessaro::idOfRow(int row)
{
    return row >= 0 && row < listModel->size() ? listModel->idOf(listModel->textAt(row)) : 0;
}

void Tessaro::selectRow(int row)
{
    ui->userListWidget->setCurrentRow(row);
}

void Tessaro::changeTable(const QString &table)
{
    const DbSchemaHold hold(*db);
    // Another table shows all its rows: a subtable's are one record's only
    // while it is opened from that record.
    if (!openingSubtable && table != db->rowScopeTable()) {
        db->clearRowScope();
        subtableOwnerText.clear();
    }
    setTableHeader(table);
    currentTable = table;
    disableFilters();
    changeToUsersPage();
    updateTableActions();

    if (!listModel->mapsAny() && listModel->size() == 0) {
        searchHits.clear();
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
    const QList<int> selected = ui->userListWidget->selectedRows();
    if (selected.isEmpty())
        return;
    // The item's text names the record.
    const int id = listModel->idOf(listModel->textAt(selected.first()));
    currentId = id;
    vwRecord(id);
}

void Tessaro::vwRecord(int id)
{
    const DbSchemaHold hold(*db);
    currentId = id;
    showRecordView(id);

    const int row = rowOfRecord(id);
    if (row >= 0 && row < listModel->size()) {
        {
            // The record is shown already; selecting its item must not show another.
            const QSignalBlocker quiet(ui->userListWidget);
            selectRow(row);
        }
        currentRow = row;
        ui->lbViewInfo->setText(listModel->textAt(row));
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
    const int items = listModel->size();
    const int mapped = listModel->mapSize();
    const auto pastEnd = [&](int r) { return direction > 0 ? r >= mapped || r >= items : r < 1; };
    if (direction > 0 ? row >= mapped - 1 || row + 1 >= items : row < 1)
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
    searchText = text;
    searchHits.clear();
    extendSearch(0);
}

// Adds the hits from row from on; the first hit is selected when it is the
// first one found.
void Tessaro::extendSearch(int from)
{
    const bool hadHits = !searchHits.isEmpty();
    if (from == 0)
        searchHits.clear();
    searchHits += listModel->search(searchText, from).toList();
    if (hadHits || searchHits.isEmpty())
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
    if (row >= 0 && row < listModel->size())
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

void Tessaro::goToSubTableRequest(const QString &table)
{
    const DbSchemaHold hold(*db);
    if (!db->tableExists(table)) {
        MessageHandler::current()->warning(QString::fromUtf8("ERRORE: La sottotabella %1 non esiste!")
                                               .arg(TableName(table).display()));
        return;
    }
    const QString ownerText = ui->lbViewInfo->text();
    ui->pbReturn->show();
    previousTable = currentTable;
    previousId = currentId;
    // A subtable that lost its owner column is only shown whole.
    if (db->getFieldNames(table).value(1) == Naming::OwnerColumn) {
        db->setRowScope(table, Naming::OwnerColumn, currentId);
        subtableOwnerText = ownerText;
    } else {
        db->clearRowScope();
        MessageHandler::current()->warning(
            QString::fromUtf8("ERRORE: La sottotabella %1 non ha la colonna del Record proprietario: si mostrano "
                              "tutte le sue righe.")
                .arg(TableName(table).display()));
    }
    openingSubtable = true;
    changeTable(table);
    openingSubtable = false;
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
    for (QList<outputDataForm *> *widgets : {&outputWidgets, &parkedWidgets}) {
        for (outputDataForm *widget : qAsConst(*widgets)) {
            ui->datiLayout->removeWidget(widget);
            widget->hide();
            widget->deleteLater();
        }
        widgets->clear();
    }
    recordViewShape.clear();
    parkedShape.clear();
}

void Tessaro::showRecordView(int id)
{
    const QStringList columns = db->getFieldNames(currentTable);
    const QSqlRecord record = db->getRecordById(currentTable, id);
    // Another record of the table shown keeps the fields' widgets: only the
    // values change. A table with thousands of columns steps as fast as one
    // with ten.
    const QString shape = dbFolder + '\n' + currentTable + '\n' + columns.join('\n') + (techMode ? "\n1" : "\n0");
    const bool kept = shape == recordViewShape && outputWidgets.size() == columns.size();
    // The view of the table shown before is kept aside, out of sight, and
    // comes back as it was: a record and its subtable's rows, a record and
    // the one a lookup leads to, are gone to and fro.
    const bool unparked = !kept && shape == parkedShape && parkedWidgets.size() == columns.size();
    if (!kept) {
        // The view goes out of sight while its fields are replaced: the old
        // ones are not repainted away one by one, and the new ones are laid
        // out once, when it is shown again at the end.
        ui->datiContents->setVisible(false);
        QList<outputDataForm *> shown = outputWidgets;
        const QString shownShape = recordViewShape;
        if (unparked) {
            outputWidgets = parkedWidgets;
        } else {
            for (outputDataForm *widget : qAsConst(parkedWidgets)) {
                ui->datiLayout->removeWidget(widget);
                widget->deleteLater();
            }
            outputWidgets.clear();
        }
        parkedWidgets = shown;
        parkedShape = shownShape;
        for (outputDataForm *widget : qAsConst(parkedWidgets))
            widget->hide();
    }

    for (int i = 0; i < columns.size(); ++i) {
        const ColumnName column(columns.at(i));
        const bool made = !kept && !unparked;
        outputDataForm *widget = made ? new outputDataForm(ui->datiContents) : outputWidgets.at(i);
        if (made) {
            outputWidgets << widget;
            connect(widget, &outputDataForm::goToList, this, &Tessaro::goToRequest);
            connect(widget, &outputDataForm::goToFilter, this, &Tessaro::callFilter);
            if (column.isSubtable())
                connect(widget, &outputDataForm::goToSubList, this, &Tessaro::goToSubTableRequest);
        }
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
            // The subtable's name: the owning table's, the field's, and its
            // configuration's, found in the configurations (the column
            // itself is emptied by every save).
            widget->setSubTableParts(TableName(currentTable).isHidden()
                                         ? QString(currentTable).remove(0, int(strlen(Naming::HiddenMarker)))
                                         : currentTable,
                                     Subtables::configurationOf(*db, currentTable, column.name()).name);
        }

        if (made)
            widget->setTitle(true, columnTitle(column));
        widget->setData(column.typeTag(), value);
        if (kept)
            continue;
        if (column.isProgramField() && !techMode) {
            widget->hide();
        } else {
            if (made)
                ui->datiLayout->addWidget(widget);
            widget->show();
        }
    }
    if (!kept) {
        ui->datiContents->setVisible(true);
        recordViewShape = shape;
    }
}

// The grid shows the list's rows through a model of its own: choosing a row
// in one chooses the same record in the other, so the record view and every
// command that acts on the chosen record work alike from both.
void Tessaro::setUpGrid()
{
    gridModel = new RecordGridModel(listModel, this);
    QTableView *grid = ui->userGridView;
    // Hidden, the grid has no table and no rows: its header keeps nothing.
    grid->setModel(gridModel);
    grid->setSelectionBehavior(QAbstractItemView::SelectRows);
    grid->setSelectionMode(QAbstractItemView::SingleSelection);
    grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grid->setWordWrap(false);
    grid->setAlternatingRowColors(true);
    // Every row as tall as the first: nothing is measured row by row.
    grid->verticalHeader()->hide();
    grid->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    grid->verticalHeader()->setDefaultSectionSize(grid->fontMetrics().height() + 6);
    grid->horizontalHeader()->setSectionsClickable(true);
    grid->horizontalHeader()->setHighlightSections(false);
    grid->horizontalHeader()->setDefaultSectionSize(140);
    connect(grid->selectionModel(), &QItemSelectionModel::currentChanged, this, &Tessaro::gridRowChosen);
    connect(grid->horizontalHeader(), &QHeaderView::sectionClicked, this, &Tessaro::sortGrid);
    // Also when the list is moved quietly, as a step to the next record moves it.
    connect(ui->userListWidget->selectionModel(), &QItemSelectionModel::currentChanged, this, &Tessaro::followListInGrid);
    connect(gridModel, &QAbstractItemModel::modelReset, this, &Tessaro::followListInGrid);
    connect(gridModel, &QAbstractItemModel::layoutChanged, this, &Tessaro::followListInGrid);
}

void Tessaro::showGrid(bool on)
{
    QTableView *grid = ui->userGridView;
    if (on)
        gridModel->setTable(db, listTable.isEmpty() ? currentTable : listTable);
    else
        gridModel->setTable(nullptr, QString());
    ui->userListWidget->setVisible(!on);
    grid->setVisible(on);
    grid->horizontalHeader()->setSortIndicatorShown(false);
    // The grid takes the room the record view can spare.
    ui->listFrame->setMaximumWidth(on ? QWIDGETSIZE_MAX : 320);
    ui->userBodyLayout->setStretch(0, on ? 3 : 0);
    ui->userBodyLayout->setStretch(1, on ? 2 : 0);
    followListInGrid();
    fitGridColumns();
    (on ? static_cast<QWidget *>(grid) : ui->userListWidget)->setFocus();
}

// Columns as wide as the rows in sight need, within reason: only those rows
// are measured.
void Tessaro::fitGridColumns()
{
    QTableView *grid = ui->userGridView;
    if (!ui->pbGrid->isChecked())
        return;
    grid->resizeColumnsToContents();
    for (int column = 0; column < gridModel->columnCount(); ++column)
        grid->setColumnWidth(column, qBound(60, grid->columnWidth(column), 300));
}

// A grid row is one record whatever its list text: the record shown is the
// row's own, even where the list would name another by the same text.
void Tessaro::gridRowChosen(const QModelIndex &current)
{
    const int row = gridModel->listRow(current.row());
    if (row < 0)
        return;
    const int id = gridModel->index(current.row(), 0).data(RecordListModel::IdRole).toInt();
    if (row == ui->userListWidget->currentRow() && id == currentId)
        return;
    {
        const QSignalBlocker quiet(ui->userListWidget);
        ui->userListWidget->setCurrentRow(row);
    }
    currentRow = row;
    currentId = id;
    showRecordView(id);
    ui->lbViewInfo->setText(listModel->textAt(row));
}

void Tessaro::followListInGrid()
{
    if (!ui->userGridView->isVisible() && !ui->pbGrid->isChecked())
        return;
    const int listed = ui->userListWidget->currentRow();
    QItemSelectionModel *selection = ui->userGridView->selectionModel();
    if (listed < 0) {
        selection->clear();
        return;
    }
    // The grid marks the record shown: the list's row names it by its text.
    const int arrival = listModel->arrivalRowOfId(currentId);
    const int shown = arrival >= 0 && listModel->textAt(listModel->displayRow(arrival)) == listModel->textAt(listed)
                          ? listModel->displayRow(arrival)
                          : listed;
    const int row = gridModel->gridRow(shown);
    if (selection->currentIndex().row() == row && selection->isRowSelected(row, QModelIndex()))
        return;
    const QModelIndex index = gridModel->index(row, qMax(0, selection->currentIndex().column()));
    selection->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    ui->userGridView->scrollTo(index);
}

void Tessaro::sortGrid(int column)
{
    QHeaderView *header = ui->userGridView->horizontalHeader();
    // A first click sorts up, the next down, the third gives back the list's order.
    Qt::SortOrder order = Qt::AscendingOrder;
    if (gridModel->sortColumn() == column) {
        if (gridModel->sortOrder() == Qt::DescendingOrder)
            column = -1;
        else
            order = Qt::DescendingOrder;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    gridModel->sort(column, order);
    QApplication::restoreOverrideCursor();
    header->setSortIndicatorShown(column >= 0);
    if (column >= 0)
        header->setSortIndicator(column, order);
}
