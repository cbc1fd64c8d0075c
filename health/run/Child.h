// A program that is run to its end, within a time, with what it says kept within bounds.
//
// It runs in a session of its own with standard input empty, through zelkeeper, so that nothing of it
// lives on: not when it ends, not when this process ends, however that comes about. What it says is read
// until it ends, not until everybody has closed the pipe.
//
// A child that is not done in time gets SIGTERM, then SIGKILL, and is given up when that does not end it
// either (a call of a driver that does not return). Nothing waits for it any more then, and its pid is
// known.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "run/Stop.h"

namespace zelhealth {

struct ChildSpec {
    // The program, looked for in PATH when it has no "/", and its arguments.
    std::vector<std::string> command;

    // "NAME=value" is set beside what this process has; "NAME" alone is unset.
    std::vector<std::string> environment;

    std::chrono::milliseconds deadline{};

    // Behind SIGTERM, until SIGKILL; and behind that, until the child is given up.
    std::chrono::milliseconds grace{2000};

    // What is kept of each of the two outputs: the beginning and the end.
    std::size_t keepBytes = 256UL * 1024;

    // Called, when there is one, with each line of standard output as it comes, without its line end. A
    // line longer than kLongestLine comes in pieces.
    std::function<void(std::string_view line)> onLine;

    static constexpr std::size_t kLongestLine = 4096;
};

enum class ChildEnd {
    exited,      // code is its exit status
    signalled,   // code is the signal that ended it, which was none of ours
    timedOut,    // ended by us, its deadline being over
    stopped,     // ended by us, the stop being wished; or by who wished it, with all of a session
    givenUp,     // killed by us and not gone, for either reason; pid is what remains
    notStarted,  // code is errno, error says what
};

struct ChildResult {
    ChildEnd end = ChildEnd::notStarted;
    int code = 0;
    std::string out;
    std::string err;
    bool outCut =
        false;  // more was said than is kept; what lies between beginning and end is missing
    bool errCut = false;
    std::chrono::duration<double> seconds{};
    std::string error;
    pid_t pid = 0;
};

// Does not throw but for a lack of memory.
ChildResult RunChild(const ChildSpec& spec, const Stop& stop);

// The folder of this program, in which its companions lie too.
std::string ProgramFolder();

}  // namespace zelhealth
