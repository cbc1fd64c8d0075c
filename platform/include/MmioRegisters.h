// Where things lie in a card's MMIO space, as byte offsets for ZelReadMMIOReg. SboxRegisters.def counts
// from the start of the SBOX region.
#pragma once

#include "ZelTypes.h"

inline constexpr U32 ZEL_MMIO_SBOX = 0x10000;
inline constexpr U32 ZEL_MMIO_CPUID = 0x1AB54;
inline constexpr U32 ZEL_MMIO_THREAD_ENABLE = 0x1AB30;  // a bit for each hardware thread of a core
