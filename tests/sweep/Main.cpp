// Runs the tool over and over, each time with another thing failing in it, and counts what came of it.
//
//     zel_sweep NAME SHARE SHARES    every SHARESth failure in this part, from the SHAREth (0, 1, ...) on
//     zel_sweep NAME KIND NUMBER     one of them, with what the tool printed
//
// Runs on a simulated host (zelsim run -- zel_sweep ...), for it takes the place of ssh and scp there.
#include <sys/mount.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>
#include <span>
#include <stdexcept>
#include <system_error>

#include "Judge.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main_frontend.h"
#include "Tool.h"

namespace {

using sweep::Fault;
using sweep::Kind;
using sweep::Outcome;

// A part of the sweep: the tests of one group. A test that is named has a part of its own; all others of
// its group, new ones too, are run together.
struct PartOfSweep {
    const char* group;
    const char* onlyTest = nullptr;
    ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_NORMAL;
    std::uint64_t missable = 0;  // failures in each share that may not come to their turn
};

// The threads of the DMA tests meet in another order each time, and what they allocate, or wait for,
// differs by one now and then.
constexpr std::uint64_t kRacing = 1;

const std::map<std::string, PartOfSweep> kParts = {
    {"pcie", {.group = "-pcie"}},
    {"sbox", {.group = "-pcie", .onlyTest = "-vsrdv"}},
    {"core", {.group = "-core"}},
    {"smc", {.group = "-smc"}},
    {"dma", {.group = "-dma", .missable = kRacing}},
    {"memory", {.group = "-mem", .mode = ZEL_USAGE_MODE_OFFLINE}},
    {"memory-full", {.group = "-mem", .onlyTest = "-full", .mode = ZEL_USAGE_MODE_OFFLINE}},
};

std::filesystem::path OwnFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

bool HasPartOfItsOwn(const ifstTstGroup& group, const ifstTstCb& test) {
    return std::ranges::any_of(kParts, [&](const auto& named) {
        const PartOfSweep& part = named.second;
        return std::string(group.shortNm) == part.group && part.onlyTest != nullptr &&
               std::string(test.shortNm) == part.onlyTest;
    });
}

// The short names of the tests in `part`, in the registry's order.
std::vector<std::string> TestsOf(const PartOfSweep& part) {
    std::vector<std::string> tests;
    for (const ifstTstGroup& group : ifstTstGrps) {
        if (std::string(group.shortNm) != part.group)
            continue;
        for (const ifstTstCb& test : std::span(group.frontEnd->tests, group.frontEnd->numTests)) {
            const bool wanted = part.onlyTest == nullptr
                                    ? !HasPartOfItsOwn(group, test)
                                    : std::string(test.shortNm) == part.onlyTest;
            if (wanted)
                tests.emplace_back(test.shortNm);
        }
    }
    return tests;
}

void RequirePartsForAll() {
    for (const auto& [name, part] : kParts) {
        if (TestsOf(part).empty())
            throw std::runtime_error(name + ": no such test");
    }
    for (const ifstTstGroup& group : ifstTstGrps) {
        const bool swept = std::ranges::any_of(kParts, [&](const auto& named) {
            return named.second.onlyTest == nullptr &&
                   std::string(group.shortNm) == named.second.group;
        });
        if (!swept)
            throw std::runtime_error(std::string(group.shortNm) + ": no part sweeps this group");
    }
}

std::vector<std::string> Words(const PartOfSweep& part) {
    std::vector<std::string> words = {OwnFolder().parent_path() / "bin/ZelDiag", "-summary",
                                      part.group};
    std::ranges::copy(TestsOf(part), std::back_inserter(words));
    return words;
}

// The stand-ins lie in the places of the programs on this simulated host only.
void StandInForSecureShell() {
    for (const char* program : {"ssh", "scp"}) {
        const std::string standIn = OwnFolder() / "sweep-bin" / program;
        const std::string place = std::string("/usr/bin/") + program;
        if (mount(standIn.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) != 0)
            throw std::system_error(errno, std::generic_category(), place);
    }
}

void ShowCallers(const std::string& what, const std::vector<std::string>& callers) {
    for (const std::string& function : callers)
        std::cout << (&function == &callers.front() ? "\n" + what + " " : " < ") << function;
}

void Show(const Outcome& outcome) {
    std::cout << outcome.out << outcome.err;
    std::cout << "failed: " << outcome.what << (outcome.struck ? "" : "(nothing)") << "; signal "
              << outcome.signal << ", status " << outcome.status << ", blocks " << outcome.blocks
              << ", descriptors " << outcome.descriptors << ", processes " << outcome.processes
              << (outcome.tidied ? "" : ", not tidied") << ", calls " << outcome.CountOf(Kind::Call)
              << ", slept " << outcome.slept << " s, modes";
    for (const auto mode : outcome.modes)
        std::cout << " " << mode;
    ShowCallers("in", outcome.site);
    for (const sweep::Kept& block : outcome.kept)
        ShowCallers("kept: " + std::to_string(block.bytes) + " bytes of " + block.library + " for",
                    block.callers);
    std::cout << "\n";
}

struct Tally {
    std::uint64_t injected = 0;
    std::array<std::uint64_t, static_cast<std::size_t>(Fault::Count)> wrong{};
    std::map<std::string, std::uint64_t> demanded;  // by what failed and the reason
    std::uint64_t missed = 0;                       // that did not come to their turn
    std::uint64_t notTidied = 0;                    // ended with a worker given up
    int mostDescriptors = 0;                        // at the end of those
    std::uint64_t longestSleep = 0;                 // seconds that one of them asked for
    int shown = 0;
};

// What is wrong is shown in full so many times.
constexpr int kShown = 3;

void Judge(const sweep::Failure& failure, std::uint64_t at, const Outcome& clean,
           const Outcome& outcome, Tally& tally) {
    ++tally.injected;
    tally.longestSleep = std::max(tally.longestSleep, outcome.slept);
    if (!outcome.tidied) {
        ++tally.notTidied;
        tally.mostDescriptors = std::max(tally.mostDescriptors, outcome.descriptors);
    }
    for (const Fault fault : sweep::Judge(clean, outcome)) {
        if (const char* reason = sweep::Reason(fault, failure, clean, outcome)) {
            const std::string what = failure.kind == Kind::Allocation ? "memory" : outcome.what;
            ++tally.demanded[std::string(NameOf(fault)) + ": " + what + " in " +
                             sweep::CallerIn(outcome) + ": " + reason];
            continue;
        }
        ++tally.wrong[static_cast<std::size_t>(fault)];
        std::cout << "wrong: " << failure.part << " '" << NameOf(failure.kind) << "' " << at << " ("
                  << outcome.what << " in " << sweep::CallerIn(outcome) << "): " << NameOf(fault)
                  << "\n";
        if (tally.shown++ < kShown)
            Show(outcome);
    }
}

// Which of the failures one of several hosts tries.
struct Share {
    std::uint64_t number;
    std::uint64_t of;
};

Tally Sweep(sweep::Tool& tool, const std::string& name, const PartOfSweep& part,
            const Outcome& clean, const Share& share) {
    Tally tally;
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < sweep::kKinds; ++i) {
        const Kind kind = static_cast<Kind>(i);
        for (std::uint64_t at = 1; at <= clean.CountOf(kind); ++at) {
            if (number++ % share.of != share.number)
                continue;
            const Outcome outcome = tool.Run(kind, at, part.mode);
            if (outcome.struck)
                Judge({name, kind}, at, clean, outcome, tally);
            else
                ++tally.missed;
        }
    }
    return tally;
}

