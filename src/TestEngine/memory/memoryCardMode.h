// Moves the open card into a usage mode in which the host may reach its memory.
#pragma once

#include "ZelAccessApi.h"

// Switches the card to memory-diagnostic or restricted normal mode and makes sure that it arrived
// there: 1. On failure 0, and one line in the run summary. Does not wait.
int setMemDiagUsageMode(ZEL_CARD_USAGE_MODE requested);

// Whether there is a way to the cards; false prints so, and puts a line into the run summary.
bool memory_RequireCardAccess();

// Asks for the card's mode; false, and a line in the run summary, when the card does not tell.
bool memory_ReadUsageMode(HANDLE handle, ZEL_CARD_USAGE_MODE& mode);

// Whether `mode` is the card's ready state; false puts a line into the run summary.
bool memory_RequireReadyState(ZEL_CARD_USAGE_MODE mode);

// Whether the open card's name begins with `brand`.
bool memory_IsCardOfBrand(const char* brand);
