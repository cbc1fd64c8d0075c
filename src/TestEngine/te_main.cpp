// The run driver: from the command line, over all selected cards, to the exit status.
#include "TestEngine/te_main.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "CommonException.h"
#include "CommonTool/Trace.h"
#include "CommonTool/Utils.h"
#include "SI/cm_stub0.h"
#include "SI/cm_stub1.h"
#include "SI/si_main.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

constexpr unsigned int kMaxCards = 255;
constexpr U32 kVersionBytes = 256;
constexpr char kNotAvailable[] = "NA";

// A small record of the process.
struct {
    I32 pid;
    char* bindCPUId;
    I32 threadId;
} osSysParam;

// Fills osSysParam, and frees its text when the run ends.
class ProcessRecord {
public:
    ProcessRecord() {
        constexpr char kCpu[] = "cpu-000";
        osSysParam.pid = getpid();
        osSysParam.threadId = 0;
        osSysParam.bindCPUId = static_cast<char*>(ssMemAlloc(sizeof(kCpu)));
        if (osSysParam.bindCPUId != nullptr)
            cmStringCopy(osSysParam.bindCPUId, kCpu);
    }
    ~ProcessRecord() {
        ssFreeMem(osSysParam.bindCPUId);
        osSysParam.bindCPUId = nullptr;
    }
    ProcessRecord(const ProcessRecord&) = delete;
    ProcessRecord& operator=(const ProcessRecord&) = delete;
};

// What the run knows over all cards.
struct RunResult {
    unsigned int count = 0;
    unsigned int okCount = 0;
    ifstCardStatus lastStatus = IFST_CARD_NOT_RUN;
};

void SetRunDefaults(int argc, char** argv, void* tool) {
    auto& params = ifstSetupParams;
    params.inpArg.inpArgCnt = argc;
    params.inpArg.inpArgVal = const_cast<const char**>(argv);
    params.oMain = tool;

    params.logCtl.logEna = 0;
    params.logCtl.dataLogHndl = nullptr;
    params.logCtl.sumLogHndl = nullptr;
    cmStringCopy(params.logCtl.logPath, "./log/");
    params.failCtlState = IFST_EXIT_ON_FAIL;
    params.bQuietMode = 0;
    params.cmdFileName[0] = '\0';
    params.conc.innerLoopCnt = 1;
    params.conc.outerLoopCnt = 1;
    params.conc.startSeed = 0;
    params.conc.endSeed = 0;
    params.conc.concPhaseEna = 2;
    params.conc.randomMode = 1;
    params.errLog.result = 0;
    concDatalogParams.errLogHndl = nullptr;
    params.timeLog.startTime = cmGetSysTimeInSec();
    cmGetSysTimeStr(&params.timeLog.stTmSVal);
}

// Selects groups and tests anew. The command line is parsed for every card, so that each starts with
// the same selection and fresh counters.
void ArmCommandLine(int argc, char** argv) {
    ifstResetGroupRows();
    if (ifstParseCmdLine(argc - 1, argv + 1) != 0)
        throw CommonException("Could not parse arguments");
}

std::string FlashVersion(HANDLE handle) {
    char text[kVersionBytes + 1] = {};
    U32 length = kVersionBytes;
    const bool known = ZelGetZelVersion(handle, ZEL_VERSION_FLASH_IMAGE, text, &length) == 0;
    return known ? text : kNotAvailable;
}

std::string SmcVersion(HANDLE handle) {
    ZEL_SMCFwRevType revision{};
    if (ZelGetSMCFWVersion(handle, &revision) != 0)
        return kNotAvailable;
    const ZEL_SMCFwBits bits = revision.revbits;
    return std::to_string(bits.major) + "." + std::to_string(bits.minor) + "." +
           std::to_string(bits.buildno);
}

void OpenCard(unsigned int device, unsigned int count) {
    zelAccess->InitAdapterforDiag(device, true);
    TE::SUMMARY_INSTANCE.SetHOSKVersion(Utils::GetHOSKVersion().c_str());
    const std::string flash = FlashVersion(zelAccess->getAccessHandle());
    const std::string smc = SmcVersion(zelAccess->getAccessHandle());
    TE::SUMMARY_INSTANCE.SetZelNumberAndVersions(device, flash.c_str(), smc.c_str());

    ifstPrint("Running Coprocessor Diagnostics on device %d of %d (zel%d on PCIe Addr %s)\n",
              device + 1, count, device, TE::SUMMARY_INSTANCE.GetPCIeFromDeviceNo(device).c_str());
    ifstPrint("HOSK Version=%s; Flash version=%s; SMC Version=%s\n",
              Utils::GetHOSKVersion().c_str(), flash.c_str(), smc.c_str());
}

