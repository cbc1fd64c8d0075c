// Tests the whole of a card's memory from the host, range by range (hostAperture.h).
#pragma once

#include "TestEngine/memory/memoryErrorList.h"
#include "ZelTypes.h"

// One or two passes; 1 or 0 as hostApertureMemTest. Unless `memTestMode` is 1 it prints that it skips
// the test, and returns 1. `start` counts for the older generation only.
int fullRangeMemTest(unsigned long start, unsigned int dataWidth, unsigned long* pattern,
                     _GddrDiagErrorList** errors, bool breakOnFail, unsigned int memTestMode,
                     bool& modeSet);
