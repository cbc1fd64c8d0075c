// The answer of a monitoring plugin: one line, with performance data behind "|".
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "readers/Outcome.h"
#include "record/Record.h"

namespace zelhealth {

class PluginLine : public RecordReader {
public:
    void Read(const Json& record) override;

    // Something that no record tells: what was found cannot be kept.
    void Add(Status status, const std::string& text);

    // "ZEL CRITICAL - zel1: pcie.vlw Link trained down | cards=2 failed=1 ..."
    std::string Text() const;

    // What is wrong alone, worst first, in at most 200 bytes, and at its front what tells most in a narrow
    // column: "zel1 pcie.vlw: Link trained down to 8 Lanes".
    std::string Reason() const;

private:
    struct Trouble {
        std::string card;  // "zel1"; empty where it is the run's
        std::string test;  // "pcie.vlw"; empty where it is the card's
        std::string text;
        std::string fullText;            // with the numbers that the tool's trace has
        std::set<std::string> others{};  // tests of the card that say just the same

        std::string Tests() const;
    };

    static std::string ForMonitors(const Trouble& trouble);
    static std::string ForSchedulers(const Trouble& trouble);
    void Note(Status status, Trouble trouble);
    // What is wrong, worst first.
    std::vector<Trouble> Troubles() const;
    std::string Healthy() const;

    int found_ = 0;
    int expected_ = 0;
    std::map<std::string, int> cards_;  // by verdict
    std::map<std::string, int> tests_;
    std::vector<Trouble> critical_;
    std::vector<Trouble> others_;
    Json finished_;
    Status added_ = Status::ok;
};

}  // namespace zelhealth
