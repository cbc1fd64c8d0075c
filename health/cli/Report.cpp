// zelhealth report: stored streams, for people and for machines.
#include "cli/Report.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>

#include "cli/Host.h"
#include "host/Printable.h"
#include "readers/Colours.h"
#include "readers/LiveView.h"
#include "record/StreamReader.h"
#include "report/Csv.h"
#include "report/JUnit.h"
#include "report/Metrics.h"
#include "report/Page.h"
#include "report/Runs.h"
#include "report/Summary.h"
#include "report/Text.h"

namespace zelhealth {

namespace {

struct Options {
    std::vector<std::string> streams;
    std::optional<std::string> html;
    std::optional<std::string> junit;
    std::optional<std::string> metrics;
    std::optional<std::string> csv;
    bool text = false;

    std::vector<std::string> Files() const {
        std::vector<std::string> files;
        for (const auto& file : {html, junit, metrics, csv}) {
            if (file) {
                files.push_back(*file);
            }
        }
        if (text) {
            files.emplace_back("-");
        }
        return files;
    }
};

bool IsOneFile(const std::string& one, const std::string& other) {
    std::error_code error;
    return one == other ||
           (one != "-" && other != "-" && std::filesystem::equivalent(one, other, error));
}

// Why the files cannot be written all; empty when they can.
std::string Clash(const Options& options) {
    const std::vector<std::string> files = options.Files();
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::string name = files[i] == "-" ? "standard output" : files[i];
        for (std::size_t j = 0; j < i; ++j) {
            if (IsOneFile(files[i], files[j])) {
                return "two outputs cannot go to " + name + "; give each a file of its own";
            }
        }
        for (const std::string& stream : options.streams) {
            if (files[i] != "-" && IsOneFile(files[i], stream)) {
                return name + " is a stream to be read; give the output another file";
            }
        }
    }
    return "";
}

class Reporting {
public:
    explicit Reporting(const Options& options) : options_(options) {
        outputs_.push_back(&summary_);
        Add<Page>(options.html, summary_, problems_);
        Add<JUnit>(options.junit);
        Add<Metrics>(options.metrics);
        Add<Csv>(options.csv);
        if (options.text) {
            const std::size_t columns = isatty(STDOUT_FILENO) != 0 ? SizeOf(stdout).columns : 80;
            Own(std::make_unique<Text>(stdout, columns, WantsColours(stdout), summary_));
        }
    }

    int Do() {
        Runs runs(outputs_);
        for (const std::string& stream : options_.streams) {
            Read(stream, runs);
            if (Interrupted().Requested()) {
                Complain("interrupted; nothing is written");
                return kUnknown;
            }
        }
        runs.EndAll();
        for (const auto& output : owned_) {
            Try([&output] { output->Close(); });
        }
        return status_;
    }

private:
    template <typename Kind, typename... More>
    void Add(const std::optional<std::string>& file, const More&... more) {
        if (file) {
            Try([&] { Own(std::make_unique<Kind>(*file, more...)); });
        }
    }

    void Own(std::unique_ptr<Output> output) {
        owned_.push_back(std::move(output));
        outputs_.push_back(owned_.back().get());
    }

    // What cannot be written keeps nothing else from being written.
    template <typename Action>
    void Try(const Action& action) {
        try {
            action();
        } catch (const std::runtime_error& error) {
            Complain(error.what());
            status_ = kUnknown;
        }
    }

    void Tell(const StreamProblem& problem) {
        Complain(problem.Text());
        if (!problem.lost) {
            return;
        }
        status_ = kUnknown;
        ++problems_.count;
        if (problems_.texts.size() < kShownProblems) {
            problems_.texts.push_back(Printable(problem.Text()));
        }
    }

    void Read(const std::string& stream, Runs& runs) {
        StreamOptions options;
        options.stop = &Interrupted();
        StreamReader reader(
            stream, [this](const StreamProblem& problem) { Tell(problem); }, options);
        for (Json record; reader.Next(record);) {
            if (const std::string_view why = runs.Read(record); !why.empty()) {
                reader.TellOfRecord(std::string(why));
            }
        }
    }

    static constexpr std::size_t kShownProblems = 20;

    const Options& options_;
    Summary summary_;
    Problems problems_;
    std::vector<std::unique_ptr<Output>> owned_;
    std::vector<Output*> outputs_;
    int status_ = kGood;
};

int MakeReport(Options& options) {
    // Whoever reads what is written may go; a file that may not grow is told like a full disk.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    options.text = options.text || options.Files().empty();
    if (const std::string clash = Clash(options); !clash.empty()) {
        Complain(clash);
        return kUnknown;
    }
    return Reporting(options).Do();
}

}  // namespace

void DeclareReport(CLI::App& app, int& status) {
    CLI::App* const command =
        app.add_subcommand("report", "Tell what stored streams of runs come to");
    const auto options = std::make_shared<Options>();
    command
        ->add_option("STREAM", options->streams, "Files that --output wrote; - is standard input")
        ->required()
        ->type_name("");
    command->add_option("--html", options->html, "A page for browsers")->type_name("FILE");
    command->add_option("--junit", options->junit, "JUnit XML, for continuous integration")
        ->type_name("FILE");
    command
        ->add_option("--metrics", options->metrics,
                     "OpenMetrics text, for the node exporter's folder")
        ->type_name("FILE");
    command->add_option("--csv", options->csv, "A table of all test results")->type_name("FILE");
    command->add_flag("--text", options->text, "Text on standard output, too");
    command->callback([options, &status] { status = MakeReport(*options); });
}

}  // namespace zelhealth
