// The record page and the commands that save and delete records.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "records/inputdataform.h"
#include "records/lookupchoices.h"
#include "storage/messagehandler.h"
#include "storage/namingscheme.h"

#include <QHash>

namespace {
const char *const IdColumn = "RINTEGERFORMAT_Id";
const char *const UserPathColumn = "NLONGSTRINGFORMAT_UserPath";
const char *const LookupMarker = "_XDTX_";
const char *const RepeatMarker = "_XMLTYX_";

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
    if (!db->tableExists(table) || db->isEditableTable(table))
        return false;
    MessageHandler::current()->warning(QString::asprintf(
        "ERRORE: La Tabella %s non segue lo schema di questo programma: i suoi Record si possono solo consultare!\n",
        u8(toDisplayTableName(table)).constData()));
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
    qDeleteAll(inputForms);
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
        const QString &column = columns.at(i);
        auto *editor = new inputDataForm(ui->inputContents);
        // Every column gets an editor, shown or not, so that the editors and
        // the columns stay parallel.
        inputForms << editor;

        const QString rest = column.mid(1);
        const int formatAt = rest.indexOf("FORMAT_");
        const QString type = formatAt >= 0 ? rest.left(formatAt) : rest;
        const QString field = formatAt >= 0 ? rest.mid(formatAt + int(strlen("FORMAT_"))) : QString();
        // The record's fields come in the order of the columns.
        QVariant value = i < record.count() && record.fieldName(i) == column
                             ? record.value(i)
                             : db->getFieldValue(currentTable, record, column);

        // A column of a foreign database, named outside the scheme, is titled
        // by its whole name.
        editor->setTitle(true, formatAt >= 0 ? field : column);
        editor->setColumnName(column);
        editor->setRequired(column.startsWith('R'));

        // A link column always holds the name of the table it links to.
        if (type.contains("LINK"))
            value = fieldNameOf(column);

        if (column.startsWith('X')) {
            const int markerAt = rest.indexOf(LookupMarker);
            const QString otherTable = markerAt >= 0 ? rest.left(markerAt) : rest;
            if (!lookupItems.contains(otherTable))
                lookupItems.insert(otherTable, lookupChoices(*db, otherTable));
            editor->setValue(LookupMarker, value);
            editor->setComboBox(true, lookupItems.value(otherTable));
            editor->selectLookupItem(value.toString());
            ui->inputLayout->addWidget(editor);
            continue;
        }
        if (type == "SUBTABLE" || (newPage && (type == "IMAGE" || type == "PDF"))) {
            editor->hide();
            continue;
        }

        editor->setValue(type, value);
        if (type == "LINK") {
            // The editor shows nothing for a link; the page shows the linked
            // table's name, which is what saving writes.
            editor->setLineEdit(true, value.toString());
            editor->setLineEditReadOnly(true);
        }
        if (field == "UserPath")
            userPath = value.toString();
        if ((field != "UserPath" && field != "Id") || techMode)
            ui->inputLayout->addWidget(editor);
        else
            editor->hide();
        if (type == "IMAGE" || type == "PDF") {
            editor->setUserPath(userPath);
            editor->setDbFolder(dbFolder);
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
        if (i > 0 && column.startsWith('R') && editor->isEmptyInput() && !storedFilled)
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
        saved = updateRecord(currentId, fields);
        editMode = false;
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
        changeToUsersPage();
        vwRecord(currentId);
    }
    if (ui->pbSort->isChecked())
        ui->userListWidget->sortItems(Qt::AscendingOrder);
}

void Tessaro::deleteUser()
{
    if (readOnly || refuseForeignTable(currentTable))
        return;
    // Records of other tables that look this one up are named in the
    // question; they lose the reference with it, so that a record added
    // later under the same id is never taken for this one.
    const QList<DbConnection::Reference> references = db->referencesTo(currentTable, currentId);
    QString question = "Eliminare questo elemento?";
    if (!references.isEmpty()) {
        QStringList users;
        for (const DbConnection::Reference &reference : references)
            users << QString::asprintf("%d Record di %s", reference.records,
                                       u8(toDisplayTableName(reference.table)).constData());
        const QString last = users.takeLast();
        question += QString::fromUtf8(" È usato da ") + (users.isEmpty() ? last : users.join(", ") + " e " + last) + ".";
    }
    if (!MessageHandler::current()->question(question))
        return;
    // The record's folder of attachments and its subtables stay where they are.
    // A delete the database refuses has been reported; the record stays shown.
    const bool atomic = db->beginTransaction();
    bool done = true;
    for (const DbConnection::Reference &reference : references)
        done = done && db->clearReferences(reference.table, reference.column, currentId);
    done = done && db->deleteRecord(currentTable, currentId);
    if (atomic && !done)
        db->rollbackTransaction();
    if (!done || (atomic && !db->commitTransaction()))
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
            "Eliminare tutti gli elementi di %s?", u8(toDisplayTableName(currentTable)).constData())))
        return;
    db->clearTable(currentTable);
    changeTable(currentTable);
}

