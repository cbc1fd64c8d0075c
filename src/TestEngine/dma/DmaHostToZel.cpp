// The HostToZel test, which this build does not contain.
#include "TestEngine/dma/Dma.h"
#include "TestEngine/te_main_unavailable.h"

I16 Dma_DmaHostToZel(U64 tstSpecCb) {
    return ifstReportUnavailable(tstSpecCb, "HostToZel", "TestEngine/dma/DmaHostToZel");
}
