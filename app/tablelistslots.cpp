// Table list, hidden and system tables, Advanced and Administrator Mode,
// and the table-level actions on the list.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "app/resources.h"
#include "dialogs/listbuttonform.h"
#include "dialogs/progressbarform.h"
#include "dialogs/messagehandler.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"

#include <QFile>
#include <QSqlQuery>

namespace {
using Naming::IdColumn;
const char *const Settings = Naming::SettingsTable;
const char *const SettingsName = Naming::SettingsNameColumn;
const char *const SettingsIcon = Naming::SettingsIconColumn;
} // namespace

QIcon Tessaro::tableIcon(const QString &table)
{
    const QSqlRecord row = db->findRecord(Settings, SettingsName, table);
    const QString path = db->getFieldValue(Settings, row, SettingsIcon).toString();
    // A table with no row, or one designed without choosing an icon, gets the
    // built-in icon; a stored path that names no file shows an empty icon.
    if (row.isEmpty() || path.isEmpty())
        return tessaroIcon(":generalIcon");
    QIcon icon;
    icon.addFile(dbFolder + path, QSize(), QIcon::Normal, QIcon::Off);
    return icon;
}

void Tessaro::setTableHeader(const QString &table)
{
    // One record's rows of a subtable are titled with that record's text too.
    const bool owned = table == db->rowScopeTable() && !subtableOwnerText.isEmpty();
    ui->lbListName->setText(TableName(table).display() + (owned ? QString::fromUtf8(" — ") + subtableOwnerText : QString()));
    ui->lbListIcon->setPixmap(tableIcon(table).pixmap(100, 50));
}

void Tessaro::discardTableButtons()
{
    // A deleted widget leaves its layout by itself.
    qDeleteAll(tableButtons);
    tableButtons.clear();
}

void Tessaro::discardFilterButtons()
{
    qDeleteAll(filterButtons);
    filterButtons.clear();
}

// Rebuilds the buttons from tableNames and pushes the first one.
void Tessaro::rebuildTableButtons()
{
    discardTableButtons();
    for (const QString &name : qAsConst(tableNames)) {
        const TableName table(name);
        if (table.isSystem() && !techMode)
            continue;
        if (table.isHidden() && !showHidden)
            continue;
        const QIcon icon = addTableButton(name);
        if (name == tableNames.first())
            ui->lbListIcon->setPixmap(icon.pixmap(100, 50));
    }
    if (!tableButtons.isEmpty())
        tableButtons.first()->pushed();
}

QIcon Tessaro::addTableButton(const QString &name)
{
    auto *button = new ListButtonForm(ui->tablesScrollContents);
    tableButtons << button;
    button->setName(name);
    const QIcon icon = tableIcon(name);
    button->setIcon(icon);
    ui->listButtonLayout->addWidget(button);
    connect(button, &ListButtonForm::changeList, this, &Tessaro::changeTable);
    return icon;
}

void Tessaro::showHiddenTable()
{
    tableNames = db->getTables();
    showHidden = ui->actionShow_Hidden_Tables->isChecked();
    rebuildTableButtons();
}

void Tessaro::enableTechMod()
{
    const bool before = techMode;
    tableNames = db->getTables();
    if (ui->actionTech_Mod->isChecked()) {
        techMode = MessageHandler::current()->question(
            "Nel Modo Avanzato è possibile danneggiare il Database. Abilitare il Modo Avanzato?");
        if (!techMode)
            ui->actionTech_Mod->setChecked(false);
    } else {
        techMode = false;
    }
    ui->actionRestore_Copy->setVisible(techMode);
    if (techMode != before)
        rebuildTableButtons();
}

void Tessaro::administratorModeEnabled(bool on)
{
    adminMode = on;
    for (QAction *action : {ui->actionNew_Db, ui->actionTable, ui->actionTech_Mod, ui->actionAdd_Field,
                            ui->actionDeleteFilter, ui->actionRemove_Table, ui->actionDelete_All_Database,
                            ui->actionShow_Hidden_Tables})
        action->setVisible(on);
}

void Tessaro::removeTable()
{
    // A table another one needs is never removed on its own.
    const QString refusal = db->dropRefusal(currentTable);
    if (!refusal.isEmpty()) {
        MessageHandler::current()->warning(refusal);
        return;
    }
    const QString text = QString::asprintf("Eliminare %s?", TableName(currentTable).display().toUtf8().constData());
    if (MessageHandler::current()->question(text) && copyBefore("elimina-tabella"))
        dropCurrentTable(false);
}

