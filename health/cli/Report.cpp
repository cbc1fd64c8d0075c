// zelhealth report: stored streams, for people and for machines.
#include "cli/Report.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <memory>

#include "cli/Host.h"
#include "cli/Outputs.h"
#include "cli/ReportOptions.h"
#include "readers/Colours.h"
#include "readers/LiveView.h"
#include "record/StreamReader.h"
#include "report/Reports.h"
#include "report/Text.h"

namespace zelhealth {

namespace {

struct Options {
    std::vector<std::string> streams;
    ReportFiles files;
    bool text = false;
};

class Reporting {
public:
    explicit Reporting(const Options& options)
        : options_(options), reports_(options.files, Complain) {
        if (options.text) {
            const std::size_t columns = isatty(STDOUT_FILENO) != 0 ? SizeOf(stdout).columns : 80;
            reports_.Add(
                std::make_unique<Text>(stdout, columns, WantsColours(stdout), reports_.Sum()));
        }
    }

    int Do() {
        for (const std::string& stream : options_.streams) {
            Read(stream);
            if (Interrupted().Requested()) {
                Complain("interrupted; nothing is written");
                return kUnknown;
            }
        }
        return reports_.Close() ? status_ : kUnknown;
    }

private:
    void Tell(const StreamProblem& problem) {
        Complain(problem.Text());
        if (problem.lost) {
            status_ = kUnknown;
            reports_.AddProblem(problem.Text());
        }
    }

    void Read(const std::string& stream) {
        StreamOptions options;
        options.stop = &Interrupted();
        StreamReader reader(
            stream, [this](const StreamProblem& problem) { Tell(problem); }, options);
        for (Json record; reader.Next(record);) {
            if (const std::string_view why = reports_.Read(record); !why.empty()) {
                reader.TellOfRecord(std::string(why));
            }
        }
    }

    const Options& options_;
    Reports reports_;
    int status_ = kGood;
};

int MakeReport(Options& options) {
    // Whoever reads what is written may go; a file that may not grow is told like a full disk.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::vector<std::string> names = options.files.Names();
    options.text = options.text || names.empty();
    if (options.text) {
        names.emplace_back("-");
    }
    if (const std::string clash = OutputClash(names, options.streams); !clash.empty()) {
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
    AddReportFiles(*command, options->files);
    command->add_flag("--text", options->text, "Text on standard output, too");
    command->callback([options, &status] { status = MakeReport(*options); });
}

}  // namespace zelhealth
