#include "app/accessibility.h"

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QEvent>
#include <QHash>
#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QSet>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTimer>

namespace {

struct ControlName {
    const char *control; // form object name "/" control object name
    const char *name;
    const char *description;
};

// The controls that show no text of their own, or whose text says little
// out of sight (a sign, a number).
const ControlName Names[] = {
    // The main window
    {"Tessaro/leDbName", "Percorso del Db", nullptr},
    {"Tessaro/tablesScroll", "Tabelle", "Un pulsante per tabella: apre i suoi Record"},
    {"Tessaro/filtersScroll", "Filtri Salvati", "Un pulsante per filtro: lo applica alla sua tabella"},
    {"Tessaro/leTableName", "Nome Tabella", nullptr},
    {"Tessaro/leIconData", "Icona", "Il file dell'icona della tabella"},
    {"Tessaro/newElementScroll", "Campi della nuova tabella", nullptr},
    {"Tessaro/calcScroll", "Campi da sommare", nullptr},
    {"Tessaro/leCalcResult", "Risultato", nullptr},
    {"Tessaro/userSearchEdit", "Cerca", "Cerca nella lista dei Record: almeno tre lettere"},
    {"Tessaro/pbUserPrev", "Risultato precedente", "Torna al precedente"},
    {"Tessaro/pbUserNext", "Risultato successivo", "Vai al prossimo"},
    {"Tessaro/pbSort", "Ordine alfabetico", "Ordina per nome o inserimento"},
    {"Tessaro/userListWidget", "Lista dei Record", nullptr},
    {"Tessaro/userGridView", "Griglia dei Record", "Una riga per Record, una colonna per campo: un clic sul titolo ordina"},
    {"Tessaro/pbGrid", "Griglia", "Mostra la lista come griglia"},
    {"Tessaro/datiScroll", "Campi del Record", nullptr},
    {"Tessaro/inputScrollArea", "Campi da compilare", nullptr},
    {"Tessaro/filterScrollArea", "Condizioni del filtro", nullptr},
    // The spreadsheet import
    {"CsvImportForm/cbSeparator", "Separatore", nullptr},
    {"CsvImportForm/cbEncoding", "Codifica", nullptr},
    {"CsvImportForm/rbExistingTable", "Nella tabella scelta", nullptr},
    {"CsvImportForm/leNewTableName", "Nome della nuova tabella", nullptr},
    {"CsvImportForm/twPreview", "Anteprima", "Le prime righe del file come saranno importate"},
    {"CsvImportForm/ptProblems", "Problemi", "Le righe che non si possono importare"},
    // A field editor: its value controls are named after the field.
    {"inputDataForm/pbOr", "Or", "Unisce la condizione alle precedenti con Or"},
    {"inputDataForm/pbAnd", "And", "Unisce la condizione alle precedenti con And"},
    {"inputDataForm/pbMajor", "Maggiore di", "Per un testo: contiene"},
    {"inputDataForm/pbEqual", "Uguale a", nullptr},
    {"inputDataForm/pbMinor", "Minore di", "Per un testo: contiene"},
    {"inputDataForm/pbDiff", "Diverso da", nullptr},
    {"inputDataForm/pbNoFilter", "Nessuna condizione", "Il campo non entra nel filtro"},
    {"inputDataForm/pbMinus", "Diminuisci", "Toglie uno al numero"},
    {"inputDataForm/pbPlus", "Aumenta", "Aggiunge uno al numero"},
    // A field of the record view
    {"outputDataForm/pbXView", "Vai al Record", "Mostra il Record a cui rimanda il campo"},
    {"outputDataForm/pbMail", "Scrivi una e-mail", "Apre il programma di posta con questo indirizzo"},
    {"outputDataForm/pbLink", "Trova Records", "Mostra i Record collegati"},
    {"outputDataForm/pbSubTable", "Apri la tabella", nullptr},
    {"outputDataForm/pbViewPdf", "Visualizza Pdf", nullptr},
    {"outputDataForm/pbViewImage", "Visualizza Immagine", nullptr},
    // A row of the table designer
    {"newTableElement/cbType", "Tipo del campo", nullptr},
    {"newTableElement/leName", "Nome del campo", nullptr},
    {"newTableElement/cbExistList2", "Tabella collegata", "La tabella a cui rimanda un campo LINK"},
    {"newTableElement/cbExistList", "Tabella da cui prendere il campo", nullptr},
    {"newTableElement/cbExistField", "Campo della tabella", nullptr},
    {"newTableElement/pbAddNew", "Aggiungi un nuovo campo", "Aggiungi un nuovo campo alla tabella"},
    // A row of the calculator
    {"calcForm/pbPlus", "Somma", "Somma al risultato"},
    {"calcForm/pbMinus", "Sottrai", "Sottrai dal risultato"},
    // Dialogs
    {"chooseNameForm/leName", "Nome", nullptr},
    {"ImageBox/leImage", "File dell'immagine", nullptr},
    {"ImageBox/pbzoomplus", "Ingrandisci", nullptr},
    {"ImageBox/pbZoomFit", "Adatta alla finestra", nullptr},
    {"ImageBox/pbzoomminus", "Riduci", nullptr},
    {"ImageBox/imageScroll", "Immagine", nullptr},
    {"PrintForm/lwColumns", "Campi della lista", "Spazio spunta o toglie un campo"},
};

const QHash<QString, const ControlName *> &namesByControl()
{
    static const QHash<QString, const ControlName *> table = [] {
        QHash<QString, const ControlName *> byControl;
        for (const ControlName &naming : Names)
            byControl.insert(QString::fromUtf8(naming.control), &naming);
        return byControl;
    }();
    return table;
}

QWidget *firstValueControl(QWidget *editor)
{
    for (const char *name : {"leData", "deData", "sbNum", "cboxData", "cbData"}) {
        auto *control = editor->findChild<QWidget *>(name);
        if (control && control->isVisibleTo(editor))
            return control;
    }
    return editor->findChild<QWidget *>("leData");
}

// Ties an editor's title to the control that shows its value, once the
// editor is shown and its type has chosen that control.
class TitleBuddy : public QObject
{
public:
    explicit TitleBuddy(QWidget *editor) : QObject(editor), editor(editor)
    {
        setObjectName("titleBuddy");
        editor->installEventFilter(this);
    }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == editor && event->type() == QEvent::Show) {
            if (auto *title = editor->findChild<QLabel *>("lbTitle"))
                title->setBuddy(firstValueControl(editor));
        }
        return false;
    }