void Tessaro::clearAllTables()
{
    if (readOnly || !MessageHandler::current()->question("Eliminare tutti gli elementi in tutto il database?"))
        return;
    // Every user table is emptied; the program's own tables (icons, saved
    // filters, subtable configurations) keep their rows, and so do tables
    // made by other tools, which are only browsed.
    bool cleared = false;
    for (const QString &table : qAsConst(tableNames)) {
        if (isSystemTable(table) || !db->isEditableTable(table))
            continue;
        db->clearTable(table);
        cleared = true;
    }
    if (cleared)
        changeTable(currentTable);
}

int Tessaro::insertRecord(const QString &table, FieldValueList fields, bool importing)
{
    if (refuseForeignTable(table))
        return -1;
    // The first data column identifies a record: no two may share it.
    if (fields.size() >= 2 && db->nameInFirstColumn(table, fields.at(1).second)) {
        if (showDuplicateError)
            MessageHandler::current()->warning(QString::asprintf(
                "ERRORE: L'identificativo '%s' esiste già nella tabella %s.\n", fields.at(1).second.toUtf8().constData(),
                toDisplayTableName(table).toUtf8().constData()));
        return -1;
    }

    int requestedId = 0;
    bool hasId = false;
    for (const FieldValue &field : qAsConst(fields)) {
        if (field.first == IdColumn) {
            requestedId = field.second.toInt(nullptr, 10);
            hasId = true;
            break;
        }
    }
    if (!hasId)
        fields.prepend(FieldValue(IdColumn, "0"));

    // The record is written whole or not at all: a write that fails (a
    // trigger, a constraint, a full disk) has told the user why and takes
    // every earlier one back.
    const bool atomic = db->beginTransaction();
    const auto fail = [this, atomic] {
        if (atomic)
            db->rollbackTransaction();
        return -1;
    };
    const int id = db->insertEmptyRecord(table, importing, requestedId);
    if (id < 0)
        return fail();
    if (fields.size() < 2)
        return atomic && !db->commitTransaction() ? -1 : id;

    // The record's own folder for attachments, named after its identifier.
    bool hasUserPath = false;
    for (int i = 1; i < fields.size(); ++i)
        hasUserPath = hasUserPath || fields.at(i).first == UserPathColumn;
    if (hasUserPath) {
        const FieldValue &first = fields.at(1);
        QString composed;
        if (first.first.startsWith('X')) {
            const QString lookup = first.first.mid(1);
            const int markerAt = lookup.indexOf(LookupMarker);
            const QString otherTable = lookup.left(markerAt);
            const QString otherColumn =
                lookup.mid(markerAt + int(strlen(LookupMarker))).section(RepeatMarker, 0, 0);
            const QSqlRecord other = db->getRecordById(otherTable, first.second.toInt());
            composed = table + "_" + db->getFieldValue(otherTable, other, otherColumn).toString();
        } else {
            composed = table + "_" + first.second;
            composed.replace(' ', '_');
        }
        if (!db->updateField(table, id, UserPathColumn, tableFolderPath("TABLES_DOC", composed)))
            return fail();
    }

    for (int i = 1; i < fields.size(); ++i) {
        if (fields.at(i).first != UserPathColumn && !db->updateField(table, id, fields.at(i).first, fields.at(i).second))
            return fail();
    }
    return atomic && !db->commitTransaction() ? -1 : id;
}

bool Tessaro::updateRecord(int id, const FieldValueList &fields)
{
    if (refuseForeignTable(currentTable))
        return false;
    if (!db->idExists(currentTable, id)) {
        MessageHandler::current()->warning(QString::asprintf("L'Id %d non è valido!", id));
        return false;
    }
    // Written whole or not at all: the first write that fails takes back the others.
    const bool atomic = db->beginTransaction();
    const auto fail = [this, atomic] {
        if (atomic)
            db->rollbackTransaction();
        return false;
    };
    for (int i = 1; i < fields.size(); ++i) {
        if (!db->updateField(currentTable, id, fields.at(i).first, fields.at(i).second))
            return fail();
    }
    // A changed id is applied last, after every other column was written under the old one.
    if (techMode && !fields.isEmpty() && fields.at(0).second.toInt(nullptr, 10) != id
        && !db->updateField(currentTable, id, fields.at(0).first, fields.at(0).second))
        return fail();
    return !atomic || db->commitTransaction();
}
