// The keyboard alone: one whole session with key presses only, every action
// of the tool bar in a menu, Esc closing every dialog.
#include "app/tessaro.h"
#include "dialogs/listbuttonform.h"
#include "records/inputdataform.h"
#include "records/newtableelement.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>

namespace {

// A key goes where a user's key goes: to the open menu, else to the control
// with the focus.
QWidget *mainWindow = nullptr;

void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    // Offscreen there is no window manager to give the window back its
    // activation when a dialog (the progress of a load) goes: as a desktop does.
    if (!QApplication::activeWindow() || !QApplication::activeWindow()->isVisible())
        QApplication::setActiveWindow(mainWindow);
    QWidget *target = QApplication::activePopupWidget();
    if (!target)
        target = QApplication::focusWidget() ? QApplication::focusWidget() : QApplication::activeWindow();
    QTest::keyClick(target, Qt::Key(key), modifiers);
    QApplication::processEvents();
}

void type(const QString &text)
{
    QTest::keyClicks(QApplication::focusWidget(), text);
}

// Tab until control has the focus: false when the Tab key does not reach it
// in most presses.
bool tabTo(QWidget *control, int most = 30)
{
    for (int i = 0; i < most && QApplication::focusWidget() != control; ++i)
        press(Qt::Key_Tab);
    return QApplication::focusWidget() == control;
}

// An item of the menu bar: Alt and the menu's underlined letter, then the item's.
void choose(QMenu *menu, QAction *action)
{
    press(QKeySequence::mnemonic(menu->title())[0] & ~Qt::KeyboardModifierMask, Qt::AltModifier);
    QCOMPARE(QApplication::activePopupWidget(), menu);
    press(QKeySequence::mnemonic(action->text())[0] & ~Qt::KeyboardModifierMask);
}

} // namespace

class KeyboardTest : public QObject
{
    Q_OBJECT

private slots:
    void wholeSessionWithKeysOnly();
    void escClosesEveryDialog();
};

void KeyboardTest::wholeSessionWithKeysOnly()
{
    Window s;
    mainWindow = s.w.get();
    QApplication::setActiveWindow(s.w.get());
    QVERIFY(QTest::qWaitForWindowActive(s.w.get()));
    QSet<QAction *> inMenus;
    for (const QMenu *menu : s.w->findChildren<QMenu *>()) {
        for (QAction *action : menu->actions())
            inMenus << action;
    }
    for (QAction *action : s.child<QToolBar>("mainToolBar")->actions())
        QVERIFY2(action->isSeparator() || inMenus.contains(action), qPrintable(action->text()));

    // Open a database, then design a table of two fields.
    s.messages.fileAnswers << s.folder.file("negozio.db");
    press(Qt::Key_O, Qt::ControlModifier);
    QCOMPARE(s.w->dbPath, s.folder.file("negozio.db"));
    auto *options = s.child<QMenu>("menuOptions");
    choose(options, s.child<QAction>("actionAdministrator_Mode"));
    QVERIFY(s.w->adminMode);
    choose(options, s.child<QAction>("actionTable"));
    QCOMPARE(s.page(), QString("newTable"));
    QVERIFY(tabTo(s.child("leTableName")));
    type("Clienti");
    // The rows come right after the table's name and icon, before Ok.
    auto rowPart = [&s](int row, const char *name) { return s.w->newTableElements().at(row)->findChild<QWidget *>(name); };
    QVERIFY(tabTo(rowPart(0, "cbRequired"), 6));
    press(Qt::Key_Space);
    QVERIFY(tabTo(rowPart(0, "leName")));
    type("Nome");
    QVERIFY(tabTo(rowPart(0, "pbAddNew")));
    press(Qt::Key_Space);
    QVERIFY(tabTo(rowPart(1, "cbType"), 4));
    press(Qt::Key_M); // MONEY
    QVERIFY(tabTo(rowPart(1, "leName")));
    type("Saldo");
    press(Qt::Key_Return);
    QCOMPARE(s.db().getFieldNames("Clienti"),
             QStringList({"RINTEGERFORMAT_Id", "RSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo", "NLONGSTRINGFORMAT_UserPath"}));

    // Its button in the table list, and two records.
    QVERIFY(tabTo(s.w->tableButtonList().last()->findChild<QWidget *>("pbTable")));
    press(Qt::Key_Space);
    QCOMPARE(s.w->currentTable, QString("Clienti"));
    for (const QString name : {"Rossi", "Bianchi"}) {
        QVERIFY(tabTo(s.child("pbNewUser")));
        press(Qt::Key_Space);
        QVERIFY(tabTo(s.input(s.editor("RSTRINGFORMAT_Nome"))));
        type(name);
        QVERIFY(tabTo(s.input(s.editor("NMONEYFORMAT_Saldo"))));
        type("12,50");
        // Saving follows the last field.
        QVERIFY(tabTo(s.child("pbSaveNewUser"), 2));
        press(Qt::Key_Space);
    }
    QCOMPARE(s.items(), QStringList({"Rossi", "Bianchi"}));

    // A filter, then the list it leaves into a PDF.
    QVERIFY(tabTo(s.child("pbFilter")));
    press(Qt::Key_Space);
    QVERIFY(tabTo(s.input(s.filterEditor("RSTRINGFORMAT_Nome"))));
    type("Rossi");
    press(Qt::Key_Return);
    QCOMPARE(s.items(), QStringList("Rossi"));
    s.messages.fileAnswers << s.folder.file("clienti.pdf");
    QTimer::singleShot(0, [] {
        press(Qt::Key_Down); // the list, rather than the record
        press(Qt::Key_Return);
    });
    press(Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(readFile(s.folder.file("clienti.pdf")).startsWith("%PDF"));
    QCOMPARE(s.w->listedIds().size(), 1);
    QCOMPARE(s.messages.warnings, QStringList());
}

void KeyboardTest::escClosesEveryDialog()
{
    Window s([](DbConnection &db) { makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome"}, {"Rossi"}); });
    for (QDialog *dialog : s.w->findChildren<QDialog *>()) {
        dialog->show();
        QApplication::setActiveWindow(dialog);
        QTest::keyClick(dialog->focusWidget() ? dialog->focusWidget() : dialog, Qt::Key_Escape);
        QVERIFY2(dialog->isHidden(), dialog->metaObject()->className());
    }
    // Those that wait for their answer: what to print, and the preview.
    for (const bool preview : {false, true}) {
        QTimer::singleShot(0, [] {
            QWidget *dialog = QApplication::activeModalWidget();
            QTest::keyClick(dialog->focusWidget() ? dialog->focusWidget() : dialog, Qt::Key_Escape);
        });
        preview ? s.w->printRecord() : s.w->print();
        QCOMPARE(QApplication::activeModalWidget(), nullptr);
    }
}

QTEST_MAIN(KeyboardTest)
#include "tst_keyboard.moc"