private:
    QWidget *editor;
};

// Adds the widgets a layout holds, in its order, and theirs after each.
void addInLayoutOrder(QLayout *layout, QList<QWidget *> &widgets)
{
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem *item = layout->itemAt(i);
        if (QWidget *widget = item->widget()) {
            widgets << widget;
            if (widget->layout())
                addInLayoutOrder(widget->layout(), widgets);
        } else if (QLayout *inner = item->layout()) {
            addInLayoutOrder(inner, widgets);
        }
    }
}

// The controls of a widget the Tab key stops at, in the order its layouts
// show them (a control made when first needed stands where it is shown),
// then any others in the order they were made: the parts of a spin box or a
// combo box go with their box.
QList<QWidget *> tabStops(QWidget *widget)
{
    QList<QWidget *> stops;
    QList<QWidget *> candidates = {widget};
    if (widget->layout())
        addInLayoutOrder(widget->layout(), candidates);
    const QSet<QWidget *> placed(candidates.cbegin(), candidates.cend());
    for (QWidget *child : widget->findChildren<QWidget *>()) {
        if (!placed.contains(child))
            candidates << child;
    }
    for (QWidget *candidate : candidates) {
        if (candidate->isWindow() || !(candidate->focusPolicy() & Qt::TabFocus))
            continue;
        bool part = false;
        for (QWidget *up = candidate->parentWidget(); up && up != widget->parentWidget(); up = up->parentWidget())
            part = part || qobject_cast<QAbstractSpinBox *>(up) || qobject_cast<QComboBox *>(up);
        if (!part)
            stops << candidate;
    }
    return stops;
}

