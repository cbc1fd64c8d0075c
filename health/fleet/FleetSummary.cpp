#include "fleet/FleetSummary.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <utility>

#include "host/Printable.h"
#include "inventory/Field.h"
#include "record/Fields.h"
#include "report/Cells.h"
#include "report/RunEnd.h"

namespace zelhealth {

namespace {

constexpr std::size_t kMostCards = 256;
constexpr std::size_t kMostTraits = 4096;
constexpr std::size_t kLongestFailure = 300;

// A field of a record's facts as people read it. The record may be anybody's.
std::string Shown(const Field& field, const Json& value) {
    if (value.is_number_unsigned()) {
        return Show(field, std::to_string(value.get<std::uint64_t>()));
    }
    return value.is_string() ? ShortName(value.get_ref<const std::string&>()) : "";
}

// What is one card's own differs from card to card, and an idle link's speed from moment to moment.
bool IsCompared(const Field& field) {
    return !field.ofOneCard && field.policy != Policy::ignore;
}

std::string KindOf(const Json& cardStarted) {
    const std::string& generation = TextOf(cardStarted, "generation");
    const double bytes = NumberOf(cardStarted, "memory_size");
    constexpr double kMiB = 1024.0 * 1024;
    return fmt::format("{}{}", generation.empty() ? "unknown" : ShortName(generation),
                       bytes > 0 ? fmt::format(", {:.0f} MiB", bytes / kMiB) : "");
}

// Of hosts whose cards are known.
bool HaveNoneInCommon(const std::vector<std::size_t>& one, const std::vector<std::size_t>& other) {
    return !one.empty() && !other.empty() &&
           std::find_first_of(one.begin(), one.end(), other.begin(), other.end()) == one.end();
}

std::string TestOf(const Json& record) {
    return ShortName(TextOf(record, "group") + "." + TextOf(record, "test"));
}

}  // namespace

class FleetRun : public RunReader {
public:
    FleetRun(FleetSummary& fleet, const RunName& name) : fleet_(fleet) {
        host_.name = ShortName(name.host);
        host_.run = ShortName(name.run);
    }

    void Read(const Json& record) override {
        end_.Read(record);
        const std::string& kind = TextOf(record, "record");
        if (kind == "run_started") {
            host_.plan = ShortName(TextOf(record, "plan"));
            for (const std::string& card : TextsOf(record, "expected")) {
                if (expected_.size() < kMostCards) {
                    expected_.insert(ShortName(card));
                }
            }
            ReadVersions(record);
        } else if (kind == "card_started") {
            ReadCard(record);
        } else if (kind == "test_finished") {
            ReadTest(record);
        } else if (kind == "card_finished" || kind == "run_note") {
            ReadReasons(record);
        }
    }

    void End() override {
        if (end_.Finished() && !expected_.empty()) {
            Note(Status::unknown, *expected_.begin(),
                 *expected_.begin() + ": its records are missing in the stream");
        }
        host_.finished = end_.Finished();
        host_.status = Worse(seen_, StatusOfEnd());
        host_.last = ShortName(end_.LastTime());
        fleet_.Add(std::move(host_));
    }

private:
    // 3 without an end.
    Status StatusOfEnd() const {
        const int status = end_.Status();
        return status >= 0 && status <= static_cast<int>(Status::unknown)
                   ? static_cast<Status>(status)
                   : Status::unknown;
    }

    void Add(const std::string& item, const std::string& value, const std::string& card) {
        if (!value.empty() && host_.traits.size() < kMostTraits) {
            host_.traits.push_back(fleet_.traits_.Of(item, value, card));
        }
    }

    void ReadVersions(const Json& record) {
        const auto versions = record.find("versions");
        if (versions == record.end() || !versions->is_object()) {
            return;
        }
        for (const auto& [program, version] : versions->items()) {
            if (version.is_string()) {
                Add("version of " + ShortName(program),
                    ShortName(version.get_ref<const std::string&>()), "");
            }
        }
    }

