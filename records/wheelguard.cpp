#include "records/wheelguard.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QEvent>
#include <QWidget>

void WheelGuard::install(QWidget *editor)
{
    static WheelGuard *guard = new WheelGuard(qApp);
    // Clicked or tabbed into, the editor takes the wheel; passed over, not.
    editor->setFocusPolicy(Qt::StrongFocus);
    editor->installEventFilter(guard);
}

bool WheelGuard::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Wheel)
        return false;
    auto *editor = static_cast<QWidget *>(watched);
    const QWidget *focus = QApplication::focusWidget();
    if (focus && (focus == editor || editor->isAncestorOf(focus)))
        return false;
    // Kept from the editor, the wheel goes to the scroll area of the page.
    for (QWidget *parent = editor->parentWidget(); parent; parent = parent->parentWidget()) {
        if (auto *area = qobject_cast<QAbstractScrollArea *>(parent)) {
            QCoreApplication::sendEvent(area->viewport(), event);
            return true;
        }
    }
    event->ignore();
    return true;
}
