#include "readers/Report.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "host/Printable.h"
#include "readers/Colours.h"
#include "readers/Wrap.h"

namespace zelhealth {

namespace {

constexpr std::size_t kIndent = 9;

std::string Field(const Json& record, const char* name) {
    return Printable(record.value(name, ""));
}

void AddOnce(std::vector<std::string>& list, const std::string& item) {
    if (std::find(list.begin(), list.end(), item) == list.end()) {
        list.push_back(item);
    }
}

std::string Joined(const std::vector<std::string>& items) {
    return fmt::format("{}", fmt::join(items, ", "));
}

// "3 passed, 1 failed"
std::string Counts(const std::map<std::string, int>& counts) {
    std::vector<std::string> parts;
    for (const char* const verdict : {"passed", "failed", "timed_out", "crashed", "setup",
                                      "skipped", "not_run", "unsupported"}) {
        if (const auto count = counts.find(verdict); count != counts.end()) {
            std::string name = verdict;
            std::replace(name.begin(), name.end(), '_', ' ');
            parts.push_back(fmt::format("{} {}", count->second, name));
        }
    }
    return Joined(parts);
}

}  // namespace

Report::Card& Report::CardOf(const Json& record) {
    const std::string name = Field(record, "card");
    auto place = std::find_if(cards_.begin(), cards_.end(),
                              [&name](const Card& known) { return !ComesFirst(known.name, name); });
    if (place == cards_.end() || place->name != name) {
        place = cards_.insert(place, {name, Field(record, "pcie"), "", {}, 0});
    }
    return *place;
}

void Report::Read(const Json& record) {
    const std::string kind = record.value("record", "");
    if (kind == "card_started") {
        CardOf(record);
    } else if (kind == "test_finished") {
        AddTest(record);
    } else if (kind == "card_finished") {
        Card& card = CardOf(record);
        card.verdict = record.value("verdict", "");
        // Streams of earlier versions do not tell; their tests did not overlap.
        card.seconds = record.value("seconds", card.seconds);
        AddReasons(record.value("reasons", Json::array()), Field(record, "card"));
    } else if (kind == "run_note") {
        AddReasons(record.value("reasons", Json::array()), "");
    } else if (kind == "run_finished") {
        finished_ = record;
    }
}

void Report::AddTest(const Json& record) {
    Card& card = CardOf(record);
    const std::string verdict = record.value("verdict", "");
    ++card.counts[verdict];
    card.seconds += record.value("seconds", 0.0);
    if (verdict == "passed" || verdict == "unsupported") {
        return;
    }
    Trouble trouble;
    trouble.status = StatusOfTest(record);
    trouble.verdict = Printable(verdict);
    trouble.seen = Field(record, "reason");
    trouble.note = Field(record, record.contains("waived") ? "waived" : "waiver_expired");
    trouble.mend = Field(record, "mend");
    trouble.messages = record.value("messages", std::vector<std::string>());
    trouble.cards = {card.name};
    trouble.tests = {Field(record, "group") + "." + Field(record, "test")};
    Add(std::move(trouble));
}

bool Report::Trouble::IsLike(const Trouble& other) const {
    return verdict == other.verdict && seen == other.seen && note == other.note &&
           messages == other.messages && tests.empty() == other.tests.empty();
}

// What several say alike is one.
void Report::Add(Trouble trouble) {
    const auto known = std::find_if(troubles_.begin(), troubles_.end(),
                                    [&](const Trouble& other) { return other.IsLike(trouble); });
    if (known == troubles_.end()) {
        troubles_.push_back(std::move(trouble));
        return;
    }
    for (const std::string& card : trouble.cards) {
        AddOnce(known->cards, card);
    }
    for (const std::string& test : trouble.tests) {
        AddOnce(known->tests, test);
    }
}

void Report::AddReasons(const Json& reasons, const std::string& card) {
    for (const Json& reason : reasons) {
        const Status status = StatusOfReasons(Json::array({reason}));
        const std::string text = Field(reason, "text");
        if (status != Status::ok) {
            Trouble trouble;
            trouble.status = status;
            trouble.verdict = zelhealth::VerdictOf(status);
            trouble.seen = text;
            trouble.cards = {card.empty() ? "this host" : card};
            Add(std::move(trouble));
        } else {
            AddOnce(notes_, card.empty() ? text : fmt::format("{}: {}", card, text));
        }
    }
}

// Of what is equally bad, that of whole cards comes first: it may be why tests say what they do.
std::vector<Report::Trouble> Report::WorstFirst() const {
    std::vector<Trouble> troubles = troubles_;
    std::stable_sort(troubles.begin(), troubles.end(), [](const Trouble& a, const Trouble& b) {
        const bool isWorse = a.status != b.status && Worse(a.status, b.status) == a.status;
        return isWorse || (a.status == b.status && a.tests.empty() && !b.tests.empty());
    });
    return troubles;
}

// What would have become of a card whose run was broken off, nobody knows.
std::string Report::VerdictOf(const Card& card) const {
    const bool good = card.verdict.empty() || card.verdict == "healthy";
    return good && finished_.is_null() ? "broken off" : Printable(card.verdict);
}

std::string Report::Table(std::size_t columns, bool colours) const {
    std::string table = fmt::format("{:<6} {:<13} {:<9} {:>8}  {}\n", "card", "PCIe address",
                                    "verdict", "seconds", "tests");
    for (const Card& card : cards_) {
        const std::string verdict = VerdictOf(card);
        const std::string line =
            fmt::format("{:<6} {:<13} {} {:>8.1f}  ", card.name, card.pcie,
                        Coloured(fmt::format("{:<9}", verdict), verdict, colours), card.seconds);
        constexpr std::size_t kBeforeCounts = 41;
        table += line + Wrap(Counts(card.counts), columns, kBeforeCounts) + "\n";
    }
    return table;
}

// Nothing general is said of a card of whose reason nothing is known.
Advice Report::AdviceOf(const Trouble& trouble) {
    return trouble.tests.empty() ? AdviceForText(trouble.seen)
                                 : AdviceFor(trouble.messages, trouble.seen, trouble.verdict);
}

std::string Report::TroubleText(const Trouble& trouble, std::size_t columns, bool colours) const {
    const Advice advice = AdviceOf(trouble);
    std::string name = trouble.verdict;
    std::replace(name.begin(), name.end(), '_', ' ');
    std::string text = "\n" + Wrap(Joined(trouble.cards) +
                                       (trouble.tests.empty() ? "" : "  " + Joined(trouble.tests)),
                                   columns, 0);
    const std::size_t used = text.size() - text.rfind('\n') - 1;
    text += used + 2 + name.size() <= columns ? "  " : "\n  ";
    text += Coloured(name, trouble.verdict, colours) + "\n";
    const auto add = [&text, columns](const char* label, const std::string& what) {
        if (!what.empty()) {
            text += fmt::format("  {:<6} {}\n", label, Wrap(what, columns, kIndent));
        }
    };
    add("seen", trouble.seen);
    add("waiver", trouble.note);
    add("means", advice.means);
    add("next", trouble.mend.empty() ? advice.next : trouble.mend);
    return text;
}

// How to get more than what is said of the first failure of which there is more. One with a remedy of its own
// needs none.
std::string Report::More(const std::vector<Trouble>& troubles) {
    for (const Trouble& trouble : troubles) {
        const std::string more = AdviceOf(trouble).more;
        if (trouble.mend.empty() && !more.empty()) {
            const bool isWord = more.find_first_of(" '<>") == more.npos;
            const char* const quote = isWord ? "" : "\"";
            return fmt::format("more: zelhealth explain {0}{1}{0}\n", quote, more);
        }
    }
    return "";
}

std::string Report::Close() const {
    std::map<std::string, int> verdicts;
    for (const Card& card : cards_) {
        ++verdicts[VerdictOf(card)];
    }
    std::vector<std::string> parts;
    for (const auto& [verdict, count] : verdicts) {
        parts.push_back(fmt::format("{} {}", count, verdict));
    }
    const std::string cards = parts.empty() ? "no cards" : Joined(parts);
    if (finished_.is_null()) {
        return fmt::format("\n{}; the run was broken off\n", cards);
    }
    return fmt::format("\n{}; {:.1f} seconds; exit status {}\n", cards,
                       finished_.value("seconds", 0.0), finished_.value("status", 3));
}

std::string Report::Text(std::size_t columns, bool colours) const {
    std::string text;
    if (!cards_.empty()) {
        text += Table(columns, colours);
    }
    const std::vector<Trouble> troubles = WorstFirst();
    for (const Trouble& trouble : troubles) {
        text += TroubleText(trouble, columns, colours);
    }
    text += notes_.empty() ? "" : "\n";
    for (const std::string& note : notes_) {
        text += Wrap(note, columns, 2) + "\n";
    }
    return text + Close() + More(troubles);
}

}  // namespace zelhealth
