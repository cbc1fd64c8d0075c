#include "run/Verdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "catalogue/Messages.h"
#include "run/ToolTexts.h"

namespace zelhealth {

namespace {

Judgement Make(Verdict verdict, std::string reason, std::string mend = {}) {
    Judgement judgement;
    judgement.verdict = verdict;
    judgement.reason = std::move(reason);
    judgement.mend = std::move(mend);
    return judgement;
}

// The first line that begins so; empty without one.
std::string_view LineThatBegins(std::string_view text, std::string_view beginning) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (line.starts_with(beginning)) {
            return line;
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return {};
}

// The first line that holds it.
std::string_view LineWith(std::string_view text, std::string_view part) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (line.find(part) != std::string_view::npos) {
            return line;
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return {};
}

std::string FirstLine(std::string_view text) {
    return std::string(text.substr(0, text.find('\n')));
}

std::string Count(double seconds) {
    return seconds < 1 ? fmt::format("{:.1f} s", seconds) : fmt::format("{:.0f} s", seconds);
}

// The tool never came to the card.
Judgement JudgeStart(const ChildResult& result, const AskedTest& asked, const ToolReport& report) {
    if (const std::string_view line = LineWith(result.err, tool::kLibraryMissing);
        result.code == tool::kNotStarted && !line.empty()) {
        return Make(Verdict::setup, std::string(line));
    }
    if (result.code == tool::kNotRoot) {
        return Make(Verdict::setup, "the tool needs root rights");
    }
    if (!LineThatBegins(result.out, tool::kSettingsError).empty()) {
        return Make(Verdict::setup,
                    result.err.empty() ? "the settings cannot be read" : FirstLine(result.err));
    }
    if (!LineThatBegins(result.out, tool::kArgumentsError).empty()) {
        const std::string_view line = LineThatBegins(result.err, tool::kInvalidArgument);
        return Make(Verdict::setup,
                    fmt::format("the tool refuses the plan's options: {}",
                                line.empty() ? FirstLine(result.err) : std::string(line)));
    }
    if (!LineThatBegins(result.out, tool::kNoDriver).empty()) {
        return Make(Verdict::setup, "the cards' driver is not loaded", "service hosk start");
    }
    if (!LineThatBegins(result.out, tool::kTooManyCards).empty()) {
        return Make(Verdict::setup, "the tool takes 255 cards at most");
    }
    if (!LineThatBegins(result.out, tool::kNoAccess).empty()) {
        return Make(Verdict::failed, "the card-access library gives no access to any card");
    }
    if (const std::string_view line = LineThatBegins(result.out, tool::kError); !line.empty()) {
        return Make(Verdict::failed,
                    fmt::format("the card cannot be opened: {}", line.substr(tool::kError.size())));
    }
    if (result.code == EXIT_SUCCESS && LineThatBegins(result.out, tool::kRunning).empty() &&
        !LineThatBegins(result.out, tool::kNoErrors).empty()) {
        return Make(Verdict::failed, fmt::format("the tool finds no card zel{}", asked.card));
    }
    return Make(Verdict::crashed,
                fmt::format("the tool ended with {} before it came to the card: {}", result.code,
                            report.problem));
}

// Whether a failure says nothing but these.
template <std::size_t kCount>
bool SaysOnly(const std::vector<std::string>& messages, const std::string_view (&reasons)[kCount]) {
    return !messages.empty() &&
           std::all_of(messages.begin(), messages.end(), [&reasons](const std::string& message) {
               return std::find(std::begin(reasons), std::end(reasons), message) !=
                      std::end(reasons);
           });
}

Judgement JudgeFailure(const ChildResult& result, const AskedTest& asked,
                       const ToolReport& report) {
    // What logs nothing but the settings, or a plan's options, was not tested.
    if (SaysOnly(report.messages, tool::kSettingsReasons)) {
        return Make(Verdict::setup, report.messages.front());
    }
    if (asked.hasOptions && SaysOnly(report.messages, tool::kOptionsReasons)) {
        const std::string_view line = LineThatBegins(result.err, tool::kInvalidOptions);
        return Make(Verdict::setup,
                    fmt::format("the plan's options do not fit the card: {}",
                                line.empty() ? report.messages.front() : std::string(line)));
    }
    std::string reason = report.messages.empty() ? "the tool says FAILED"
                                                 : Messages::BuiltIn().Telling(report.messages);
    if (!report.complete) {
        reason += "; its output has not its form: " + report.problem;
    }
    return Make(Verdict::failed, std::move(reason));
}

Judgement JudgeComplete(const ChildResult& result, const ToolReport& report) {
    const bool passed = report.test == Statement::passed && report.group == Statement::passed &&
                        report.card == Statement::passed && report.summary == Statement::passed;
    if (!passed) {
        return Make(Verdict::crashed, "the tool's statements are not complete");
    }
    // What cannot be closed is counted as a failed card when there are others.
    const bool statusFits = result.code == EXIT_SUCCESS ||
                            (result.code == EXIT_FAILURE && !report.cardProblems.empty());
    if (!statusFits) {
        return Make(Verdict::crashed,
                    fmt::format("the tool says that all passed, and ends with {}", result.code));
    }
    if (report.notSupported) {
        return Make(Verdict::skipped, "the tool does not do this test on such a card");
    }
    return Make(Verdict::passed, "");
}

Judgement JudgeExit(const ChildResult& result, const AskedTest& asked) {
    if (result.outCut) {
        return Make(Verdict::crashed, "the tool printed too much to be understood");
    }
    const ToolReport report = ReadToolOutput(result.out, asked);
    Judgement judgement;
    if (!report.sawHeader) {
        judgement = JudgeStart(result, asked, report);
    } else if (!asked.pcie.empty() && report.pcie != asked.pcie) {
        // Its number now belongs to another card: the drivers of the host were started anew, say.
        judgement = Make(Verdict::crashed,
                         fmt::format("the tool tested the card on PCIe address {}, not that on {}",
                                     report.pcie, asked.pcie));
    } else if (report.AnyFailed() && report.sawTest) {
        judgement = JudgeFailure(result, asked, report);
    } else if (!report.complete) {
        judgement = Make(Verdict::crashed, "the tool's output has not its form: " + report.problem);
    } else if (report.skipped) {
        judgement = Make(Verdict::skipped, *report.skipped);
    } else {
        judgement = JudgeComplete(result, report);
    }
    judgement.messages = report.messages;
    judgement.cardProblems = report.cardProblems;
    return judgement;
}

}  // namespace

std::string_view NameOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::passed:
            return "passed";
        case Verdict::failed:
            return "failed";
        case Verdict::unsupported:
            return "unsupported";
        case Verdict::skipped:
            return "skipped";
        case Verdict::timedOut:
            return "timed_out";
        case Verdict::crashed:
            return "crashed";
        case Verdict::notRun:
            return "not_run";
        case Verdict::setup:
            break;
    }
    return "setup";
}