// Puts the controls of the widgets in a layout after the widget before, in
// the order of the layout. The order is set again only when the Tab key is
// about to move the focus after the widgets changed: a page of two thousand
// fields is built without rearranging the focus two thousand times.
class TabOrderKeeper : public QObject
{
public:
    TabOrderKeeper(QWidget *contents, QLayout *layout, QWidget *before)
        : QObject(contents), contents(contents), layout(layout), before(before)
    {
        contents->installEventFilter(this);
        keepers().append(this);
        static QPointer<TabWatcher> watcher;
        if (!watcher) {
            watcher = new TabWatcher(qApp);
            qApp->installEventFilter(watcher);
        }
    }
    ~TabOrderKeeper() override { keepers().removeOne(this); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == contents
            && (event->type() == QEvent::ChildAdded || event->type() == QEvent::ChildRemoved
                || event->type() == QEvent::LayoutRequest))
            changed = true;
        return false;
    }

private:
    // Sees every Tab key first, before it moves the focus.
    class TabWatcher : public QObject
    {
    public:
        using QObject::QObject;
        bool eventFilter(QObject *, QEvent *event) override
        {
            if (event->type() == QEvent::KeyPress) {
                const int key = static_cast<QKeyEvent *>(event)->key();
                if (key == Qt::Key_Tab || key == Qt::Key_Backtab) {
                    for (TabOrderKeeper *keeper : qAsConst(keepers()))
                        keeper->reorder();
                }
            }
            return false;
        }
    };
    static QList<TabOrderKeeper *> &keepers()
    {
        static QList<TabOrderKeeper *> all;
        return all;
    }
    void reorder()
    {
        if (!changed || !layout || !before)
            return;
        changed = false;
        QWidget *previous = before;
        for (int i = 0; i < layout->count(); ++i) {
            QWidget *widget = layout->itemAt(i)->widget();
            if (!widget)
                continue;
            for (QWidget *stop : tabStops(widget)) {
                QWidget::setTabOrder(previous, stop);
                previous = stop;
            }
        }
    }

    QWidget *contents;
    QPointer<QLayout> layout;
    QPointer<QWidget> before;
    bool changed = true;
};

// The first control of page the Tab key stops at, as the page stands.
QWidget *firstStop(QWidget *page)
{
    for (QWidget *w = page->nextInFocusChain(); w != page; w = w->nextInFocusChain()) {
        if (page->isAncestorOf(w) && (w->focusPolicy() & Qt::TabFocus) && w->isVisible() && w->isEnabled())
            return w;
    }
    return nullptr;
}

QString withMnemonic(const QString &text, QSet<QChar> &used)
{
    if (text.isEmpty())
        return text;
    const int marked = text.indexOf('&');
    if (marked >= 0 && marked + 1 < text.size() && text.at(marked + 1) != '&') {
        used.insert(text.at(marked + 1).toLower());
        return text;
    }
    // Initials first, then any other letter or digit.
    QList<int> positions, others;
    for (int i = 0; i < text.size(); ++i) {
        if (!text.at(i).isLetterOrNumber())
            continue;
        if (i == 0 || !text.at(i - 1).isLetterOrNumber())
            positions << i;
        else
            others << i;
    }
    positions << others;
    for (int i : qAsConst(positions)) {
        const QChar letter = text.at(i).toLower();
        if (!used.contains(letter)) {
            used.insert(letter);
            return text.left(i) + "&" + text.mid(i);
        }
    }
    return text;
}

void addMenuMnemonics(QMenu *menu)
{
    QSet<QChar> used;
    for (QAction *action : menu->actions()) {
        if (action->isSeparator())
            continue;
        action->setText(withMnemonic(action->text(), used));
        if (action->menu())
            addMenuMnemonics(action->menu());
    }
}

} // namespace

