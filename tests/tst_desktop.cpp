// The program among the desktop's: its toolkit texts in Italian, the keys,
// the focus, and a window that shows its texts whole at its smallest.
#include "app/qtitalian.h"
#include "records/dateedit.h"
#include "testsupport.h"

namespace {

QString plain(const QAbstractButton *button)
{
    return button ? button->text().remove('&') : QString("<none>");
}

// One table of two records; the first record's text is long: the heading
// that shows it must not widen the window beyond a screen.
void clients(DbConnection &db)
{
    QVERIFY(makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo", "RDATEFORMAT_Nascita"},
                      {"Rossi Mario Giuseppe Alessandro della Valle di Sopra, via dei Glicini 12, Borgo San Lorenzo "
                       "(Firenze)||01/01/1990",
                       "Bianchi||01/01/1990"}));
}

// A key pressed in the window as the desktop delivers it, shortcuts included.
// The progress dialog may have had the focus: the offscreen platform does not
// hand it back when the dialog hides.
void key(const Window &s, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    s.w->activateWindow();
    QApplication::processEvents();
    QTest::keyClick(s.w->windowHandle(), Qt::Key(key), modifiers);
}

} // namespace

class DesktopTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(installQtItalian(qApp)); }

    void toolkitTextsAndQuestionsAnswerNoByDefault()
    {
        QFileDialog files(nullptr, "Open File", QDir::tempPath(), "DataBase (*.db)");
        files.setOption(QFileDialog::DontUseNativeDialog);
        files.setAcceptMode(QFileDialog::AcceptSave);
        QDialogButtonBox *fileButtons = files.findChild<QDialogButtonBox *>();
        QCOMPARE(plain(fileButtons->button(QDialogButtonBox::Save)), QString("Salva"));
        QCOMPARE(plain(fileButtons->button(QDialogButtonBox::Cancel)), QString("Annulla"));

        // The real box: Return, with nothing else pressed, answers No.
        QStringList seen;
        QTimer::singleShot(0, [&seen] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (!box)
                return;
            seen << plain(box->button(QMessageBox::Yes)) << plain(box->button(QMessageBox::No))
                 << plain(box->defaultButton());
            QTest::keyClick(box, Qt::Key_Return);
        });
        QVERIFY(!MessageHandler::current()->question("Eliminare questo elemento?"));
        QCOMPARE(seen, QStringList({QString::fromUtf8("Sì"), "No", "No"}));
    }

    void keysFocusAndRequiredFields()
    {
        Window s(clients);
        s.click("pbNewUser");
        QCOMPARE(s.page(), QString("newUserPage"));
        // The cursor waits in the first field; required ones are titled in bold.
        QCOMPARE(s.w->focusWidget(), s.input(s.editor("RSTRINGFORMAT_Nome")));
        QStringList bold;
        for (const inputDataForm *editor : s.w->inputForms)
            if (!editor->isHidden() && editor->findChild<QLabel *>("lbTitle")->font().bold())
                bold << editor->findChild<QLabel *>("lbTitle")->text();
        QCOMPARE(bold, QStringList({"Nome", "Nascita"}));

        QTest::keyClicks(s.w->focusWidget(), "Verdi");
        s.editor("NMONEYFORMAT_Saldo")->findChild<QLineEdit *>("leData")->setText("1.234,56");
        s.editor("RDATEFORMAT_Nascita")->findChild<DateEdit *>("deData")->setDate(QDate(2000, 5, 1));
        key(s, Qt::Key_Return);
        QCOMPARE(s.page(), QString("userPage"));
        QCOMPARE(s.rows("Clienti").last(), QString("RINTEGERFORMAT_Id=3;RSTRINGFORMAT_Nome=Verdi;"
                                                   "NMONEYFORMAT_Saldo=1234.560000;RDATEFORMAT_Nascita=01/05/2000"));

        // Esc leaves the page without saving.
        s.click("pbEditUser");
        s.editor("RSTRINGFORMAT_Nome")->findChild<QLineEdit *>("leData")->setText("Cambiato");
        key(s, Qt::Key_Escape);
        QCOMPARE(s.page(), QString("userPage"));
        QVERIFY(!s.rows("Clienti").join("").contains("Cambiato"));

        // The desktop's keys for the file actions; Return on the designer accepts it.
        key(s, Qt::Key_O, Qt::ControlModifier);
        QCOMPARE(s.messages.fileDialogs, QStringList("Open File|/home|DataBase (*.db)"));
        s.w->administratorModeEnabled(true);
        s.w->newTable();
        QCOMPARE(s.w->focusWidget(), s.child("leTableName"));
        QTest::keyClicks(s.w->focusWidget(), "Prodotti");
        key(s, Qt::Key_Return);
        QVERIFY(s.db().tableExists("Prodotti"));
        key(s, Qt::Key_Q, Qt::ControlModifier);
        QVERIFY(!s.w->isVisible());
    }

    void smallestWindowShowsWholeTexts()
    {
        Window s(clients);
        s.w->administratorModeEnabled(true);
        s.w->resize(1, 1);
        for (const char *action : {"", "pbEditUser", "pbCancelEdit", "pbCalc", "pbExitCalc", "actionTable"}) {
            if (QString(action).startsWith("pb"))
                s.click(action);
            else if (*action)
                s.child<QAction>(action)->trigger();
            QApplication::processEvents();
            QVERIFY(s.w->width() < 1200 && s.w->height() < 700);
            for (QWidget *widget : s.w->findChildren<QWidget *>()) {
                const auto *button = qobject_cast<QAbstractButton *>(widget);
                const auto *label = qobject_cast<QLabel *>(widget);
                QString text = button ? button->text() : label && !label->wordWrap() ? label->text() : QString();
                // Tool bar buttons show their icons only.
                if (!widget->isVisible() || text.remove('&').isEmpty() || qobject_cast<QToolButton *>(widget))
                    continue;
                int need = widget->fontMetrics().horizontalAdvance(text);
                if (button && !button->icon().isNull())
                    need += button->iconSize().width();
                QVERIFY2(widget->width() >= need && widget->height() >= widget->fontMetrics().height(),
                         qPrintable(text));
            }
        }
    }
};

QTEST_MAIN(DesktopTest)
#include "tst_desktop.moc"
