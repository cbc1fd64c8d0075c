// The library's one exported object. It is never destroyed: destructors and exit handlers of the
// program may still trace.
#include <new>

#include "TraceLog.h"

namespace {
// Not from the heap: before main, nobody could be told that there is no memory.
alignas(TraceLog) unsigned char storage[sizeof(TraceLog)];
}  // namespace

PlyxDebug* plyxDbg = new (storage) TraceLog(TraceConfigFromEnvironment());
