// The record page and the commands that save and delete records.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "storage/messagehandler.h"
#include "storage/namingscheme.h"

namespace {
const char *const IdColumn = "RINTEGERFORMAT_Id";
const char *const UserPathColumn = "NLONGSTRINGFORMAT_UserPath";
} // namespace

int Tessaro::insertRecord(const QString &table, FieldValueList fields, bool importing)
{
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

    const int id = db->insertEmptyRecord(table, importing, requestedId);
    if (id < 0 || fields.size() < 2)
        return id;

    // The record's own folder for attachments, named after its identifier.
    bool hasUserPath = false;
    for (int i = 1; i < fields.size(); ++i)
        hasUserPath = hasUserPath || fields.at(i).first == UserPathColumn;
    if (hasUserPath) {
        const FieldValue &first = fields.at(1);
        QString composed;
        if (first.first.startsWith('X')) {
            const QString lookup = first.first.mid(1);
            const QString otherTable = lookup.section("_XDTX_", 0, 0);
            const QString otherColumn = lookup.section("_XDTX_", 1).section("_XMLTYX_", 0, 0);
            const QSqlRecord other = db->getRecordById(otherTable, first.second.toInt());
            composed = table + "_" + db->getFieldValue(otherTable, other, otherColumn).toString();
        } else {
            composed = table + "_" + first.second;
            composed.replace(' ', '_');
        }
        db->updateField(table, id, UserPathColumn, tableFolderPath("TABLES_DOC", composed));
    }

    for (int i = 1; i < fields.size(); ++i) {
        if (fields.at(i).first != UserPathColumn)
            db->updateField(table, id, fields.at(i).first, fields.at(i).second);
    }
    return id;
}

bool Tessaro::updateRecord(int id, const FieldValueList &fields)
{
    if (!db->idExists(currentTable, id)) {
        MessageHandler::current()->warning(QString::asprintf("L'Id %d non è valido!", id));
        return false;
    }
    bool ok = true;
    for (int i = 1; i < fields.size(); ++i)
        ok = db->updateField(currentTable, id, fields.at(i).first, fields.at(i).second) && ok;
    // A changed id is applied last, after every other column was written under the old one.
    if (techMode && !fields.isEmpty())
        ok = db->updateField(currentTable, id, fields.at(0).first, fields.at(0).second) && ok;
    return ok;
}