void Tessaro::dropCurrentTable(bool silent)
{
    const QString table = currentTable;
    if (!silent) {
        // Subtable configurations of the table's SUBTABLE fields go with it.
        QStringList keys;
        for (const QString &column : db->getFieldNames(table)) {
            if (column.contains(Naming::SubtableTag))
                keys << subtableConfigurationKey(table, column);
        }
        if (!keys.isEmpty()) {
            QList<int> doomed;
            for (const QSqlRecord &row : db->getAllRecords(Naming::SubtableConfigsTable)) {
                const QString name = row.value(1).toString();
                for (const QString &key : qAsConst(keys)) {
                    if (belongsToSubtableKey(name, key)) {
                        doomed << row.value(0).toInt();
                        break;
                    }
                }
            }
            for (int id : qAsConst(doomed))
                db->deleteRecord(Naming::SubtableConfigsTable, id);
        }
    }

    db->dropTable(table);

    if (!silent) {
        const QSqlRecord row = db->findRecord(Settings, SettingsName, table);
        if (!row.isEmpty())
            db->deleteRecord(Settings, db->getFieldValue(Settings, row, IdColumn).toInt());
        removeTableFilters(table);
    }

    tableNames.removeAll(table);
    for (int i = 0; i < tableButtons.size(); ++i) {
        if (tableButtons.at(i)->tableName() == table) {
            delete tableButtons.takeAt(i);
            break;
        }
    }

    // The second remaining table becomes current; with one left, none does.
    if (tableNames.size() < 2) {
        updateTableActions();
        return;
    }
    currentTable = tableNames.at(1);
    changeTable(currentTable);
}

void Tessaro::deleteAll()
{
    if (!MessageHandler::current()->question("Eliminare tutte le tabelle?") || !copyBefore("elimina-tutto"))
        return;

    progress->setWindowTitle("Eliminazione in corso");
    progress->setValue(0);
    progress->show();
    const int total = tableButtons.size() + tableNames.size() + filterButtons.size() + 4;
    const QStringList names = tableNames;
    for (int i = 0; i < names.size(); ++i) {
        progress->setLabel(names.at(i));
        currentTable = names.at(i);
        dropCurrentTable(true);
        reportProgress(i, total);
    }
    tableNames.clear();
    progress->setLabel("Elaborazione");
    discardTableButtons();
    discardFilterButtons();
    ensureSystemTables();
    resetRecordList();
    clearRecordView();
    ui->lbViewInfo->setText("----");
    ui->lbListName->setText("----");
    progress->hide();
    updateTableActions();
}

void Tessaro::copyIconToDataFolder(const QString &file, QString *storedPath)
{
    const QString name = file.section('/', -1);
    // Never overwrites: a file of that name already there is kept.
    QFile::copy(file, QString::asprintf("%s/%s", dbDataPath.toUtf8().constData(), name.toUtf8().constData()));
    *storedPath = QString::asprintf("%s/%s", Naming::DataFolder, name.toUtf8().constData());
}

void Tessaro::changeTableIcon()
{
    const QString file = MessageHandler::current()->openFileName(this, "Open File", "/home",
                                                                 "Images (*.png *.jpg *.jpeg *.bmp *.tif)");
    // A cancelled dialog still goes on and stores "DB_DATA/" as the icon path.
    QString stored;
    copyIconToDataFolder(file, &stored);
    const QSqlRecord row = db->findRecord(Settings, SettingsName, currentTable);
    if (!row.isEmpty()) {
        QString quotedPath = stored;
        quotedPath.replace("'", "''");
        db->updateField(Settings, db->getFieldValue(Settings, row, IdColumn).toInt(), SettingsIcon, quotedPath);
    } else {
        addSettingsRow(currentTable, stored, QString(QChar((db->countRecords(Settings) + 1) % 256)));
    }
    rebuildTableButtons();
    listSavedFilters();
}

void Tessaro::hideShowList(bool on)
{
    ui->listFrame->setVisible(on);
}

bool Tessaro::createNamedTable(const QString &table, const QList<ColumnDefinition> &columns)
{
    if (db->tableExists(table)) {
        MessageHandler::current()->warning(QString::asprintf(
            "ERRORE: Il nome '%s' è già stato usato per una tabella.\n", TableName(table).display().toUtf8().constData()));
        return false;
    }
    return db->createTable(table, columns);
}

void Tessaro::addSettingsRow(const QString &table, const QString &iconPath, const QString &idText)
{
    // Texts travel to the record writer with their apostrophes doubled.
    QString quotedName = table, quotedPath = iconPath;
    quotedName.replace("'", "''");
    quotedPath.replace("'", "''");
    insertRecord(Settings, {FieldValue(IdColumn, idText), FieldValue(SettingsName, quotedName),
                            FieldValue(SettingsIcon, quotedPath)},
                 false);
}

void Tessaro::ensureSystemTables()
{
    const QList<QPair<QString, QList<ColumnDefinition>>> systemTables = {
        {Settings, {{SettingsName, "text"}, {SettingsIcon, "text"}}},
        {Naming::FiltersTable,
         {{"RSTRINGFORMAT_filterName", "text"},
          {"NSTRINGFORMAT_filterTableName", "text"},
          {"NSTRINGFORMAT_filterFieldName", "text"},
          {"NSTRINGFORMAT_filterFieldValue", "text"},
          {"NSTRINGFORMAT_filterFieldType", "text"},
          {"NSTRINGFORMAT_filterFieldCondition", "text"},
          {"NSTRINGFORMAT_filterFieldConditionAndOr", "text"}}},
        {Naming::SubtableConfigsTable,
         {{"RSTRINGFORMAT_subConfigName", "text"},
          {"NSTRINGFORMAT_subConfigFieldName", "text"},
          {"NSTRINGFORMAT_subConfigFieldType", "text"}}},
    };
    for (const auto &table : systemTables) {
        if (!db->tableExists(table.first))
            createNamedTable(table.first, table.second);
    }
}
