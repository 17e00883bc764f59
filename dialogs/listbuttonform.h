#ifndef LISTBUTTONFORM_H
#define LISTBUTTONFORM_H

#include <QIcon>
#include <QWidget>

namespace Ui {
class ListButtonForm;
}

// One entry of the table list (or of the saved-filter list): an icon button
// and the display name of its table.
class ListButtonForm : public QWidget
{
    Q_OBJECT

public:
    explicit ListButtonForm(QWidget *parent = nullptr);
    ~ListButtonForm() override;

    void setName(const QString &name);
    void setNameAndFilter(const QString &table, const QString &filter);
    void setIcon(const QIcon &icon);

    QString tableName() const { return name; }
    bool isFilterButton() const { return filterMode; }
    QString filterTable() const { return filterPair.first; }
    QString filterName() const { return filterPair.second; }
    QString labelText() const;

signals:
    void changeList(QString table);
    void changeListAndFilter(QString table, QString filter);

public slots:
    void pushed();

private:
    Ui::ListButtonForm *ui;
    QString name;
    bool filterMode = false;
    QPair<QString, QString> filterPair;
};

#endif // LISTBUTTONFORM_H
