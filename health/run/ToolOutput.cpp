#include "run/ToolOutput.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "run/ToolTexts.h"

namespace zelhealth {

namespace {

constexpr std::size_t kLongestProblem = 200;

std::vector<std::string_view> SplitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        lines.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + 1);
    }
    return lines;
}

// The text between two others on a line; null where the line has another form.
std::optional<std::string_view> Between(std::string_view line, std::string_view before,
                                        std::string_view after) {
    if (line.size() < before.size() + after.size() || !line.starts_with(before) ||
        !line.ends_with(after)) {
        return std::nullopt;
    }
    return line.substr(before.size(), line.size() - before.size() - after.size());
}

// Lines are taken one after the other; the first that is not what it should be is remembered, and
// nothing is taken behind it.
class Reader {
public:
    Reader(std::string_view text, const AskedTest& asked)
        : asked_(asked), lines_(SplitLines(text)), endsWithLine_(text.ends_with('\n')) {}

    ToolReport Read() {
        FindStatements();
        report_.complete = ReadPrelude() && ReadHeader() && ReadGroup() && ReadTest() &&
                           ReadResults() && ReadStatus() && ReadSummary() && ReadEnd();
        if (report_.complete && !skipped_) {
            Settle();
        }
        return std::move(report_);
    }

private:
    // --- the lines to come

    bool AtEnd() const { return next_ == lines_.size(); }
    std::string_view Peek() const { return AtEnd() ? std::string_view() : lines_[next_]; }

    bool Fail(const std::string& expected) {
        if (report_.problem.empty()) {
            report_.problem = AtEnd() ? "the output ends where \"" + expected + "\" should stand"
                                      : "\"" + std::string(Peek().substr(0, kLongestProblem)) +
                                            "\" stands where \"" + expected + "\" should";
        }
        return false;
    }

    bool Take(std::string_view expected) {
        if (AtEnd() || Peek() != expected) {
            return Fail(std::string(expected));
        }
        ++next_;
        return true;
    }

    bool TakeIf(std::string_view expected) {
        const bool is = !AtEnd() && Peek() == expected;
        next_ += is ? 1 : 0;
        return is;
    }

    // --- the form, from top to bottom

    // What the libraries print, up to the rule that stands in front of the card's header.
    bool ReadPrelude() {
        const auto header = std::find_if(lines_.begin(), lines_.end(), [](std::string_view line) {
            return line.starts_with(tool::kRunning);
        });
        next_ = static_cast<std::size_t>(header - lines_.begin());
        if (AtEnd()) {
            return Fail(std::string(tool::kRunning) + "...");
        }
        return true;
    }

    bool ReadHeader() {
        // "device 2 of 3 (zel1 on PCIe Addr 0000:03:00.0)"
        const std::string device = fmt::format("{} of ", asked_.card + 1);
        const auto count = Peek().find(" (zel");
        const auto line = Between(Peek(), std::string(tool::kRunning) + device, ")");
        if (!line || count == std::string_view::npos) {
            return Fail(std::string(tool::kRunning) + device + "...");
        }
        device_ = std::string(Peek().substr(tool::kRunning.size(), count - tool::kRunning.size()));
        const auto address = Between(
            Peek(), fmt::format("{}{} (zel{} on PCIe Addr ", tool::kRunning, device_, asked_.card),
            ")");
        if (!address) {
            return Fail(
                fmt::format("{}{} (zel{} on PCIe Addr ...)", tool::kRunning, device_, asked_.card));
        }
        report_.pcie = *address;
        ++next_;
        return ReadVersions();
    }

    // "HOSK Version=3.1.2; Flash version=2.1.02.0390; SMC Version=1.16.42"
    bool ReadVersions() {
        const std::string_view flashIs = "; Flash version=";
        const std::string_view smcIs = "; SMC Version=";
        const std::string_view line = Peek();
        const std::size_t smc = line.rfind(smcIs);
        const std::size_t flash = line.rfind(flashIs, smc);
        if (!line.starts_with(tool::kVersions) || flash == std::string_view::npos ||
            smc == std::string_view::npos || flash + flashIs.size() > smc) {
            return Fail(std::string(tool::kVersions) + "...");
        }
        report_.hosk = line.substr(tool::kVersions.size(), flash - tool::kVersions.size());
        report_.flash = line.substr(flash + flashIs.size(), smc - flash - flashIs.size());
        report_.smc = line.substr(smc + smcIs.size());
        report_.sawHeader = true;
        ++next_;
        return Take(std::string(tool::kCardRule, '-'));
    }

