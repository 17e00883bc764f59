#ifndef TESTSUPPORT_H
#define TESTSUPPORT_H

#include "app/recordlistview.h"
#include "app/tessaro.h"
#include "dialogs/messagehandler.h"
#include "records/inputdataform.h"
#include "storage/dbconnection.h"

#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>
#include <QtWidgets>

#include <functional>
#include <memory>

// Records every message, question and file choice, and answers them:
// questions from a queue (then the default answer), file choices from queues.
// Installs itself while it lives; the real boxes come back after.
class RecordingMessageHandler : public MessageHandler
{
public:
    RecordingMessageHandler() { MessageHandler::install(this); }
    ~RecordingMessageHandler() override { MessageHandler::install(nullptr); }

    void warning(const QString &text) override { warnings << text; said << "warning: " + text; }
    void information(const QString &text) override { said << "information: " + text; }
    bool question(const QString &text) override;
    QString openFileName(QWidget *, const QString &c, const QString &d, const QString &f) override { return choose(c, d, f); }
    QStringList openFileNames(QWidget *, const QString &caption, const QString &dir, const QString &filter) override;
    QString saveFileName(QWidget *, const QString &c, const QString &d, const QString &f) override { return choose(c, d, f); }

    void clear();
    // Everything said, in order, each prefixed with its kind ("warning: ", "question: "...).
    QStringList said;
    QStringList warnings;
    QStringList questions;
    QStringList fileDialogs; // "caption|dir|filter"

    QList<bool> answers;     // answers to the next questions, in order
    bool defaultAnswer = true;
    QStringList fileAnswers; // answers to the next file choices, in order (empty = cancel)
    QList<QStringList> multiFileAnswers;
    QStringList folderAnswers;   // answers to the next folder choices (none: cancel)
    QList<int> choices;          // answers to the next choices among items (none: cancel)
    QStringList choiceItems;     // the items offered, of every choice so far
    QString folderName(QWidget *, const QString &caption, const QString &dir) override;
    int choice(QWidget *, const QString &caption, const QString &text, const QStringList &items) override;

private:
    QString choose(const QString &caption, const QString &dir, const QString &filter);
};

// A fresh working folder for one test: the program reads "lastDb.dat" and
// "lockDb.dat" from the working directory, so each test gets its own.
class TestFolder
{
public:
    TestFolder() : previous(QDir::currentPath()) { QDir::setCurrent(dir.path()); }
    ~TestFolder() { QDir::setCurrent(previous); }
    QString path() const { return dir.path(); }
    QString file(const QString &name) const { return dir.filePath(name); }

private:
    QTemporaryDir dir;
    QString previous;
};

// Tells db's failures and questions to handler, as the window does with
// the message handler in use.
void reportTo(DbConnection &db, MessageHandler &handler);
// A query on db's own connection, for statements the program would not write.
QSqlQuery sqlOn(DbConnection &db);
// Runs each statement on db's connection; a failing one fails the test.
void run(DbConnection &db, const QStringList &statements);

// Rows of a table as name=value texts, for quick comparisons.
QStringList dumpTable(DbConnection &db, const QString &table);

// Names the database the next main window opens, as the program remembers it.
bool rememberDb(const QString &path);

// A table of text columns ("X..." lookups are Integer), one row per text with
// the data columns' values separated by "|".
bool makeTable(DbConnection &db, const QString &name, const QStringList &columns, const QStringList &rows = {});

QStringList itemTexts(const RecordListView *list);
// The editor of column among editors; nullptr when there is none.
inputDataForm *editorOf(const QList<inputDataForm *> &editors, const QString &column);
// The field names of the editors that are hidden, in page order.
QStringList hiddenFields(const QList<inputDataForm *> &editors);
// The labels of a window's table buttons, in list order.
QStringList tableLabels(const Tessaro &window);

// A picture file of the given size and colour, its folder made too; its path.
QString makePicture(const QString &path, int width, int height, Qt::GlobalColor color = Qt::red);

// A file's text, "<missing>" when there is none.
QString readFile(const QString &path);
bool writeFile(const QString &path, const QByteArray &content);

// A main window started as a user starts it, on a database of its own in a
// working folder of its own. prepare fills the database first, on a
// connection of its own.
struct Window {
    TestFolder folder;
    RecordingMessageHandler messages;
    QString dbFile;
    std::unique_ptr<Tessaro> w;

    explicit Window(const std::function<void(DbConnection &)> &prepare = {});
    // A database made by statements first, as another tool would make it.
    explicit Window(const QStringList &statements) : Window([&](DbConnection &db) { run(db, statements); }) {}
    // Closes the window and starts the program again on the same database.
    void restart();
    DbConnection &db() const { return *w->connection(); }
    template <class T = QWidget> T *child(const char *name) const { return w->findChild<T *>(name); }
    // The object name of the page stPages shows.
    QString page() const { return child<QStackedWidget>("stPages")->currentWidget()->objectName(); }
    void click(const char *button) const { child<QAbstractButton>(button)->click(); }
    // The editor of column on the record page, and on the filter page.
    inputDataForm *editor(const QString &column) const { return editorOf(w->inputForms, column); }
    inputDataForm *filterEditor(const QString &column) const { return editorOf(w->filterEditors(), column); }
    // The control of an editor the user types into (line edit, date, number).
    QWidget *input(inputDataForm *editor) const;
    // Types text into an editor's control as a user does: focus, select all, keys.
    void type(inputDataForm *editor, const QString &text) const;
    // Puts text in the line edit of column's editor on the record page, as a paste would.
    void set(const QString &column, const QString &text) const
    {
        editor(column)->findChild<QLineEdit *>("leData")->setText(text);
    }
    QStringList rows(const QString &table) const { return dumpTable(db(), table); }
    QStringList items() const { return itemTexts(child<RecordListView>("userListWidget")); }

    QString label(const char *name) const { return child<QLabel>(name)->text(); }
    QStringList buttons() const { return tableLabels(*w); }
};

#endif // TESTSUPPORT_H
