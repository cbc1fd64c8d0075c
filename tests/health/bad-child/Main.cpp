// Runs stand-ins for the tool that go wrong at every line of what the tool printed, and counts what the
// companion made of them.
//
//     bad_child read   CASES             as texts that the companion's reader is given
//     bad_child played CASES             as children, run and judged as a run does it
//     bad_child whole  CASES ZELHEALTH   as the tool of zelhealth run, on a simulated host
//     bad_child whole  CASES ZELHEALTH ACT    one of them, such as pcie-sbox-one-differs.drops.3.0
//
// CASES is the folder of the end-to-end cases. Prints what is wrong, and how many cases there were.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>

#include "Oracle.h"
#include "Stage.h"
#include "run/SideBySide.h"

namespace {

using bad::Act;
using bad::Kind;
using bad::Recording;

// With which most is tried.
constexpr char kFirst[] = "pcie-sbox-one-differs";

// Much of the time of most of them is waiting.
constexpr std::size_t kSideBySide = 24;

struct Case {
    const Recording* recording;
    Act act;
    std::string Name() const { return bad::NameOf(recording->script.name, act); }
};

// How much is tried with a recording.
enum class Depth {
    alone,  // all that the companion's reader is enough for
    few,  // what a child can do beside printing something else, without those that keep a processor busy
    most,  // everything, each status and each signal at one line
};

bool Wants(Depth depth, Kind kind) {
    const bool prints = kind == Kind::edits;
    const bool busy = kind == Kind::floods || kind == Kind::pours || kind == Kind::bursts;
    return depth == Depth::alone ? prints || kind == Kind::ends
                                 : depth == Depth::most || !(prints || busy);
}

bool Wants(Depth depth, const Recording& recording, const Act& act) {
    const std::size_t turn =
        static_cast<std::size_t>(act.number) % (recording.script.lines.size() + 1);
    const bool each =
        (depth == Depth::alone && recording.passes) || (depth == Depth::most && turn == act.line);
    switch (act.fault->kind) {
        case Kind::ends:
            return each || std::set{0, 1, 2, 127, 251, 255}.contains(act.number);
        case Kind::dies:
            return act.number != 0 &&
                   (each || std::set{SIGKILL, SIGSEGV, SIGTERM, SIGSTOP}.contains(act.number));
        default:
            return act.number == 0 || (depth == Depth::most && act.line == 0 && act.Stalls());
    }
}

// Every fault at every line, and behind the last where there is one to say.
void AddCases(const Recording& recording, Depth depth, std::vector<Case>& cases) {
    for (const bad::Fault& fault : bad::Faults()) {
        const std::size_t lines =
            recording.script.lines.size() + (fault.kind == Kind::edits ? 0 : 1);
        const int numbers = fault.kind == Kind::ends   ? 256
                            : fault.kind == Kind::dies ? SIGRTMAX + 1
                                                       : 2;
        for (std::size_t line = 0; Wants(depth, fault.kind) && line < lines; ++line) {
            for (int number = 0; number < numbers; ++number) {
                const Act act{&fault, line, number};
                if (Wants(depth, recording, act))
                    cases.push_back({&recording, act});
            }
        }
    }
}

// A passing run of each group that has one, one whose card does not close, and two that fail.
std::vector<const Recording*> Chosen(const std::vector<Recording>& recordings) {
    const std::set<std::string> names = {
        kFirst,           "run-no-package-manager",        "mem-info-pass",
        "mem-write-pass", "dma-host-to-card-refused-once", "run-card-does-not-close",
        "pcie-width-8",   "mem-info-card-unknown"};
    std::vector<const Recording*> chosen;
    for (const Recording& recording : recordings) {
        if (names.contains(recording.script.name))
            chosen.push_back(&recording);
    }
    if (chosen.size() != names.size())
        throw std::runtime_error("a recording is missing");
    return chosen;
}

class Tally {
public:
    void Add(const Case& one, const bad::Found& found) {
        const std::lock_guard lock(mutex_);
        ++cases_;
        ++verdicts_[found.verdict];
        kilobytes_ = std::max(kilobytes_, found.kilobytes);
        if (found.wrong.empty())
            return;
        ++missed_;
        std::cout << "wrong: " << one.Name() << ": " << found.wrong << "\n";
    }

    // Whether there were cases, passed ones among them, and all is right.
    bool Print(const std::string& part) const {
        std::cout << part << ": " << cases_ << " cases, missed " << missed_ << ";";
        for (const auto& [verdict, times] : verdicts_)
            std::cout << " " << verdict << " " << times;
        if (kilobytes_ > 0)
            std::cout << "; at most " << kilobytes_ << " KiB";
        std::cout << "\n";
        return cases_ > 0 && missed_ == 0 && verdicts_.contains("passed");
    }

private:
    std::mutex mutex_;
    std::size_t cases_ = 0;
    std::size_t missed_ = 0;
    long kilobytes_ = 0;
    std::map<std::string, std::size_t> verdicts_;
};

int Run(const std::vector<std::string>& words) {
    const std::string& part = words.at(0);
    const std::vector<Recording> recordings = bad::ReadRecordings(words.at(1));
    std::vector<Case> cases;
    if (part == "read") {
        for (const Recording& recording : recordings)
            AddCases(recording, Depth::alone, cases);
    } else {
        for (const Recording* const recording : Chosen(recordings)) {
            const bool first = recording->script.name == kFirst;
            if (first || part == "played")
                AddCases(*recording, first ? Depth::most : Depth::few, cases);
        }
    }
    if (words.size() > 3)
        std::erase_if(cases, [&](const Case& one) { return one.Name() != words[3]; });
    const bad::Stage stage(part, words.size() > 2 ? words[2] : "");
    for (const Recording& recording : recordings)
        bad::WriteScript(recording.script, stage.Folder());
    Tally tally;
    zelhealth::SideBySide(cases.size(), part == "read" ? 2 : kSideBySide, [&](std::size_t i) {
        tally.Add(cases[i], stage.Try(*cases[i].recording, cases[i].act));
    });
    const std::string left = stage.Left();
    if (!left.empty())
        std::cout << "wrong: " << left << "\n";
    return tally.Print(part) && left.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::cout << "wrong: " << error.what() << "\n";
        return EXIT_FAILURE;
    }
}
