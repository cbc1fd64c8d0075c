#include "report/Reports.h"

#include <filesystem>
#include <stdexcept>

#include "host/Printable.h"
#include "report/Csv.h"
#include "report/JUnit.h"
#include "report/Metrics.h"

namespace zelhealth {

namespace {

constexpr std::size_t kShownProblems = 20;

bool IsOneFile(const std::string& one, const std::string& other) {
    std::error_code error;
    return one == other ||
           (one != "-" && other != "-" && std::filesystem::equivalent(one, other, error));
}

}  // namespace

std::vector<std::string> ReportFiles::Names() const {
    std::vector<std::string> names;
    for (const auto& file : {html, junit, metrics, csv}) {
        if (file) {
            names.push_back(*file);
        }
    }
    return names;
}

std::string Clash(const std::vector<std::string>& outputs, const std::vector<std::string>& inputs) {
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const std::string name = outputs[i] == "-" ? "standard output" : outputs[i];
        for (std::size_t j = 0; j < i; ++j) {
            if (IsOneFile(outputs[i], outputs[j])) {
                return "two outputs cannot go to " + name + "; give each a file of its own";
            }
        }
        for (const std::string& input : inputs) {
            if (outputs[i] != "-" && IsOneFile(outputs[i], input)) {
                return name + " is a stream to be read; give the output another file";
            }
        }
    }
    return "";
}

template <typename Kind, typename... More>
void Reports::Make(const std::optional<std::string>& file, const More&... more) {
    if (!file) {
        return;
    }
    try {
        outputs_.push_back(std::make_unique<Kind>(*file, more...));
    } catch (const std::runtime_error& error) {
        tell_(error.what());
        written_ = false;
    }
}

Reports::Reports(const ReportFiles& files, std::function<void(const std::string&)> tell,
                 const std::function<Json()>& fleet)
    : tell_(std::move(tell)) {
    Make<Page>(files.html, summary_, problems_, fleet);
    Make<JUnit>(files.junit);
    Make<Metrics>(files.metrics);
    Make<Csv>(files.csv);
}

void Reports::Add(std::unique_ptr<Output> output) {
    outputs_.push_back(std::move(output));
}

std::string_view Reports::Read(const Json& record) {
    if (!runs_) {
        // The sum first: others read it when they are closed.
        std::vector<Output*> all = {&summary_};
        for (const auto& output : outputs_) {
            all.push_back(output.get());
        }
        runs_.emplace(std::move(all));
    }
    return runs_->Read(record);
}

void Reports::AddProblem(const std::string& text) {
    ++problems_.count;
    if (problems_.texts.size() < kShownProblems) {
        problems_.texts.push_back(Printable(text));
    }
}

bool Reports::Close() {
    if (runs_) {
        runs_->EndAll();
    }
    for (const auto& output : outputs_) {
        try {
            output->Close();
        } catch (const std::runtime_error& error) {
            tell_(error.what());
            written_ = false;
        }
    }
    return written_;
}

}  // namespace zelhealth
