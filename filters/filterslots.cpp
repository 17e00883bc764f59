// The filter page, the record test behind the record list, the search for
// records that link to a record, and filters saved by name.
#include "app/tessaro.h"
#include "ui_tessaro.h"
#include "app/resources.h"

#include "dialogs/choosenameform.h"
#include "dialogs/listbuttonform.h"
#include "dialogs/progressbarform.h"
#include "filters/savedfilters.h"
#include "records/inputdataform.h"
#include "records/lookupchoices.h"
#include "records/tabledesign.h"
#include "dialogs/messagehandler.h"
#include "storage/columnname.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"

#include <QSignalBlocker>

namespace {
const char *const SavingTitle = "Salvataggio in corso";

bool anyActive(const QList<FilterCondition> &conditions)
{
    for (const FilterCondition &condition : conditions) {
        if (condition.active)
            return true;
    }
    return false;
}

bool isComparison(const QString &word)
{
    return word == "Equal" || word == "Disequal" || word == "Major" || word == "Minor";
}
} // namespace

// ---------------------------------------------------------------- the page

void Tessaro::buildFilterPage()
{
    qDeleteAll(filterForms);
    filterForms.clear();
    QHash<QString, QStringList> lookupItems; // other table -> combo items

    for (const QString &name : db->getFieldNames(currentTable)) {
        const ColumnName column(name);
        auto *editor = new inputDataForm(ui->filterContents);
        filterForms << editor;
        editor->setTitle(true, column.isForeign() ? name : column.field());
        editor->setColumnName(name);
        editor->setFilterMode(true);

        if (column.isLookup()) {
            // Titled after the table it looks into, as the record view does;
            // "---", then "id first-field" for every record of that table.
            const QString otherTable = column.lookupTable();
            editor->setTitle(true, TableName(otherTable).display() + "_" + column.field());
            if (!lookupItems.contains(otherTable))
                lookupItems.insert(otherTable, lookupChoices(*db, otherTable));
            editor->setValue(column.typeWord(), QVariant());
            editor->setComboBox(true, lookupItems.value(otherTable));
            editor->setComboIndex(0);
        } else {
            editor->setValue(column.typeWord(), QVariant());
        }
        editor->setActive();

        // Attachments and subtables cannot be filtered on; the id and the
        // record's folder are never tested.
        if (column.isAttachment() || column.isSubtable() || column.isProgramField())
            editor->hide();
        else
            ui->filterLayout->addWidget(editor);
    }
    filterPageTable = currentTable;
    filterPageStale = false;
    filterResultsValid = false;
}

// Opening a table clears the page; the editors are made again when the page
// is next needed, so that opening a table never waits for them.
void Tessaro::ensureFilterPage()
{
    if (filterPageStale || filterPageTable != currentTable) {
        buildFilterPage();
        snapshotFilterPage();
    }
}

const QList<inputDataForm *> &Tessaro::filterEditors()
{
    ensureFilterPage();
    return filterForms;
}

void Tessaro::snapshotFilterPage()
{
    keptConditions.clear();
    for (const inputDataForm *editor : qAsConst(filterForms))
        keptConditions << editor->filterCondition();
}

void Tessaro::restoreFilterEditor(inputDataForm *editor, const FilterCondition &kept)
{
    // Putting a value back makes the editor take part, as an edit does; its
    // kept condition and flag are set afterwards.
    if (editor->isLineEditShown())
        editor->setLineEdit(true, kept.text);
    if (editor->isCheckBoxShown())
        editor->setCheckBox(true, kept.checked, editor->checkBoxText());
    if (editor->isDateEditShown())
        editor->setDateEdit(true, QDate::fromString(kept.dateText, "dd/MM/yyyy"));
    if (editor->isSpinBoxShown())
        editor->setSpinBox(true, kept.number);
    if (editor->isComboBoxShown()) {
        editor->setComboIndex(0);
        if (kept.lookupKey != "---")
            editor->selectLookupItem(kept.lookupKey);
    }
    editor->setCondition(kept.comparison);
    editor->setConnector(kept.joiner);
    if (kept.active)
        editor->activatedByButton();
    else
        editor->deactivatedByButton();
}

bool Tessaro::filterPageChanged()
{
    if (filterPageStale || filterForms.size() != keptConditions.size())
        return false;
    for (int i = 0; i < filterForms.size(); ++i) {
        const FilterCondition now = filterForms.at(i)->filterCondition();
        const FilterCondition &kept = keptConditions.at(i);
        if (now.active != kept.active || (now.active && (now.comparison != kept.comparison || now.joiner != kept.joiner
                                                          || now.text != kept.text || now.dateText != kept.dateText
                                                          || now.number != kept.number || now.checked != kept.checked
                                                          || now.lookupKey != kept.lookupKey)))
            return true;
    }
    return false;
}

