// zelhealth run and zelhealth check: the tests of a plan, for people and for monitors.
#include "cli/Run.h"

#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>

#include "cli/CardName.h"
#include "cli/Host.h"
#include "host/Print.h"
#include "readers/Lines.h"
#include "readers/LiveView.h"
#include "readers/Outcome.h"
#include "readers/PluginLine.h"
#include "readers/Report.h"
#include "record/Stored.h"
#include "record/Stream.h"
#include "schedule/Run.h"

namespace zelhealth {

namespace {

using std::chrono::milliseconds;

// A run of years; each is planned before the first begins.
constexpr std::int64_t kMostTests = 100000;

constexpr double kLongest = 30.0 * 24 * 3600;

struct Options {
    std::string plan = "standard";
    std::vector<std::string> cards;
    int jobs = 0;
    std::optional<std::string> output;
    double deadline = 0;
    int repeat = 1;
    double wait = 0;
    std::optional<int> expectedCards;
    double maxAge = 0;
    bool quiet = false;
    std::string tool;
    std::vector<std::string> words;  // of the command line
};

// Whatever is wrong with the question itself: nothing has been started.
class Unanswerable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A number of seconds. CLI::Range takes what is no number for one that is within.
CLI::Validator Seconds(double least) {
    return {[least](const std::string& text) {
                double seconds = 0;
                const bool fits = CLI::detail::lexical_cast(text, seconds) && seconds >= least &&
                                  seconds <= kLongest;
                return fits ? std::string()
                            : fmt::format("{} is no number of seconds from {} to {:.0f}", text,
                                          least, kLongest);
            },
            ""};
}

// A number as people write it: CLI::Range would take 010 for eight.
CLI::Validator Count(int least, int most) {
    return {[least, most](const std::string& text) {
                int count = 0;
                const bool plain = (text == "0" || !text.starts_with('0')) &&
                                   text.find_first_not_of("0123456789") == std::string::npos;
                const bool fits = plain && CLI::detail::lexical_cast(text, count) &&
                                  count >= least && count <= most;
                return fits ? std::string()
                            : fmt::format("{} is no number from {} to {}", text, least, most);
            },
            ""};
}

milliseconds Milliseconds(double seconds) {
    return std::chrono::ceil<milliseconds>(std::chrono::duration<double>(seconds));
}

void AddShared(CLI::App& command, Options& options) {
    command
        .add_option("--cards", options.cards,
                    "These cards only: zel0, or a PCIe address; several with commas")
        ->type_name("CARD");
    command.add_option("--jobs", options.jobs, "Cards at once; without it all")
        ->check(Count(1, 256))
        ->type_name("N");
    command
        .add_option("--expect-cards", options.expectedCards,
                    "So many cards must be here, with or without an inventory")
        ->check(Count(0, 256))
        ->type_name("N");
    command
        .add_option("--output", options.output,
                    "Write the stream of records there; - is standard output")
        ->type_name("FILE");
    command.add_option("--deadline", options.deadline, "End the run after that many seconds")
        ->check(Seconds(0.1))
        ->type_name("SECONDS");
    command
        .add_option(
            "--wait", options.wait,
            "Wait that long for what others hold: a card, a port, a tool that somebody started")
        ->check(Seconds(0))
        ->type_name("SECONDS");
    command
        .add_option("--tool", options.tool, "The tool; without it the ZelDiag beside this program")
        ->type_name("PATH");
}

// "zel0,zel1" as two; what is empty stays, and is no card.
std::vector<std::string> Split(const std::vector<std::string>& words) {
    std::vector<std::string> parts;
    for (std::string_view rest : words) {
        for (auto comma = rest.find(','); comma != rest.npos; comma = rest.find(',')) {
            parts.emplace_back(rest.substr(0, comma));
            rest.remove_prefix(comma + 1);
        }
        parts.emplace_back(rest);
    }
    return parts;
}

// Cards by any of their names. One that this host does not have is asked for all the same, and missing.
std::vector<std::string> CardNames(const std::vector<std::string>& words) {
    std::vector<std::string> names;
    for (const std::string& word : Split(words)) {
        const auto name = CardName(word);
        if (!name) {
            throw Unanswerable("--cards: \"" + word +
                               "\" is no card; one is called zel0, or 0000:02:00.0");
        }
        names.push_back(*name);
    }
    return names;
}

std::int64_t TestsOfACard(const RunSettings& settings) {
    std::int64_t tests = 0;
    for (const PlannedTest& test : settings.plan.tests) {
        tests += test.repeat;
    }
    return tests * settings.repeat;
}

RunSettings Settings(const Options& options) {
    RunSettings settings;
    try {
        settings.plan = LoadPlan(options.plan);
        settings.folders = Folders::FromEnvironment();
        settings.configuration =
            Configuration::Load(settings.folders.configuration / "zelhealth.toml");
        settings.inventory = Inventory::Load(settings.folders.configuration);
        settings.waivers = Waivers::Load(settings.folders.configuration / "waivers.toml");
    } catch (const std::runtime_error& error) {
        throw Unanswerable(error.what());
    }
    // A name without a folder would be looked for in PATH when it is started.
    settings.tool = options.tool.empty() ? ProgramFolder() + "/ZelDiag"
                                         : std::filesystem::absolute(options.tool).string();
    if (access(settings.tool.c_str(), X_OK) != 0) {
        throw Unanswerable(settings.tool + ": there is no such program; --tool names the tool");
    }
    settings.cards = CardNames(options.cards);
    settings.jobs = options.jobs;
    settings.repeat = options.repeat;
    if (TestsOfACard(settings) > kMostTests) {
        throw Unanswerable(fmt::format("--repeat: that is more than {} tests a card", kMostTests));
    }
    if (options.expectedCards) {
        settings.expectedCards = static_cast<std::size_t>(*options.expectedCards);
    }
    settings.patience = Milliseconds(options.wait);
    if (options.deadline > 0) {
        settings.deadline = Milliseconds(options.deadline);
    }
    settings.command = options.words;
    return settings;
}

std::unique_ptr<Stream> OpenStream(const Options& options) {
    if (!options.output) {
        return nullptr;
    }
    try {
        return std::make_unique<Stream>(*options.output);
    } catch (const std::runtime_error& error) {
        throw Unanswerable(error.what());
    }
}

bool WantsColours(std::FILE* out) {
    const char* const no = std::getenv("NO_COLOR");
    return isatty(fileno(out)) != 0 && (no == nullptr || *no == '\0');
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

// Where people read: where the stream goes to standard output, nothing else may.
std::FILE* OutputBeside(const Options& options) {
    return options.output == "-" ? stderr : stdout;
}

// Runs with the readers that the stream is to have too, and gives the status.
int RunWith(const Options& options, const std::vector<RecordReader*>& readers,
            const std::function<void()>& finished) {
    const RunSettings settings = Settings(options);
    const std::unique_ptr<Stream> stream = OpenStream(options);
    Outcome outcome;
    std::vector<RecordReader*> all = {&outcome};
    if (stream) {
        all.push_back(stream.get());
    }
    all.insert(all.end(), readers.begin(), readers.end());
    const auto failed = [&stream] { return stream && stream->Error(); };
    const Status status = RunPlan(settings, outcome, all, Interrupted(), failed);
    finished();
    return stream ? Closed(*stream, static_cast<int>(status)) : static_cast<int>(status);
}

int Run(const Options& options) {
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
    const int status = RunWith(options, readers, [&] {
        if (view) {
            view->Close();
        }
        const std::size_t columns = isatty(fileno(out)) != 0 ? SizeOf(out).columns : 80;
        const std::string text = report.Text(columns, colours);
        const std::string space = view || options.quiet ? "" : "\n";
        Print(out, space + text);
    });
    const bool written = out == stdout || std::ferror(out) == 0;
    return written ? status : Worse(static_cast<ExitStatus>(status), kUnknown);
}

// One line, and the status that belongs to it.
int Tell(const PluginLine& line, int status, std::FILE* out) {
    Print(out, line.Text() + "\n");
    const bool written = out == stdout || std::ferror(out) == 0;
    return written ? status : Worse(static_cast<ExitStatus>(status), kUnknown);
}

// The answer of a stored run of the same question; null when there is none that is young enough.
std::optional<int> StoredAnswer(const Options& options, const std::filesystem::path& file) {
    if (options.maxAge <= 0) {
        return std::nullopt;
    }
    const std::vector<Json> records = ReadStoredRun(file, Milliseconds(options.maxAge));
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
    if (const auto stream = OpenStream(options)) {
        for (const Json& record : records) {
            stream->Read(record);
        }
        status = Closed(*stream, status);
    }
    return Tell(line, status, OutputBeside(options));
}

int Check(const Options& options) {
    const std::filesystem::path file = Folders::FromEnvironment().state / "last-check.jsonl";
    if (const auto answer = StoredAnswer(options, file)) {
        return *answer;
    }
    PluginLine line;
    StoredRun stored(file);
    std::vector<RecordReader*> readers = {&line};
    // The answer for some cards is none for all, and that of another tool is none for this.
    if (options.cards.empty() && options.tool.empty()) {
        readers.push_back(&stored);
    }
    int status = RunWith(options, readers, [] {});
    if (const std::string error = stored.Store(); !error.empty()) {
        line.Add(Status::unknown, error);
        status = Worse(static_cast<ExitStatus>(status), kUnknown);
    }
    return Tell(line, status, OutputBeside(options));
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
    const auto options = std::make_shared<Options>();
    command->add_option("--plan", options->plan, "prolog, check, standard, thorough, or a file")
        ->type_name("PLAN")
        ->capture_default_str();
    AddShared(*command, *options);
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
    const auto options = std::make_shared<Options>();
    options->plan = "check";
    AddShared(*command, *options);
    // The answer for all cards is none for some of them.
    command
        ->add_option("--max-age", options->maxAge,
                     "Answer from the last check when it is not older")
        ->check(Seconds(0))
        ->excludes("--cards")
        ->excludes("--tool")
        ->type_name("SECONDS");
    options->words = words;
    command->callback([options, &status] { status = Answer([&] { return Check(*options); }); });
}

}  // namespace zelhealth
