#ifndef RESOURCES_H
#define RESOURCES_H

#include <QIcon>
#include <QString>

// Registers the compiled-in icons; safe to call any number of times.
void loadTessaroResources();

// The resource icon name (":/addIcon"), read once and shared afterwards:
// widgets made by the hundred need not read their icon files each time.
QIcon tessaroIcon(const QString &name);

#endif // RESOURCES_H
