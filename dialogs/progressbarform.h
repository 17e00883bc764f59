#ifndef PROGRESSBARFORM_H
#define PROGRESSBARFORM_H

#include <QDialog>

namespace Ui {
class progressBarForm;
}

// Shown during long operations; the caller sets the window title.
class progressBarForm : public QDialog
{
    Q_OBJECT

public:
    explicit progressBarForm(QWidget *parent = nullptr);
    ~progressBarForm() override;

    void setValue(int value);
    int value() const;
    void setLabel(const QString &text);
    QString label() const;

private:
    Ui::progressBarForm *ui;
};

#endif // PROGRESSBARFORM_H
