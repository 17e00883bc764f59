// The program as a user runs it: starting on the remembered database, the
// lock, a new database; the desktop's keys, the toolkit's texts in Italian,
// and a window that shows its texts whole at its smallest.
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

class TestSession : public QObject
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
        s.set("NMONEYFORMAT_Saldo", "1.234,56");
        s.editor("RDATEFORMAT_Nascita")->findChild<DateEdit *>("deData")->setDate(QDate(2000, 5, 1));
        key(s, Qt::Key_Return);
        QCOMPARE(s.page(), QString("userPage"));
        QCOMPARE(s.rows("Clienti").last(), QString("RINTEGERFORMAT_Id=3;RSTRINGFORMAT_Nome=Verdi;"
                                                   "NMONEYFORMAT_Saldo=1234.560000;RDATEFORMAT_Nascita=01/05/2000"));

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

    void remembersTheLastDatabase()
    {
        TestFolder folder;
        RecordingMessageHandler messages;
        const QString path = folder.file("data/archivio.db");
        QDir().mkpath(folder.file("data"));
        {
            DbConnection db;
            QVERIFY(db.openDb(path));
            run(db, {"CREATE TABLE Clienti (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text)",
                     "CREATE TABLE HIDDENTABLE_Segreti (RINTEGERFORMAT_Id integer primary key)",
                     "CREATE TABLE Ordini (RINTEGERFORMAT_Id integer primary key)",
                     // a system table with other columns is left alone
                     "CREATE TABLE filters (RINTEGERFORMAT_Id integer primary key, something text)"});
        }
        QVERIFY(writeFile("lastDb.dat", path.toUtf8() + "\nsecond line is ignored\n"));

        Tessaro w;
        QCOMPARE(w.dbPath, path);
        QCOMPARE(w.tablesDocPath + "|" + w.dbDataPath, folder.file("data/TABLES_DOC") + "|" + folder.file("data/DB_DATA"));
        QVERIFY(QDir(w.tablesDocPath).exists() && QDir(w.dbDataPath).exists());
        QCOMPARE(w.findChild<QPushButton *>("pbDbName")->text(), QString("archivio.db"));
        QCOMPARE(tableLabels(w), (QStringList{"Clienti", "Ordini"}));
        QCOMPARE(w.currentTable + " " + w.findChild<QLabel *>("lbListName")->text(), QString("Clienti Clienti"));
        QVERIFY(w.connection()->tableExists("settings") && w.connection()->tableExists("subtablesconfigs"));
        QCOMPARE(w.connection()->getFieldNames("filters"), (QStringList{"RINTEGERFORMAT_Id", "something"}));
        QVERIFY(messages.said.isEmpty());
    }

    void firstStartsAndTheLock()
    {
        TestFolder folder;
        RecordingMessageHandler messages;
        // A first start in an empty folder runs on a private temporary database
        // that has the system tables, and takes the lock.
        auto *first = new Tessaro;
        QCOMPARE(readFile("lastDb.dat") + "|" + readFile("lockDb.dat"), QString("|Locked"));
        QCOMPARE(first->windowTitle(), QString("DB Administration Tool"));
        QVERIFY(QDir("TABLES_DOC").exists() && QDir("DB_DATA").exists());
        QCOMPARE(first->findChild<QPushButton *>("pbDbName")->text(), QString());
        QVERIFY(first->tableButtonList().isEmpty() && first->connection()->tableExists("settings"));
        QVERIFY(!first->readOnly && !first->findChild<QLabel *>("lbReadOnly"));
        first->administratorModeEnabled(true);
        QVERIFY(first->findChild<QAction *>("actionNew_Db")->isEnabled());
        {
            // A second instance in the same folder is read-only and says why.
            Tessaro second;
            QVERIFY(second.readOnly);
            second.administratorModeEnabled(true); // shown, but still disabled
            QCOMPARE(second.windowTitle(), QString("DB Administration Tool - READONLY"));
            const QLabel *notice = second.findChild<QLabel *>("lbReadOnly");
            QVERIFY(notice && !notice->isHidden());
            QVERIFY(notice->text().contains("un'altra copia del programma sta usando questa cartella"));
            QVERIFY(notice->text().contains("\"lockDb.dat\""));
            for (const char *name : {"actionNew_Db", "actionTable", "actionRemove_Table", "actionAdministrator_Mode",
                                     "actionDelete_All_Database", "actionImport_From_File_Trasvo_File"})
                QVERIFY2(!second.findChild<QAction *>(name)->isEnabled(), name);
            for (const char *name : {"pbNewUser", "pbEditUser", "pbDeleteUser", "pbNewFilter"})
                QVERIFY2(!second.findChild<QPushButton *>(name)->isEnabled(), name);
            for (const char *name : {"actionOpen_Db", "actionExit", "actionTool"})
                QVERIFY2(second.findChild<QAction *>(name)->isEnabled(), name);
        }
        // The read-only instance leaves the owner's lock in place.
        QCOMPARE(readFile("lockDb.dat"), QString("Locked"));
        delete first;
        QVERIFY(!QFile::exists("lockDb.dat"));
        QVERIFY(messages.said.isEmpty());

        // A lock left behind (the owner crashed) keeps every later start read-only.
        QVERIFY(writeFile("lockDb.dat", "Locked"));
        Tessaro third;
        QVERIFY(third.readOnly);
    }

    void newDbStartsClean()
    {
        Window s([](DbConnection &db) { QVERIFY(makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome"}, {"Anna"})); });
        // A cancelled dialog empties dbPath and changes nothing else.
        s.w->newDb();
        QCOMPARE(s.w->dbPath, QString());
        QCOMPARE(readFile("lastDb.dat"), s.dbFile);

        // A name typed without its ending gets it.
        const QString path = s.folder.file("nuovo.db");
        s.messages.fileAnswers << s.folder.file("nuovo");
        s.w->newDb();
        QCOMPARE(s.messages.fileDialogs.last(), QString("Open File|/home|DataBase (*.db)"));
        QCOMPARE(s.w->dbPath, path);
        QVERIFY(QFile::exists(path));
        QCOMPARE(readFile("lastDb.dat"), path);
        // Nothing of the previous database stays on screen.
        QVERIFY(s.w->recordViewWidgets().isEmpty() && s.items().isEmpty());
        QCOMPARE(s.label("lbListName") + s.label("lbViewInfo") + s.label("lbToolbar"), QString("----"));

        // The program's own tables, as every database it makes has them.
        QStringList system;
        for (const char *table : {"settings", "filters", "subtablesconfigs"})
            system << s.db().getFieldNames(table).join(' ');
        QCOMPARE(system, QStringList({"RINTEGERFORMAT_Id RSTRINGFORMAT_tableName RSTRINGFORMAT_iconPath",
                                      "RINTEGERFORMAT_Id RSTRINGFORMAT_filterName NSTRINGFORMAT_filterTableName "
                                      "NSTRINGFORMAT_filterFieldName NSTRINGFORMAT_filterFieldValue "
                                      "NSTRINGFORMAT_filterFieldType NSTRINGFORMAT_filterFieldCondition "
                                      "NSTRINGFORMAT_filterFieldConditionAndOr",
                                      "RINTEGERFORMAT_Id RSTRINGFORMAT_subConfigName NSTRINGFORMAT_subConfigFieldName "
                                      "NSTRINGFORMAT_subConfigFieldType"}));

        // The first table designed there becomes current, not a system table.
        s.w->newTable();
        s.child<QLineEdit>("leTableName")->setText("Prodotti");
        s.w->acceptedNewTable();
        QCOMPARE(s.w->currentTable + " " + s.label("lbListName"), QString("Prodotti Prodotti"));
        // The next start reopens it.
        Tessaro again;
        QCOMPARE(again.dbPath, path);
        QCOMPARE(tableLabels(again), QStringList{"Prodotti"});
    }

    void bareOrBadFileName()
    {
        TestFolder folder;
        RecordingMessageHandler messages;
        // A bare file name is made in the working folder, its folders beside it.
        QVERIFY(rememberDb("bare.db"));
        {
            Tessaro w;
            QCOMPARE(w.dbPath + "|" + w.tablesDocPath, QString("bare.db|TABLES_DOC"));
            QVERIFY(QFile::exists(folder.file("bare.db")));
            QVERIFY(QDir(folder.file("TABLES_DOC")).exists() && QDir(folder.file("DB_DATA")).exists());
        }
        // A file that is not a database is said so and left as it is.
        QVERIFY(writeFile("notes.db", "these are plain notes, not a database\n"));
        QVERIFY(rememberDb(folder.file("notes.db")));
        Tessaro w;
        QCOMPARE(messages.warnings, QStringList{"ERRORE: Impossibile aprire il Db!"});
        QVERIFY(w.tableButtonList().isEmpty());
        QCOMPARE(readFile("notes.db"), QString("these are plain notes, not a database\n"));
    }
};

QTEST_MAIN(TestSession)
#include "tst_session.moc"
