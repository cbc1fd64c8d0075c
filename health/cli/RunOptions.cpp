#include "cli/RunOptions.h"

#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <filesystem>

#include "cli/CardName.h"
#include "cli/ReportOptions.h"
#include "run/Child.h"

namespace zelhealth {

using std::chrono::milliseconds;

namespace {

// A run of years; each is planned before the first begins.
constexpr std::int64_t kMostTests = 100000;

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

void TakeDeadlines(const Configuration& configuration, Plan& plan) {
    for (PlannedTest& test : plan.tests) {
        const auto deadline = configuration.deadlines.find(test.row->Id());
        if (!test.deadline && deadline != configuration.deadlines.end()) {
            test.deadline = deadline->second;
        }
    }
}

}  // namespace

milliseconds Milliseconds(double seconds) {
    return std::chrono::ceil<milliseconds>(std::chrono::duration<double>(seconds));
}

// A number of seconds. CLI::Range takes what is no number for one that is within.
CLI::Validator Seconds(double least) {
    return {[least](const std::string& text) {
                double seconds = 0;
                const bool fits = CLI::detail::lexical_cast(text, seconds) && seconds >= least &&
                                  seconds <= kLongestSeconds;
                return fits ? std::string()
                            : fmt::format("{} is no number of seconds from {} to {:.0f}", text,
                                          least, kLongestSeconds);
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

void AddSharedOptions(CLI::App& command, RunOptions& options) {
    command
        .add_option("--cards", options.cards,
                    "These cards only: zel0, or a PCIe address; several with commas")
        ->type_name("CARD");
    command.add_option("--jobs", options.told.jobs, "Cards at once; without it all")
        ->check(Count(1, kMostCards))
        ->type_name("N");
    command
        .add_option("--expect-cards", options.expectedCards,
                    "So many cards must be here, with or without an inventory")
        ->check(Count(0, kMostCards))
        ->type_name("N");
    command.add_flag("--no-history", options.noHistory, "Store nothing in the history");
    command
        .add_option("--output", options.told.output,
                    "Write the stream of records there; - is standard output")
        ->type_name("FILE");
    AddReportFiles(command, options.told.reports);
    command.add_option("--deadline", options.told.deadline, "End the run after that many seconds")
        ->check(Seconds(kLeastDeadline))
        ->type_name("SECONDS");
    command
        .add_option(
            "--wait", options.told.wait,
            "Wait that long for what others hold: a card, a port, a tool that somebody started")
        ->check(Seconds(0))
        ->type_name("SECONDS");
    command
        .add_option("--tool", options.tool, "The tool; without it the ZelDiag beside this program")
        ->type_name("PATH");
}

Configuration LoadConfiguration() {
    try {
        return Configuration::Load(Folders::FromEnvironment().configuration / "zelhealth.toml");
    } catch (const std::runtime_error& error) {
        throw Unanswerable(error.what());
    }
}

RunSettings SettingsOf(const RunOptions& options, const Configuration& configuration) {
    RunSettings settings;
    try {
        settings.plan = LoadPlan(options.told.plan.value_or("standard"));
        settings.folders = Folders::FromEnvironment();
        settings.inventory = Inventory::Load(settings.folders.configuration);
        settings.waivers = Waivers::Load(settings.folders.configuration / "waivers.toml");
    } catch (const std::runtime_error& error) {
        throw Unanswerable(error.what());
    }
    settings.configuration = configuration;
    TakeDeadlines(configuration, settings.plan);
    // A name without a folder would be looked for in PATH when it is started.
    settings.tool = options.tool.empty() ? ProgramFolder() + "/ZelDiag"
                                         : std::filesystem::absolute(options.tool).string();
    if (access(settings.tool.c_str(), X_OK) != 0) {
        throw Unanswerable(settings.tool + ": there is no such program; --tool names the tool");
    }
    settings.cards = CardNames(options.cards);
    settings.jobs = options.told.jobs.value_or(0);
    settings.repeat = options.repeat;
    if (TestsOfACard(settings) > kMostTests) {
        throw Unanswerable(fmt::format("--repeat: that is more than {} tests a card", kMostTests));
    }
    if (const auto cards =
            options.expectedCards ? options.expectedCards : configuration.expectedCards) {
        settings.expectedCards = static_cast<std::size_t>(*cards);
    }
    settings.patience = Milliseconds(options.told.wait.value_or(0));
    if (options.told.deadline) {
        settings.deadline = Milliseconds(*options.told.deadline);
    }
    settings.command = options.words;
    return settings;
}

RunOptions WithDefaults(RunOptions options, const RunDefaults& defaults) {
    RunDefaults& told = options.told;
    const auto take = [](auto& value, const auto& preset) {
        if (!value) {
            value = preset;
        }
    };
    take(told.plan, defaults.plan);
    take(told.jobs, defaults.jobs);
    take(told.deadline, defaults.deadline);
    take(told.wait, defaults.wait);
    take(told.maxAge, defaults.maxAge);
    take(told.output, defaults.output);
    take(told.reports.html, defaults.reports.html);
    take(told.reports.junit, defaults.reports.junit);
    take(told.reports.metrics, defaults.reports.metrics);
    take(told.reports.csv, defaults.reports.csv);
    return options;
}

}  // namespace zelhealth