void Accessibility::nameControls(QWidget *form)
{
    const QString prefix = form->objectName() + "/";
    const QHash<QString, const ControlName *> &table = namesByControl();
    for (QWidget *control : form->findChildren<QWidget *>()) {
        const auto found = table.constFind(prefix + control->objectName());
        if (found != table.constEnd()) {
            control->setAccessibleName(QString::fromUtf8(found.value()->name));
            if (found.value()->description)
                control->setAccessibleDescription(QString::fromUtf8(found.value()->description));
            continue;
        }
        auto *button = qobject_cast<QAbstractButton *>(control);
        if (button && button->text().isEmpty() && control->accessibleName().isEmpty()
            && !control->toolTip().isEmpty())
            control->setAccessibleName(control->toolTip());
    }
}

void Accessibility::nameEditor(QWidget *editor, const QString &title, bool required)
{
    // One look at the editor's own controls: a record page holds thousands.
    static const QSet<QString> values = {"leData", "deData", "sbNum", "cboxData", "cbData"};
    const QString description = required ? QString("obbligatorio") : QString();
    for (QWidget *control : editor->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (values.contains(control->objectName())) {
            control->setAccessibleName(title);
            control->setAccessibleDescription(description);
        }
    }
    if (!editor->findChild<QObject *>("titleBuddy", Qt::FindDirectChildrenOnly))
        new TitleBuddy(editor);
}

void Accessibility::announce(QWidget *widget, const QString &text)
{
    widget->setAccessibleName(text);
    // The name changing is not always read out: an alert is.
    QAccessibleEvent alert(widget, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void Accessibility::describe(QWidget *widget, const QString &text)
{
    if (widget->accessibleDescription() != text)
        widget->setAccessibleDescription(text);
}

void Accessibility::addMnemonics(QMenuBar *bar)
{
    QSet<QChar> used;
    for (QAction *action : bar->actions()) {
        if (!action->menu())
            continue;
        action->menu()->setTitle(withMnemonic(action->menu()->title(), used));
        addMenuMnemonics(action->menu());
    }
}

void Accessibility::keepTabOrder(QWidget *contents, QLayout *layout, QWidget *before)
{
    if (contents && layout && before)
        new TabOrderKeeper(contents, layout, before);
}

void Accessibility::prepareMainWindow(QMainWindow *window)
{
    nameControls(window);
    addMnemonics(window->menuBar());
    const struct {
        const char *contents, *layout, *before;
    } pages[] = {
        {"tablesScrollContents", "listButtonLayout", "tablesScroll"},
        {"filtersScrollContents", "filtersButtonLayout", "filtersScroll"},
        {"newElementContents", "newTableLayout", "newElementScroll"},
        {"calcContents", "calcLayout", "calcScroll"},
        {"datiContents", "datiLayout", "datiScroll"},
        {"inputContents", "inputLayout", "inputScrollArea"},
        {"filterContents", "filterLayout", "filterScrollArea"},
    };
    for (const auto &page : pages)
        keepTabOrder(window->findChild<QWidget *>(page.contents), window->findChild<QLayout *>(page.layout),
                     window->findChild<QWidget *>(page.before));
    // A page that closes takes the control with the focus with it (the
    // designer's rows, a record's editors): the focus goes to the page shown
    // then, never nowhere.
    auto *stack = window->findChild<QStackedWidget *>("stPages");
    QObject::connect(qApp, &QApplication::focusChanged, window, [window, stack](QWidget *, QWidget *now) {
        if (now || !stack)
            return;
        QTimer::singleShot(0, window, [window, stack] {
            if (!QApplication::focusWidget() && window->isActiveWindow()) {
                if (QWidget *stop = firstStop(stack->currentWidget()))
                    stop->setFocus(Qt::OtherFocusReason);
            }
        });
    });
    QStatusBar *bar = window->statusBar();
    QObject::connect(bar, &QStatusBar::messageChanged, bar, [bar](const QString &message) {
        if (!message.isEmpty())
            announce(bar, message);
    });
}
