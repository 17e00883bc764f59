#ifndef QTITALIAN_H
#define QTITALIAN_H

class QCoreApplication;

// Loads the toolkit's own Italian catalogue (message box buttons, file
// dialogs, context menus) into app, so that the texts the toolkit supplies
// speak the same language as the program's. Answers whether it was found.
bool installQtItalian(QCoreApplication *app);

#endif // QTITALIAN_H
