// The GDDRInfo test: what the card tells of its memory, and whether the memory's maker is one that the
// settings file names.
#include <array>
#include <cstring>

#include "CommonTool/Trace.h"
#include "SI/cm_stub0.h"
#include "Settings.h"
#include "TestEngine/memory/memory.h"
#include "TestEngine/memory/memoryCardMode.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_main_console.h"
#include "ZelAccess.h"

namespace {

constexpr char kFile[] = "TestEngine/memory/memorygddrInfo";
constexpr int kMaxVendors = 10;
constexpr double kSpeedUnitsPerGt = 1000000.0;  // kT/s
constexpr unsigned int kMegabyteShift = 10;     // from KB

struct VendorList {
    std::array<const char*, kMaxVendors> names{};
    int count = 0;

    bool Holds(const char* vendor) const {
        for (int i = 0; i < count; ++i) {
            if (cmStringCmp(names[static_cast<std::size_t>(i)], vendor) == 0)
                return true;
        }
        return false;
    }
};

bool ReadMemInfo(HANDLE handle, ZelDevMemInfo& info) {
    if (const U32 status = ZelGetDevMemInfo(handle, &info); status != 0) {
        ZEL_TRACE(DLVL_DIAG2, "Unable to get GDDR Info, failed code 0x%x\n", status);
        ifstFailAndLog(kFile, 120, "FAILED to get GDDR Info \n", "Failed to get GDDR info");
        return false;
    }
    // The texts come from the card: they end where their room does.
    info.vendorName[sizeof(info.vendorName) - 1] = '\0';
    info.memoryType[sizeof(info.memoryType) - 1] = '\0';
    return true;
}

bool ReadVendors(VendorList& vendors) {
    static constexpr char kUnreadable[] = "Cannot read Setting.ini, Fatal error.\n";
    static constexpr char kTooMany[] = "Error on Setting.ini, too many GDDR Vendors.\n";
    vendors.count = kMaxVendors;
    if (settings->GetStrings("gddr", "vendor", &vendors.count, vendors.names.data()) != 0) {
        ZEL_TRACE(DLVL_DIAG1, "%s", kUnreadable);
        ifstFailAndLog(kFile, 50, kUnreadable, "Failed to read Settings.ini");
        return false;
    }
    if (vendors.count > kMaxVendors) {
        ZEL_TRACE(DLVL_DIAG1, "%s", kTooMany);
        ifstFailAndLog(kFile, 59, kTooMany, "Too many GDDR vendors in Settings.ini");
        return false;
    }
    return true;
}

void TraceMemInfo(const ZelDevMemInfo& info) {
    ZEL_TRACE(DLVL_DIAG1, "GDDR Vendor    : %s \n", info.vendorName);
    ZEL_TRACE(DLVL_DIAG1, "GDDR Revision  : 0x%x \n", info.revision);
    ZEL_TRACE(DLVL_DIAG1, "GDDR Type    : %s \n", info.memoryType);
    ZEL_TRACE(DLVL_DIAG1, "GDDR Speed   : %f GT/s \n", info.speed / kSpeedUnitsPerGt);
}

// False when the card is of neither generation.
bool PrintSize(const ZelDevMemInfo& info) {
    if (memory_IsCardOfBrand(k_EmrDeviceName)) {
        ifstPrint("GDDR Size  %d MB \n", static_cast<int>(info.size >> kMegabyteShift));
        return true;
    }
    if (memory_IsCardOfBrand(k_EvDeviceName)) {
        ifstPrint("GDDR Size   %d MB \n", static_cast<int>(info.density));
        return true;
    }
    ZEL_TRACE(DLVL_ERROR, "GDDR Size unknown for unknown Device type : %s \n",
              zelAccess->CurrentDeviceName());
    return false;
}

// A memory maker that is not supported fails the test, and a supported card passes it after that: the
// counters then show both.
void CheckMemory(HANDLE handle) {
    ZelDevMemInfo info{};
    VendorList vendors;
    if (!ReadMemInfo(handle, info) || !ReadVendors(vendors))
        return;
    TraceMemInfo(info);
    const bool cardSupported = PrintSize(info);
    if (!vendors.Holds(info.vendorName)) {
        ZEL_TRACE(DLVL_DIAG1, "GDDR Vendor %s is not supported \n", info.vendorName);
        ifstFailAndLog(kFile, 100, "GDDR Vendor is not supported \n", "GDDR Vendor not supported");
    }
    if (!cardSupported) {
        ZEL_TRACE(DLVL_DIAG1, "The Coprocessor %s is not supported \n",
                  zelAccess->CurrentDeviceName());
        ifstFailAndLog(kFile, 107, "The Coprocessor is not supported \n",
                       "Coprocessor not supported");
        return;
    }
    ifstPassTest();
}

}  // namespace

I16 memory_memorygddrInfo(U64 tstSpecCb) {
    return ifstRunCardTest(tstSpecCb, {"GDDRInfo", kFile, 35, CheckMemory});
}

constinit const ifstTestRow k_Row_memory_memorygddrInfo = {
    .description = "Coprocessor memory info",
    .longNm = "-gddrInfo",
    .shortNm = "-info",
    .brief = "show the memory, judge its maker",
};
