// The MemWrite test, which this build does not contain.
#include "TestEngine/memory/memory.h"
#include "TestEngine/te_main_unavailable.h"

I16 memory_memorywrite(U64 tstSpecCb) {
    return ifstReportUnavailable(tstSpecCb, "MemWrite", "TestEngine/memory/memorywrite");
}
