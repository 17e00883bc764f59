#ifndef WHEELGUARD_H
#define WHEELGUARD_H

#include <QObject>

class QWidget;

// Keeps the mouse wheel for the page: over a drop-down, date or number
// editor that does not have the focus, the wheel scrolls the form the editor
// is on and never changes the editor's value.
class WheelGuard : public QObject
{
    Q_OBJECT

public:
    static void install(QWidget *editor);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    using QObject::QObject;
};

#endif // WHEELGUARD_H
