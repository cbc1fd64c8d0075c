// Whether the card's SBOX registers hold their values after power-on. What is read is only as good as
// the table: on a real card the verdict means nothing while the table's rows are provisional.
#include <cstring>
#include <optional>

#include "CommonTool/Trace.h"
#include "MmioRegisters.h"
#include "TestEngine/PCIExpress/PCIExpress.h"
#include "TestEngine/PCIExpress/SboxRegisters.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"

namespace {

constexpr char kFile[] = "TestEngine/PCIExpress/PCIExpressSBOXDefaultValues";
constexpr U32 kHighHalfOffset = 4;

bool IsTerminator(const _SBOX_REG_DEF_VALUE& row) {
    return std::strcmp(row.regName, kSboxTerminatorName) == 0;
}

// Nothing when a read failed, which is traced here.
std::optional<U64> ReadRegister(HANDLE handle, const _SBOX_REG_DEF_VALUE& row) {
    const U32 address = ZEL_MMIO_SBOX + row.offset;
    U32 low = 0;
    if (ZelReadMMIOReg(handle, address, &low) != 0) {
        ZEL_TRACE(DLVL_ERROR,
                  "Failed to read MMIO register for Sbox offset =0x%x, register Name= %s \n",
                  row.offset, row.regName);
        return std::nullopt;
    }
    if (row.size != 64)
        return low;

    U32 high = 0;
    if (ZelReadMMIOReg(handle, address + kHighHalfOffset, &high) != 0) {
        ZEL_TRACE(DLVL_ERROR,
                  "Failed to read MMIO register for Sbox offset =0x%x, register Name= %s\n",
                  row.offset, row.regName);
        return std::nullopt;
    }
    return U64{high} << 32 | low;
}

void CheckSbox(HANDLE handle) {
    if (CheckSboxDefaultValues(handle) != 0) {
        ifstFailAndLog(kFile, 109, " Failed to check default Sbox register values ",
                       "Failed to check default Sbox register values");
        return;
    }
    ifstPassTest();
}

}  // namespace

// A card in use has moved on from its power-on state, so up to half of the registers may differ.
unsigned int CheckSboxDefaultValues(HANDLE handle) {
    U32 rows = 0;
    U32 mismatches = 0;
    for (const _SBOX_REG_DEF_VALUE* row = sbox_array; !IsTerminator(*row); ++row, ++rows) {
        const std::optional<U64> value = ReadRegister(handle, *row);
        if (!value)
            return 1;
        if (*value == row->defaultValue)
            continue;
        ZEL_TRACE(
            DLVL_DIAG2,
            "Sbox register offset =0x%x value read=0x%lx doesn't match default value =0x%lx \n",
            row->offset, *value, row->defaultValue);
        ++mismatches;
    }
    return mismatches > rows / 2 ? 1 : 0;
}

I16 PCIExpress_PCIExpressSBOXDefaultValues(U64 tstSpecCb) {
    return ifstRunCardTest(tstSpecCb, {"SBOX", kFile, 100, CheckSbox});
}

constinit const ifstTestRow k_Row_PCIExpress_PCIExpressSBOXDefaultValues = {
    .description = "Verify SBOX registers after reset",
    .longNm = "-verifySBoxRegDefaultValues",
    .shortNm = "-vsrdv",
    .brief = "SBOX registers hold their defaults",
};
