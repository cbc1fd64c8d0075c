// How fast the host-aperture test is on plain memory, beside what bounds it and beside other testers.
//
// Rounds go over everything in turn; what is printed are medians of ratios within one round, so that
// a machine that is busy at times slows both sides of a ratio. Only the processor's time counts.
// Usage: aperture [MiB [ROUNDS]]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OtherTools.h"
#include "PlainCard.h"
#include "TestEngine/memory/hostAperture.h"
#include "TestEngine/memory/transferBuffer.h"
#include "TestEngine/te_main_params.h"
#include "TestEngine/te_summary.h"

namespace {

constexpr std::size_t kMiB = 1024 * 1024;
constexpr unsigned int kWidths[] = {1, 2, 4, 8};
constexpr std::size_t kWidthCount = std::size(kWidths);
constexpr unsigned long kPattern = 0x1122334455667788;

double ProcessorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Bytes a second of processor time.
double SpeedOf(std::size_t bytes, const std::function<void()>& action) {
    const double begin = ProcessorSeconds();
    action();
    return static_cast<double>(bytes) / (ProcessorSeconds() - begin);
}

// One test of the whole card.
double MeasureTest(PlainCard& card, unsigned int width, bool spoil) {
    unsigned long pattern[8];
    std::fill(std::begin(pattern), std::end(pattern), kPattern);
    _GddrDiagErrorList* errors = nullptr;
    bool modeSet = false;
    card.MakeReady();
    card.SpoilReads(spoil);
    int result = 0;
    const double speed = SpeedOf(card.Bytes(), [&] {
        result = hostApertureMemTest(0, card.Bytes(), width, pattern, &errors, false, modeSet,
                                     false, 0, false);
    });
    if (result != 1 || (errors != nullptr) != spoil) {
        std::fprintf(stderr, "the test did not give the verdict that it should\n");
        std::exit(1);
    }
    freeErrorList(&errors);
    return speed;
}

// A pass that reads all of a chunk and cannot be left out.
U64 ReadAll(const U8* data) {
    U64 sum = 0;
    for (std::size_t i = 0; i < TransferBuffer::k_Bytes; i += sizeof(U64)) {
        U64 word;
        std::memcpy(&word, data + i, sizeof(word));
        sum ^= word;
    }
    return sum;
}

// The two copies that a test cannot do without, and, if asked, one clear and one read pass beside
// them.
double MeasureCopies(PlainCard& card, U8* buffer, bool clearAndRead) {
    U64 sum = 0;
    const double speed = SpeedOf(card.Bytes(), [&] {
        for (std::size_t at = 0; at < card.Bytes(); at += TransferBuffer::k_Bytes) {
            std::memcpy(card.Memory() + at, buffer, TransferBuffer::k_Bytes);
            if (clearAndRead)
                std::memset(buffer, 0, TransferBuffer::k_Bytes);
            // What lies between the copies may not be taken for done already.
            asm volatile("" ::: "memory");
            std::memcpy(buffer, card.Memory() + at, TransferBuffer::k_Bytes);
            asm volatile("" ::: "memory");
            if (clearAndRead)
                sum ^= ReadAll(buffer);
        }
    });
    asm volatile("" : : "r"(sum));
    return speed;
}

struct WidthSpeeds {
    double copies;
    double copiesClearRead;
    double clean;
    double spoiled;
};

struct Round {
    WidthSpeeds widths[kWidthCount];
    std::optional<double> memtester;
    std::optional<double> stressapptest;
};

// Everything but the other tools. What is compared is measured side by side.
Round MeasureOwn(PlainCard& card, U8* buffer) {
    Round round{};
    for (std::size_t i = 0; i < kWidthCount; ++i) {
        WidthSpeeds& speeds = round.widths[i];
        speeds.copies = MeasureCopies(card, buffer, false);
        speeds.clean = MeasureTest(card, kWidths[i], false);
        speeds.copiesClearRead = MeasureCopies(card, buffer, true);
        speeds.spoiled = MeasureTest(card, kWidths[i], true);
    }
    return round;
}

Round Measure(PlainCard& card, U8* buffer) {
    Round round = MeasureOwn(card, buffer);
    round.memtester = MeasureMemtester(card.Bytes());
    round.stressapptest = MeasureStressapptest(card.Bytes());
    return round;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 != 0 ? values[half] : (values[half - 1] + values[half]) / 2;
}

using Ratio = std::function<std::optional<double>(const Round&)>;

std::optional<double> MedianOf(const std::vector<Round>& rounds, const Ratio& ratio) {
    std::vector<double> values;
    for (const Round& round : rounds) {
        if (const auto value = ratio(round))
            values.push_back(*value);
    }
    return values.empty() ? std::nullopt : std::optional(Median(values));
}

void Print(const char* name, std::optional<double> value) {
    if (value)
        std::printf("  %-46s  %6.2f\n", name, *value);
}

// In one line, what the report has no rows of.
void PrintMissing(const std::vector<Round>& rounds) {
    std::string missing;
    if (!MedianOf(rounds, [](const Round& r) { return r.memtester; }))
        missing += " memtester";
    if (!MedianOf(rounds, [](const Round& r) { return r.stressapptest; }))
        missing += " stressapptest";
    if (!missing.empty())
        std::printf("left out, not installed or not able to run:%s\n", missing.c_str());
}

std::optional<double> Quotient(double value, std::optional<double> divisor) {
    return divisor ? std::optional(value / *divisor) : std::nullopt;
}

void PrintWidth(std::size_t width, const std::vector<Round>& rounds) {
    const auto print = [&](const char* name, const Ratio& ratio) {
        Print(name, MedianOf(rounds, ratio));
    };
    std::printf("data width %u\n", kWidths[width]);
    print("to its two copies alone",
          [=](const Round& r) { return r.widths[width].clean / r.widths[width].copies; });
    print("to two copies, one clear and one read pass",
          [=](const Round& r) { return r.widths[width].clean / r.widths[width].copiesClearRead; });
    print("to memtester, Stuck Address",
          [=](const Round& r) { return Quotient(r.widths[width].clean, r.memtester); });
    print("to stressapptest -m 1",
          [=](const Round& r) { return Quotient(r.widths[width].clean, r.stressapptest); });
    print("with one wrong word in every chunk, to without",
          [=](const Round& r) { return r.widths[width].spoiled / r.widths[width].clean; });
}

// The widths' speeds beside that of the first one, of which the slowest is compared with the fastest.
double SlowestToFastest(const std::vector<Round>& rounds) {
    std::vector<double> relative;
    for (std::size_t i = 0; i < kWidthCount; ++i)
        relative.push_back(*MedianOf(
            rounds, [=](const Round& r) { return r.widths[i].clean / r.widths[0].clean; }));
    return std::ranges::min(relative) / std::ranges::max(relative);
}

void PrintReport(const std::vector<Round>& rounds) {
    for (std::size_t width = 0; width < kWidthCount; ++width)
        PrintWidth(width, rounds);
    std::printf("all data widths\n");
    Print("slowest to fastest", SlowestToFastest(rounds));
    Print("tested GB a second, width 8",
          MedianOf(rounds, [](const Round& r) { return r.widths[kWidthCount - 1].clean / 1e9; }));
    PrintMissing(rounds);
}

}  // namespace

int main(int argc, char** argv) {
    const std::size_t megabytes = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1024;
    const int count = argc > 2 ? std::atoi(argv[2]) : 5;
    if (megabytes == 0 || megabytes * kMiB % TransferBuffer::k_Bytes != 0 || count < 1) {
        std::fprintf(stderr, "usage: aperture [MiB, a multiple of 16 [ROUNDS]]\n");
        return 2;
    }
    ifstSetupParams.bQuietMode = 1;
    PlainCard card(megabytes * kMiB);
    const std::unique_ptr<U8, decltype(&std::free)> buffer(
        static_cast<U8*>(std::aligned_alloc(4096, TransferBuffer::k_Bytes)), &std::free);
    if (!buffer)
        return 1;
    std::memset(buffer.get(), 1, TransferBuffer::k_Bytes);

    MeasureOwn(card, buffer.get());  // warms up
    std::vector<Round> rounds;
    for (int i = 0; i < count; ++i)
        rounds.push_back(Measure(card, buffer.get()));
    std::printf(
        "Host-aperture test, tested bytes a second: ratios, medians of %d rounds, %zu MiB\n", count,
        megabytes);
    PrintReport(rounds);
    return 0;
}
