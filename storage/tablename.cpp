#include "storage/tablename.h"

#include "storage/namingscheme.h"

TableName::TableName(const QString &internal) : name(internal)
{
}

TableName TableName::fromDisplay(const QString &display)
{
    return TableName(toInternalTableName(display));
}

QString TableName::display() const
{
    return toDisplayTableName(name);
}

bool TableName::isSystem() const
{
    return isSystemTable(name);
}

bool TableName::isHidden() const
{
    return isHiddenTableName(name);
}

bool TableName::isSubtable() const
{
    return name.contains(Naming::SubtableMarker) && name.contains(Naming::SubtableUserMarker);
}

QString TableName::owner() const
{
    if (!isSubtable())
        return QString();
    return QString(name.section(Naming::SubtableMarker, 0, 0)).remove(Naming::HiddenMarker);
}

QString TableName::subtableField() const
{
    if (!isSubtable())
        return QString();
    return name.section(Naming::SubtableTag, 1).section(Naming::SubtableUserMarker, 0, 0).mid(1);
}

QString TableName::configuration() const
{
    return isSubtable() ? name.section(Naming::SubtableUserMarker, 1) : QString();
}
