// The ZelToHost test, which this build does not contain.
#include "TestEngine/dma/Dma.h"
#include "TestEngine/te_main_unavailable.h"

I16 Dma_DmaZelToHost(U64 tstSpecCb) {
    return ifstReportUnavailable(tstSpecCb, "ZelToHost", "TestEngine/dma/DmaZelToHost");
}
