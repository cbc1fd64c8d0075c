// What is known of verdicts and exit statuses: a row each. Texts for people are marked, see Markup.h.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

struct VerdictRow {
    std::string of;    // what is judged: "test", or "card", which is a run too
    std::string name;  // "timed_out"
    std::string when;
    std::string means;
    std::vector<std::string> causes;  // the likeliest first
    std::string next;
    int status = 0;  // that it gives the run
};

struct StatusRow {
    std::string of;  // the program
    int number = 0;
    std::string when;
    std::string example;
    std::string next;
    // Who does what with it; empty for the tool's.
    std::string healthCheck;
    std::string prolog;
    std::string monitor;
};

class Verdicts {
public:
    // Those that are built in.
    static const Verdicts& BuiltIn();

    // Throws std::runtime_error that says what is wrong with the text.
    explicit Verdicts(std::string_view toml);

    const std::vector<VerdictRow>& All() const { return verdicts_; }
    const std::vector<StatusRow>& Statuses() const { return statuses_; }

    // Whether something of this kind, "test" or "card", can have the verdict.
    bool Knows(std::string_view of, std::string_view name) const;

    // That of a test; for one that is not known, that of a failed one.
    const VerdictRow& OfTest(std::string_view name) const;

private:
    std::vector<VerdictRow> verdicts_;
    std::vector<StatusRow> statuses_;
};

}  // namespace zelhealth
