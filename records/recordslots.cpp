// The record page and the commands that save and delete records.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "dialogs/messagehandler.h"
#include "records/inputdataform.h"
#include "records/lookupchoices.h"
#include "records/recordwriter.h"
#include "storage/columnname.h"
#include "storage/tablename.h"

#include <QHash>

namespace {

QByteArray u8(const QString &text)
{
    return text.toUtf8();
}

// The cursor goes into the first field of the page that takes input.
void focusFirstField(const QList<inputDataForm *> &editors, const QLayout *page)
{
    for (inputDataForm *editor : editors) {
        if (page->indexOf(editor) >= 0 && editor->focusInput())
            return;
    }
}
} // namespace

// Tables made by other tools (and the inner tables of a full-text index) have
// no record ids of ours: their records are only browsed. Says so when table
// is such a table.
bool Tessaro::refuseForeignTable(const QString &table)
{
    const QString refusal = RecordWriter::foreignTableRefusal(*db, table);
    if (refusal.isEmpty())
        return false;
    MessageHandler::current()->warning(refusal);
    return true;
}

void Tessaro::changeToNewUserPage()
{
    if (refuseForeignTable(currentTable))
        return;
    editMode = false;
    buildRecordPage(db->getMaxId(currentTable) + 1, true);
    ui->stPages->setCurrentWidget(ui->newUserPage);
    ui->lbEdit->setText("Aggiungi");
    focusFirstField(inputForms, ui->inputLayout);
}

void Tessaro::updateUser()
{
    if (refuseForeignTable(currentTable))
        return;
    editMode = true;
    ui->lbEdit->setText("Modifica");
    if (!db->idExists(currentTable, currentId)) {
        MessageHandler::current()->warning("ERRORE: Record non trovato!");
        return;
    }
    buildRecordPage(currentId, false);
    ui->stPages->setCurrentWidget(ui->newUserPage);
    focusFirstField(inputForms, ui->inputLayout);
}

void Tessaro::discardRecordPage()
{
    // Files attached on a page left without saving go with it.
    pendingFiles.discard();
    // An editor may be where the key or click that got us here came from:
    // they go once control is back in the event loop.
    for (inputDataForm *editor : qAsConst(inputForms)) {
        ui->inputLayout->removeWidget(editor);
        editor->hide();
        editor->deleteLater();
    }
    inputForms.clear();
}

void Tessaro::buildRecordPage(int id, bool newPage)
{
    discardRecordPage();
    const QStringList columns = db->getFieldNames(currentTable);
    columnCount = columns.size();
    const QSqlRecord record = db->getRecordById(currentTable, id);

    // The record's folder as read so far: the UserPath column comes before
    // the image and PDF columns of every table the designer makes.
    QString userPath;
    QHash<QString, QStringList> lookupItems; // other table -> combo items

    // The page is laid out once, when it is shown again at the end.
    ui->inputContents->setVisible(false);
    for (int i = 0; i < columns.size(); ++i) {
        const ColumnName column(columns.at(i));
        auto *editor = new inputDataForm(ui->inputContents);
        // Every column gets an editor, shown or not, so that the editors and
        // the columns stay parallel.
        inputForms << editor;

        // The record's fields come in the order of the columns.
        QVariant value = i < record.count() && record.fieldName(i) == column.name()
                             ? record.value(i)
                             : db->getFieldValue(currentTable, record, column.name());

        // A column of a foreign database, named outside the scheme, is titled
        // by its whole name.
        editor->setTitle(true, column.isForeign() ? column.name() : column.field());
        editor->setColumnName(column.name());
        editor->setRequired(column.isRequired());

        if (column.isLookup()) {
            const QString otherTable = column.lookupTable();
            if (!lookupItems.contains(otherTable))
                lookupItems.insert(otherTable, lookupChoices(*db, otherTable));
            editor->setValue(column.typeWord(), value);
            editor->setComboBox(true, lookupItems.value(otherTable));
            editor->selectLookupItem(value.toString());
            ui->inputLayout->addWidget(editor);
            continue;
        }
        if (column.isSubtable() || (newPage && column.isAttachment())) {
            editor->hide();
            continue;
        }

        // A new row of a subtable opened from a record belongs to that record.
        if (column.isOwner() && newPage && currentTable == db->rowScopeTable())
            value = db->rowScopeValue();
        // A link column always holds the name of the table it links to.
        if (column.isLink())
            value = column.linkTable();
        editor->setValue(column.typeWord(), value);
        if (column.isLink()) {
            // The editor shows nothing for a link; the page shows the linked
            // table's name, which is what saving writes.
            editor->setLineEdit(true, value.toString());
            editor->setLineEditReadOnly(true);
        }
        if (column.isUserPath())
            userPath = value.toString();
        if (!column.isProgramField() || techMode)
            ui->inputLayout->addWidget(editor);
        else
            editor->hide();
        if (column.isAttachment()) {
            editor->setUserPath(userPath);
            editor->setDbFolder(dbFolder);
            editor->setPendingAttachments(&pendingFiles);
        }
    }
    ui->inputContents->setVisible(true);
}

