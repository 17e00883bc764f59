#ifndef RECORDGRIDMODEL_H
#define RECORDGRIDMODEL_H

#include "storage/columnname.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QStringList>
#include <QVector>

class DbConnection;
class RecordListModel;

// The record list shown as a grid: one row per listed record, in the list's
// order, one column per field the record view shows, titled as it titles
// them. The rows are the list's own (no copy of them is kept); the values of
// the rows in sight are read by id when first painted, a screenful at a time,
// and only a few thousand are remembered. Sorted by a column, the grid keeps
// the list's rows in the order of that column's values; any change of the
// list (a new load, its own A-Z order) gives back the list's order.
class RecordGridModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    RecordGridModel(RecordListModel *list, QObject *parent = nullptr);

    // The grid of table's listed records, read through db.
    void setTable(DbConnection *db, const QString &table);
    QString table() const { return shownTable; }
    QStringList columns() const { return names; }

    // The list row a grid row shows, and back (-1 when out of range).
    int listRow(int gridRow) const;
    int gridRow(int listRow) const;
    int sortColumn() const { return sortedBy; }
    Qt::SortOrder sortOrder() const { return order; }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    // Sorts by a column's values; column -1 gives back the list's order.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

private:
    void listRowsComing(int first, int last);
    void listRowsCame(int first, int last);
    // Reads the values of the rows around row into the cache.
    void fetchAround(int row) const;
    QString lookedUp(int column, const QVariant &value) const;
    int idOfRow(int row) const;

    RecordListModel *list;
    DbConnection *db = nullptr;
    QString shownTable;
    QStringList names;
    QStringList titles;
    QVector<bool> numbers;
    QVector<ColumnName> parsed;

    int sortedBy = -1;
    Qt::SortOrder order = Qt::AscendingOrder;
    QVector<int> arrivals; // grid row -> list arrival row, when sorted by a column
    QVector<int> gridOf;   // list arrival row -> grid row, when sorted by a column

    mutable QHash<int, QStringList> cache;               // record id -> texts of its row
    mutable QHash<QPair<int, int>, QString> lookupCache; // (column, looked-up id) -> text
};

#endif // RECORDGRIDMODEL_H
