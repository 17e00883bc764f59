#include "records/tabledesign.h"

#include "storage/columnname.h"
#include "storage/namingscheme.h"

#include <QStringList>

namespace {

using Naming::UserPathColumn;

QString utf8Format(const char *format, const QString &text)
{
    return QString::asprintf(format, text.toUtf8().constData());
}

// What a name may not contain anywhere: the markers of the naming scheme and
// the type tags, which the program finds in names by substring.
QString reservedSequenceIn(const QString &name)
{
    static const QStringList sequences = reservedNameParts();
    for (const QString &sequence : sequences) {
        if (name.contains(sequence))
            return utf8Format("Contiene la sequenza riservata '%s'.", sequence);
    }
    return QString();
}

// SQLite takes ASCII letters, digits and "_" in a bare name, and any character
// beyond ASCII; of those the designer allows letters and digits only.
QString badCharacterIn(const QString &name)
{
    bool hasLetterOrDigit = false;
    for (const QChar c : name) {
        const bool ascii = c.unicode() < 128;
        const bool letterOrDigit = ascii ? (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
                                         : c.isLetterOrNumber();
        if (!letterOrDigit && c != '_') {
            return utf8Format("Il carattere '%s' non è ammesso: usa solo lettere, cifre e spazi.", QString(c));
        }
        hasLetterOrDigit = hasLetterOrDigit || letterOrDigit;
    }
    if (!hasLetterOrDigit)
        return "Usa almeno una lettera o una cifra.";
    return QString();
}

// Checks shared by table and field names; the name is taken with its blanks
// already turned into "_", as it will be stored.
QString commonReason(const QString &name)
{
    const QString reserved = reservedSequenceIn(name);
    if (!reserved.isEmpty())
        return reserved;
    return badCharacterIn(name);
}

} // namespace

QString invalidTableNameReason(const QString &typed)
{
    QString name = typed;
    name.replace(' ', '_');
    const QString common = commonReason(name);
    if (!common.isEmpty())
        return common;
    if (name.at(0).isDigit())
        return "Il nome di una tabella non può iniziare con una cifra.";
    if (DbConnection::isSqlKeyword(name))
        return "È una parola riservata del linguaggio SQL.";
    if (name.startsWith("sqlite_", Qt::CaseInsensitive))
        return "I nomi che iniziano con 'sqlite_' sono riservati al database.";
    for (const char *system : {Naming::SettingsTable, Naming::FiltersTable, Naming::SubtableConfigsTable}) {
        if (name.compare(QLatin1String(system), Qt::CaseInsensitive) == 0)
            return "È il nome di una tabella di sistema.";
    }
    return QString();
}

QString invalidFieldNameReason(const QString &typed)
{
    QString name = typed;
    name.replace(' ', '_');
    const QString common = commonReason(name);
    if (!common.isEmpty())
        return common;
    // Like the id, the attachments folder column is never shown as a field.
    if (name == "Id" || name == "UserPath" || name == "OwnerId")
        return "È un nome che il programma usa per i propri campi.";
    return QString();
}

QString refusedNameWarning(const QString &typed, const QString &reason)
{
    return QString::asprintf("ERRORE: Il nome '%s' non è valido!\n%s", typed.toUtf8().constData(),
                             reason.toUtf8().constData());
}

QList<ColumnDefinition> newTableColumns(const QList<ColumnDefinition> &rows)
{
    QList<ColumnDefinition> columns;
    bool userPathAdded = false;
    for (const ColumnDefinition &row : rows) {
        if (!userPathAdded && ColumnName(row.first).isAttachment()) {
            columns << ColumnDefinition(UserPathColumn, QString());
            userPathAdded = true;
        }
        if (!row.first.isEmpty())
            columns << row;
    }
    if (!userPathAdded)
        columns << ColumnDefinition(UserPathColumn, QString());
    return columns;
}
