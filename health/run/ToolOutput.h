// Reads what the tool printed about one test of one card, and believes nothing that is not said in the
// tool's own form and order: the card's header, the group, the test, the group's result, the card's
// status, the summary. Free text may stand between a test's title and its verdict, and in front of the
// header, where the libraries speak.
//
// A card's program, a library or a late worker can print what looks like the tool's own lines. So each
// statement counts only when it is there exactly once.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

// What was asked for, as the tool names it.
struct AskedTest {
    int card = 0;              // 0 is zel0
    std::string groupTitle;    // "PCIE Diagnostics"
    std::string groupSummary;  // "PcieDiag"
    int number = 0;            // 1 is the first test of its group
    std::string title;         // "Verify Link Width"
    std::string pcie;          // "0000:02:00.0"; empty where it is not known
    bool hasOptions = false;   // of its own, from a plan
};

enum class Statement { missing, passed, failed };

struct ToolReport {
    // How far the tool came.
    bool sawHeader = false;
    bool sawGroup = false;  // it began
    bool sawTest = false;   // its title
    bool complete =
        false;  // all is there that belongs there, in order, and nothing else: of a test
                // that ran, or of a group that was skipped

    // The four statements. `failed` as soon as one says so anywhere; `passed` only where all is complete.
    Statement test = Statement::missing;
    Statement group = Statement::missing;
    Statement card = Statement::missing;
    Statement summary = Statement::missing;

    bool AnyFailed() const;

    // The first line that does not belong where it stands, or what is missing; empty when complete.
    std::string problem;

    // The tool says that the test does nothing on this card. A trace level can hide that.
    bool notSupported = false;

    // The reason of a group that was skipped.
    std::optional<std::string> skipped;

    // What the summary says that went wrong, without group and test: "Link trained down".
    std::vector<std::string> messages;

    // What is wrong with the card, and not with the test: it, or its library, could not be closed.
    std::vector<std::string> cardProblems;

    // From the header; empty without one.
    std::string pcie;
    std::string hosk;
    std::string flash;
    std::string smc;
};

ToolReport ReadToolOutput(std::string_view text, const AskedTest& asked);

}  // namespace zelhealth
