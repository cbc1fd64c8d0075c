// The card's UUID: shown, not judged.
#include <array>
#include <cstdio>

#include "CommonTool/Trace.h"
#include "TestEngine/smc/Smc.h"
#include "TestEngine/smc/SmcSupport.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_summary.h"

namespace {

constexpr char kFile[] = "TestEngine/smc/Uuid";
constexpr U32 kUuidBytes = 16;
constexpr U32 kBytesPerLine = 4;

// Four lines of four bytes, in the order in which the card gives them.
void ShowBytes(const std::array<U8, kUuidBytes>& uuid) {
    ZEL_TRACE(DLVL_TOOLS, "SMC UUID :\n");
    for (U32 i = 0; i < kUuidBytes; ++i) {
        ZEL_TRACE(DLVL_TOOLS, "0x%x ", uuid[i]);
        if (i % kBytesPerLine == kBytesPerLine - 1)
            std::putchar('\n');
    }
}

void ShowUuid(HANDLE handle) {
    if (!SmcSupported())
        return;
    std::array<U8, kUuidBytes> uuid{};
    U32 length = kUuidBytes;
    if (ZelGetUUID(handle, uuid.data(), &length) != 0) {
        ZEL_TRACE(DLVL_ERROR, "Failed to get SMC UUID");
        TE::SUMMARY_INSTANCE.LogError("Failed to get SMC UUID");
        ifstFailTest(kFile, 57, "");
        return;
    }
    ifstPassTest();
    ShowBytes(uuid);
}

}  // namespace

I16 Smc_Uuid(U64 tstSpecCb) {
    return ifstRunCardTest(tstSpecCb, {"Uuid", kFile, 33, ShowUuid});
}

constinit const ifstTestRow k_Row_Smc_Uuid = {
    .description = "SMC get UUID",
    .longNm = "-uuid",
    .shortNm = "-uniqueid",
    .brief = "show the UUID",
};
