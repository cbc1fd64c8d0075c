// Ends a card program whose caller has gone.
//
// The tool holds the other end of its commands' standard input for as long as it lives, and the secure
// shell passes the end of it on. Without that a program whose tool was killed would go on, and keep its
// file and its port from the next run.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <thread>

namespace card {

inline constexpr int kCallerGone = 3;  // exit status

// Only a pipe or a connection has another end: a terminal, a file and /dev/null say nothing of a caller.
inline bool HasCaller() {
    struct stat input {};
    return fstat(STDIN_FILENO, &input) == 0 && (S_ISFIFO(input.st_mode) || S_ISSOCK(input.st_mode));
}

[[noreturn]] inline void EndAfterInput() {
    char ignored[64];
    ssize_t got = 0;
    do {
        got = read(STDIN_FILENO, ignored, sizeof ignored);
    } while (got > 0 || (got < 0 && errno == EINTR));
    constexpr char kReason[] = "the caller has gone: standard input has ended\n";
    [[maybe_unused]] const ssize_t told = write(STDOUT_FILENO, kReason, sizeof kReason - 1);
    _exit(kCallerGone);
}

// From here on the process ends with status 3 when its standard input does, whatever it is doing. What
// it reads until then is thrown away.
inline void EndWithCaller() {
    if (!HasCaller())
        return;
    try {
        std::thread(EndAfterInput).detach();
    } catch (const std::system_error&) {
        // Without a thread to watch with the program does its work unwatched.
    }
}

}  // namespace card
