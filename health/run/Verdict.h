// What a run of the tool for one test of one card means.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "run/Child.h"
#include "run/ToolOutput.h"

namespace zelhealth {

enum class Verdict {
    passed,       // all four statements of the tool say so, in its own form
    failed,       // one of them says that what ran has failed; or the card cannot be opened
    unsupported,  // this generation of cards lacks what is tested
    skipped,      // the tool has left it out; the reason is the card's mode
    timedOut,
    crashed,  // the tool has, or its output has not its form
    notRun,   // the run ended before it, or what it needs is taken
    setup,    // this host's fault
};

// "timed_out"
std::string_view NameOf(Verdict verdict);

struct Judgement {
    Verdict verdict = Verdict::crashed;

    // Why, in one line; empty for what passed.
    std::string reason;

    // What the tool logged in its summary.
    std::vector<std::string> messages;

    // What is wrong with the card, whatever the test says.
    std::vector<std::string> cardProblems;

    // Of a setup fault: the command that mends it; empty where that is not known.
    std::string mend;
};

Judgement Judge(const ChildResult& result, const AskedTest& asked);

}  // namespace zelhealth
