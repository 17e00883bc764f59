#ifndef RESOURCES_H
#define RESOURCES_H

// Registers the compiled-in icons; safe to call any number of times.
void loadTessaroResources();

#endif // RESOURCES_H
