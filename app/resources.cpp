#include "app/resources.h"

#include <QCoreApplication>
#include <QHash>
#include <QtGlobal>
#include <mutex>

// Q_INIT_RESOURCE must be used outside any namespace.
static void initResourcesOnce()
{
    Q_INIT_RESOURCE(resources);
}

void loadTessaroResources()
{
    static std::once_flag once;
    std::call_once(once, initResourcesOnce);
}

namespace {
QHash<QString, QIcon> *iconCache = nullptr;

// The icons go with the application object, before the toolkit is torn down.
void dropIconCache()
{
    delete iconCache;
    iconCache = nullptr;
}
} // namespace

QIcon tessaroIcon(const QString &name)
{
    loadTessaroResources();
    if (!QCoreApplication::instance())
        return QIcon(name);
    if (!iconCache) {
        iconCache = new QHash<QString, QIcon>;
        qAddPostRoutine(dropIconCache);
    }
    auto found = iconCache->constFind(name);
    if (found == iconCache->constEnd())
        found = iconCache->insert(name, QIcon(name));
    return found.value();
}
