// The library's one exported object. It is never destroyed: destructors and exit handlers of the
// program may still trace.
#include "TraceLog.h"

PlyxDebug* plyxDbg = new TraceLog(TraceConfigFromEnvironment());
