#ifndef CALCFORM_H
#define CALCFORM_H

#include <QWidget>

namespace Ui {
class calcForm;
}

// One row of the calculator page: a numeric column's coded name, its own
// total over all records, and the three exclusive sign buttons that say
// whether the page result adds it, subtracts it or leaves it out.
class calcForm : public QWidget
{
    Q_OBJECT

public:
    explicit calcForm(QWidget *parent = nullptr);
    ~calcForm() override;

    void setName(const QString &column);
    QString name() const { return column; }
    // MONEYFORMAT makes a money row, which shows "€" and totals in cents.
    void setType(const QString &typeTag);
    bool isMoney() const { return money; }

    // 0 add (pbPlus), 1 subtract (pbMinus), 2 leave out (pbExclude, or none checked).
    int sign() const;
    void reset();
    void addValue(double value);
    QString resultText() const;
    void setResultText(const QString &text);

private:
    Ui::calcForm *ui;
    QString column;
    bool money = false;
};

#endif // CALCFORM_H
