#include "app/recordlistview.h"

#include "app/recordlistmodel.h"

#include <algorithm>

RecordListView::RecordListView(QWidget *parent) : QListView(parent)
{
    setUniformItemSizes(true);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
}

void RecordListView::setListModel(RecordListModel *model)
{
    list = model;
    setModel(model);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &RecordListView::itemSelectionChanged);
}

int RecordListView::count() const
{
    return list ? list->size() : 0;
}

int RecordListView::currentRow() const
{
    return currentIndex().isValid() ? currentIndex().row() : -1;
}

void RecordListView::setCurrentRow(int row)
{
    if (!list || row < 0 || row >= list->size())
        return;
    const QModelIndex index = list->index(row);
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    scrollTo(index);
}

QList<int> RecordListView::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex &index : selectionModel()->selectedIndexes())
        rows << index.row();
    std::sort(rows.begin(), rows.end());
    return rows;
}

QString RecordListView::itemText(int row) const
{
    return list ? list->textAt(row) : QString();
}
