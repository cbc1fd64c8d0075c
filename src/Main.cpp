// Program entry: settings, then the tool. A set-up failure prints one line and ends with status 1.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <new>

#include "CommonException.h"
#include "CommonTool/ShellExecuter.h"
#include "Inherited.h"
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

void WatchStandardOutput() {
    // Line by line also into a file or a pipe: a run that is killed leaves what it had found, and the
    // lines stand in order with those on standard error.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
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
    PutInheritedRight();
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
