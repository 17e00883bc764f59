#include "testsupport.h"

#include "dialogs/listbuttonform.h"

#include <QSqlError>

bool RecordingMessageHandler::question(const QString &text)
{
    questions << text;
    said << "question: " + text;
    return answers.isEmpty() ? defaultAnswer : answers.takeFirst();
}

QStringList RecordingMessageHandler::openFileNames(QWidget *, const QString &caption, const QString &dir,
                                                   const QString &filter)
{
    fileDialogs << caption + "|" + dir + "|" + filter;
    return multiFileAnswers.isEmpty() ? QStringList() : multiFileAnswers.takeFirst();
}

QString RecordingMessageHandler::choose(const QString &caption, const QString &dir, const QString &filter)
{
    fileDialogs << caption + "|" + dir + "|" + filter;
    return fileAnswers.isEmpty() ? QString() : fileAnswers.takeFirst();
}

QString RecordingMessageHandler::folderName(QWidget *, const QString &caption, const QString &dir)
{
    fileDialogs << caption + "|" + dir;
    return folderAnswers.isEmpty() ? QString() : folderAnswers.takeFirst();
}

int RecordingMessageHandler::choice(QWidget *, const QString &caption, const QString &text, const QStringList &items)
{
    said << "choice: " + caption + "|" + text;
    choiceItems << items;
    return choices.isEmpty() ? -1 : choices.takeFirst();
}

void RecordingMessageHandler::clear()
{
    for (QStringList *list : {&said, &warnings, &questions, &fileDialogs})
        list->clear();
}

void reportTo(DbConnection &db, MessageHandler &handler)
{
    db.setFailureListener([&handler](const QString &message) { handler.warning(message); });
    db.setAnswerer([&handler](const QString &question) { return handler.question(question); });
}

QSqlQuery sqlOn(DbConnection &db)
{
    return QSqlQuery(QSqlDatabase::database(db.connectionName()));
}

void run(DbConnection &db, const QStringList &statements)
{
    QSqlQuery q = sqlOn(db);
    for (const QString &statement : statements)
        QVERIFY2(q.exec(statement), qPrintable(statement + ": " + q.lastError().text()));
}

QStringList dumpTable(DbConnection &db, const QString &table)
{
    QStringList rows, columns;
    db.readRows(table, &columns, [&](const QVector<QVariant> &values) {
        QStringList cells;
        for (int c = 0; c < values.size(); ++c)
            cells << columns.at(c) + "=" + values.at(c).toString();
        rows << cells.join(";");
        return true;
    });
    return rows;
}

bool rememberDb(const QString &path)
{
    return writeFile("lastDb.dat", path.toUtf8());
}

bool makeTable(DbConnection &db, const QString &name, const QStringList &columns, const QStringList &rows)
{
    QList<ColumnDefinition> definitions;
    for (const QString &column : columns)
        definitions << ColumnDefinition(column, column.startsWith('X') ? "Integer" : "text");
    if (!db.createTable(name, definitions))
        return false;
    for (const QString &row : rows) {
        const int id = db.insertEmptyRecord(name, false, 0);
        const QStringList values = row.split('|');
        for (int i = 0; i < values.size(); ++i) {
            if (!db.updateField(name, id, columns.at(i), QString(values.at(i)).replace("'", "''")))
                return false;
        }
    }
    return true;
}

QStringList itemTexts(const RecordListView *list)
{
    QStringList texts;
    for (int row = 0; row < list->count(); ++row)
        texts << list->itemText(row);
    return texts;
}

inputDataForm *editorOf(const QList<inputDataForm *> &editors, const QString &column)
{
    for (inputDataForm *e : editors) {
        if (e->columnName() == column)
            return e;
    }
    return nullptr;
}

QStringList hiddenFields(const QList<inputDataForm *> &editors)
{
    QStringList hidden;
    for (const inputDataForm *e : editors) {
        if (e->isHidden())
            hidden << e->fieldName();
    }
    return hidden;
}

QStringList tableLabels(const Tessaro &window)
{
    QStringList labels;
    for (const ListButtonForm *button : window.tableButtonList())
        labels << button->labelText();
    return labels;
}

QString makePicture(const QString &path, int width, int height, Qt::GlobalColor color)
{
    QDir().mkpath(QFileInfo(path).path());
    QImage picture(width, height, QImage::Format_RGB32);
    picture.fill(color);
    picture.save(path, "PNG");
    return path;
}

QString readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString("<missing>");
}

bool writeFile(const QString &path, const QByteArray &content)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(content) == content.size();
}

Window::Window(const std::function<void(DbConnection &)> &prepare) : dbFile(folder.file("test.db"))
{
    if (prepare) {
        DbConnection db;
        db.openDb(dbFile);
        prepare(db);
    }
    restart();
}

void Window::restart()
{
    w.reset();
    rememberDb(dbFile);
    w.reset(new Tessaro);
    w->show();
}

QWidget *Window::input(inputDataForm *editor) const
{
    for (const char *name : {"leData", "deData", "sbNum", "cboxData", "cbData"}) {
        auto *control = editor->findChild<QWidget *>(name);
        if (control && !control->isHidden())
            return control;
    }
    return nullptr;
}

void Window::type(inputDataForm *editor, const QString &text) const
{
    QWidget *control = input(editor);
    w->activateWindow();
    control->setFocus();
    QApplication::processEvents();
    if (auto *box = qobject_cast<QAbstractSpinBox *>(control))
        box->selectAll();
    else if (auto *line = qobject_cast<QLineEdit *>(control))
        line->selectAll();
    QTest::keyClicks(control, text);
}