bool Report(const std::string& name, const PartOfSweep& part, const Tally& tally) {
    std::cout << name << ": " << tally.injected << " failures";
    bool right = tally.injected > 0 && tally.missed <= part.missable;
    for (std::size_t i = 0; i < tally.wrong.size(); ++i) {
        std::cout << ", " << NameOf(static_cast<Fault>(i)) << " " << tally.wrong[i];
        right = right && tally.wrong[i] == 0;
    }
    std::uint64_t demanded = 0;
    for (const auto& [what, times] : tally.demanded)
        demanded += times;
    std::cout << "; missed " << tally.missed << "; as demanded: " << demanded << "\n";
    for (const auto& [what, times] : tally.demanded)
        std::cout << "    " << times << " x " << what << "\n";
    std::cout << "    longest sleep " << tally.longestSleep << " s; not tidied " << tally.notTidied;
    if (tally.notTidied > 0)
        std::cout << ", with " << tally.mostDescriptors << " descriptors open at most";
    std::cout << "\n";
    return right;
}

Kind KindOf(const std::string& name) {
    for (std::size_t i = 0; i < sweep::kKinds; ++i) {
        if (name == NameOf(static_cast<Kind>(i)))
            return static_cast<Kind>(i);
    }
    throw std::runtime_error(name + ": no kind of failure");
}

bool IsNumber(const std::string& text) {
    return text.find_first_not_of("0123456789") == std::string::npos;
}

int Main(const std::vector<std::string>& arguments) {
    const auto found = arguments.size() == 3 ? kParts.find(arguments[0]) : kParts.end();
    if (found == kParts.end())
        throw std::runtime_error("usage: zel_sweep NAME SHARE SHARES | zel_sweep NAME KIND NUMBER");
    const auto& [name, part] = *found;
    RequirePartsForAll();
    StandInForSecureShell();
    sweep::Tool tool(Words(part), (OwnFolder() / "sweep_inject.so").string() + ":" +
                                      (OwnFolder() / "e2e_shim.so").string());
    if (!tool.NamesFunctions())
        throw std::runtime_error("the tool has no debug information");
    const std::uint64_t number = std::stoull(arguments[2]);
    if (!IsNumber(arguments[1])) {
        Show(tool.Run(KindOf(arguments[1]), number, part.mode));
        return 0;
    }
    const Outcome clean = tool.Run(Kind::Call, 0, part.mode);
    const std::string reason = sweep::WhyNotWhole(clean, clean.modes.size(), TestsOf(part).size());
    if (!reason.empty()) {
        Show(clean);
        throw std::runtime_error("the run in which nothing fails: " + reason);
    }
    const Share share{std::stoull(arguments[1]), number};
    return Report(name, part, Sweep(tool, name, part, clean, share)) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Main({argv + 1, argv + argc});
    } catch (const std::exception& failure) {
        std::cerr << "sweep: " << failure.what() << "\n";
        return 2;
    }
}
