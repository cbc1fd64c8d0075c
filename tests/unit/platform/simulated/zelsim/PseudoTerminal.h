// A terminal that a test holds the other end of.
#pragma once

#include <string>

class PseudoTerminal {
public:
    PseudoTerminal();
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    // The end that is a terminal to whoever writes to it.
    int Get() const { return terminal_; }

    // Leaves the terminal to the processes that have it: the screen ends with the last of them.
    void LeaveTerminal();

    // The test's end: what was written comes out of it unchanged.
    int Screen() const { return screen_; }

    // All that was written so far and not read yet.
    std::string Read();

private:
    int screen_ = -1;
    int terminal_ = -1;
};
