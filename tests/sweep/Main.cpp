// Runs the tool over and over, each time with another thing failing in it, and counts what came of it.
//
//     zel_sweep NAME PART PARTS      every PARTSth failure in this run, from the PARTth (0, 1, ...) on
//     zel_sweep NAME KIND NUMBER     one of them, with what the tool printed
//
// Runs on a simulated host (zelsim run -- zel_sweep ...), for it takes the place of ssh and scp there.
#include <sys/mount.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "Judge.h"
#include "Tool.h"

namespace {

using sweep::Fault;
using sweep::Kind;
using sweep::Outcome;

struct Run {
    const char* words;
    ZEL_CARD_USAGE_MODE mode;
};

const std::map<std::string, Run> kRuns = {
    {"pcie", {"ZelDiag -summary -pcie -vls -vlw -vdi -vrs -vbs", ZEL_USAGE_MODE_NORMAL}},
    {"sbox", {"ZelDiag -summary -pcie -vsrdv", ZEL_USAGE_MODE_NORMAL}},
    {"core", {"ZelDiag -summary -core -gec -gnt -gid -c -v", ZEL_USAGE_MODE_NORMAL}},
    {"smc", {"ZelDiag -summary -smc -fwv -hwr -uuid", ZEL_USAGE_MODE_NORMAL}},
    {"dma", {"ZelDiag -summary -dma -vdh2l -vdl2h", ZEL_USAGE_MODE_NORMAL}},
    {"memory", {"ZelDiag -summary -mem -wr -info", ZEL_USAGE_MODE_OFFLINE}},
    {"memory-full", {"ZelDiag -summary -mem -full", ZEL_USAGE_MODE_OFFLINE}},
};

std::vector<std::string> Words(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

std::filesystem::path OwnFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
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

void Show(const Outcome& outcome) {
    std::cout << outcome.out << outcome.err;
    std::cout << "failed: " << outcome.what << (outcome.struck ? "" : "(nothing)") << "; signal "
              << outcome.signal << ", status " << outcome.status << ", blocks " << outcome.blocks
              << (outcome.tidied ? "" : ", not tidied") << ", calls " << outcome.CountOf(Kind::Call)
              << ", modes";
    for (const auto mode : outcome.modes)
        std::cout << " " << mode;
    std::cout << "\n";
}

struct Tally {
    std::uint64_t injected = 0;
    std::array<std::uint64_t, static_cast<std::size_t>(Fault::Count)> wrong{};
    std::map<std::string, std::uint64_t> excused;  // by what failed and the reason
    int shown = 0;
};

// What is wrong is shown in full so many times.
constexpr int kShown = 3;

void Judge(const std::string& name, Kind kind, std::uint64_t at, const Outcome& clean,
           const Outcome& outcome, Tally& tally) {
    for (const Fault fault : sweep::Judge(kind, clean, outcome)) {
        if (const char* reason = sweep::Reason(fault, kind, outcome)) {
            ++tally.excused[std::string(NameOf(fault)) + ": " + outcome.what + ": " + reason];
            continue;
        }
        ++tally.wrong[static_cast<std::size_t>(fault)];
        std::cout << "wrong: " << name << " '" << NameOf(kind) << "' " << at << " (" << outcome.what
                  << "): " << NameOf(fault) << "\n";
        if (tally.shown++ < kShown)
            Show(outcome);
    }
}

struct Part {
    std::uint64_t number;
    std::uint64_t of;
};

// The failures of all kinds that belong to `part`.
Tally Sweep(sweep::Tool& tool, const std::string& name, const Run& run, const Outcome& clean,
            const Part& part) {
    Tally tally;
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < sweep::kKinds; ++i) {
        const Kind kind = static_cast<Kind>(i);
        for (std::uint64_t at = 1; at <= clean.CountOf(kind); ++at) {
            if (number++ % part.of != part.number)
                continue;
            const Outcome outcome = tool.Run(kind, at, run.mode);
            // Threads meet in another order each time, and the last few things may not happen.
            if (!outcome.struck)
                continue;
            ++tally.injected;
            Judge(name, kind, at, clean, outcome, tally);
        }
    }
    return tally;
}

bool Report(const std::string& name, const Tally& tally) {
    std::cout << name << ": " << tally.injected << " failures";
    bool right = tally.injected > 0;
    for (std::size_t i = 0; i < tally.wrong.size(); ++i) {
        std::cout << ", " << NameOf(static_cast<Fault>(i)) << " " << tally.wrong[i];
        right = right && tally.wrong[i] == 0;
    }
    std::cout << "\n";
    for (const auto& [what, times] : tally.excused)
        std::cout << "    " << times << " x " << what << "\n";
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
    const auto found = arguments.size() == 3 ? kRuns.find(arguments[0]) : kRuns.end();
    if (found == kRuns.end())
        throw std::runtime_error("usage: zel_sweep NAME PART PARTS | zel_sweep NAME KIND NUMBER");
    const auto& [name, run] = *found;
    StandInForSecureShell();
    sweep::Tool tool(Words(run.words), (OwnFolder() / "e2e_shim.so").string() + ":" +
                                           (OwnFolder() / "sweep_inject.so").string());
    const std::uint64_t number = std::stoull(arguments[2]);
    if (!IsNumber(arguments[1])) {
        Show(tool.Run(KindOf(arguments[1]), number, run.mode));
        return 0;
    }
    const Outcome clean = tool.Run(Kind::Call, 0, run.mode);
    if (clean.status != 0 || clean.out.find("FAILED") != std::string::npos) {
        Show(clean);
        throw std::runtime_error("the run fails although nothing in it does");
    }
    return Report(name, Sweep(tool, name, run, clean, {std::stoull(arguments[1]), number})) ? 0 : 1;
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
