// The outputs that somebody asks for, together: each gets every run.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "report/Output.h"
#include "report/Page.h"
#include "report/ReportFiles.h"
#include "report/Runs.h"
#include "report/Summary.h"

namespace zelhealth {

// Why files cannot all be written while others are read: "two outputs cannot go to ..."; empty when they can.
std::string Clash(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs);

class Reports {
public:
    // What cannot be written is told, and keeps nothing else from being written. `fleet` is for the page.
    Reports(const ReportFiles& files, std::function<void(const std::string&)> tell,
            const std::function<Json()>& fleet = {});

    const Summary& Sum() const { return summary_; }
    void Add(std::unique_ptr<Output> output);

    // As Runs::Read.
    std::string_view Read(const Json& record);

    // Of what could not be read, for the page.
    void AddProblem(const std::string& text);

    // No more records come. False when anything could not be written, now or at the beginning.
    bool Close();

private:
    template <typename Kind, typename... More>
    void Make(const std::optional<std::string>& file, const More&... more);

    std::function<void(const std::string&)> tell_;
    bool written_ = true;
    Summary summary_;
    Problems problems_;
    std::vector<std::unique_ptr<Output>> outputs_;
    std::optional<Runs> runs_;  // from the first record on
};

}  // namespace zelhealth
