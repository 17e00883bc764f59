#ifndef QTITALIAN_H
#define QTITALIAN_H

class QCoreApplication;

// Loads the toolkit's own Italian catalogue (message box buttons, file
// dialogs, context menus) into app and makes Italian the default locale (the
// calendar's month and day names), so that the texts the toolkit supplies
// speak the same language as the program's. Answers whether the catalogue
// was found.
bool installQtItalian(QCoreApplication *app);

#endif // QTITALIAN_H