    bool ReadGroup() {
        if (!Take(asked_.groupTitle + std::string(tool::kBegins))) {
            return false;
        }
        report_.sawGroup = true;
        return Take("");
    }

    bool ReadTest() {
        const std::string title = fmt::format("{}{}: {}", tool::kTest, asked_.number, asked_.title);
        if (Peek() != title && SkipsGroup()) {
            return true;
        }
        if (!Take(title)) {
            return false;
        }
        report_.sawTest = true;
        // What stands in front of the first line that can be the verdict is free text.
        while (!AtEnd() && Peek() != Verdict(tool::kPassed) && !SaysFailed(Peek())) {
            if (Peek() == asked_.groupTitle + std::string(tool::kEnds)) {
                return Fail(Verdict("..."));
            }
            report_.notSupported = report_.notSupported || Peek() == tool::kNotSupported;
            ++next_;
        }
        if (AtEnd()) {
            return Fail(Verdict("..."));
        }
        test_ = Peek() == Verdict(tool::kPassed) ? Statement::passed : Statement::failed;
        ++next_;
        return Take("") && Take(asked_.groupTitle + std::string(tool::kEnds));
    }

    // A group that does not suit the card's mode says so and never ends.
    bool SkipsGroup() {
        const std::string_view line = Peek();
        if (!line.starts_with(" *** " + asked_.groupTitle + " :")) {
            return false;
        }
        ++next_;
        skipped_ = true;
        return Take("");
    }

    bool ReadResults() {
        if (skipped_) {
            return true;
        }
        const std::string group = std::string(tool::kGroup) + asked_.groupTitle + "]: ";
        if (TakeIf(group + std::string(tool::kPassed))) {
            group_ = Statement::passed;
            return true;
        }
        if (!Take(group + std::string(tool::kFailed))) {
            return false;
        }
        group_ = Statement::failed;
        if (!Take(tool::kFollowing)) {
            return false;
        }
        TakeIf(fmt::format("   Test {} : {} ", asked_.number, asked_.title));
        return true;
    }

    bool ReadStatus() {
        if (!Take(std::string(tool::kCardRule, '-')) ||
            !Take(std::string(tool::kCompleted) + device_)) {
            return false;
        }
        if (TakeIf(tool::kStatusOk)) {
            card_ = Statement::passed;
        } else if (Take(tool::kStatusFailed)) {
            card_ = Statement::failed;
        } else {
            return false;
        }
        const std::string notClosed = std::string(tool::kCardNotClosed) + device_;
        if (TakeIf(notClosed)) {
            report_.cardProblems.emplace_back("the card could not be closed");
        }
        return Take(std::string(tool::kCardRule, '='));
    }

    // "zel1 (0000:03:00.0; Flash=2.1.02.0390; SMC=1.16.42): FAILED (1)", and a line for each failure.
    bool ReadSummary() {
        const std::string rule(tool::kSummaryRule, '=');
        if (!Take("") || !Take(std::string(tool::kSummary) + report_.hosk) || !Take(rule)) {
            return false;
        }
        const std::string card = fmt::format("zel{} ({}; Flash={}; SMC={}): ", asked_.card,
                                             report_.pcie, report_.flash, report_.smc);
        if (TakeIf(card + std::string(tool::kPassed))) {
            summary_ = Statement::passed;
        } else if (!TakeFailures(card)) {
            return false;
        }
        return Take(rule) && (summary_ == Statement::passed
                                  ? Take(tool::kNoErrors)
                                  : Take(fmt::format("{}{}", tool::kErrors, asked_.card)));
    }

    bool TakeFailures(const std::string& card) {
        const std::string failed = card + std::string(tool::kFailed) + " (";
        const auto count = Between(Peek(), failed, ")");
        const bool isCount = count && !count->empty() && count->size() < 10 &&
                             count->find_first_not_of("0123456789") == std::string_view::npos;
        if (!isCount) {
            return Fail(card + "...");
        }
        const std::size_t failures = std::stoul(std::string(*count));
        ++next_;
        summary_ = Statement::failed;
        for (std::size_t i = 0; i < failures; ++i) {
            if (!TakeFailure()) {
                return false;
            }
        }
        return true;
    }

