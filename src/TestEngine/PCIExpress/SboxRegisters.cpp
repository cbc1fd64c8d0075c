// Makes the SBOX register table out of the hardware description. A row too many or too few does not
// compile.
#include "TestEngine/PCIExpress/SboxRegisters.h"

constexpr _SBOX_REG_DEF_VALUE sbox_array[kSboxRegisterCount + 1] = {
#define SBOX_REGISTER(name, offset, bits, powerOnValue, origin) {#name, offset, bits, powerOnValue},
#include "SboxRegisters.def"
#undef SBOX_REGISTER
    {kSboxTerminatorName, 0, 0, 0},
};

static_assert(sbox_array[kSboxRegisterCount].regName != nullptr, "a row is missing");
