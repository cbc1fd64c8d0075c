// Tells a person at a terminal how far a long step is, in one line on standard error that goes when the
// step ends. What is quick, or goes to a file or pipe, stays silent.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace simulated {

class Progress {
public:
    using Clock = std::chrono::steady_clock;
    using Now = Clock::time_point (*)();

    // "zelsim: WHAT: DONE of TOTAL". `now` is for tests.
    Progress(std::string what, std::size_t total, Now now = Clock::now);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // One of the total is done.
    void Step();

private:
    std::string what_;
    std::size_t total_;
    std::size_t done_ = 0;
    Now now_;
    Clock::time_point nextLine_;
    bool shown_ = false;
};

}  // namespace simulated
