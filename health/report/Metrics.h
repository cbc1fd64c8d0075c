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
#include "report/Spool.h"

namespace zelhealth {

class Metrics : public Output {
public:
    explicit Metrics(const std::string& file);

    std::unique_ptr<RunReader> Begin(const RunName& name) override;
    void Close() override;

    // The run of a host; an earlier one than is known is left out.
    void Add(const RunName& name, const RunEnd& end, const Cells& cells);

private:
    // Small, for there are ten thousands of them; what is said of their cards waits in a file.
    struct Host {
        std::string run;
        std::optional<double> time;  // of the last record, in seconds since 1970
        double seconds = 0;
        int status = 0;
        bool finished = false;
        Spool::Place cards;
    };

    std::optional<std::uint32_t> IndexOf(const std::string& test);
    void WriteRuns();
    void WriteCards();
    void WriteTests();

    // Calls with each host's labels and each of its cards.
    template <typename Function>
    void ForEachCard(const Function& function) const;

    void Family(std::string_view name, std::string_view help);
    template <typename... Labels>
    void Sample(std::string_view name, double value, const Labels&... labels);

    OutputFile file_;
    std::map<std::string, Host> hosts_;
    Spool spool_;
    std::vector<std::string> tests_;  // as labels
    std::map<std::string, std::uint32_t> indices_;
    std::string line_;
};

// A value between quotes.
std::string LabelValue(std::string_view text);

}  // namespace zelhealth
