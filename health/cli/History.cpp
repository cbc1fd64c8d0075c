#include "cli/History.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <regex>
#include <thread>

#include "catalogue/Catalogue.h"
#include "cli/CardName.h"
#include "cli/Host.h"
#include "cli/Outputs.h"
#include "history/History.h"
#include "history/HistoryFile.h"
#include "history/Show.h"
#include "host/Folders.h"
#include "host/Likely.h"
#include "host/OutputFile.h"
#include "host/Print.h"
#include "host/UtcTime.h"
#include "readers/Colours.h"
#include "readers/LiveView.h"
#include "report/PageData.h"
#include "report/PageText.h"

namespace zelhealth {

namespace {

using std::chrono::system_clock;

struct Options {
    std::string since = "30d";
    std::optional<std::string> card;
    std::optional<std::string> test;
    std::optional<std::string> html;
    bool machine = false;
};

// What is wrong with the question, or with the file that is to answer it.
class NoAnswer : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// "2026-11-21"; not "2026-02-31", which no run can have begun on or behind.
bool IsDay(const std::string& text) {
    static const std::regex form("([0-9]{4})-([0-9]{2})-([0-9]{2})");
    std::smatch parts;
    if (!std::regex_match(text, parts, form)) {
        return false;
    }
    const auto number = [&parts](int part) { return std::stoi(parts[part]); };
    return std::chrono::year_month_day(std::chrono::year(number(1)),
                                       std::chrono::month(static_cast<unsigned>(number(2))),
                                       std::chrono::day(static_cast<unsigned>(number(3))))
        .ok();
}

// "30d" before now, or a day, as times stand in the history.
std::string SinceTime(const std::string& text, system_clock::time_point now) {
    static const std::regex span("([0-9]{1,5})(m|h|d|w)");
    std::smatch parts;
    if (IsDay(text)) {
        return text;
    }
    if (!std::regex_match(text, parts, span)) {
        throw NoAnswer("--since: \"" + text +
                       "\" is no time; it takes 90m, 12h, 30d, 8w, or a day such as 2026-11-21");
    }
    const std::chrono::minutes unit = parts[2] == "m"   ? std::chrono::minutes(1)
                                      : parts[2] == "h" ? std::chrono::hours(1)
                                      : parts[2] == "d" ? std::chrono::days(1)
                                                        : std::chrono::weeks(1);
    return UtcText(now - std::stoi(parts[1]) * unit);
}

// A test's or a group's name, of the catalogue: with a misspelt one nothing would be found, which looks good.
std::string TestName(const std::string& text) {
    std::vector<std::string> known;
    for (const TestRow& row : Catalogue::BuiltIn().Tests()) {
        known.push_back(row.Id());
        known.push_back(row.group);
    }
    if (std::find(known.begin(), known.end(), text) != known.end()) {
        return text;
    }
    const std::string likely = Likely(text, known);
    throw NoAnswer(
        "--test: \"" + text + "\" is no test" +
        (likely.empty() ? "; zelhealth list shows them" : "; did you mean " + likely + "?"));
}

// A uuid is as good a name as those of CardName.
std::string NameOfCard(const std::string& text) {
    return CardName(text).value_or(text);
}

HistoryQuery QueryOf(const Options& options) {
    HistoryQuery query;
    query.since = SinceTime(options.since, system_clock::now());
    if (options.card) {
        query.card = NameOfCard(*options.card);
    }
    if (options.test) {
        query.test = TestName(*options.test);
    }
    return query;
}

// Root may set a damaged file aside; others can only say so.
[[noreturn]] void RefuseDamaged(HistoryFile& file, const SQLite::Exception& error, bool mayWrite) {
    std::string text = ErrorText(file.Path(), error);
    const std::filesystem::path aside = mayWrite ? file.SetAside() : std::filesystem::path();
    if (!aside.empty()) {
        text += fmt::format("; it is set aside as {}, and the next run begins a new history",
                            aside.string());
    }
    throw NoAnswer(text);
}

// Whose folder or file is closed to the one who asks cannot be told what is in it.
void ExpectReadable(const std::filesystem::path& file) {
    if (access(file.c_str(), R_OK) == 0) {
        return;
    }
    const int why = errno;
    if (why == ENOENT) {
        throw NoAnswer(fmt::format(
            "{}: there is no history; zelhealth run and zelhealth check begin one", file.string()));
    }
    if (why == EACCES) {
        throw NoAnswer(fmt::format(
            "{0}: this user may not read it; ask as root, or let others: chmod o+rX {1} {0}",
            file.string(), file.parent_path().string()));
    }
    throw NoAnswer(file.string() + ": cannot be read: " + std::strerror(why));
}

History Ask(const HistoryQuery& query) {
    HistoryFile file(Folders::FromEnvironment().state / kHistoryFile);
    ExpectReadable(file.Path());
    const bool mayWrite = access(file.Path().c_str(), W_OK) == 0;
    // Who may only read can meet a run that begins or ends, which makes or removes the log.
    constexpr int kAttempts = 5;
    constexpr std::chrono::milliseconds kPause{100};
    for (int attempt = 1;; ++attempt) {
        try {
            return AskHistory(file.Open(mayWrite ? HistoryAccess::write : HistoryAccess::read),
                              query);
        } catch (const SQLite::Exception& error) {
            if (!mayWrite && attempt < kAttempts) {
                std::this_thread::sleep_for(kPause);
            } else if (IsDamage(error)) {
                RefuseDamaged(file, error, mayWrite);
            } else {
                throw NoAnswer(ErrorText(file.Path(), error));
            }
        }
    }
}

void ExpectSomething(const History& history, const Options& options) {
    if (history.runs == 0) {
        throw NoAnswer("no run is stored since " + options.since + "; --since takes a longer time");
    }
    if (options.test && history.tests.empty()) {
        throw NoAnswer("--test: no run since " + options.since + " has done \"" + *options.test +
                       "\"" + (options.card ? " on " + *options.card : ""));
    }
    if (options.card && history.cards.empty()) {
        throw NoAnswer("--card: the history has no card \"" + *options.card + "\" since " +
                       options.since + "; without --card it shows all");
    }
}

// A page in its place would be the end of the history.
void ExpectAnotherFile(const Options& options) {
    if (const std::string clash = OutputClash({options.html.value_or("-")}); !clash.empty()) {
        throw NoAnswer(clash);
    }
}

void WritePage(const std::string& name, const History& history) {
    Json data = HistoryJson(history);
    data["made"] = UtcText(system_clock::now());
    data["program"] = "zelhealth " ZELHEALTH_VERSION;
    OutputFile file(name);
    file.Write(PageText(Drawing::history, ForPage(data)));
    file.Commit();
}

int Show(const Options& options) {
    try {
        ExpectAnotherFile(options);
        const History history = Ask(QueryOf(options));
        ExpectSomething(history, options);
        if (options.html) {
            WritePage(*options.html, history);
        } else if (options.machine) {
            Print(stdout, Line(HistoryJson(history)) + "\n");
        } else {
            Print(stdout, HistoryText(history, SizeOf(stdout).columns, WantsColours(stdout),
                                      options.card || options.test));
        }
    } catch (const std::runtime_error& error) {
        Complain(error.what());
        return kUnknown;
    }
    return kGood;
}

}  // namespace

void DeclareHistory(CLI::App& app, int& status) {
    CLI::App* const command = app.add_subcommand(
        "history",
        "Tell how the cards of this host did from run to run: trends, and what comes and goes");
    const auto options = std::make_shared<Options>();
    command->add_option("--card", options->card, "This card only: zel0, a PCIe address, or a uuid")
        ->type_name("CARD");
    command->add_option("--test", options->test, "This test only, or this group: pcie.vlw, pcie")
        ->type_name("TEST");
    command
        ->add_option("--since", options->since,
                     "Runs of so long: 90m, 12h, 30d, 8w, or since a day: 2026-11-21")
        ->type_name("TIME")
        ->capture_default_str();
    CLI::Option* const html =
        command->add_option("--html", options->html, "Write a page for browsers instead")
            ->type_name("FILE");
    command->add_flag("--json", options->machine, "One JSON object instead")->excludes(html);
    command->callback([options, &status] {
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGXFSZ, SIG_IGN);
        status = Show(*options);
    });
}

}  // namespace zelhealth
