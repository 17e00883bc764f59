#include "storage/columnname.h"

#include "storage/namingscheme.h"

ColumnName::ColumnName(const QString &name) : full(name)
{
    if (name.startsWith('X') && name.contains(Naming::LookupMarker)) {
        lookup = true;
        word = Naming::LookupMarker;
        otherTable = name.mid(1).section(Naming::LookupMarker, 0, 0);
        const QString shown = name.section(Naming::LookupMarker, 1);
        otherColumn = shown.section(Naming::RepeatMarker, 0, 0);
        fieldName = shown.contains("FORMAT_") ? fieldNameOf(shown) : shown;
        return;
    }
    typed = (name.startsWith('R') || name.startsWith('N')) && name.indexOf("FORMAT_", 1) > 0;
    if (!typed)
        return;
    tag = typeTagOf(name);
    word = typeStem(tag);
    fieldName = fieldNameOf(name);
}

int ColumnName::repeat() const
{
    const int marker = full.indexOf(Naming::RepeatMarker);
    return marker < 0 ? 0 : full.mid(marker + int(strlen(Naming::RepeatMarker))).toInt();
}

QString ColumnName::bareField() const
{
    return fieldName.section(Naming::RepeatMarker, 0, 0);
}
