// The library's one exported object. It is never destroyed: a program may read settings while it
// ends, in an order that nobody controls.
#include <new>

#include "FileSettings.h"

namespace {
// Not from the heap: before main, nobody could be told that there is no memory.
alignas(FileSettings) unsigned char storage[sizeof(FileSettings)];
}  // namespace

Settings* settings = new (storage) FileSettings;
