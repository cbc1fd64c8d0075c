// Writes which test finds which fault, as a Markdown document: each fault is put into an otherwise healthy
// card, and every test runs on it.
//
//     zel_matrix BUILD_DIR FAULTS_DIR > document
//
// Fails when a key of fleet files has no fault and no reason why, when a healthy card does not pass,
// when a run's exit status is not that of its verdict, or when there is a test that finds no fault but
// failing calls.
#include <algorithm>
#include <iostream>

#include "Document.h"

namespace {

bool FindsAnyOf(const std::string& test, const std::vector<Fault>& faults,
                const std::vector<Result>& results, bool failingCalls) {
    for (std::size_t i = 0; i < faults.size(); ++i) {
        if (faults[i].isFailingCall == failingCalls && results[i].reasons.contains(test))
            return true;
    }
    return false;
}

std::vector<std::string> WrongIn(const std::vector<Fault>& faults,
                                 const std::vector<Result>& results) {
    std::vector<std::string> wrong;
    const Result& healthy = results.front();
    if (!healthy.reasons.empty() ||
        !std::ranges::all_of(healthy.verdicts,
                             [](const Verdict& verdict) { return verdict == kPassed; }))
        wrong.emplace_back("a healthy card does not pass");
    for (const std::string& test : AllTests()) {
        const bool callsOnly = std::ranges::find(kFindsCallsOnly, test, &FindsCallsOnly::test) !=
                               std::end(kFindsCallsOnly);
        if (!FindsAnyOf(test, faults, results, callsOnly))
            wrong.push_back(test + (callsOnly ? " finds no failing call"
                                              : " finds no fault but, at most, failing calls"));
        if (callsOnly && FindsAnyOf(test, faults, results, false))
            wrong.push_back(test + " finds other faults, and need not stand in kFindsCallsOnly");
    }
    return wrong;
}

bool Tell(const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        std::cerr << "zel_matrix: " << line << "\n";
    return !lines.empty();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: zel_matrix BUILD_DIR FAULTS_DIR\n";
        return 2;
    }
    try {
        std::vector<Fault> faults = CollectFaults(argv[2]);
        if (Tell(GapsIn(faults)))
            return 1;
        faults.insert(faults.begin(), kHealthy);
        const std::vector<Result> results = RunAll(argv[1], faults);
        WriteDocument(std::cout, faults, results);
        return Tell(WrongIn(faults, results)) ? 1 : 0;
    } catch (const std::exception& failure) {
        std::cerr << "zel_matrix: " << failure.what() << "\n";
        return 2;
    }
}