// A card for which memory runs out has failed; the next one is tested all the same.
ifstCardStatus TestCard(unsigned int device, unsigned int count) {
    try {
        OpenCard(device, count);
        return ifstRunGroupsOnCard();
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "ZelDiag: out of memory; zel%u was not tested to the end\n", device);
        if (!TE::SUMMARY_INSTANCE.IsCurrentCard(device))
            TE::SUMMARY_INSTANCE.SetZelNumberAndVersions(device, kNotAvailable, kNotAvailable);
        TE::SUMMARY_INSTANCE.LogError("Out of memory");
        return IFST_CARD_FAILED;
    }
}

void RunCard(unsigned int device, RunResult& run) {
    run.lastStatus = TestCard(device, run.count);
    if (run.lastStatus == IFST_CARD_OK)
        ++run.okCount;

    ifstPrint("%s\n", k_SingleRule);
    ifstPrint("Coprocessor Diagnostics completed for device: %d of %d\n", device + 1, run.count);
    ifstPrint("Device Status: %s\n", run.lastStatus == IFST_CARD_OK ? "OK" : "FAILED");
    if (!zelAccess->CloseAdapter()) {
        ifstPrint("Failed to close adapter for device: %d of %d\n", device + 1, run.count);
        run.lastStatus = IFST_CARD_FAILED;
    }
    ifstPrint("%s\n", k_DoubleRule);
}

void RunCards(int argc, char** argv, RunResult& run) {
    for (unsigned int device = 0; device < run.count; ++device) {
        if (device > 0)
            ArmCommandLine(argc, argv);
        if (TE::SUMMARY_INSTANCE.TestSpecifiedDeviceNumber(device))
            RunCard(device, run);
        if (device + 1 == run.count)
            TE::SUMMARY_INSTANCE.SendSummaryToConsole();
    }
}

// A run whose last tested card passed is a success, whatever the cards before it did: operators'
// scripts rely on it.
int CloseRun(const RunResult& run) {
    const int anyNotPassed = run.count > run.okCount ? 1 : 0;
    const U32 deviceId = zelAccess->CurrentDeviceId();
    if (!zelAccess->CloseAccessHandle()) {
        ifstPrint("Failed to close API for device id: %x\n", deviceId);
        return anyNotPassed;
    }
    const bool passed = run.lastStatus == IFST_CARD_OK || run.lastStatus == IFST_CARD_NOT_RUN;
    return passed ? 0 : anyNotPassed;
}

// Opens the library and returns the number of cards; ends the process when there is nothing to run on.
unsigned int EnumerateCards() {
    if (zelAccess == nullptr)
        ssExitTask(1);
    if (!zelAccess->setAccessHandle()) {
        IFSTDISP("Error in zelAccess->setAccessHandle\n");
        ssExitTask(1);
    }
    if (zelAccess->m_totalDevices > kMaxCards) {
        IFSTDISP("Detected more than supported devices\n");
        ssExitTask(1);
    }
    return zelAccess->m_totalDevices;
}

}  // namespace

void ifstResetGroupRows() {
    for (ifstTstGroup& group : ifstTstGrps) {
        group.state = IFST_GROUP_IDLE;
        group.curTest = 0;
        group.dbgLvl = 0;
        group.passCnt = 0;
        group.failCnt = 0;
    }
}

int InitUTask(int argc, char** argv, void* tool) {
    plyxDbg->SetPrintCallback(DPF_PRINT);
    if (argc < 2) {
        IFSTDISP("ZelDiag v %s\n", k_ToolVersion);
        IFSTDISP(" type -help for usage\n");
        ssExitTask(1);
    }
    const ProcessRecord process;
    SetRunDefaults(argc, argv, tool);
    ArmCommandLine(argc, argv);
    if ((curTstMode & k_NoTestSelected) != 0)
        return 0;

    RunResult run;
    run.count = EnumerateCards();
    RunCards(argc, argv, run);
    return CloseRun(run);
}
