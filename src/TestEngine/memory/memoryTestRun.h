// What the tests that write the card's memory have in common: how they begin, record and end.
#pragma once

#include <array>
#include <optional>

#include "TestEngine/memory/memory.h"

using MemoryPattern = std::array<unsigned long, 8>;

// The configured pattern in words of 64 bits.
MemoryPattern memory_PatternOf(const GDDRDiagCb& params);

bool memory_BreaksOnFail(const memoryCb& control);

// What a test answers without doing anything: the end of a test that failed in its call before, or
// that the group is not valid.
std::optional<I16> memory_AnswerAlreadyFailed(ifstGrpTstCb& gen);

// Adds a failure of the whole test to the error list; `reason` is a constant text.
void memory_RecordFailure(GDDRDiagCb& params, const char* reason);

// Passes the running test when no failure is recorded; else fails it with the reason at the list's
// head and asks for one more call, which ends it. Returns the test's answer.
I16 memory_GiveVerdict(memoryCb& control, const char* file, U32 line);
