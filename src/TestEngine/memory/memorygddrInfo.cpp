// The GDDRInfo test, which this build does not contain.
#include "TestEngine/memory/memory.h"
#include "TestEngine/te_main_unavailable.h"

I16 memory_memorygddrInfo(U64 tstSpecCb) {
    return ifstReportUnavailable(tstSpecCb, "GDDRInfo", "TestEngine/memory/memorygddrInfo");
}