void Tessaro::setFilterLamp(bool on)
{
    filterLamp = on;
    ui->pbFilter->setIcon(tessaroIcon(on ? ":/ledOnIcon" : ":/ledOffIcon"));
}

void Tessaro::resetFilters()
{
    setFilterLamp(false);
    filterPageStale = true;
    keptConditions.clear();
    savedFilterName.clear();
    filterResultsValid = false;
}

void Tessaro::changeToFilterPage()
{
    ensureFilterPage();
    ui->stPages->setCurrentWidget(ui->filterPage);
}

// Lists the current table again through the filter, shows the list page and
// its first record, or an empty view.
void Tessaro::showFilteredList()
{
    loadList(currentTable);
    ui->stPages->setCurrentWidget(ui->userPage);
    if (ui->userListWidget->count() == 0) {
        clearRecordView();
        return;
    }
    showFirstRecord();
}

void Tessaro::enableFilters()
{
    ensureFilterPage();
    snapshotFilterPage();
    setFilterLamp(anyActive(keptConditions));
    showFilteredList();
}

void Tessaro::disableFilters()
{
    setFilterLamp(false);
    keptConditions.clear();
    filterPageStale = true;
    filterResultsValid = false;
    // Reset on the page itself: the user sees it cleared at once. (Opening
    // another table leaves the rebuild for when the page is next shown.)
    if (ui->stPages->currentWidget() == ui->filterPage && filterPageTable == currentTable) {
        buildFilterPage();
        snapshotFilterPage();
    }
}

void Tessaro::cancelFilterOperation()
{
    if (!filterPageStale && filterForms.size() == keptConditions.size()) {
        for (int i = 0; i < filterForms.size(); ++i)
            restoreFilterEditor(filterForms.at(i), keptConditions.at(i));
    }
    // After "Resetta" the list still shows what the old filter let through.
    if (listFiltered && !anyActive(keptConditions))
        showFilteredList();
    else
        ui->stPages->setCurrentWidget(ui->userPage);
}

void Tessaro::switchToFilters(bool on)
{
    ui->sWControls->setCurrentWidget(on ? ui->filtersPage : ui->tablesPage);
}

// ---------------------------------------------------------------- the record test

// A list load tests every record afresh: the table may have changed.
void Tessaro::forgetFilterResults()
{
    filterResultsValid = false;
    listFiltered = false;
}

bool Tessaro::recordPassesFilter(const QString &table, int id)
{
    if (filterPageStale)
        return true; // a page waiting to be rebuilt holds no condition
    if (!filterResultsValid || filterResultsTable != table) {
        QList<FilterCondition> conditions;
        for (const inputDataForm *editor : qAsConst(filterForms))
            conditions << editor->filterCondition();
        filterResults = evaluateFilter(*db, table, conditions);
        filterResultsTable = table;
        filterResultsValid = true;
        listFiltered = anyActive(conditions);
    }
    return filterResults.passes(id);
}

// ---------------------------------------------------------------- linked records

void Tessaro::callFilter(const QString &table, int id)
{
    linkToFilter(table, id);
}

void Tessaro::linkToFilter(const QString &table, int id)
{
    if (!db->tableExists(table)) {
        MessageHandler::current()->warning(
            QString::asprintf("ERRORE: La Tabella '%s' non esiste!\n", table.toUtf8().constData()));
        return;
    }
    const QString title = ui->lbViewInfo->text();
    const QString from = currentTable;
    ui->pbReturn->show();
    previousTable = currentTable;
    previousId = currentId;
    setTableHeader(table);
    currentTable = table;
    buildFilterPage();
    applyLinkFilter(id, from, title);
    enableFilters();
}

void Tessaro::applyLinkFilter(int id, const QString &previousTableName, const QString &title)
{
    // The lookups of this table into the one left behind: each must hold the
    // record left behind; any of them will do.
    const QString key = QString::number(id);
    for (inputDataForm *editor : qAsConst(filterForms)) {
        editor->setActive();
        const ColumnName column(editor->columnName());
        if (!column.isLookup() || column.lookupTable() != previousTableName)
            continue;
        editor->setComboText(QString::asprintf("%d %s", id, title.toUtf8().constData()));
        if (editor->comboText().section(' ', 0, 0) != key)
            editor->selectLookupItem(key);
        if (editor->comboText().section(' ', 0, 0) != key)
            continue; // the record left behind is not among the items
        editor->setCondition("Equal");
        editor->setConnector("Or");
        editor->activatedByButton();
    }
}

// ---------------------------------------------------------------- saved filters