    void ReadCard(const Json& record) {
        const std::string card = ShortName(TextOf(record, "card"));
        const std::string& uuid = TextOf(record, "uuid");
        if (kinds_.size() < kMostCards && uuid.find_first_not_of("0-") != std::string::npos) {
            host_.uuids.push_back(std::hash<std::string>()(uuid));
        }
        if (kinds_.size() < kMostCards) {
            kinds_[card] = KindOf(record);
        }
        const auto facts = record.find("facts");
        if (facts == record.end() || !facts->is_object()) {
            return;
        }
        const std::string& generation = TextOf(record, "generation");
        const std::string of = generation.empty() ? "cards" : ShortName(generation) + " cards";
        for (const Field& field : Fields()) {
            const auto value = facts->find(field.key);
            if (IsCompared(field) && value != facts->end()) {
                Add(fmt::format("{} of {}", field.what, of), Shown(field, *value), card);
            }
        }
    }

    void ReadTest(const Json& record) {
        const std::string card = ShortName(TextOf(record, "card"));
        const std::string_view verdict = KnownVerdict(record);
        if (verdict == "passed") {
            const auto kind = kinds_.find(card);
            if (kind != kinds_.end()) {
                std::string test = TestOf(record);
                for (const std::string& option : TextsOf(record, "options")) {
                    test += " " + option;
                }
                fleet_.slowness_.Add(ShortName(test), kind->second, host_.name, card,
                                     NumberOf(record, "seconds"));
            }
            return;
        }
        const Status status = StatusOfTest(record);
        if (status == Status::critical) {
            ++host_.failedTests;
        }
        Note(status, card,
             fmt::format("{} {}: {}", card, TestOf(record), TextOf(record, "reason")));
    }

    void ReadReasons(const Json& record) {
        const std::string card = ShortName(TextOf(record, "card"));
        expected_.erase(card);
        expected_.erase(ShortName(TextOf(record, "pcie")));
        for (const Json& reason : ListOf(record, "reasons")) {
            Note(StatusOfReasons(Json::array({reason})), card, TextOf(reason, "text"));
        }
    }

    // The first of the worst is what is told of the host.
    void Note(Status status, const std::string& card, const std::string& text) {
        if (Worse(status, seen_) != seen_) {
            seen_ = status;
            host_.firstFailure = Printable(Bounded(text, kLongestFailure));
            host_.firstCard = card;
        }
    }

    FleetSummary& fleet_;
    FleetHost host_;
    Status seen_ = Status::ok;  // in what was read, the worst
    RunEnd end_;
    std::map<std::string, std::string> kinds_;  // of cards
    std::set<std::string> expected_;            // cards of whose end nothing was read
};

std::unique_ptr<RunReader> FleetSummary::Begin(const RunName& name) {
    return std::make_unique<FleetRun>(*this, name);
}

void FleetSummary::Add(FleetHost host) {
    // Two hosts of one name, such as localhost, are told apart by their cards.
    for (auto known = indices_.find(host.name);
         known != indices_.end() && HaveNoneInCommon(hosts_[known->second].uuids, host.uuids);
         known = indices_.find(host.name)) {
        host.name += " (other cards)";
    }
    const auto [place, fresh] = indices_.try_emplace(host.name, hosts_.size());
    if (fresh && hosts_.size() >= kMostHosts) {
        indices_.erase(place);
    } else if (fresh) {
        host.traits.shrink_to_fit();
        hosts_.push_back(std::move(host));
    } else if (host.run >= hosts_[place->second].run) {
        // Runs' names sort as they came.
        host.traits.shrink_to_fit();
        hosts_[place->second] = std::move(host);
    }
}

std::vector<Divergence> FleetSummary::Divergences() const {
    std::vector<std::string> names;
    std::vector<const std::vector<Trait>*> traits;
    for (const FleetHost& host : hosts_) {
        names.push_back(host.name);
        traits.push_back(&host.traits);
    }
    return traits_.DivergencesOf(names, traits);
}

}  // namespace zelhealth
