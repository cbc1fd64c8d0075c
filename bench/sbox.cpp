// What the SBOX scan costs a register, beside the platform's call alone. Runs on a simulated host:
//
//     zelsim run -- build/bench/sbox
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "MmioRegisters.h"
#include "TestEngine/PCIExpress/PCIExpress.h"
#include "TestEngine/PCIExpress/SboxRegisters.h"
#include "ZelAccess.h"

namespace {

constexpr int kRounds = 5;
constexpr int kScans = 400;

U32 CountReads() {
    U32 reads = 0;
    for (const auto* row = sbox_array; row->regName[0] != '0'; ++row)
        reads += row->size / 32;
    return reads;
}

// The same reads in the same order, and nothing else.
unsigned ReadAll(HANDLE handle) {
    unsigned failed = 0;
    for (const auto* row = sbox_array; row->regName[0] != '0'; ++row) {
        U32 value = 0;
        failed |= ZelReadMMIOReg(handle, ZEL_MMIO_SBOX + row->offset, &value);
        if (row->size == 64)
            failed |= ZelReadMMIOReg(handle, ZEL_MMIO_SBOX + row->offset + 4, &value);
    }
    return failed;
}

// Processor time of this process: other work on the machine does not count.
double NowNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

template <typename Work>
double NanosecondsPerScan(HANDLE handle, Work work) {
    const double start = NowNanoseconds();
    for (int i = 0; i < kScans; ++i) {
        if (work(handle) != 0) {
            std::fputs("sbox: the card does not answer, or its registers differ\n", stderr);
            std::exit(1);
        }
    }
    return (NowNanoseconds() - start) / kScans;
}

}  // namespace

int main() {
    if (!zelAccess->setAccessHandle()) {
        std::fputs("sbox: no cards; run it on a simulated host: zelsim run -- build/bench/sbox\n",
                   stderr);
        return 1;
    }
    zelAccess->InitAdapterforDiag(0, false);
    HANDLE handle = zelAccess->getAccessHandle();
    const U32 reads = CountReads();

    std::array<double, kRounds> ratios{};
    std::array<double, kRounds> scans{};
    for (int round = 0; round < kRounds; ++round) {
        const double calls = NanosecondsPerScan(handle, ReadAll);
        scans[round] = NanosecondsPerScan(handle, CheckSboxDefaultValues);
        ratios[round] = scans[round] / calls;
    }
    std::sort(ratios.begin(), ratios.end());
    std::sort(scans.begin(), scans.end());
    std::printf(
        "SBOX scan, %u reads: %.2f times the platform's calls alone (median of %d rounds, "
        "%.2f to %.2f); %.0f ns a read in this run\n",
        reads, ratios[kRounds / 2], kRounds, ratios.front(), ratios.back(),
        scans[kRounds / 2] / reads);
}
