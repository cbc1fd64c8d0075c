// Tells a person at a terminal how far a long step is.
#include "zelsim/Progress.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

#include "zelsim/Terminal.h"

namespace simulated {

namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 500ms;  // without a word
constexpr auto kBetweenLines = 100ms;

constexpr char kToLineStart[] = "\r\033[K";

}  // namespace

Progress::Progress(std::string what, std::size_t total, Now now)
    : what_(std::move(what)), total_(total), now_(now), nextLine_(now() + kPatience) {}

Progress::~Progress() {
    if (shown_)
        std::fputs(kToLineStart, stderr);
}

void Progress::Step() {
    ++done_;
    const Clock::time_point present = now_();
    if (present < nextLine_ || !CanRewriteLines(STDERR_FILENO))
        return;
    nextLine_ = present + kBetweenLines;
    shown_ = true;
    std::fprintf(stderr, "%szelsim: %s: %zu of %zu", kToLineStart, what_.c_str(), done_, total_);
}

}  // namespace simulated