void Tessaro::createNewFilter()
{
    progress->setWindowTitle(SavingTitle);
    progress->setLabel(SavingTitle);
    progress->setValue(0);
    progress->show();
    enableFilters();
    nameForm->clear();
    awaitingFilterName = true;
    nameForm->setModal(true);
    nameForm->show();
    progress->hide();
}

void Tessaro::waitForName()
{
    // The name dialog serves others too: only an answer to createNewFilter saves.
    if (!awaitingFilterName)
        return;
    awaitingFilterName = false;
    if (readOnly)
        return;
    const QString name = nameForm->getName().simplified();
    const QString problem = savedFilterNameProblem(readSavedFilterRows(*db), name);
    if (!problem.isEmpty()) {
        MessageHandler::current()->warning(refusedNameWarning(name, problem));
        return;
    }

    progress->setWindowTitle(SavingTitle);
    progress->setLabel(SavingTitle);
    progress->setValue(0);
    progress->show();
    const int count = filterForms.size();
    for (int i = 0; i < count; ++i) {
        inputDataForm *editor = filterForms.at(i);
        const FilterCondition condition = editor->filterCondition();
        const QString type = editor->fieldType();
        QString value = editor->value();
        if (type != "STRING" && type != "LONGSTRING" && type != "SUBTABLE")
            value.replace("'", "''"); // the editor doubles apostrophes for text fields only
        // An editor that takes no part is kept as such, whatever button shows.
        const QString comparison = condition.active ? condition.comparison : QString("NoCondition");
        insertRecord(Naming::FiltersTable,
                     savedFilterRowFields(name, i, currentTable, editor->columnName(), value, type, comparison,
                                          condition.joiner),
                     false);
        reportProgress(i + 1, count);
    }
    addSavedFilterButton(name, currentTable);
    savedFilterName = name;
    progress->hide();
}

void Tessaro::addSavedFilterButton(const QString &name, const QString &table)
{
    auto *button = new ListButtonForm(ui->filtersScrollContents);
    filterButtons << button;
    button->setNameAndFilter(table, name);
    button->setIcon(tableIcon(table));
    ui->filtersButtonLayout->addWidget(button);
    connect(button, &ListButtonForm::changeListAndFilter, this, &Tessaro::changeTableAndFilter);
}

void Tessaro::listSavedFilters()
{
    discardFilterButtons();
    for (const auto &head : savedFilterHeads(readSavedFilterRows(*db)))
        addSavedFilterButton(head.first, head.second);
}

void Tessaro::changeTableAndFilter(const QString &table, const QString &name)
{
    setTableHeader(table);
    currentTable = table;
    setFilterLamp(true);
    buildFilterPage();

    for (const SavedFilterRow &row : readSavedFilterRows(*db)) {
        if (savedFilterBaseName(row.name) != name)
            continue;
        // A column removed since the filter was saved finds no editor.
        inputDataForm *editor = nullptr;
        for (inputDataForm *candidate : qAsConst(filterForms)) {
            if (candidate->columnName() == row.field) {
                editor = candidate;
                break;
            }
        }
        if (!editor)
            continue;
        editor->setConnector(row.joiner);
        if (!isComparison(row.condition)) {
            editor->setActive();
            continue;
        }
        if (editor->isComboBoxShown()) {
            editor->selectLookupItem(row.value);
            if (editor->comboText().section(' ', 0, 0) != row.value) {
                editor->setComboIndex(0); // the record it named is gone
                continue;
            }
        } else {
            editor->setValue(row.type, row.value);
        }
        editor->setCondition(row.condition);
        editor->activatedByButton();
    }

    snapshotFilterPage();
    savedFilterName = name;
    showFilteredList();
}

void Tessaro::deleteFilter()
{
    MessageHandler *messages = MessageHandler::current();
    if (savedFilterName.isEmpty()) {
        messages->warning("ERRORE: Non è stato selezionato nessun filtro!\n");
        return;
    }
    if (messages->question(QString::asprintf("Eliminare %s?", savedFilterName.toUtf8().constData())))
        removeSavedFilter(savedFilterName);
}

void Tessaro::removeSavedFilter(const QString &name)
{
    if (readOnly)
        return;
    deleteSavedFilterRows(*db, name);
    for (int i = filterButtons.size() - 1; i >= 0; --i) {
        if (filterButtons.at(i)->filterName() == name)
            delete filterButtons.takeAt(i);
    }
    if (savedFilterName == name)
        savedFilterName.clear();
}

void Tessaro::removeTableFilters(const QString &table)
{
    const QStringList names = deleteTableFilterRows(*db, table);
    for (int i = filterButtons.size() - 1; i >= 0; --i) {
        if (filterButtons.at(i)->filterTable() == table)
            delete filterButtons.takeAt(i);
    }
    if (names.contains(savedFilterName))
        savedFilterName.clear();
}
