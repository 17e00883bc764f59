#ifndef RECORDLISTVIEW_H
#define RECORDLISTVIEW_H

#include <QListView>

class RecordListModel;

// The record list on the records page: a view of the list's model, with the
// calls a list of items has (count, current row, selection).
class RecordListView : public QListView
{
    Q_OBJECT

public:
    explicit RecordListView(QWidget *parent = nullptr);

    void setListModel(RecordListModel *model);
    RecordListModel *listModel() const { return list; }
    int count() const;
    int currentRow() const;
    // Makes row the current and only selected one.
    void setCurrentRow(int row);
    // The selected rows, top first.
    QList<int> selectedRows() const;
    QString itemText(int row) const;

signals:
    void itemSelectionChanged();

private:
    RecordListModel *list = nullptr;
};

#endif // RECORDLISTVIEW_H
