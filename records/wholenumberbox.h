#ifndef WHOLENUMBERBOX_H
#define WHOLENUMBERBOX_H

#include <QSpinBox>

// The editor of a whole-number field: a spin box from -999999999 to
// 999999999 that may also be empty, shown as an empty text.
class WholeNumberBox : public QSpinBox
{
    Q_OBJECT

public:
    explicit WholeNumberBox(QWidget *parent = nullptr);

    bool isEmpty() const { return value() == Empty; }
    void clearNumber() { setValue(Empty); }
    // The number shown; 0 when empty.
    int number() const { return isEmpty() ? 0 : value(); }

    QValidator::State validate(QString &text, int &pos) const override;
    void stepBy(int steps) override;

protected:
    int valueFromText(const QString &text) const override;
    QString textFromValue(int value) const override;

private:
    static constexpr int Empty = -1000000000; // one below the least number
};

#endif // WHOLENUMBERBOX_H
