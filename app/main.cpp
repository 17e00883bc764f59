#include "app/commandline.h"
#include "app/qtitalian.h"
#include "app/resources.h"
#include "app/stopsignalhandler.h"
#include "app/tessaro.h"
#include "exchange/printedpages.h"
#include "storage/dbconnection.h"

#include <QApplication>
#include <QIcon>
#include <QTextStream>
#include <cstdio>
#include <memory>

int main(int argc, char *argv[])
{
    DbConnection::configureSqlite();
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    // A verb runs on the core alone: no window toolkit, no display needed.
    // The one that paints pages has Qt Gui, on a platform without a display.
    if (CommandLine::isCommand(arguments)) {
        std::unique_ptr<QCoreApplication> app;
        if (CommandLine::needsPainting(arguments)) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
            app.reset(new QGuiApplication(argc, argv));
            CommandLine::setPdfWriter(writeTablePdf);
        } else {
            app.reset(new QCoreApplication(argc, argv));
        }
        installQtItalian(app.get());
        QTextStream out(stdout), err(stderr);
        const int status = CommandLine::run(arguments, out, err);
        out.flush();
        err.flush();
        return status;
    }

    // Icons are drawn at the screen's resolution when the desktop scales
    // the window (200 %): they are drawings, and stay sharp.
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication app(argc, argv);
    installQtItalian(&app);
    loadTessaroResources();
    QApplication::setWindowIcon(QIcon(":/appIcon"));
    QApplication::setDesktopFileName("tessaro");
    // Installed before the window takes the lock, so that a stop at any later
    // moment closes it normally.
    StopSignalHandler::install();
    // "tessaro FILE.db" opens that file (the desktop passes it so).
    auto *window = new Tessaro(nullptr, arguments.value(0));
    window->show();
    const int code = app.exec();
    delete window;
    return code;
}
