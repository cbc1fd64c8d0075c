// What is known about the tool's tests beside what the tool says: a row a test, in the tool's order.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

// What a test wants of the card's usage mode.
enum class NeededMode { normal, ready, any };

struct TestRow {
    std::string group;         // "pcie"
    std::string groupWord;     // "-pcie", as the tool's command line has it
    std::string groupTitle;    // "PCIE Diagnostics"
    std::string groupSummary;  // "PcieDiag", as the tool's summary has it
    int number = 0;            // its place in the group; the first is 1
    std::string name;          // "vlw"
    std::string also;          // "verifyLinkWidth", its other name
    std::string title;
    std::string summary;  // "LinkWidth"
    std::string reads;
    bool disturbs = false;
    bool waits = false;  // most of its time: others that disturb nobody may run beside it
    NeededMode mode = NeededMode::normal;
    std::vector<std::string> resources;
    std::vector<std::string> needs;
    std::vector<std::string> generations;
    std::vector<std::string> options;  // "-memSize": those that it takes, each with a value
    double expectedSeconds = 0;
    double deadlineSeconds = 0;
    double perGibSeconds = 0;
    std::string why;  // the deadline is what it is

    std::string Id() const { return group + "." + name; }
    bool Suits(std::string_view generation) const;

    // For a card with that much memory; 0 when that is not known, which counts as much.
    double Expected(std::uint64_t memoryBytes) const;
    std::chrono::milliseconds Deadline(std::uint64_t memoryBytes) const;
};

class Catalogue {
public:
    // The one that is built in.
    static const Catalogue& BuiltIn();

    // Throws std::runtime_error that says what is wrong with the text.
    explicit Catalogue(std::string_view toml);

    const std::vector<TestRow>& Tests() const { return tests_; }

    // By "pcie.vlw"; null when there is none.
    const TestRow* Find(std::string_view id) const;

private:
    std::vector<TestRow> tests_;
};

std::string_view NameOf(NeededMode mode);

}  // namespace zelhealth
