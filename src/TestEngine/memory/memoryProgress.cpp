// What a memory test shows while it runs and how long it took.
#include "TestEngine/memory/memoryProgress.h"

#include <cerrno>
#include <cstdio>

#include "CommonTool/Trace.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_summary.h"

namespace {

constexpr unsigned int kCallsPerTick = 16;

}  // namespace

void updateUser(bool reset, bool tick) {
    static unsigned int calls = 0;
    if (reset) {
        calls = 0;
        return;
    }
    ++calls;
    ZEL_TRACE(DLVL_DIAG1, "%s", calls % kCallsPerTick == 0 && tick ? "||" : ".");
}

int markTime(timeval& now) {
    if (gettimeofday(&now, nullptr) == 0)
        return 1;
    ifstPrint("ZelDiag::gettimeofday failed with err 0x%x\n", static_cast<unsigned int>(errno));
    TE::SUMMARY_INSTANCE.LogError("'gettimeofday' failed");
    std::fflush(stdout);
    return 0;
}

void diffTime(timeval start, timeval end, std::string_view label, bool print) {
    if (!print)
        return;
    const long seconds = end.tv_sec - start.tv_sec;
    if (seconds != 0)
        ifstPrint("%.*s  %ld min  %ld sec  \n", static_cast<int>(label.size()), label.data(),
                  seconds / 60, seconds % 60);
    else
        ifstPrint("%.*s  %ld msec  \n", static_cast<int>(label.size()), label.data(),
                  (end.tv_usec - start.tv_usec) / 1000);
}
