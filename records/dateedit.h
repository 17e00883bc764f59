#ifndef DATEEDIT_H
#define DATEEDIT_H

#include <QDate>
#include <QLineEdit>

class QCalendarWidget;

// The date editor of a field, shown "dd/MM/yyyy". It is typed like a line of
// text: a date typed whole ("12/03/1963", "29/02/1984", "1/3/63") is taken as
// typed, whatever the editor showed before, and a text that is no date
// ("31/02/2000") stays as typed so that the page can refuse it. It may be
// empty, and then shows nothing. The button at its end opens a calendar;
// the Up and Down keys step the day.
class DateEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit DateEdit(QWidget *parent = nullptr);

    // The date shown; invalid when the text is empty or no date.
    QDate date() const { return readDate(text()); }
    // Shows date; an invalid one empties the editor.
    void setDate(const QDate &date);
    void clearDate() { setDate(QDate()); }
    bool isEmpty() const { return text().trimmed().isEmpty(); }
    // Whether the text is neither empty nor a date.
    bool hasInvalidText() const { return !isEmpty() && !date().isValid(); }
    // "dd/MM/yyyy" of the date typed; empty when there is none.
    QString dateText() const;
    QCalendarWidget *calendarWidget();
    void showCalendar();

    // A date as typed (see readTypedDate).
    static QDate readDate(const QString &text);

signals:
    // A date was typed, chosen or stepped to (or the editor emptied).
    void dateChanged(const QDate &date);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    // Writes a typed date in its full form once the user is done with it.
    void tidy();
    void step(int days);

    QCalendarWidget *calendar = nullptr;
    class QAction *calendarButton = nullptr;
};

#endif // DATEEDIT_H
