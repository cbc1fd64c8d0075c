// The command line's words that are neither a group nor a test: the rows that the parser walks. Help,
// manual and completion are tested against them. -summary and -devicelist are the run summary's.
#pragma once

#include <array>
#include <span>

#include "ZelTypes.h"

inline constexpr char k_HelpWord[] = "-help";

// NAME=NUMBER behind a group sets its debug level.
inline constexpr const char* k_DebugLevelNames[] = {"-debugLevel", "-dbgLvl"};

// Counts inside any word, wherever the word stands.
struct CommandFlag {
    const char* name;
    void (*set)();
};
std::span<const CommandFlag> ifstFlags();

// NAME=NUMBER that is stored, and refused all the same.
struct RunValue {
    std::array<const char*, 3> names;
    void (*store)(U32 value);
};
std::span<const RunValue> ifstRunValues();
