// The SMC's hardware revision word.
#pragma once

#include "ZelAccessApi.h"

// Writes the word's fields to the trace, one a line; returns 0.
int printHWRevInfo(ZEL_SMCHwRevType revision);
