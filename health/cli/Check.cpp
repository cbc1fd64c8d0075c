// zelhealth check: the tests of a plan, for monitors.
#include "cli/Check.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "cli/Asking.h"
#include "cli/Host.h"
#include "cli/RunReaders.h"
#include "host/Folders.h"
#include "host/Print.h"
#include "readers/HeldEnd.h"
#include "readers/PluginLine.h"
#include "record/Stored.h"

namespace zelhealth {

namespace {

// One line, and the status that belongs to it.
int Tell(const PluginLine& line, int status, const RunOptions& options) {
    std::FILE* const out = OutputBeside(options);
    Print(out, (options.reasonOnly ? line.Reason() : line.Text()) + "\n");
    return Told(out, status);
}

// What makes the answer none, to people and in the line.
std::function<void(const std::string&)> TellIn(PluginLine& line) {
    return [&line](const std::string& error) {
        Complain(error);
        line.Add(Status::unknown, error);
    };
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
    HeldEnd told({&line});
    int status = kUnknown;
    try {
        for (const Json& record : records) {
            told.Read(record);
        }
        status = records.back().value("status", -1);
    } catch (const Json::exception&) {
        return std::nullopt;  // lines of JSON, but no records
    }
    if (status < kGood || status > kUnknown) {
        return std::nullopt;
    }
    ExpectNoClash(options);
    const auto tell = TellIn(line);
    OwnReports reports(options.told.reports, tell);
    for (const Json& record : records) {
        reports.Read(record);
    }
    status = reports.Close(status);
    if (const auto stream = OpenStream(options)) {
        for (const Json& record : records) {
            stream->Read(record);
        }
        status = Closed(*stream, status, tell);
    }
    told.Close(status);
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
    const auto tell = TellIn(line);
    int status = RunWith(
        options, configuration, readers, [] {}, [] {}, tell);
    // What came to no answer behind its last record is none for later questions.
    if (const std::string error = status == kUnknown ? "" : stored.Store(); !error.empty()) {
        tell(error);
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

}  // namespace

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
