// Program entry: settings, then the tool. A set-up failure prints one line and ends with status 1.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <new>

#include "CommonException.h"
#include "CommonTool/ShellExecuter.h"
#include "Settings.h"
#include "ZelDiagTool.h"

namespace {

constexpr int kFailed = 1;

// A report that nobody could read is not a success: says so and turns status 0 into a failure.
void CheckStandardOutput(int status, void*) {
    const bool failedBefore = std::ferror(stdout) != 0;
    if (std::fflush(stdout) == 0 && !failedBefore)
        return;
    std::fprintf(stderr,
                 "ZelDiag: standard output could not be written; the report is incomplete\n");
    _exit(status == 0 ? kFailed : status & 0xFF);
}

// A standard stream that the caller closed must not become some pipe or file that is opened later. It
// is opened for reading, so that writing to it stays the error that it is.
void HoldStandardStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        // cppcheck-suppress leakReturnValNotUsed; it is to stay open
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDONLY) < 0)
            return;
    }
}

// The commands that the tool runs read from a pipe whose other end the tool alone holds, so that what a
// card's program reads ends with the tool, however that ends. Nor do they read what the operator's
// script has there for others. Without a descriptor left for it they read what the tool would.
void HoldCommandsInput() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return;
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
}

void WatchStandardOutput() {
    // Line by line also into a file or a pipe: a run that is killed leaves what it had found, and the
    // lines stand in order with those on standard error.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    // A reader that goes away, and a file that may not grow, are write errors, not the end of the
    // process. A handler, because an ignored signal would stay ignored in the commands that the tool runs.
    std::signal(SIGPIPE, [](int) {});
    std::signal(SIGXFSZ, [](int) {});
    on_exit(CheckStandardOutput, nullptr);
}

int Run(int argc, char** argv) {
    ShellExecuter::SetAppDirAccessPath();
    if (settings->Load(ShellExecuter::GetAppDirAccessPath().c_str()) != 0)
        throw CommonException("Could process settings");
    ZelDiagTool tool;
    tool.Usage = "";
    return tool.ExecuteCmds(argc, argv);
}

}  // namespace

int main(int argc, char** argv) {
    HoldStandardStreams();
    HoldCommandsInput();
    WatchStandardOutput();
    try {
        return Run(argc, argv);
    } catch (const CommonException& failure) {
        std::cout << "An error has occurred: " << failure.what() << std::endl;
    } catch (const std::bad_alloc&) {
        std::fputs("ZelDiag: out of memory\n", stderr);
    }
    return kFailed;
}
