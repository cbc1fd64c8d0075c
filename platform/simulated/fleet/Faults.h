// What can be broken on a host and its cards.
#pragma once

#include <type_traits>

#include "ZelAccessApi.h"
#include "fleet/BoundedText.h"
#include "fleet/CallNames.h"

namespace simulated {

// A platform call that goes wrong: `skip` calls pass first, then `count` do not; count 0: every one. It
// never returns, or takes `delay` milliseconds and then fails with `status` or, where that is 0, does
// what it does.
struct Fault {
    BoundedText<kMaxCallLength> call;
    U32 status = ZEL_DEVICE_IO_ERROR;
    U32 skip = 0;
    U32 count = 1;
    bool block = false;
    U32 delay = 0;
    bool operator==(const Fault&) const = default;
};

// A broken memory cell: the bit reads as `stuck` whatever was written. Unless `every` is 0, the same
// bit of each byte that lies a multiple of so many bytes behind it does, too.
struct MemoryFault {
    U64 address = 0;
    U32 bit = 0;
    U32 stuck = 1;
    U64 every = 0;
    bool operator==(const MemoryFault&) const = default;
};

// A broken address line of the memory: `line` is ignored, as if it were always 0, or is swapped `with`
// another.
struct AddressFault {
    U32 line = 0;
    bool swaps = false;
    U32 with = 0;
    bool operator==(const AddressFault&) const = default;
};
inline constexpr U32 kLastAddressLine = 35;  // of the largest memory that a card can have

// A broken data line: in what DMA transfers bring to one end, a bit of a 32-bit word of each 64 KiB
// arrives as `stuck` whatever was sent. The tests transfer 4096 bytes: a word behind them would be of
// no effect.
struct DmaFault {
    bool toCard = false;  // else to the host
    U32 word = 0;
    U32 bit = 0;
    U32 stuck = 1;
    bool operator==(const DmaFault&) const = default;
};
inline constexpr U32 kLastDmaWord = 4096 / sizeof(U32) - 1;

// A unit of the card's cores that does not do what it should: an operation of the workload that tests
// the unit goes wrong at one place, a lane or a cache line. Without an operation none does.
struct CoreFault {
    BoundedText<15> operation;
    U32 place = 0;
    bool operator==(const CoreFault&) const = default;
};

// A register that does not power up with its default.
struct SboxValue {
    U32 offset = 0;  // from the start of the SBOX region
    U32 width = 32;  // bits
    U64 value = 0;
    bool operator==(const SboxValue&) const = default;
};

static_assert(std::is_trivially_copyable_v<Fault>);

}  // namespace simulated
