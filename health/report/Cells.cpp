#include "report/Cells.h"

#include <algorithm>
#include <array>

#include "host/Printable.h"
#include "record/Fields.h"

namespace zelhealth {

namespace {

constexpr std::size_t kLongestName = 100;

// From good to bad.
constexpr std::array<std::string_view, 9> kVerdicts = {"passed",  "unsupported", "skipped",
                                                       "not_run", "unknown",     "setup",
                                                       "crashed", "timed_out",   "failed"};

}  // namespace

std::string ShortName(std::string_view text) {
    return Printable(Bounded(text, kLongestName));
}

std::string_view KnownVerdict(const Json& testFinished) {
    const auto* const known =
        std::find(kVerdicts.begin(), kVerdicts.end(), TextOf(testFinished, "verdict"));
    return known == kVerdicts.end() ? "unknown" : *known;
}

int Badness(std::string_view testVerdict) {
    return static_cast<int>(std::find(kVerdicts.begin(), kVerdicts.end(), testVerdict) -
                            kVerdicts.begin());
}

std::string_view VerdictOfBadness(std::size_t badness) {
    return kVerdicts.at(badness);
}

CardCells* Cells::CardOf(const Json& record) {
    const std::string name = ShortName(TextOf(record, "card"));
    auto place = std::find_if(cards_.begin(), cards_.end(), [&name](const CardCells& known) {
        return !ComesFirst(known.card, name);
    });
    if (place == cards_.end() || place->card != name) {
        if (cards_.size() >= kMostCards) {
            return nullptr;
        }
        place = cards_.insert(place, CardCells());
        place->card = name;
    }
    if (place->pcie.empty()) {
        place->pcie = ShortName(TextOf(record, "pcie"));
    }
    return &*place;
}

void Cells::Read(const Json& record) {
    const std::string& kind = TextOf(record, "record");
    if (kind != "card_started" && kind != "test_finished" && kind != "card_finished") {
        return;
    }
    CardCells* const card = CardOf(record);
    if (card == nullptr) {
        return;
    }
    if (kind == "card_started") {
        card->uuid = ShortName(TextOf(record, "uuid"));
        card->generation = ShortName(TextOf(record, "generation"));
        card->memoryBytes = NumberOf(record, "memory_size");
    } else if (kind == "card_finished") {
        card->verdict = ShortName(TextOf(record, "verdict"));
        card->seconds = NumberOf(record, "seconds");
    } else {
        AddTest(*card, record);
    }
}

void Cells::AddTest(CardCells& card, const Json& record) {
    const std::string name = ShortName(TextOf(record, "group") + "." + TextOf(record, "test"));
    if (card.tests.size() >= kMostTests && !card.tests.contains(name)) {
        return;
    }
    Cell& cell = card.tests[name];
    const std::string_view verdict = KnownVerdict(record);
    if (Badness(verdict) > Badness(cell.verdict)) {
        cell.verdict = verdict;
    }
    cell.seconds = std::max(cell.seconds, NumberOf(record, "seconds"));
    ++cell.times;
}

}  // namespace zelhealth
