// The commands of zelsim that are given on a simulated host: they look at its cards and move them.
#pragma once

#include <span>

namespace simulated {

inline constexpr int kUsageFailure = 1;
inline constexpr int kCommandFailure = 1;
inline constexpr char kSeeHelp[] = "; see zelsim --help";

// Each takes the words behind its name and returns the exit status.
int ModeCommand(std::span<char* const> words);
int StatusCommand(std::span<char* const> words);

}  // namespace simulated
