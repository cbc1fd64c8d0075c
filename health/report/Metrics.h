// What monitors collect: OpenMetrics text for the folder of the node exporter, which wants of OpenMetrics only
// what older readers know, too. Of each host the last run counts.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/OutputFile.h"
#include "report/Cells.h"
#include "report/Output.h"
#include "report/RunEnd.h"

namespace zelhealth {

class Metrics : public Output {
public:
    explicit Metrics(const std::string& file);

    std::unique_ptr<RunReader> Begin(const RunName& name) override;
    void Close() override;

    // The run of a host; an earlier one than is known is left out.
    void Add(const RunName& name, const RunEnd& end, const Cells& cells);

private:
    // Small, for there are a million of them in a fleet.
    struct Test {
        std::uint32_t name;  // its index in tests_
        std::string_view verdict;
        float seconds;
    };

    struct Card {
        std::string labels;  // those of the host, too
        bool healthy;
        double memoryBytes;
        std::vector<Test> tests;
    };

    struct Host {
        std::string run;
        std::string labels;
        RunEnd end;
        std::vector<Card> cards;
    };

    std::optional<std::uint32_t> IndexOf(const std::string& test);
    void WriteRuns();
    void WriteCards();
    void WriteTests();
    void Family(std::string_view name, std::string_view help);
    void Sample(std::string_view name, std::string_view labels, double value);

    OutputFile file_;
    std::map<std::string, Host> hosts_;
    std::vector<std::string> tests_;  // as labels
    std::map<std::string, std::uint32_t> indices_;
};

// A value between quotes.
std::string LabelValue(std::string_view text);

}  // namespace zelhealth
