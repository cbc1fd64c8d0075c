// zelhealth run and zelhealth check: the tests of a plan, for people and for monitors.
#include "cli/Run.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>

#include "cli/Host.h"
#include "cli/RunOptions.h"
#include "cli/RunReaders.h"
#include "history/HistoryFile.h"
#include "host/OwnFiles.h"
#include "host/Print.h"
#include "readers/Colours.h"
#include "readers/Lines.h"
#include "readers/LiveView.h"
#include "readers/Outcome.h"
#include "readers/PluginLine.h"
#include "readers/Report.h"
#include "record/Stored.h"
#include "record/Stream.h"

namespace zelhealth {

namespace {

std::unique_ptr<Stream> OpenStream(const RunOptions& options) {
    if (!options.told.output) {
        return nullptr;
    }
    try {
        return std::make_unique<Stream>(*options.told.output);
    } catch (const std::runtime_error& error) {
        throw Unanswerable(error.what());
    }
}

bool IsTerminal(std::FILE* out) {
    const char* const kind = std::getenv("TERM");
    return isatty(fileno(out)) != 0 && kind != nullptr && std::string_view(kind) != "dumb";
}

// The status of a run whose stream is to be whole.
int Closed(Stream& stream, int status) {
    stream.Close();
    if (!stream.Error()) {
        return status;
    }
    Complain(*stream.Error());
    return Worse(static_cast<ExitStatus>(status), kUnknown);
}

// Where people read: where a stream or a report goes to standard output, nothing else may.
std::FILE* OutputBeside(const RunOptions& options) {
    std::vector<std::string> names = options.told.reports.Names();
    names.push_back(options.told.output.value_or(""));
    return std::find(names.begin(), names.end(), "-") == names.end() ? stdout : stderr;
}

void ExpectNoClash(const RunOptions& options) {
    std::vector<std::string> names = options.told.reports.Names();
    if (options.told.output) {
        names.push_back(*options.told.output);
    }
    if (const std::string clash = Clash(names, {}); !clash.empty()) {
        throw Unanswerable(clash);
    }
    const Folders folders = Folders::FromEnvironment();
    for (const std::string& clash :
         {HistoryFile(folders.state / kHistoryFile).Clash(names), OwnFileClash(folders, names)}) {
        if (!clash.empty()) {
            throw Unanswerable(clash);
        }
    }
}

std::filesystem::path StoredCheck() {
    return Folders::FromEnvironment().state / "last-check.jsonl";
}

// Holds the last record back, which tells the status, until all that can change this has been done.
class HeldEnd : public RecordReader {
public:
    explicit HeldEnd(std::vector<RecordReader*> readers) : readers_(std::move(readers)) {}

    void Read(const Json& record) override {
        if (record["record"] == "run_finished") {
            end_ = record;
        } else {
            Pass(record);
        }
    }

    // With the status that the run has in the end.
    void Close(int status) {
        if (!end_.is_null()) {
            end_["status"] = status;
            end_["verdict"] = VerdictOf(static_cast<Status>(status));
            Pass(end_);
        }
    }

private:
    void Pass(const Json& record) {
        for (RecordReader* const reader : readers_) {
            reader->Read(record);
        }
    }