    // "  PcieDiag.LinkWidth: Link trained down"
    bool TakeFailure() {
        const std::string group = "  " + asked_.groupSummary + ".";
        const std::size_t reason = Peek().find(": ");
        if (!Peek().starts_with(group) || reason == std::string_view::npos) {
            return Fail(group + "...");
        }
        const std::string_view test = Peek().substr(group.size(), reason - group.size());
        const std::string message(Peek().substr(reason + 2));
        if (skipped_) {
            if (test != tool::kNoTest) {
                return Fail(group + std::string(tool::kNoTest) + ": ...");
            }
            report_.skipped = message;
        }
        report_.messages.push_back(message);
        ++next_;
        return true;
    }

    bool ReadEnd() {
        if (skipped_ && !report_.skipped) {
            return Fail("the reason why the group was skipped");
        }
        if (!AtEnd() && Peek().starts_with(tool::kLibraryNotClosed)) {
            report_.cardProblems.emplace_back("the library could not be closed");
            ++next_;
        }
        if (!AtEnd()) {
            return Fail("nothing more");
        }
        if (!endsWithLine_) {
            report_.problem = "the last line does not end";
            return false;
        }
        return true;
    }

    // --- statements, wherever they stand

    std::string Verdict(std::string_view verdict) const {
        return fmt::format("{}{}: {}", tool::kTest, asked_.number, verdict);
    }

    // Some reasons are printed without a line end, so that the verdict stands behind them.
    bool SaysFailed(std::string_view line) const { return line.ends_with(Verdict(tool::kFailed)); }

    // A failure counts also where the form is broken: late workers print into it.
    void FindStatements() {
        const std::string group = std::string(tool::kGroup) + asked_.groupTitle + "]: ";
        const std::string card = fmt::format("zel{} (", asked_.card);
        for (const std::string_view line : lines_) {
            verdicts_ += line == Verdict(tool::kPassed) || SaysFailed(line) ? 1 : 0;
            if (SaysFailed(line)) {
                report_.test = Statement::failed;
            } else if (line == group + std::string(tool::kFailed) ||
                       line == group + std::string(tool::kAborted)) {
                report_.group = Statement::failed;
            } else if (line == tool::kStatusFailed) {
                report_.card = Statement::failed;
            } else if (line.starts_with(card) &&
                       line.find("): FAILED (") != std::string_view::npos) {
                report_.summary = Statement::failed;
            }
        }
    }

    // All is complete: what was taken counts, unless the test has said two things, or a failure stands where
    // only free text should.
    void Settle() {
        if (verdicts_ != 1) {
            report_.complete = false;
            report_.problem =
                fmt::format("{} lines say how test {} ended", verdicts_, asked_.number);
            return;
        }
        for (const auto& [said, taken] : {std::pair(report_.test, test_),
                                          {report_.group, group_},
                                          {report_.card, card_},
                                          {report_.summary, summary_}}) {
            if (said == Statement::failed && taken != said) {
                report_.complete = false;
                report_.problem = "one of two lines says FAILED, and the other does not";
                return;
            }
        }
        report_.test = test_;
        report_.group = group_;
        report_.card = card_;
        report_.summary = summary_;
    }

    const AskedTest& asked_;
    std::vector<std::string_view> lines_;
    bool endsWithLine_;
    std::size_t next_ = 0;
    std::string device_;  // "2 of 3"
    bool skipped_ = false;
    int verdicts_ = 0;
    Statement test_ = Statement::missing;
    Statement group_ = Statement::missing;
    Statement card_ = Statement::missing;
    Statement summary_ = Statement::missing;
    ToolReport report_;
};

}  // namespace

bool ToolReport::AnyFailed() const {
    return test == Statement::failed || group == Statement::failed || card == Statement::failed ||
           summary == Statement::failed;
}

ToolReport ReadToolOutput(std::string_view text, const AskedTest& asked) {
    return Reader(text, asked).Read();
}

}  // namespace zelhealth
