#include "app/qtitalian.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

bool installQtItalian(QCoreApplication *app)
{
    // Month and day names of the calendars, whatever the system's language.
    QLocale::setDefault(QLocale(QLocale::Italian, QLocale::Italy));
    auto *catalogue = new QTranslator(app);
    // qtbase_it holds every text of the widgets the program uses.
    if (!catalogue->load("qtbase_it", QLibraryInfo::location(QLibraryInfo::TranslationsPath))) {
        delete catalogue;
        return false;
    }
    return app->installTranslator(catalogue);
}
