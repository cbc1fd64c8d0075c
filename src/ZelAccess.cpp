// The one way to the coprocessor cards.
#include "ZelAccess.h"

#include <cstring>

#include "CommonException.h"
#include "CommonTool/Trace.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_console.h"

namespace {

constexpr U32 kAllLocalCards = 3;
constexpr U32 kVersionBytes = 255;
constexpr U32 kRestrictedModeSize = 512;

// An operation on the open card that finds none: the running test is failed, and the operation goes
// on with what the library makes of it.
void FailWithoutDevice(U32 line) {
    ZEL_TRACE(DLVL_ERROR, "\n Error in getting current device in settoNormalmode \n");
    ifstFailTest("ZelAccess", line,
                 " Failed -- fail to get current device in  setCurDevicetoNormalMode ");
}

}  // namespace

_ZelAccess g_ZelAccess;
_ZelAccess* zelAccess = &g_ZelAccess;

_ZelAccess::_ZelAccess()
    : m_accessHandle(nullptr),
      m_pciScanned(false),
      deviceidList{},
      m_devices{},
      m_totalDevices(0),
      m_currentDevice(-1),
      def_devName{} {}

bool _ZelAccess::setAccessHandle() {
    if (m_accessHandle != nullptr)
        return true;
    U32 count = k_MaxDevices;
    if (ZelInitAPI(&m_accessHandle, kAllLocalCards, m_devices, &count) != 0)
        return false;
    if (count == 0) {
        ZEL_TRACE(DLVL_ERROR, " NO Ostrel(R) Vimbra(TM) Coprocessor Found \n");
        return false;
    }
    m_totalDevices = count;
    return true;
}

HANDLE _ZelAccess::getAccessHandle() const {
    if (m_accessHandle == nullptr)
        throw CommonException("Access handle is NULL\n");
    return m_accessHandle;
}

void _ZelAccess::InitAdapterforDiag(unsigned int device, bool showVersion) {
    if (m_accessHandle == nullptr)
        throw CommonException("InitAdapterforDiag, NULL handle");
    if (device >= k_MaxDevices)
        throw CommonException("Selected device is greater than supported devices");

    ZelDeviceOnSystem& record = m_devices[device];
    if (ZelInitAdapter(&m_accessHandle, &record) != 0) {
        // The display prints whole lines only, and this text ends none: an operator sees the
        // exception's text alone.
        IFSTDISP("Initadapter failed for device: %d, on bus: %d, with id: 0x%x",
                 record.deviceNumber, record.busNumber, record.deviceId);
        throw CommonException("ZelInitAdapter failed");
    }
    m_currentDevice = static_cast<int>(device);
    if (showVersion)
        ShowVersion();
}

void _ZelAccess::ShowVersion() {
    char version[kVersionBytes + 1] = {};
    U32 length = kVersionBytes;
    const U32 status = ZelGetZelVersion(m_accessHandle, ZEL_VERSION_API, version, &length);
    if (status != 0) {
        const char* text = ZelGetErrorString(status);
        throw CommonException(text != nullptr ? text : "");
    }
    IFSTDISP("ZelGetVersion  %s \n", version);
    ifstPrint("%s\n", k_DoubleRule);
}

bool _ZelAccess::CloseAdapter() {
    m_currentDevice = -1;
    return m_accessHandle != nullptr && ZelCloseAdapter(m_accessHandle) == 0;
}

bool _ZelAccess::CloseAccessHandle() {
    if (m_accessHandle == nullptr)
        return false;
    const bool closed = ZelCloseAPI(&m_accessHandle) == 0;
    m_accessHandle = nullptr;
    return closed;
}

const char* _ZelAccess::CurrentDeviceName() const {
    const U8* name = m_currentDevice >= 0 ? m_devices[m_currentDevice].deviceName : def_devName;
    return reinterpret_cast<const char*>(name);
}

U32 _ZelAccess::CurrentDeviceId() const {
    return m_currentDevice >= 0 ? m_devices[m_currentDevice].deviceId : 0;
}

bool _ZelAccess::IsCurrentDeviceEMR() const {
    return std::strcmp(CurrentDeviceName(), k_EmrDeviceName) == 0;
}

bool _ZelAccess::isDeviceinNormalMode() {
    HANDLE handle = zelAccess->getAccessHandle();
    ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_NOP;
    if (ZelGetUsageMode(handle, &mode) != 0) {
        ZEL_TRACE(DLVL_DIAG2, "\n failed to get mode  in  isDeviceinNormalMode");
        return false;
    }
    if (mode == ZEL_USAGE_MODE_NORMAL)
        return true;
    ZEL_TRACE(DLVL_DIAG2,
              "\t"
              "he adapter is not in NORMALMODE \n");
    return false;
}

// Named for normal mode, sets the offline mode: the memory tests rely on it to leave the card there.
bool _ZelAccess::settoNormalMode() {
    if (zelAccess->m_currentDevice == -1)
        FailWithoutDevice(260);
    return ZelSetUsageMode(m_accessHandle, ZEL_USAGE_MODE_OFFLINE) == 0;
}

bool _ZelAccess::setNormalModewithSize() {
    if (zelAccess == nullptr)
        return false;
    if (zelAccess->m_currentDevice == -1)
        FailWithoutDevice(288);
    return ZelSetUsageModeExtn(m_accessHandle, ZEL_USAGE_MODE_NORMAL_RESTRICTED,
                               kRestrictedModeSize, "", "") == 0;
}
