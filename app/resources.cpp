#include "app/resources.h"

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
