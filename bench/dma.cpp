// How fast remote writes and reads of the simulated communication library are, beside a plain copy of
// the same bytes. Both ends are in this process; what is printed are medians of ratios within one
// round, by the clock, since a transfer is the work of several threads. Usage: dma [ROUNDS]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "vorl.h"

namespace {

constexpr size_t kKiB = 1024;
constexpr size_t kMaxBytes = 64 * kKiB * kKiB;
constexpr size_t kBytesPerRound = kMaxBytes;  // of each size, in as many transfers as that takes

struct Free {
    void operator()(char* memory) const { std::free(memory); }
};
using Memory = std::unique_ptr<char, Free>;

[[noreturn]] void GiveUp(const char* what) {
    std::perror(what);
    std::exit(1);
}

Memory Allocate(int fill) {
    Memory memory(static_cast<char*>(std::aligned_alloc(VORL_PAGE_BYTES, kMaxBytes)));
    if (!memory)
        GiveUp("memory");
    std::memset(memory.get(), fill, kMaxBytes);
    return memory;
}

struct Ends {
    int listening = vorl_open();
    int near = vorl_open();
    int far = -1;

    Ends() {
        vorl_portID port{0, static_cast<U16>(vorl_bind(listening, 0))};
        if (vorl_listen(listening, 1) != 0 || vorl_connect(near, &port) != 0 ||
            vorl_accept(listening, &port, &far, VORL_ACCEPT_SYNC) != 0)
            GiveUp("connection");
    }
    ~Ends() {
        for (const int epd : {near, far, listening})
            vorl_close(epd);
    }
    Ends(const Ends&) = delete;
    Ends& operator=(const Ends&) = delete;
};

off_t Register(int epd, const Memory& memory) {
    const off_t offset =
        vorl_register(epd, memory.get(), kMaxBytes, 0, VORL_PROT_READ | VORL_PROT_WRITE, 0);
    if (offset < 0)
        GiveUp("vorl_register");
    return offset;
}

// Bytes a second.
template <typename Action>
double SpeedOf(size_t bytes, Action action) {
    const auto begin = std::chrono::steady_clock::now();
    for (size_t done = 0; done < kBytesPerRound; done += bytes) {
        action();
        asm volatile("" ::: "memory");  // no copy is taken for done already
    }
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
    return static_cast<double>(kBytesPerRound) / passed.count();
}

struct Ratios {
    std::vector<double> write;
    std::vector<double> read;
    std::vector<double> writeSpeed;
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
    if (rounds < 1) {
        std::fprintf(stderr, "usage: dma [ROUNDS]\n");
        return 2;
    }
    const Memory near = Allocate(1);
    const Memory far = Allocate(2);
    const Ends ends;
    const off_t local = Register(ends.near, near);
    const off_t remote = Register(ends.far, far);

    std::printf("remote transfers, to a copy of the same bytes in memory\n");
    std::printf("  %10s  %8s  %8s  %12s\n", "KiB", "write", "read", "write GB/s");
    for (size_t bytes = 4 * kKiB; bytes <= kMaxBytes; bytes *= 4) {
        Ratios ratios;
        for (int round = 0; round < rounds; ++round) {
            const double copy = SpeedOf(bytes, [&] { std::memcpy(far.get(), near.get(), bytes); });
            const double write = SpeedOf(bytes, [&] {
                if (vorl_writeto(ends.near, local, bytes, remote, VORL_RMA_SYNC) != 0)
                    GiveUp("vorl_writeto");
            });
            const double read = SpeedOf(bytes, [&] {
                if (vorl_readfrom(ends.near, local, bytes, remote, VORL_RMA_SYNC) != 0)
                    GiveUp("vorl_readfrom");
            });
            ratios.write.push_back(write / copy);
            ratios.read.push_back(read / copy);
            ratios.writeSpeed.push_back(write / 1e9);
        }
        std::printf("  %10zu  %8.4f  %8.4f  %12.2f\n", bytes / kKiB, Median(ratios.write),
                    Median(ratios.read), Median(ratios.writeSpeed));
    }
    return 0;
}
