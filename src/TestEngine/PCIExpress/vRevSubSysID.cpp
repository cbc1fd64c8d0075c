// The card's vendor, subsystem and revision ids, in this order, against the ids that the settings
// file allows. The first that does not fit ends the test.
#include "CommonTool/Trace.h"
#include "TestEngine/PCIExpress/AllowedValues.h"
#include "TestEngine/PCIExpress/PCIExpress.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_main_console.h"
#include "ZelAccess.h"

namespace {

constexpr char kFile[] = "TestEngine/PCIExpress/vRevSubSysID";
constexpr char kUnreadable[] = "Failed to read settings.ini for valid device ID";

struct AllowedIds {
    AllowedValues revision;
    AllowedValues vendor;
    AllowedValues subsystem;
};

bool ReadAllowedIds(AllowedIds& allowed) {
    if (const int status = allowed.revision.Read("revisionID"); status != 0) {
        ifstPrint("settings->GetWords revID failed with return value = %x\n",
                  static_cast<unsigned int>(status));
        ifstFailAndLog(kFile, 58, kUnreadable, kUnreadable);
        return false;
    }
    if (const int status = allowed.vendor.Read("subsystemVendorID"); status != 0) {
        ifstPrint("settings->GetWords of SSVID failed with return value = %x\n",
                  static_cast<unsigned int>(status));
        ifstFailAndLog(kFile, 68, kUnreadable, kUnreadable);
        return false;
    }
    if (const int status = allowed.subsystem.Read("subsystemID"); status != 0) {
        ifstPrint("settings->GetWords of SSID failed with return value = %x\n",
                  static_cast<unsigned int>(status));
        ifstFailAndLog(kFile, 78, kUnreadable, kUnreadable);
        return false;
    }
    return true;
}

bool CheckVendor(U32 vendorId, const AllowedValues& allowed) {
    if (!allowed.Holds(vendorId)) {
        ZEL_TRACE(DLVL_DIAG1, "FAILED: could not find Vendor ID = 0x%x \n", vendorId);
        ifstFailAndLog(kFile, 97, "FAILED: Found invalid Vendor ID ", "Found invalid Vendor ID");
        return false;
    }
    ZEL_TRACE(DLVL_DIAG1, "Vendor ID = 0x%x\n", vendorId);
    return true;
}

bool CheckSubsystem(HANDLE handle, const AllowedValues& allowed) {
    U32 value = 0;
    const U32 status = ZelGetSubSystemID(handle, &value);
    const U32 subsystemId = value >> 16;
    if (status != 0 || !allowed.Holds(subsystemId)) {
        ZEL_TRACE(DLVL_DIAG1, "FAILED: could not find SubSystem ID = 0x%x \n", subsystemId);
        ifstFailAndLog(kFile, 121, "FAILED: Found invalid SubSystem ID ",
                       "Found invalid SubSystem ID");
        return false;
    }
    ZEL_TRACE(DLVL_DIAG1, "SubSystem ID = 0x%x\n", subsystemId);
    return true;
}

bool CheckRevision(HANDLE handle, const AllowedValues& allowed) {
    U32 revision = 0;
    if (ZelGetRevisionID(handle, &revision) != 0 || !allowed.Holds(revision)) {
        ZEL_TRACE(DLVL_DIAG1, "FAILED: could not find Revision ID = 0x%x\n", revision & 0xFF);
        ifstFailAndLog(kFile, 143, "FAILED: Found invalid Revision ID ",
                       "Found invalid Revision ID");
        return false;
    }
    ZEL_TRACE(DLVL_DIAG1, "Revision ID = 0x%x\n", revision);
    return true;
}

void VerifyIds(HANDLE handle) {
    const U32 vendorId = zelAccess->CurrentDeviceId() & 0xFFFF;
    AllowedIds allowed;
    if (ReadAllowedIds(allowed) && CheckVendor(vendorId, allowed.vendor) &&
        CheckSubsystem(handle, allowed.subsystem) && CheckRevision(handle, allowed.revision))
        ifstPassTest();
}

}  // namespace

I16 PCIExpress_vRevSubSystemID(U64 tstSpecCb) {
    return ifstRunCardTest(tstSpecCb, {"SubSystem", kFile, 45, VerifyIds});
}

constinit const ifstTestRow k_Row_PCIExpress_vRevSubSystemID = {
    .description = "Verify Coprocessor Revision, Subsystem and Vendor ID",
    .longNm = "-verifyRevSubSysID",
    .shortNm = "-vrs",
    .brief = "vendor, subsystem and revision are allowed",
};