void Tessaro::newRecord()
{
    if (readOnly)
        return;
    MessageHandler *messages = MessageHandler::current();
    FieldValueList fields;
    inputDataForm *missing = nullptr;
    // The record as stored, for the fields the user leaves as they are.
    const QSqlRecord stored = editMode ? db->getRecordById(currentTable, currentId) : QSqlRecord();
    for (int i = 0; i < inputForms.size(); ++i) {
        inputDataForm *editor = inputForms.at(i);
        const QString column = editor->columnName();
        // An edited record keeps what the user did not touch as it is stored.
        // The id always leads the list; link columns are always set to their
        // table's name, and subtable columns emptied.
        const bool kept = editMode && i > 0 && !editor->isEdited() && editor->fieldType() != "LINK";
        // A number or a date that cannot be read is never saved: the page
        // stays as the user left it, with the cursor in that field.
        const QString problem = kept ? QString() : editor->inputProblem();
        if (!problem.isEmpty()) {
            messages->warning(problem);
            editor->focusInput();
            return;
        }
        const QString value = editor->value();
        if (!kept)
            fields << FieldValue(column, value);
        // A kept field is filled when its stored value is, whatever its
        // editor makes of it (a date written in another form, say). A number
        // or a date left empty is empty, whatever its editor would write.
        const bool storedFilled = kept && i < stored.count() && !stored.value(i).toString().isEmpty();
        if (i > 0 && ColumnName(column).isRequired() && editor->isEmptyInput() && !storedFilled)
            missing = editor; // the last one missing is reported
    }

    if (missing) {
        // Named by the whole field, as its title shows it.
        messages->warning(QString::asprintf("Compila il campo %s prima di salvare il nuovo Record!",
                                            u8(missing->titleText()).constData()));
        missing->focusInput();
        return;
    }

    bool saved;
    if (editMode) {
        // A save that failed leaves the page editing the same record: saving
        // again must not make a new one.
        saved = updateRecord(currentId, fields);
        editMode = !saved;
        // In technical mode the record may have moved to the id typed on the page.
        const int typedId = fields.isEmpty() ? currentId : fields.first().second.toInt();
        if (saved && techMode && typedId != currentId && db->idExists(currentTable, typedId)
            && !db->idExists(currentTable, currentId))
            currentId = typedId;
    } else {
        const int id = insertRecord(currentTable, fields, false);
        saved = id > 0;
        if (saved)
            currentId = id;
    }
    if (saved) {
        // In the database now: the files attached on the page take their place.
        pendingFiles.commit();
        discardRecordPage();
        changeToUsersPage();
        vwRecord(currentId);
    }
    if (ui->pbSort->isChecked())
        listModel->setSorted(true);
}

void Tessaro::deleteUser()
{
    if (readOnly || refuseForeignTable(currentTable))
        return;
    // Records of other tables that look this one up are named in the
    // question; they lose the reference with it.
    const QList<DbConnection::Reference> references = db->referencesTo(currentTable, currentId);
    QString question = "Eliminare questo elemento?";
    if (!references.isEmpty()) {
        QStringList users;
        for (const DbConnection::Reference &reference : references)
            users << QString::asprintf("%d Record di %s", reference.records,
                                       u8(TableName(reference.table).display()).constData());
        const QString last = users.takeLast();
        question += QString::fromUtf8(" È usato da ") + (users.isEmpty() ? last : users.join(", ") + " e " + last) + ".";
    }
    if (!MessageHandler::current()->question(question))
        return;
    // The record's folder of attachments and its subtables stay where they are.
    // A delete the database refuses has been told; the record stays shown.
    RecordWriter writer(*db);
    if (!writer.remove(currentTable, currentId))
        return;
    changeToUsersPage();
    if (ui->userListWidget->count() > 0) {
        // Selecting the first item makes its record current and shows it.
        currentRow = 0;
        ui->userListWidget->setCurrentRow(0);
    } else {
        clearRecordView();
    }
}

void Tessaro::clearTable()
{
    if (readOnly || refuseForeignTable(currentTable))
        return;
    if (!MessageHandler::current()->question(QString::asprintf(
            "Eliminare tutti gli elementi di %s?", u8(TableName(currentTable).display()).constData())))
        return;
    if (!copyBefore("pulisci"))
        return;
    db->clearTable(currentTable);
    changeTable(currentTable);
}

void Tessaro::clearAllTables()
{
    if (readOnly || !MessageHandler::current()->question("Eliminare tutti gli elementi in tutto il database?")
        || !copyBefore("pulisci-tutto"))
        return;
    // Every user table is emptied; the program's own tables (icons, saved
    // filters, subtable configurations) keep their rows, and so do tables
    // made by other tools, which are only browsed.
    bool cleared = false;
    for (const QString &table : qAsConst(tableNames)) {
        if (TableName(table).isSystem() || !db->isEditableTable(table))
            continue;
        db->clearTable(table);
        cleared = true;
    }
    if (cleared)
        changeTable(currentTable);
}

int Tessaro::insertRecord(const QString &table, FieldValueList fields, bool importing)
{
    RecordWriter writer(*db);
    const int id = writer.insert(table, fields, importing);
    // During a file import a record whose identifier is taken is skipped silently.
    if (id < 0 && !writer.refusal().isEmpty() && (showDuplicateError || !writer.refusedAsDuplicate()))
        MessageHandler::current()->warning(writer.refusal());
    return id;
}

bool Tessaro::updateRecord(int id, const FieldValueList &fields)
{
    RecordWriter writer(*db);
    if (writer.update(currentTable, id, fields, techMode))
        return true;
    if (!writer.refusal().isEmpty())
        MessageHandler::current()->warning(writer.refusal());
    return false;
}
