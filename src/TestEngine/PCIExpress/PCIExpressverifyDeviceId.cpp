// The card's device id against the ids that the settings file allows.
#include "CommonTool/Trace.h"
#include "TestEngine/PCIExpress/AllowedValues.h"
#include "TestEngine/PCIExpress/PCIExpress.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_main_console.h"
#include "ZelAccess.h"

namespace {

constexpr char kFile[] = "TestEngine/PCIExpress/PCIExpressverifyDeviceId";

void VerifyDeviceId(HANDLE) {
    const U32 deviceId = zelAccess->CurrentDeviceId();
    AllowedValues allowed;
    if (const int status = allowed.Read("deviceID"); status != 0) {
        ifstPrint("settings->GetWord failed with return value = %x\n",
                  static_cast<unsigned int>(status));
        ifstFailAndLog(kFile, 48, "Failed to read settings.ini for valid device ID",
                       "Failed to read settings.ini for valid device ID");
        return;
    }
    if (!allowed.Holds(deviceId)) {
        ifstFailAndLog(kFile, 69, "FAILED: Invalid device id  ", "Invalid device id");
        return;
    }
    ZEL_TRACE(DLVL_DIAG1, "Device ID = 0x%x\n", deviceId);
    ifstPassTest();
}

}  // namespace

I16 PCIExpress_PCIExpressverifyDeviceId(U64 tstSpecCb) {
    return ifstRunCardTest(tstSpecCb, {"DeviceID", kFile, 33, VerifyDeviceId});
}

constinit const ifstTestRow k_Row_PCIExpress_PCIExpressverifyDeviceId = {
    .description = "Verify Coprocessor Device ID",
    .longNm = "-verifyDeviceId",
    .shortNm = "-vdi",
    .brief = "the device id is allowed",
};
