#ifndef ACCESSIBILITY_H
#define ACCESSIBILITY_H

#include <QString>

class QLayout;
class QMainWindow;
class QMenuBar;
class QWidget;

// What a screen reader says of the program's controls, and how the keyboard
// reaches them. Names and descriptions are Italian, like every text of the
// program; the texts and tooltips the controls show are left as they are.
namespace Accessibility {

// Names (and where it helps describes) the controls of a form that show no
// text of their own: icon buttons, line edits, lists, scroll areas. The
// controls are known by the form's object name and their own; a button that
// shows only an icon is otherwise named by its tooltip.
void nameControls(QWidget *form);

// A field editor's controls take the field's title as their name (its title
// label is their label); a required field is described as "obbligatorio".
void nameEditor(QWidget *editor, const QString &title, bool required);

// Sets the accessible name of widget to text and tells the screen reader,
// which reads it out: the messages of the status bar and the notices.
void announce(QWidget *widget, const QString &text);
// Sets the accessible description and tells the screen reader (the count of
// the record list).
void describe(QWidget *widget, const QString &text);

// Gives every menu title and menu item a mnemonic (Alt+letter on the menu
// bar, the letter inside an open menu): the letter underlined is the first
// free one among the initials of its words, then among its other letters.
void addMnemonics(QMenuBar *bar);

// Widgets added at run time to contents (the fields of a record, the rows of
// the designer, the table buttons) come after the widget before in the Tab
// order, in the order of layout, instead of after every other control of the
// window.
void keepTabOrder(QWidget *contents, QLayout *layout, QWidget *before);

// All of the above for the main window: its controls named, its menus given
// mnemonics, the pages built at run time kept in Tab order, the messages of
// its status bar announced.
void prepareMainWindow(QMainWindow *window);

} // namespace Accessibility

#endif // ACCESSIBILITY_H
