// The program's window with a scripted user, for the crash test: it saves
// records with attached pictures, imports record files and adds fields, over
// and over, and prints a line for each one once the window says it is done.
//   tessaro-crashdriver DB WORKFOLDER
// The crash test kills it at random moments and checks what it left.
#include "app/tessaro.h"
#include "dialogs/messagehandler.h"
#include "records/imagebox.h"
#include "records/inputdataform.h"
#include "records/newtableelement.h"
#include "storage/dbconnection.h"

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QLineEdit>
#include <QStackedWidget>
#include <cstdio>

namespace {

// Answers every question Yes and every file choice with the next file.
class ScriptedUser : public MessageHandler
{
public:
    QString file;
    void warning(const QString &text) override { std::fprintf(stderr, "warning: %s\n", qPrintable(text)); }
    void information(const QString &) override {}
    bool question(const QString &) override { return true; }
    QString openFileName(QWidget *, const QString &, const QString &, const QString &) override { return file; }
    QStringList openFileNames(QWidget *, const QString &, const QString &, const QString &) override
    {
        return {file};
    }
    QString saveFileName(QWidget *, const QString &, const QString &, const QString &) override { return file; }
};

void say(const QString &line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

inputDataForm *editor(Tessaro &w, const QString &column)
{
    for (inputDataForm *e : w.inputForms) {
        if (e->columnName() == column)
            return e;
    }
    return nullptr;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (argc < 3)
        return 2;
    const QString dbPath = QString::fromLocal8Bit(argv[1]);
    const QString work = QString::fromLocal8Bit(argv[2]);
    QDir::setCurrent(work);
    ScriptedUser user;
    MessageHandler::install(&user);
    Session::rememberDb(dbPath);
    Tessaro w;
    DbConnection &db = *w.connection();
    say("ready");

    // Picked pictures, each a file of its own name; record files of 50
    // records each, their identifiers new every time.
    for (int i = 0;; ++i) {
        if (i % 5 == 4) {
            const QString file = work + QString("/voci%1.tvf").arg(i);
            QString text = "Voci\n";
            for (int k = 0; k < 50; ++k)
                text += QString("RINTEGERFORMAT_Id###0###RSTRINGFORMAT_Codice###c%1-%2###"
                                "NLONGSTRINGFORMAT_UserPath######\n").arg(i).arg(k);
            QFile out(file);
            out.open(QIODevice::WriteOnly);
            out.write(text.toUtf8());
            out.close();
            const int before = db.countRecords("Voci");
            w.importingFile(file);
            if (db.countRecords("Voci") == before + 50)
                say(QString("imported %1").arg(i));
        } else if (i % 7 == 6) {
            w.changeTable("Schede");
            w.addField();
            w.newTableElements().first()->findChild<QLineEdit *>("leName")->setText(QString("Extra%1").arg(i));
            w.acceptedNewTable();
            if (db.getFieldNames("Schede").contains(QString("NSTRINGFORMAT_Extra%1").arg(i)))
                say(QString("added Extra%1").arg(i));
        } else {
            const int id = 1 + i % 3;
            user.file = work + QString("/img%1.png").arg(i);
            QImage image(8, 8, QImage::Format_RGB32);
            image.fill(qRgb(i % 256, 0, 0));
            image.save(user.file, "PNG");
            w.changeTable("Schede");
            w.vwRecord(id);
            w.updateUser();
            editor(w, "NSTRINGFORMAT_Versione")->findChild<QLineEdit *>("leData")->setText(QString("v%1").arg(i));
            inputDataForm *picture = editor(w, "NIMAGEFORMAT_Foto");
            picture->viewImageBox();
            ImageBox *box = picture->imageBox();
            box->addReplace();
            box->accepted();
            w.newRecord();
            if (w.findChild<QStackedWidget *>("stPages")->currentWidget()->objectName() == "userPage")
                say(QString("saved %1 %2").arg(id).arg(i));
        }
        QApplication::processEvents();
    }
}