namespace {

// What administrators and schedulers send to what they want to end, and an end of what keeps the tool: that
// says nothing of a card.
bool IsFromOutside(const ChildResult& result) {
    return !result.error.empty() || result.code == SIGTERM || result.code == SIGINT ||
           result.code == SIGHUP;
}

}  // namespace

Judgement Judge(const ChildResult& result, const AskedTest& asked) {
    switch (result.end) {
        case ChildEnd::exited:
            return JudgeExit(result, asked);
        case ChildEnd::signalled:
            return Make(IsFromOutside(result) ? Verdict::setup : Verdict::crashed,
                        result.error.empty() ? fmt::format("the tool was ended by signal {} ({})",
                                                           result.code, strsignal(result.code))
                                             : result.error);
        case ChildEnd::timedOut:
            return Make(Verdict::timedOut,
                        "ended after " + Count(result.seconds.count()) + ", its time being over");
        case ChildEnd::givenUp:
            return Make(Verdict::timedOut, fmt::format("given up after {}: pid {} cannot be killed",
                                                       Count(result.seconds.count()), result.pid));
        case ChildEnd::stopped:
            return Make(Verdict::notRun, "interrupted");
        case ChildEnd::notStarted:
            break;
    }
    return Make(Verdict::setup, "the tool does not start: " + result.error);
}

}  // namespace zelhealth
