#ifndef NEWTABLEELEMENT_H
#define NEWTABLEELEMENT_H

#include "records/subtables.h"
#include "storage/dbconnection.h"

#include <QStringList>
#include <QWidget>

namespace Ui {
class newTableElement;
}

// One field row of the table designer. On its new-field page the user gives a
// type, a name and the required flag (a LINK field names the linked table);
// on its from-table page the user picks a column of another table, which gives
// a lookup column. The row turns this into one column definition.
//
// A row whose type is SUBTABLE also designs the subtable: the name of its
// configuration (pre-filled "Nuovo Nome") and its fields, one row each of the
// second kind, which offers every type but SUBTABLE.
class newTableElement : public QWidget
{
    Q_OBJECT

public:
    explicit newTableElement(QWidget *parent = nullptr, bool subtableField = false);
    ~newTableElement() override;

    // Offers every user table in both table combos: the display name is shown,
    // the internal name is what the column definition uses.
    void setTableList(const QStringList &internalNames);
    // Full column names offered on the from-table page.
    void setFieldList(const QStringList &columns);

    // (column name, SQL type) of this row; an empty column name means the row
    // adds nothing.
    ColumnDefinition columnDefinition() const;
    // The field name the user typed, when the column definition uses it;
    // empty on the from-table page and for a link to a chosen table.
    QString typedFieldName() const;
    // Whether the user typed a name or chose a column of another table.
    bool hasInput() const;
    // Puts the cursor in the field name.
    void focusName();

    // Internal names of the tables chosen in the from-table and link combos.
    QString chosenTable() const;
    QString chosenLinkTable() const;

    // Type tags offered by cbType, in its order.
    static QStringList typeTags();

    // A SUBTABLE row's subtable, as designed; empty for any other row.
    SubtableDesign subtableDesign() const;
    // The names typed on a SUBTABLE row: its configuration's and its fields'.
    QString typedSubtableName() const;
    QStringList typedSubtableFieldNames() const;
    const QList<newTableElement *> &subtableRows() const { return subRows; }
    bool isSubtableField() const { return subtableVariant; }

signals:
    void addNewElem();
    void changeTable(newTableElement *element, const QString &table);
    // The table chosen on a row of this row's subtable.
    void changeSubTable(newTableElement *element, const QString &table);

public slots:
    void sendNewAdd();
    void changeNewFieldType(bool fromTable);
    void changeSelectedTable(const QString &table);
    void changeFieldType(const QString &type);

private:
    void addSubtableRow();

    Ui::newTableElement *ui;
    bool subtableVariant = false;
    QStringList tables; // offered in the table combos
    class QLineEdit *subName = nullptr;
    QList<newTableElement *> subRows;
    QStringList tags;     // indexed like cbType
    QStringList sqlTypes; // SQL type of each tag, indexed alike
};

#endif // NEWTABLEELEMENT_H
