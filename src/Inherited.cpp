// What the process has from its caller, put right.
#include "Inherited.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace {

// A standard stream that the caller closed must not become some pipe or file that is opened later. It
// is the root folder, which is always there; writing to it stays the error that it is. False when one
// could not be opened.
bool HoldStandardStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        // cppcheck-suppress leakReturnValNotUsed; it is to stay open
        if (fcntl(stream, F_GETFD) < 0 && open("/", O_RDONLY | O_DIRECTORY) < 0)
            return false;
    }
    return true;
}

// The commands that the tool runs read from a pipe whose other end the tool alone holds, so that what a
// card's program reads ends with the tool, however that ends. Nor do they read what the operator's
// script has there for others. Without a descriptor left for it they read what the tool would. No end
// of it is a standard stream by itself, since these are held.
void HoldCommandsInput() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return;
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
}

void ResetSignals() {
    // The kernel takes leave of an ignored child by itself, and nobody hears how it ended.
    std::signal(SIGCHLD, SIG_DFL);
    // A reader that goes away, and a file that may not grow, are write errors, not the end of the
    // process. A handler, because an ignored signal would stay ignored in the commands that the tool runs.
    std::signal(SIGPIPE, [](int) {});
    std::signal(SIGXFSZ, [](int) {});
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

void PutInheritedRight() {
    if (HoldStandardStreams())
        HoldCommandsInput();
    ResetSignals();
}
