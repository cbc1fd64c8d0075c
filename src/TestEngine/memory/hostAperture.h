// Tests a range of a card's memory from the host: writes the pattern, reads it back and compares, chunk by chunk
// through one buffer. The card is switched from its ready state into memory-diagnostic mode before
// the first range of a test; the caller takes it back.
#pragma once

#include "TestEngine/memory/memoryErrorList.h"
#include "ZelTypes.h"

// The older generation's cards are tested from here on, and up to 64 bytes below their top.
inline constexpr U64 k_OlderLowestAddress = 0x100000;
inline constexpr U64 k_OlderBytesHeldBack = 64;

// The second pass over the current generation's memory starts here.
inline constexpr U64 k_HighPassStart = 0x100000000;

inline constexpr char k_ElapsedLabel[] = "\nhost-based memory testing - time elapsed:";

// How memory is cached during an access; the tests use the first.
enum MemoryCachingType : U32 { MNonCached = 0, MCached = 1, MWriteCombined = 2 };

// Tests `length` bytes from `start`: 1 when they were written, read and compared, even with failures
// recorded when `breakOnFail` is off; 0 on a failure that stopped the test, which the run summary
// names. `pattern` has at least one 64-bit word. `modeSet` is set once the card's mode was looked at,
// which happens when it comes in false. With `fullRange` progress is that of the whole memory, of
// which `doneBefore` bytes were tested by earlier calls. `showTotals` prints the memory's size first
// and leaves the elapsed time to the caller.
int hostApertureMemTest(unsigned long start, unsigned long length, unsigned int dataWidth,
                        unsigned long* pattern, _GddrDiagErrorList** errors, bool breakOnFail,
                        bool& modeSet, bool fullRange, unsigned long doneBefore, bool showTotals);
