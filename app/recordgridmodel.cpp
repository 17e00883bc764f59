#include "app/recordgridmodel.h"

#include "app/recordlistmodel.h"
#include "exchange/printcontent.h"
#include "storage/dbconnection.h"

#include <QBitArray>
#include <algorithm>

namespace {
// Rows read at once around the one painted: more than a screenful either way.
const int Before = 40;
const int After = 120;
// Rows remembered before the oldest are forgotten.
const int Remembered = 4000;
} // namespace

RecordGridModel::RecordGridModel(RecordListModel *list, QObject *parent) : QAbstractTableModel(parent), list(list)
{
    connect(list, &QAbstractItemModel::rowsAboutToBeInserted, this,
            [this](const QModelIndex &, int first, int last) { listRowsComing(first, last); });
    connect(list, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex &, int first, int last) { listRowsCame(first, last); });
    // A new load or a new order of the list: the grid follows it afresh.
    const auto coming = [this] { beginResetModel(); };
    const auto came = [this] {
        sortedBy = -1;
        arrivals.clear();
        gridOf.clear();
        endResetModel();
    };
    connect(list, &QAbstractItemModel::modelAboutToBeReset, this, [this, coming] {
        coming();
        cache.clear();
        lookupCache.clear();
    });
    connect(list, &QAbstractItemModel::modelReset, this, came);
    connect(list, &QAbstractItemModel::layoutAboutToBeChanged, this, coming);
    connect(list, &QAbstractItemModel::layoutChanged, this, came);
}

void RecordGridModel::setTable(DbConnection *connection, const QString &table)
{
    beginResetModel();
    db = connection;
    shownTable = table;
    names = db && !table.isEmpty() ? printableColumns(*db, table) : QStringList();
    titles.clear();
    numbers.clear();
    parsed.clear();
    for (const QString &name : names) {
        parsed << ColumnName(name);
        titles << printedTitle(parsed.last());
        numbers << (parsed.last().hasTag("MONEYFORMAT") || parsed.last().hasTag("INTEGERFORMAT")
                    || parsed.last().hasTag("REALFORMAT"));
    }
    sortedBy = -1;
    arrivals.clear();
    gridOf.clear();
    cache.clear();
    lookupCache.clear();
    endResetModel();
}

void RecordGridModel::listRowsComing(int first, int last)
{
    if (!db)
        return; // no grid shown: no rows
    if (sortedBy < 0)
        beginInsertRows(QModelIndex(), first, last);
    else
        beginInsertRows(QModelIndex(), arrivals.size(), arrivals.size() + last - first);
}

void RecordGridModel::listRowsCame(int first, int last)
{
    if (!db)
        return;
    // Rows read after a sort by a column come after the sorted ones.
    if (sortedBy >= 0) {
        gridOf.resize(last + 1);
        for (int arrival = first; arrival <= last; ++arrival) {
            gridOf[arrival] = arrivals.size();
            arrivals << arrival;
        }
    }
    endInsertRows();
}

int RecordGridModel::listRow(int row) const
{
    if (row < 0 || row >= list->size())
        return -1;
    return sortedBy < 0 ? row : list->displayRow(arrivals.at(row));
}

int RecordGridModel::gridRow(int row) const
{
    if (row < 0 || row >= list->size())
        return -1;
    return sortedBy < 0 ? row : gridOf.at(list->arrivalRow(row));
}

int RecordGridModel::idOfRow(int row) const
{
    return sortedBy < 0 ? list->idAt(row) : list->idOfArrival(arrivals.at(row));
}

int RecordGridModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() || !db ? 0 : list->size();
}

int RecordGridModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : names.size();
}

QVariant RecordGridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= titles.size())
        return QAbstractTableModel::headerData(section, orientation, role);
    if (role == Qt::DisplayRole)
        return titles.at(section);
    if (role == Qt::TextAlignmentRole && numbers.at(section))
        return int(Qt::AlignRight | Qt::AlignVCenter);
    return QVariant();
}

