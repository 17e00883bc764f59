#include "app/tessaro.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    auto *window = new Tessaro;
    window->show();
    const int code = app.exec();
    delete window;
    return code;
}
