// The card's SBOX registers and their values after power-on, in the order in which the SBOX test
// reads them. The rows come from SboxRegisters.def, which also says where each number comes from.
#pragma once

#include <cstddef>

#include "ZelTypes.h"

struct _SBOX_REG_DEF_VALUE {
    const char* regName;
    U32 offset;  // bytes from the start of the SBOX region
    U32 size;    // bits: 32 or 64
    U64 defaultValue;
};

inline constexpr std::size_t kSboxRegisterCount = 718;

// The name of the row that ends the table.
inline constexpr const char* kSboxTerminatorName = "0";

// All registers, then the terminator.
extern const _SBOX_REG_DEF_VALUE sbox_array[kSboxRegisterCount + 1];
