#ifndef CHOOSENAMEFORM_H
#define CHOOSENAMEFORM_H

#include <QDialog>

namespace Ui {
class chooseNameForm;
}

// Asks for a name (saved filters, table structures). Whoever needs the name
// connects to accepted() and reads it with getName().
class chooseNameForm : public QDialog
{
    Q_OBJECT

public:
    explicit chooseNameForm(QWidget *parent = nullptr);
    ~chooseNameForm() override;

    QString getName() const;
    void clear();
    void setName(const QString &name);

private:
    Ui::chooseNameForm *ui;
};

#endif // CHOOSENAMEFORM_H
