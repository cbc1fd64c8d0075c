// Which cards the SMC tests apply to.
#include "TestEngine/smc/SmcSupport.h"

#include "CommonTool/Trace.h"
#include "ZelAccess.h"

bool SmcSupported() {
    if (zelAccess->IsCurrentDeviceEMR())
        return true;
    ZEL_TRACE(DLVL_TOOLS, "Test not supported on this device\n");
    return false;
}