    std::vector<RecordReader*> readers_;
    Json end_;
};

// Runs with the readers that the stream is to have too, and gives the status. `over` is behind the run, in front of
// what may be told of its outputs; `finished` behind all.
int RunWith(const RunOptions& options, const Configuration& configuration,
            const std::vector<RecordReader*>& readers, const std::function<void()>& over,
            const std::function<void()>& finished,
            const std::function<void(const std::string&)>& tell) {
    const RunSettings settings = SettingsOf(options, configuration);
    ExpectNoClash(options);
    const std::unique_ptr<Stream> stream = OpenStream(options);
    OwnReports reports(options.told.reports);
    Configuration kept = configuration;
    kept.storesHistory = kept.storesHistory && !options.noHistory;
    Keepers keepers(kept, tell, settings.patience, Interrupted());
    Outcome outcome;
    std::vector<RecordReader*> all = {&outcome};
    if (stream) {
        all.push_back(stream.get());
    }
    keepers.AddTo(all);
    all.push_back(&reports);
    HeldEnd told(readers);
    all.push_back(&told);
    const auto failed = [&] { return (stream && stream->Error()) || keepers.Failed(); };
    int status = static_cast<int>(RunPlan(settings, outcome, all, Interrupted(), failed));
    over();
    // An older answer that says otherwise is none any more.
    if (status == kCritical && options.tool.empty()) {
        unlink(StoredCheck().c_str());
    }
    status = reports.Close(keepers.Close(status));
    status = stream ? Closed(*stream, status) : status;
    told.Close(status);
    finished();
    return status;
}

// The answer for some cards is none for all, and that of another tool or plan is none for this.
bool IsThatOfThisHost(const RunOptions& options) {
    return options.cards.empty() && options.tool.empty() && !options.expectedCards &&
           !options.ownPlan;
}

// The reports and the stream that every run writes tell of all cards of this host.
RunDefaults DefaultsFor(const RunOptions& options, RunDefaults defaults) {
    if (!IsThatOfThisHost(options)) {
        defaults.reports = {};
        defaults.output.reset();
    }
    return defaults;
}

int Run(const RunOptions& onlyTold) {
    const Configuration configuration = LoadConfiguration();
    const RunOptions options = WithDefaults(onlyTold, DefaultsFor(onlyTold, configuration.run));
    std::FILE* const out = OutputBeside(options);
    const bool colours = WantsColours(out);
    Report report;
    Lines lines(out);
    std::unique_ptr<LiveView> view;
    std::vector<RecordReader*> readers = {&report};
    if (!options.quiet && IsTerminal(out)) {
        view = std::make_unique<LiveView>(out, colours);
        readers.push_back(view.get());
    } else if (!options.quiet) {
        readers.push_back(&lines);
    }
    const int status = RunWith(
        options, configuration, readers,
        [&] {
            if (view) {
                view->Close();
            }
        },
        [&] {
            const std::string text = report.Text(SizeOf(out).columns, colours);
            const std::string space = view || options.quiet ? "" : "\n";
            Print(out, space + text);
        },
        Complain);
    const bool written = out == stdout || std::ferror(out) == 0;
    return written ? status : Worse(static_cast<ExitStatus>(status), kUnknown);
}

// One line, and the status that belongs to it.
int Tell(const PluginLine& line, int status, const RunOptions& options) {
    std::FILE* const out = OutputBeside(options);
    Print(out, (options.reasonOnly ? line.Reason() : line.Text()) + "\n");
    const bool written = out == stdout || std::ferror(out) == 0;
    return written ? status : Worse(static_cast<ExitStatus>(status), kUnknown);
}

// The answer of a stored run of the same question; null when there is none that is young enough.
std::optional<int> StoredAnswer(const RunOptions& options, const std::filesystem::path& file) {
    const double age = options.told.maxAge.value_or(0);
    if (age <= 0 || !IsThatOfThisHost(options)) {
        return std::nullopt;
    }
    const std::vector<Json> records =
        ReadStoredRun(file, Milliseconds(age), Folders::FromEnvironment().configuration);
    if (records.empty()) {
        return std::nullopt;
    }
    PluginLine line;
    int status = kUnknown;
    try {
        for (const Json& record : records) {
            line.Read(record);
        }
        status = records.back().value("status", -1);
    } catch (const Json::exception&) {
        return std::nullopt;  // lines of JSON, but no records
    }
    if (status < kGood || status > kUnknown) {
        return std::nullopt;
    }
    ExpectNoClash(options);
    OwnReports reports(options.told.reports);
    for (const Json& record : records) {
        reports.Read(record);
    }
    status = reports.Close(status);
    if (const auto stream = OpenStream(options)) {
        for (const Json& record : records) {
            stream->Read(record);
        }
        status = Closed(*stream, status);
    }
    return Tell(line, status, options);
}

int AskCards(const RunOptions& onlyTold) {
    const Configuration configuration = LoadConfiguration();
    const RunOptions options = WithDefaults(onlyTold, DefaultsFor(onlyTold, configuration.check));
    const std::filesystem::path file = StoredCheck();
    if (const auto answer = StoredAnswer(options, file)) {
        return *answer;
    }
    PluginLine line;
    StoredRun stored(file);
    std::vector<RecordReader*> readers = {&line};
    if (IsThatOfThisHost(options)) {
        readers.push_back(&stored);
    }
    const auto tell = [&line](const std::string& error) { line.Add(Status::unknown, error); };
    int status = RunWith(
        options, configuration, readers, [] {}, [] {}, tell);
    // What came to no answer behind its last record is none for later questions.
    if (const std::string error = status == kUnknown ? "" : stored.Store(); !error.empty()) {
        line.Add(Status::unknown, error);
        status = Worse(static_cast<ExitStatus>(status), kUnknown);
    }
    return Tell(line, status, options);
}

// A monitor gets its line whatever is wrong.
int Check(const RunOptions& options) {
    try {
        return AskCards(options);
    } catch (const Unanswerable& error) {
        Complain(error.what());
        PluginLine line;
        line.Add(Status::unknown, error.what());
        return Tell(line, kUnknown, options);
    }
}

int Answer(const std::function<int()>& command) {
    if (!HasRootRights()) {
        return kUnknown;
    }
    // Whoever reads what is written may go.
    std::signal(SIGPIPE, SIG_IGN);
    // A file that may not grow is told like a full disk; the cards are to be restored all the same.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return command();
    } catch (const Unanswerable& error) {
        Complain(error.what());
        return kUnknown;
    }
}

}  // namespace

void DeclareRun(CLI::App& app, const std::vector<std::string>& words, int& status) {
    CLI::App* const command = app.add_subcommand("run", "Test the cards of this host");
    const auto options = std::make_shared<RunOptions>();
    command
        ->add_option("--plan", options->told.plan,
                     "prolog, check, standard, thorough, or a file; without it standard")
        ->type_name("PLAN");
    AddSharedOptions(*command, *options);
    command->add_option("--repeat", options->repeat, "Do the whole plan that often")
        ->check(Count(1, 100000))
        ->type_name("N");
    command->add_flag("--quiet", options->quiet, "Print the closing report only");
    options->words = words;
    command->callback([options, &status] { status = Answer([&] { return Run(*options); }); });
}

void DeclareCheck(CLI::App& app, const std::vector<std::string>& words, int& status) {
    CLI::App* const command = app.add_subcommand(
        "check", "Look at the cards, and answer as a monitoring plugin: one line");
    const auto options = std::make_shared<RunOptions>();
    options->told.plan = "check";
    command->add_option("--plan", options->told.plan, "Another plan than check: prolog, or a file")
        ->type_name("PLAN");
    AddSharedOptions(*command, *options);
    command->add_flag("--reason", options->reasonOnly,
                      "Print what is wrong alone, in a line for schedulers");
    command
        ->add_option("--max-age", options->told.maxAge,
                     "Answer from the last check when it is not older")
        ->check(Seconds(0))
        ->excludes("--cards")
        ->excludes("--tool")
        ->excludes("--expect-cards")
        ->excludes("--plan")
        ->type_name("SECONDS");
    options->words = words;
    command->callback([command, options, &status] {
        options->ownPlan = command->count("--plan") > 0;
        status = Answer([&] { return Check(*options); });
    });
}

}  // namespace zelhealth
