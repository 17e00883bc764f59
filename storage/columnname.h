#ifndef COLUMNNAME_H
#define COLUMNNAME_H

#include <QString>

// What a column's name says about its column, read once from the name:
//   RSTRINGFORMAT_Nome           required flag, type tag, field name
//   XClienti_XDTX_RSTRINGFORMAT_Nome   a lookup into Clienti, shown by that column
//   NMONEYFORMAT_Prezzo_XMLTYX_2  the second column of that name
// A column is a lookup when its name starts with "X" and holds "_XDTX_";
// it is typed when it starts with "R" or "N" and holds "FORMAT_" after its
// flag. Any other name (a column made by another tool) is foreign: it has
// no type, no flag and no field, and is titled by its whole name.
class ColumnName
{
public:
    ColumnName() = default;
    explicit ColumnName(const QString &name);

    const QString &name() const { return full; }
    bool isLookup() const { return lookup; }
    bool isTyped() const { return typed; }
    bool isForeign() const { return !lookup && !typed; }
    // Flag "R": the record cannot be saved while the field is empty.
    bool isRequired() const { return typed && full.at(0) == 'R'; }
    // The type tag ("STRINGFORMAT") and word ("STRING"); a lookup's word is
    // "_XDTX_"; empty for a foreign column.
    const QString &typeTag() const { return tag; }
    const QString &typeWord() const { return word; }
    bool hasTag(const char *typeTag) const { return tag == QLatin1String(typeTag); }
    // The field name as stored, repeat suffix included ("Prezzo_XMLTYX_2"):
    // the part after the first "FORMAT_" up to the next one. For a lookup it
    // is that of the column it shows (or that column's whole name when it is
    // foreign); for a foreign column, empty.
    const QString &field() const { return fieldName; }
    // The field name less its repeat suffix.
    QString bareField() const;
    // The number of a repeated column (2 for "_XMLTYX_2"); 0 when it is none.
    int repeat() const;
    // The id, the folder of attachments and a subtable row's owner: never
    // offered as fields.
    bool isId() const { return fieldName == QLatin1String("Id") && typed; }
    bool isUserPath() const { return fieldName == QLatin1String("UserPath") && typed; }
    bool isOwner() const { return fieldName == QLatin1String("OwnerId") && typed; }
    bool isProgramField() const { return isId() || isUserPath() || isOwner(); }

    // A lookup's table and the column it shows (repeat suffix cut).
    const QString &lookupTable() const { return otherTable; }
    const QString &lookupColumn() const { return otherColumn; }
    // A link's table: its field part.
    bool isLink() const { return hasTag("LINKFORMAT"); }
    QString linkTable() const { return isLink() ? fieldName : QString(); }
    bool isSubtable() const { return hasTag("SUBTABLEFORMAT"); }
    bool isAttachment() const { return hasTag("IMAGEFORMAT") || hasTag("PDFFORMAT"); }

private:
    QString full;
    QString tag, word, fieldName;
    QString otherTable, otherColumn;
    bool lookup = false;
    bool typed = false;
};

#endif // COLUMNNAME_H
