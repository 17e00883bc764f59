#ifndef TABLENAME_H
#define TABLENAME_H

#include <QString>

// What a table's name says about its table, read once from the name:
//   Clienti                                            a table
//   HIDDENTABLE_Clienti, shown #Clienti                a hidden table
//   HIDDENTABLE_<owner>_XSBTX_SUBTABLEFORMAT_<field>_XSBTUSRX_<configuration>
//        shown #<owner>->configuration->field          a subtable
//   settings, filters, subtablesconfigs                the program's own
class TableName
{
public:
    TableName() = default;
    explicit TableName(const QString &internal);
    // The table a name shown in lists and titles stands for.
    static TableName fromDisplay(const QString &display);

    const QString &internal() const { return name; }
    QString display() const;
    bool isSystem() const;
    // Hidden by the marker anywhere in the name (deliberate).
    bool isHidden() const;
    bool isSubtable() const;
    // A subtable's owning table (without its hidden marker), field and configuration.
    QString owner() const;
    QString subtableField() const;
    QString configuration() const;

private:
    QString name;
};

#endif // TABLENAME_H
