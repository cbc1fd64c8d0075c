// The identification register of the card's cores: its family decides.
#include "CommonTool/Trace.h"
#include "MmioRegisters.h"
#include "TestEngine/core/CoreDiag.h"
#include "TestEngine/core/CoreInfoTest.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"

namespace {

constexpr char kFile[] = "TestEngine/core/CoreDiagGetCPUID";
constexpr U32 kCoprocessorFamily = 0xB;

// The card's own layout; on a host processor each of these fields stands one nibble lower.
constexpr U32 ExtendedFamily(U32 id) {
    return id >> 24;
}
constexpr U32 ExtendedModel(U32 id) {
    return (id >> 20) & 0xF;
}
constexpr U32 ProcessorType(U32 id) {
    return (id >> 16) & 0x3;
}
constexpr U32 Family(U32 id) {
    return (id >> 12) & 0xF;
}
constexpr U32 Model(U32 id) {
    return (id >> 8) & 0xF;
}
constexpr U32 Stepping(U32 id) {
    return (id >> 4) & 0xF;
}
constexpr U32 SubStepping(U32 id) {
    return id & 0xF;
}

void TraceFields(U32 id) {
    ZEL_TRACE(DLVL_DIAG1, "Extended Family id: 0x%02x\n", ExtendedFamily(id));
    ZEL_TRACE(DLVL_DIAG1, "Extended Model id: 0x%1x\n", ExtendedModel(id));
    ZEL_TRACE(DLVL_DIAG1, "Processor Type: 0x%1x\n", ProcessorType(id));
    ZEL_TRACE(DLVL_DIAG1, "Family id: 0x%1x\n", Family(id));
    ZEL_TRACE(DLVL_DIAG1, "Model: 0x%1x\n", Model(id));
    ZEL_TRACE(DLVL_DIAG1, "Stepping id: 0x%1x\n", Stepping(id));
    ZEL_TRACE(DLVL_DIAG1, "Sub Stepping: 0x%1x\n", SubStepping(id));
}

void CheckCpuId(HANDLE handle) {
    U32 id = 0;
    if (ZelReadMMIOReg(handle, ZEL_MMIO_CPUID, &id) != 0) {
        ifstFailAndLog(kFile, 27, "Could not get CPU information\n",
                       "Could not get CPU information");
        return;
    }
    TraceFields(id);
    if (Family(id) != kCoprocessorFamily) {
        ifstFailAndLog(kFile, 43, "FAILED to find Coprocessor Family ID \n",
                       "Failed to find Coprocessor Family ID");
        return;
    }
    ifstPassTest();
}

}  // namespace

I16 CoreDiag_CoreDiagGetCPUID(U64 tstSpecCb) {
    return RunCoreInfoTest(tstSpecCb, {"CPUID", kFile, 53, CheckCpuId});
}

constinit const ifstTestRow k_Row_CoreDiag_CoreDiagGetCPUID = {
    .description = "Get CPU ID",
    .longNm = "-GetCPUID",
    .shortNm = "-gid",
    .brief = "the cores are of the coprocessor family",
    .help =
        "ZelDiag -CoreDiag -GetCPUID\n| or ZelDiag -cd -gid\n|  Gets the Information about CPU "
        "id.\n",
};