QVariant RecordGridModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount() || index.column() >= names.size())
        return QVariant();
    if (role == Qt::TextAlignmentRole)
        return numbers.at(index.column()) ? int(Qt::AlignRight | Qt::AlignVCenter) : int(Qt::AlignLeft | Qt::AlignVCenter);
    if (role == RecordListModel::IdRole)
        return idOfRow(index.row());
    if (role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return QVariant();
    const int id = idOfRow(index.row());
    auto found = cache.constFind(id);
    if (found == cache.constEnd()) {
        fetchAround(index.row());
        found = cache.constFind(id);
        if (found == cache.constEnd())
            return QVariant(); // deleted since it was listed
    }
    return found->value(index.column());
}

void RecordGridModel::fetchAround(int row) const
{
    if (cache.size() > Remembered) {
        cache.clear();
        lookupCache.clear();
    }
    QVector<int> ids;
    for (int r = qMax(0, row - Before); r < qMin(rowCount(), row + After); ++r) {
        const int id = idOfRow(r);
        if (!cache.contains(id))
            ids << id;
    }
    db->readRowsById(shownTable, names, ids, [this](int id, const QVector<QVariant> &values) {
        QStringList texts;
        texts.reserve(values.size());
        for (int j = 0; j < values.size(); ++j) {
            const QString text = parsed.at(j).isLookup() ? lookedUp(j, values.at(j))
                                                         : printedText(parsed.at(j), values.at(j));
            texts << RecordListModel::shownText(text);
        }
        cache.insert(id, texts);
    });
    // A row that cannot be read is shown empty rather than read again and again.
    for (int id : qAsConst(ids)) {
        if (!cache.contains(id))
            cache.insert(id, QStringList());
    }
}

QString RecordGridModel::lookedUp(int column, const QVariant &value) const
{
    const int id = value.toInt();
    const QPair<int, int> key(column, id);
    const auto found = lookupCache.constFind(key);
    if (found != lookupCache.constEnd())
        return *found;
    QString text;
    const ColumnName &named = parsed.at(column);
    db->readRowsById(named.lookupTable(), {named.lookupColumn()}, {id},
                     [&text](int, const QVector<QVariant> &values) { text = values.value(0).toString(); });
    lookupCache.insert(key, text);
    return text;
}

void RecordGridModel::sort(int column, Qt::SortOrder sortOrder)
{
    if (!db || column >= names.size())
        return;
    QVector<int> ordered;
    if (column >= 0 && !db->idsOrderedBy(shownTable, names.at(column), sortOrder == Qt::DescendingOrder, &ordered))
        return;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    QVector<int> listRows;
    listRows.reserve(before.size());
    for (const QModelIndex &index : before)
        listRows << listRow(index.row());

    sortedBy = column;
    order = sortOrder;
    arrivals.clear();
    gridOf.clear();
    if (column >= 0) {
        // Each listed record takes its place in the column's order; ids the
        // list does not show are passed over, and rows the order does not name
        // (none, in a table of this program) keep theirs at the end.
        const int size = list->size();
        arrivals.reserve(size);
        QHash<int, int> arrivalOfId;
        if (!list->idsAscending()) {
            arrivalOfId.reserve(size);
            for (int arrival = size - 1; arrival >= 0; --arrival)
                arrivalOfId.insert(list->idOfArrival(arrival), arrival);
        }
        QBitArray placed(size);
        for (int id : qAsConst(ordered)) {
            int arrival = -1;
            if (list->idsAscending()) {
                int low = 0, high = size;
                while (low < high) {
                    const int middle = (low + high) / 2;
                    if (list->idOfArrival(middle) < id)
                        low = middle + 1;
                    else
                        high = middle;
                }
                if (low < size && list->idOfArrival(low) == id)
                    arrival = low;
            } else {
                arrival = arrivalOfId.value(id, -1);
            }
            if (arrival >= 0 && !placed.testBit(arrival)) {
                placed.setBit(arrival);
                arrivals << arrival;
            }
        }
        for (int arrival = 0; arrival < size; ++arrival) {
            if (!placed.testBit(arrival))
                arrivals << arrival;
        }
        gridOf.resize(size);
        for (int row = 0; row < arrivals.size(); ++row)
            gridOf[arrivals.at(row)] = row;
    }

    QModelIndexList after;
    after.reserve(before.size());
    for (int i = 0; i < before.size(); ++i)
        after << index(gridRow(listRows.at(i)), before.at(i).column());
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}
