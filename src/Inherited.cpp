// What the process has from its caller, put right.
#include "Inherited.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ext/stdio_sync_filebuf.h>
#include <iostream>
#include <new>

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

bool WaitForRoom(int stream) {
    pollfd room = {stream, POLLOUT, 0};
    return poll(&room, 1, -1) >= 0 || errno == EINTR;
}

// Writes all of it, or as much as there is room for on a full disk.
template <int Stream>
ssize_t WriteWaiting(void* /*cookie*/, const char* text, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t written = write(Stream, text + done, size - done);
        if (written > 0)
            done += static_cast<std::size_t>(written);
        else if (written == 0 || (errno != EINTR && (errno != EAGAIN || !WaitForRoom(Stream))))
            break;
    }
    return static_cast<ssize_t>(done);
}

template <int Stream>
FILE* OpenWaiting() {
    cookie_io_functions_t functions{};
    functions.write = WriteWaiting<Stream>;
    return fopencookie(nullptr, "w", functions);
}

// An output that does not wait for its reader is waited for here. That it does not is a property of what
// the stream leads to, which the caller holds too, and so does any ssh, which sets it: to change it would
// be no help for long, and would stay with the caller behind a run that is killed.
void WaitForReaders() {
    using Buffer = __gnu_cxx::stdio_sync_filebuf<char>;
    if (FILE* const output = OpenWaiting<STDOUT_FILENO>(); output != nullptr) {
        stdout = output;
        // Never destroyed: a worker that was given up may print until the process is gone.
        alignas(Buffer) static unsigned char place[sizeof(Buffer)];
        std::cout.rdbuf(new (place) Buffer(stdout));
    }
    if (FILE* const errors = OpenWaiting<STDERR_FILENO>(); errors != nullptr) {
        std::setvbuf(errors, nullptr, _IONBF, 0);
        stderr = errors;
    }
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
    WaitForReaders();
    ResetSignals();
}
