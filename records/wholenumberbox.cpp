#include "records/wholenumberbox.h"

WholeNumberBox::WholeNumberBox(QWidget *parent) : QSpinBox(parent)
{
    setRange(Empty, 999999999);
    setValue(0);
}

QValidator::State WholeNumberBox::validate(QString &text, int &pos) const
{
    if (text.trimmed().isEmpty())
        return QValidator::Acceptable;
    const QValidator::State state = QSpinBox::validate(text, pos);
    // The number that stands for "empty" cannot be typed.
    if (state == QValidator::Acceptable && QSpinBox::valueFromText(text) == Empty)
        return QValidator::Invalid;
    return state;
}

void WholeNumberBox::stepBy(int steps)
{
    // The arrows start an empty box from 0.
    if (isEmpty()) {
        setValue(0);
        return;
    }
    QSpinBox::stepBy(steps);
}

int WholeNumberBox::valueFromText(const QString &text) const
{
    return text.trimmed().isEmpty() ? Empty : QSpinBox::valueFromText(text);
}

QString WholeNumberBox::textFromValue(int value) const
{
    return value == Empty ? QString() : QSpinBox::textFromValue(value);
}
