#include "storage/namingscheme.h"

#include <QStringList>

namespace {
const char *const Hidden = Naming::HiddenMarker;
const char *const SubTable = Naming::SubtableMarker;
const char *const SubTableUser = Naming::SubtableUserMarker;
const char *const SubFormat = Naming::SubtableTag;
} // namespace

QString toDisplayTableName(QString internal)
{
    QString shown = internal.replace(Hidden, "#");
    if (!shown.contains(SubTable))
        return shown;

    const QString parent = shown.section(SubTable, 0, 0);
    QString field = shown.section(SubFormat, 1);
    field = field.section(SubTableUser, 0, 0).mid(1);
    const QString config = shown.section(SubTableUser, 1);
    return QString::asprintf("%s->%s->%s", parent.toUtf8().constData(),
                             config.toUtf8().constData(), field.toUtf8().constData());
}

QString toInternalTableName(QString display)
{
    if (!display.contains("->"))
        return display.replace("#", Hidden);

    display.remove("#");
    display.remove(Hidden);
    const QStringList parts = display.split("->");
    const QString a = parts.value(0), b = parts.value(1), c = parts.value(2);
    return QString::asprintf("%s%s%s%s_%s%s%s", Hidden, a.toUtf8().constData(), SubTable, SubFormat,
                             c.toUtf8().constData(), SubTableUser, b.toUtf8().constData());
}

bool isSystemTable(QString name)
{
    return name == Naming::SettingsTable || name == Naming::FiltersTable || name == Naming::SubtableConfigsTable;
}

QString typeTagOf(QString column)
{
    return column.mid(1).section("FORMAT_", 0, 0) + "FORMAT";
}

QString fieldNameOf(QString column)
{
    return column.section("FORMAT_", 1, 1);
}

QString flagAndStemOf(QString column)
{
    return column.section("FORMAT", 0, 0);
}

QString typeStem(QString tag)
{
    return tag.remove("FORMAT");
}

QString makeColumnName(QString prefix, QString field)
{
    return prefix + "_" + field;
}

QString sqlTypeForTag(QString tag)
{
    Q_UNUSED(tag)
    return "text";
}

QString tableFolderPath(QString folder, QString name)
{
    static const char *const stripped[] = {"'", "?", "!", ".", ",", ";", ":", "<", ">",
                                           "/", "\\", "\"", "*", "[", "]"};
    for (const char *c : stripped)
        name.remove(QString::fromUtf8(c));

    if (name.contains(SubFormat)) {
        name.remove(Hidden);
        name.remove(SubFormat);
        name.remove(Naming::SubtableConfigMarker);
        name.replace(SubTableUser, "_");
        name.remove(SubTable);
    }
    return QString::asprintf("%s/%s", folder.toUtf8().constData(), name.toUtf8().constData());
}

bool isHiddenTableName(const QString &table)
{
    return table.contains(Naming::HiddenMarker);
}

bool writesAsWholeNumber(const QString &column)
{
    return column.contains("INTEGER");
}

bool writesAsDecimal(const QString &column)
{
    return column.contains("REAL");
}

bool takesRepeatSuffix(const QString &column)
{
    return !column.contains(Naming::LinkTag);
}

QString subtableConfigurationKey(const QString &table, const QString &column)
{
    QString owner = table;
    const int hidden = owner.indexOf(Naming::HiddenMarker);
    if (hidden >= 0)
        owner = owner.mid(hidden + int(strlen(Naming::HiddenMarker)));
    return owner + column.section(Naming::SubtableTag, 1);
}

bool belongsToSubtableKey(const QString &configurationName, const QString &key)
{
    return configurationName.contains(key);
}

QStringList designerTypeTags()
{
    return {"STRINGFORMAT", "DATEFORMAT", "INTEGERFORMAT", "REALFORMAT", "MONEYFORMAT", "IMAGEFORMAT",
            "PDFFORMAT",    "BOOLFORMAT", "MAILFORMAT",    "LINKFORMAT", "URLFORMAT",   "SUBTABLEFORMAT"};
}

QStringList reservedNameParts()
{
    return QStringList{Naming::HiddenMarker,       Naming::SubtableMarker,    Naming::SubtableUserMarker,
                       Naming::SubtableConfigMarker, Naming::LookupMarker,    Naming::RepeatMarker,
                       Naming::SavedFilterMarker,  "FORMAT_",                 "->",
                       "#"}
           + designerTypeTags();
}
