#include "app/qtitalian.h"
#include "app/resources.h"
#include "app/stopsignalhandler.h"
#include "app/tessaro.h"

#include <QApplication>
#include <QIcon>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    installQtItalian(&app);
    loadTessaroResources();
    QApplication::setWindowIcon(QIcon(":/appIcon"));
    QApplication::setDesktopFileName("tessaro");
    // Installed before the window takes the lock, so that a stop at any later
    // moment closes it normally.
    StopSignalHandler::install();
    auto *window = new Tessaro;
    window->show();
    const int code = app.exec();
    delete window;
    return code;
}
