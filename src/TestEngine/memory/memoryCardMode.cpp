// Moves the open card into a usage mode in which the host may reach its memory.
#include "TestEngine/memory/memoryCardMode.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "CommonTool/Trace.h"
#include "SI/si_main.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

constexpr char kCurrentImage[] = "/usr/share/hosk/boot/memdiag-kernel.emberridge.elf";
constexpr char kOlderImage[] = "/usr/share/flash/MFG/md_handler_ev1x.elf";
constexpr int kWorkBytes = 1024;
constexpr std::size_t kImagePathBytes = 100;
constexpr U32 kRestrictedModeSize = 330;
constexpr std::size_t kPostCodeBytes = 16;

const char* ModeName(ZEL_CARD_USAGE_MODE mode) {
    switch (mode) {
        case ZEL_USAGE_MODE_NORMAL:
            return "ZEL_USAGE_MODE_NORMAL";
        case ZEL_USAGE_MODE_MEMDIAG:
            return "ZEL_USAGE_MODE_MEMDIAG";
        case ZEL_USAGE_MODE_NORMAL_RESTRICTED:
            return "ZEL_USAGE_MODE_NORMAL_RESTRICTED";
        default:
            return "INVALID_MODE";
    }
}

int Fail(const char* summary) {
    TE::SUMMARY_INSTANCE.LogError(summary);
    return 0;
}

// Asks for the card's mode; says so when the card does not tell.
bool ReadMode(HANDLE handle, ZEL_CARD_USAGE_MODE& mode) {
    mode = ZEL_USAGE_MODE_NOP;
    if (ZelGetUsageMode(handle, &mode) == 0)
        return true;
    ifstPrint("\n failed to get mode  in  setMemDiagUsageMode");
    return false;
}

// The work buffer, once it has held the current directory: a host without one cannot name the image.
ssText AllocateWorkBuffer() {
    ssText work = ssTextAlloc(kWorkBytes);
    if (!work) {
        ifstPrint("\nFail in memory allocation to buf in setMemDiagUsageMode");
        Fail("Out of heap memory");
        return nullptr;
    }
    if (getcwd(work.get(), kWorkBytes) == nullptr) {
        ifstPrint("\nFailed to get current directory in setMemDiagUsageMode");
        Fail("Failed to get current directory");
        return nullptr;
    }
    return work;
}

U32 SwitchToMemDiag(HANDLE handle, char* work) {
    const char* image = memory_IsCardOfBrand(k_EmrDeviceName) ? kCurrentImage : kOlderImage;
    std::snprintf(work, kImagePathBytes, "%s", image);
    return ZelSetUsageModeExtn(handle, ZEL_USAGE_MODE_MEMDIAG, 0, work, "");
}

int ReportRefusal(U32 status) {
    if (status == ZEL_DEVICE_IN_NORMAL_MODE) {
        ifstPrint(
            "\nCoprocessor is in Normal mode and can not be switched to MEMORY DIAG mode. \n");
        ifstPrint("Reset Coprocessor to READY state before testing Memory \n");
        return Fail("Card not in 'ready' state");
    }
    ZEL_TRACE(DLVL_DIAG2, "ZELACCESS_API return fail to set MEMDIAG_MODE  \n");
    return Fail("Failed to set MEMDIAG_MODE");
}

// The card must be in the requested mode and answer there; its POST code itself is not judged.
int ConfirmArrival(HANDLE handle, ZEL_CARD_USAGE_MODE requested) {
    ZEL_CARD_USAGE_MODE mode;
    if (!ReadMode(handle, mode))
        return Fail("Failed to get MEMDIAG_MODE");
    if (mode != requested) {
        // The name is the requested mode's, not that of the mode in which the card is.
        ifstPrint("Mode is not set to MEMDIAG_MODE, current Mode is  %s \n", ModeName(requested));
        return Fail("MEMDIAG_MODE mode set != to current mode");
    }
    char postCode[kPostCodeBytes] = {};
    if (ZelGetPostCode(handle, postCode) != 0)
        return Fail("Failed to get post code");
    return 1;
}

}  // namespace

bool memory_RequireCardAccess() {
    if (zelAccess != nullptr)
        return true;
    std::puts("zelAccess is NULL, abort the test ");
    ZEL_TRACE(DLVL_ERROR, "zelAccess is NULL, abort the test");
    Fail("Internal Error; NULL Handle");
    return false;
}

bool memory_ReadUsageMode(HANDLE handle, ZEL_CARD_USAGE_MODE& mode) {
    if (ZelGetUsageMode(handle, &mode) == 0)
        return true;
    ZEL_TRACE(DLVL_ERROR, "Could not obtain current device mode.\n");
    Fail("Failed to get usage mode");
    return false;
}

bool memory_RequireReadyState(ZEL_CARD_USAGE_MODE mode) {
    if (mode == ZEL_USAGE_MODE_OFFLINE)
        return true;
    ZEL_TRACE(DLVL_ERROR, "Device not in ready state. Refer to help section for more info.\n");
    Fail("Card not in 'ready' state");
    return false;
}

// The brand's own characters are compared and not its terminator: a longer name belongs to it too.
bool memory_IsCardOfBrand(const char* brand) {
    return std::strncmp(zelAccess->CurrentDeviceName(), brand, std::strlen(brand)) == 0;
}

int setMemDiagUsageMode(ZEL_CARD_USAGE_MODE requested) {
    HANDLE handle = zelAccess->getAccessHandle();
    ZEL_CARD_USAGE_MODE mode;
    if (!ReadMode(handle, mode))
        return Fail("Failed to get the usage mode");
    if (mode == ZEL_USAGE_MODE_NORMAL) {
        ifstPrint("\nMemory tests need the device to be in ready state.\n");
        ifstPrint("\nRefer to the User Guide for instructions.");
        return Fail("Card not in 'ready' state");
    }
    const ssText work = AllocateWorkBuffer();
    if (!work)
        return 0;

    U32 status = 0;
    switch (requested) {
        case ZEL_USAGE_MODE_MEMDIAG:
            status = SwitchToMemDiag(handle, work.get());
            break;
        case ZEL_USAGE_MODE_NORMAL_RESTRICTED:
            status = ZelSetUsageModeExtn(handle, ZEL_USAGE_MODE_NORMAL_RESTRICTED,
                                         kRestrictedModeSize, "", "");
            break;
        default:
            ZEL_TRACE(DLVL_DIAG2, "\n unexpected mode received in  setMemDiagUsageMode");
            return Fail("Unexpected usage mode received");
    }
    return status == 0 ? ConfirmArrival(handle, requested) : ReportRefusal(status);
}
