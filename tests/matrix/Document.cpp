// The document.
#include "Document.h"

namespace {

constexpr char kHead[] =
    "# What each test finds\n\n"
    "Written by `tests/matrix/matrix --write`, and compared by the test suite with what the\n"
    "tool does: each fault is put into an otherwise healthy simulated card, and every test\n"
    "runs on it.\n\n"
    "## Faults\n\n"
    "The verdicts are those of three runs: of the groups that need normal mode, of\n"
    "`-mem -wr -info`, and of `-mem -full`. A run is skipped when the card's mode is not the\n"
    "one that its groups need, or cannot be read. The exit status is 0 for runs that passed\n"
    "or were skipped, 1 for those that failed or ended early. Where a call never returns, a run\n"
    "is ended after a minute, by SIGTERM and, when that does not end it, by SIGKILL.\n\n"
    "| fault | what is wrong | verdicts | found by, with the reason |\n|---|---|---|---|\n";

void WriteFault(std::ostream& out, const Fault& fault, const Result& result) {
    out << "| " << fault.name << " | " << fault.description << " |";
    const char* separator = " ";
    for (const Verdict& verdict : result.verdicts) {
        out << separator << verdict.text;
        separator = ", ";
    }
    out << (result.reasons.empty() ? " | no test" : " | ");
    separator = "";
    for (const std::string& test : AllTests()) {
        const auto found = result.reasons.find(test);
        if (found == result.reasons.end())
            continue;
        out << separator << "`" << test << "` " << found->second;
        separator = "; ";
    }
    out << " |\n";
}

void WriteTest(std::ostream& out, const std::string& test, const std::vector<Fault>& faults,
               const std::vector<Result>& results) {
    out << "| `" << test << "` | ";
    const char* separator = "";
    for (std::size_t i = 0; i < faults.size(); ++i) {
        if (!results[i].reasons.contains(test))
            continue;
        out << separator << faults[i].name;
        separator = ", ";
    }
    out << " |\n";
}

}  // namespace

void WriteDocument(std::ostream& out, const std::vector<Fault>& faults,
                   const std::vector<Result>& results) {
    out << kHead;
    for (std::size_t i = 0; i < faults.size(); ++i)
        WriteFault(out, faults[i], results[i]);
    out << "\n## Tests\n\n| test | finds |\n|---|---|\n";
    for (const std::string& test : AllTests())
        WriteTest(out, test, faults, results);
    out << "\nThese find only that a call fails:\n\n| test | because it |\n|---|---|\n";
    for (const FindsCallsOnly& row : kFindsCallsOnly)
        out << "| `" << row.test << "` | " << row.reason << " |\n";
    out << "\n## Left out\n\n"
           "Every other key of a fleet file has a fault above, and so has every call.\n\n"
           "| key | why there is no fault of it |\n|---|---|\n";
    for (const LeftOut& row : kLeftOut)
        out << "| `" << row.name << "` | " << row.reason << " |\n";
}
