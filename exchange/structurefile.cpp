#include "exchange/structurefile.h"

#include "storage/columnname.h"
#include "storage/namingscheme.h"

#include <QIODevice>
#include <QSqlRecord>
#include <QTextCodec>
#include <QTextStream>

namespace {
using Naming::IdColumn;
const char *const Separator = "###";
const char *const SubtableLine = "#SUBTABLE";

QStringList textLines(const QByteArray &bytes)
{
    QByteArray raw = bytes;
    raw.replace('\r', QByteArray()); // text mode
    const QString text = QTextCodec::codecForUtfText(raw, QTextCodec::codecForLocale())->toUnicode(raw);
    QStringList lines = text.split('\n');
    if (lines.last().isEmpty())
        lines.removeLast(); // the last line end closes a line, it opens none
    return lines;
}

// The type word of a column line becomes the column's SQL type only when it is
// a plain type name; anything else would be SQL text taken from a file.
QString sqlTypeFor(const QString &column, const QString &word)
{
    if (ColumnName(column).isLookup())
        return "Integer";
    static const QStringList plain = {"text", "integer", "real", "numeric", "blob"};
    const QString lower = word.trimmed().toLower();
    return plain.contains(lower) ? lower : QString("text");
}
} // namespace

void writeStructure(DbConnection &db, QIODevice &device, const QString &table, const QStringList &columns)
{
    QTextStream out(&device);
    const QSqlRecord settings = db.findRecord(Naming::SettingsTable, Naming::SettingsNameColumn, table);
    out << db.getFieldValue(Naming::SettingsTable, settings, Naming::SettingsIconColumn).toString() << "\n";
    for (const QString &column : columns) {
        if (column != IdColumn)
            out << column << Separator << "text" << "\n";
    }
    for (const QString &column : columns) {
        if (!ColumnName(column).isSubtable())
            continue;
        const SubtableDesign design = Subtables::configurationOf(db, table, column);
        if (design.isEmpty())
            continue;
        QList<ColumnDefinition> fields = design.fields;
        if (fields.isEmpty())
            fields << ColumnDefinition();
        for (const ColumnDefinition &field : qAsConst(fields))
            out << SubtableLine << Separator << column << Separator << design.name << Separator << field.first
                << Separator << field.second << "\n";
    }
}

TableStructure readStructure(const QByteArray &bytes)
{
    TableStructure structure;
    const QStringList lines = textLines(bytes);
    structure.iconPath = lines.value(0);
    for (int i = 1; i < lines.size(); ++i) {
        const QString &line = lines.at(i);
        if (line.startsWith(QString(SubtableLine) + Separator)) {
            const QStringList parts = line.split(Separator);
            const QString column = parts.value(1), name = parts.value(2);
            if (column.isEmpty() || name.isEmpty())
                continue;
            if (structure.subtables.isEmpty() || structure.subtables.last().first != column)
                structure.subtables << qMakePair(column, SubtableDesign{name, {}});
            if (!parts.value(3).isEmpty())
                structure.subtables.last().second.fields
                    << ColumnDefinition(parts.value(3), sqlTypeFor(parts.value(3), parts.value(4)));
            continue;
        }
        const int at = line.indexOf(Separator);
        const QString name = at < 0 ? line : line.left(at);
        const QString word = at < 0 ? QString() : line.mid(at + 3);
        if (!name.isEmpty())
            structure.columns << ColumnDefinition(name, sqlTypeFor(name, word));
    }
    return structure;
}

int structureLineCount(const QByteArray &bytes)
{
    return textLines(bytes).size();
}
