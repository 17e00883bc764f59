#include "records/dateedit.h"

#include "app/resources.h"
#include "records/typeddate.h"

#include <QAction>
#include <QApplication>
#include <QCalendarWidget>
#include <QKeyEvent>
#include <QRegularExpression>
#include <QRegularExpressionValidator>

namespace {
const char *const Format = "dd/MM/yyyy";
}

DateEdit::DateEdit(QWidget *parent) : QLineEdit(parent)
{
    // Digits and slashes only, in the shape of a date; one validator serves
    // every editor of a page.
    static QRegularExpressionValidator *shape =
        new QRegularExpressionValidator(QRegularExpression("\\d{0,2}(/\\d{0,2}(/\\d{0,4})?)?"), qApp);
    setValidator(shape);
    setPlaceholderText("gg/mm/aaaa");
    connect(this, &QLineEdit::textEdited, this, [this] { emit dateChanged(date()); });
    connect(this, &QLineEdit::editingFinished, this, &DateEdit::tidy);
}

QDate DateEdit::readDate(const QString &text)
{
    return readTypedDate(text);
}

void DateEdit::setDate(const QDate &date)
{
    setText(date.isValid() ? date.toString(Format) : QString());
}

QString DateEdit::dateText() const
{
    const QDate typed = date();
    return typed.isValid() ? typed.toString(Format) : QString();
}

QCalendarWidget *DateEdit::calendarWidget()
{
    // A page holds one editor per column: the calendar is made when first opened.
    if (!calendar) {
        calendar = new QCalendarWidget(this);
        calendar->setWindowFlags(Qt::Popup);
        calendar->setGridVisible(true);
        connect(calendar, &QCalendarWidget::activated, this, [this](const QDate &chosen) {
            calendar->hide();
            setDate(chosen);
            emit dateChanged(chosen);
        });
        connect(calendar, &QCalendarWidget::clicked, calendar, &QCalendarWidget::activated);
    }
    return calendar;
}

void DateEdit::showCalendar()
{
    calendarWidget();
    const QDate shown = date().isValid() ? date() : QDate::currentDate();
    calendar->setSelectedDate(shown);
    calendar->setCurrentPage(shown.year(), shown.month());
    calendar->adjustSize();
    calendar->move(mapToGlobal(QPoint(0, height())));
    calendar->show();
    calendar->setFocus(Qt::PopupFocusReason);
}

void DateEdit::tidy()
{
    const QDate typed = date();
    if (typed.isValid() && text() != typed.toString(Format))
        setDate(typed);
}

void DateEdit::step(int days)
{
    // An empty editor starts from today.
    const QDate stepped = date().isValid() ? date().addDays(days) : QDate::currentDate();
    setDate(stepped);
    emit dateChanged(stepped);
}

void DateEdit::keyPressEvent(QKeyEvent *event)
{
    if (event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier) {
        if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) {
            if (!hasInvalidText())
                step(event->key() == Qt::Key_Up ? 1 : -1);
            return;
        }
        if (event->key() == Qt::Key_F4) {
            showCalendar();
            return;
        }
    }
    if (event->key() == Qt::Key_Down && event->modifiers() == Qt::AltModifier) {
        showCalendar();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void DateEdit::showEvent(QShowEvent *event)
{
    // The calendar's button is made when the editor is first shown: a page
    // holds one editor per column, most of them never shown as dates.
    if (!calendarButton) {
        calendarButton = addAction(tessaroIcon(":/calendarIcon"), QLineEdit::TrailingPosition);
        calendarButton->setToolTip("Calendario");
        connect(calendarButton, &QAction::triggered, this, &DateEdit::showCalendar);
    }
    QLineEdit::showEvent(event);
}

void DateEdit::focusOutEvent(QFocusEvent *event)
{
    QLineEdit::focusOutEvent(event);
    tidy();
}
