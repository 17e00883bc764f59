#include "app/qtitalian.h"
#include "app/tessaro.h"
#include "records/dateedit.h"
#include "records/inputdataform.h"
#include "storage/dbconnection.h"
#include "dialogs/messagehandler.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>

namespace {
QString plain(const QAbstractButton *button)
{
    return button ? button->text().remove('&') : QString("<none>");
}

// A main window on a database with one table of two records, shown.
struct Fixture {
    TestFolder folder;
    RecordingMessageHandler messages;
    Tessaro w;
    DbConnection *db = w.connection();

    Fixture()
    {
        w.loadDb(folder.file("test.db"));
        db->createTable("Clienti", {{"RSTRINGFORMAT_Nome", "text"}, {"NMONEYFORMAT_Saldo", "text"},
                                    {"RDATEFORMAT_Nascita", "text"}});
        // The first record's text is long: the heading that shows it must
        // not widen the window beyond a screen.
        for (const char *name : {"Rossi Mario Giuseppe Alessandro della Valle di Sopra, via dei Glicini 12, "
                                 "Borgo San Lorenzo (Firenze)", "Bianchi"})
            w.insertRecord("Clienti", {{"RINTEGERFORMAT_Id", "0"}, {"RSTRINGFORMAT_Nome", name},
                                       {"RDATEFORMAT_Nascita", "01/01/1990"}}, false);
        w.tableNames = db->getTables();
        w.refreshTableList(true);
        w.show();
    }
    template <class T = QWidget> T *child(const char *name) const { return w.findChild<T *>(name); }
    QString page() const { return child<QStackedWidget>("stPages")->currentWidget()->objectName(); }
    // A key pressed in the window as the desktop delivers it, shortcuts
    // included. The progress dialog may have had the focus: the offscreen
    // platform does not hand it back when the dialog hides.
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        w.activateWindow();
        QApplication::processEvents();
        QTest::keyClick(w.windowHandle(), Qt::Key(key), modifiers);
    }
};
} // namespace

class DesktopTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(installQtItalian(qApp)); }
    void toolkitTextsAndQuestionsAnswerNoByDefault();
    void keysFocusAndRequiredFields();
    void newDatabaseStartsCleanAndNoSystemTableBecomesCurrent();
    void smallestWindowShowsWholeTexts();
};

void DesktopTest::toolkitTextsAndQuestionsAnswerNoByDefault()
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

void DesktopTest::keysFocusAndRequiredFields()
{
    Fixture s;
    s.child<QPushButton>("pbNewUser")->click();
    QCOMPARE(s.page(), QString("newUserPage"));
    // The cursor waits in the first field; required ones are titled in bold.
    const QList<inputDataForm *> &editors = s.w.inputForms;
    QCOMPARE(s.w.focusWidget(), editors.at(1)->findChild<QLineEdit *>("leData"));
    QStringList bold;
    for (const inputDataForm *editor : editors)
        if (!editor->isHidden() && editor->findChild<QLabel *>("lbTitle")->font().bold())
            bold << editor->findChild<QLabel *>("lbTitle")->text();
    QCOMPARE(bold, QStringList({"Nome", "Nascita"}));

    QTest::keyClicks(s.w.focusWidget(), "Verdi");
    editors.at(2)->findChild<QLineEdit *>("leData")->setText("1.234,56");
    editors.at(3)->findChild<DateEdit *>("deData")->setDate(QDate(2000, 5, 1));
    s.key(Qt::Key_Return);
    QCOMPARE(s.page(), QString("userPage"));
    QCOMPARE(dumpTable(*s.db, "Clienti").last(),
             QString("RINTEGERFORMAT_Id=3;RSTRINGFORMAT_Nome=Verdi;NMONEYFORMAT_Saldo=1234.560000;"
                     "RDATEFORMAT_Nascita=01/05/2000"));

    // Esc leaves the page without saving.
    s.child<QPushButton>("pbEditUser")->click();
    editors.at(1)->findChild<QLineEdit *>("leData")->setText("Cambiato");
    s.key(Qt::Key_Escape);
    QCOMPARE(s.page(), QString("userPage"));
    QVERIFY(!dumpTable(*s.db, "Clienti").join("").contains("Cambiato"));

    // The desktop's keys for the file actions; Return on the designer accepts it.
    s.key(Qt::Key_O, Qt::ControlModifier);
    QCOMPARE(s.messages.fileDialogs, QStringList("Open File|/home|DataBase (*.db)"));
    s.w.administratorModeEnabled(true);
    s.w.newTable();
    QCOMPARE(s.w.focusWidget(), s.child("leTableName"));
    QTest::keyClicks(s.w.focusWidget(), "Prodotti");
    s.key(Qt::Key_Return);
    QVERIFY(s.db->tableExists("Prodotti"));
    s.key(Qt::Key_Q, Qt::ControlModifier);
    QVERIFY(!s.w.isVisible());
}

void DesktopTest::newDatabaseStartsCleanAndNoSystemTableBecomesCurrent()
{
    Fixture s;
    s.messages.fileAnswers << s.folder.file("nuovo");
    s.w.newDb();
    QCOMPARE(s.w.dbPath, s.folder.file("nuovo.db"));
    QVERIFY(QFile::exists(s.folder.file("nuovo.db")));
    QVERIFY(s.w.recordViewWidgets().isEmpty());
    QCOMPARE(s.child<QLabel>("lbListName")->text() + s.child<QLabel>("lbViewInfo")->text(), QString());
    QCOMPARE(s.child<QLabel>("lbToolbar")->text(), QString("----"));
    QCOMPARE(s.child<QListWidget>("userListWidget")->count(), 0);

    // The first table designed there becomes current, not a system table.
    s.w.newTable();
    s.child<QLineEdit>("leTableName")->setText("Prodotti");
    s.w.acceptedNewTable();
    QCOMPARE(s.w.currentTable, QString("Prodotti"));
    QCOMPARE(s.child<QLabel>("lbListName")->text(), QString("Prodotti"));
}

void DesktopTest::smallestWindowShowsWholeTexts()
{
    Fixture s;
    s.w.administratorModeEnabled(true);
    s.w.resize(1, 1);
    for (const char *action : {"", "pbEditUser", "pbCancelEdit", "pbCalc", "pbExitCalc", "actionTable"}) {
        if (QString(action).startsWith("pb"))
            s.child<QPushButton>(action)->click();
        else if (*action)
            s.child<QAction>(action)->trigger();
        QApplication::processEvents();
        QVERIFY(s.w.width() < 1200 && s.w.height() < 700);
        for (QWidget *widget : s.w.findChildren<QWidget *>()) {
            const auto *button = qobject_cast<QAbstractButton *>(widget);
            const auto *label = qobject_cast<QLabel *>(widget);
            QString text = button ? button->text() : label && !label->wordWrap() ? label->text() : QString();
            // Tool bar buttons show their icons only.
            if (!widget->isVisible() || text.remove('&').isEmpty() || qobject_cast<QToolButton *>(widget))
                continue;
            int need = widget->fontMetrics().horizontalAdvance(text);
            if (button && !button->icon().isNull())
                need += button->iconSize().width();
            QVERIFY2(widget->width() >= need && widget->height() >= widget->fontMetrics().height(), qPrintable(text));
        }
    }
}

QTEST_MAIN(DesktopTest)
#include "tst_desktop.moc"
