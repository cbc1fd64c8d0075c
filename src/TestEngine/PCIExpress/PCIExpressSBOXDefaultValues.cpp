// The SBOX test, which this build does not contain.
#include "TestEngine/PCIExpress/PCIExpress.h"
#include "TestEngine/te_main_unavailable.h"

I16 PCIExpress_PCIExpressSBOXDefaultValues(U64 tstSpecCb) {
    return ifstReportUnavailable(tstSpecCb, "SBOX",
                                 "TestEngine/PCIExpress/PCIExpressSBOXDefaultValues");
}
