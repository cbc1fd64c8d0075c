// What the sweep and the library that it loads into the tool tell each other, in one mapped file.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace sweep {

// What can be made to fail.
enum class Kind : std::uint32_t {
    Call,        // an operation of a platform library
    Command,     // a command of the host's shell cannot be started
    Status,      // it runs and ends with status 1
    Silence,     // it runs, and what it prints is lost
    Thread,      // a thread cannot be started
    Allocation,  // memory runs out
    Count,
};
inline constexpr std::size_t kKinds = static_cast<std::size_t>(Kind::Count);

constexpr const char* NameOf(Kind kind) {
    constexpr std::array<const char*, kKinds> kNames = {"platform call",  "command start",
                                                        "command status", "command output",
                                                        "thread start",   "allocation"};
    return kNames[static_cast<std::size_t>(kind)];
}

// The environment variable that names the file.
inline constexpr char kVariable[] = "ZELDIAG_SWEEP";

// How deep the calls are looked at that led to what failed.
inline constexpr std::size_t kDepth = 48;

// A block of memory that was still allocated at the end.
struct KeptBlock {
    std::uint64_t bytes;
    char library[32];                        // that asked for it: the file's name
    std::array<std::uint64_t, kDepth> site;  // the tool's functions that led there, as below
};
inline constexpr std::size_t kMostKeptBlocks = 256;

struct Injection {
    // Set before the tool starts: which one fails, counted from 1; 0: none.
    Kind kind;
    std::uint64_t at;

    // Filled while the tool runs.
    std::array<std::atomic<std::uint64_t>, kKinds> counts;
    std::atomic<std::uint32_t> struck;
    char what[64];  // the operation or the command that failed, or who asked for the memory
    // The return addresses inside the tool's executable that lead to it, counted from where the
    // executable is loaded, innermost first; 0 behind the last.
    std::array<std::uint64_t, kDepth> site;
    std::atomic<std::uint32_t> tidied;  // the process ended with all its static objects destroyed
    std::atomic<std::int64_t> blocks;   // allocated and not freed
    // The blocks themselves, of a run in which nothing fails; as many as there is room for.
    std::uint32_t keptBlocks;
    std::array<KeptBlock, kMostKeptBlocks> kept;
    std::atomic<std::int32_t> openBefore;  // descriptors, as the process began
    std::atomic<std::int32_t> openAfter;   // the same at its end
    std::atomic<std::uint64_t> slept;      // seconds asked of sleep, by all threads together
};

static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

}  // namespace sweep
