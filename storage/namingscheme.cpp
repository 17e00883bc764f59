#include "storage/namingscheme.h"

#include <QStringList>

namespace {
const char *const Hidden = "HIDDENTABLE_";
const char *const SubTable = "_XSBTX_";
const char *const SubTableUser = "_XSBTUSRX_";
const char *const SubFormat = "SUBTABLEFORMAT";
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
    return name == "settings" || name == "filters" || name == "subtablesconfigs";
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
        name.remove("_XSBCONFX_");
        name.replace(SubTableUser, "_");
        name.remove(SubTable);
    }
    return QString::asprintf("%s/%s", folder.toUtf8().constData(), name.toUtf8().constData());
}
