#include "schedule/CardRecords.h"

#include <algorithm>
#include <chrono>

#include "inventory/Field.h"
#include "readers/Outcome.h"

namespace zelhealth {

namespace {

// Lines of each of the tool's outputs that go with a test.
constexpr std::size_t kEvidenceLines = 40;
constexpr std::size_t kMessages = 50;
constexpr std::ptrdiff_t kReasons = 100;

// What an inventory compares, and a fleet's report.
Json KnownFacts(const nlohmann::json& facts) {
    Json known = Json::object();
    for (const Field& field : Fields()) {
        const auto value = ValueOf(field, facts);
        if (value && field.kind == Field::Kind::text) {
            known[field.key] = Bounded(*value);
        } else if (value) {
            known[field.key] = std::stoull(*value);
        }
    }
    return known;
}

}  // namespace

bool IsFailure(Verdict verdict) {
    return IsFailure(NameOf(verdict));
}

void CardRecords::WriteStarted(std::size_t tests, double expectedSeconds) {
    Json firmware = Json::object();
    const auto versions = card_.entry.facts.value("firmware", nlohmann::json::object());
    for (const char* const part : {"flash", "smc"}) {
        firmware[part] = versions.contains(part) && versions[part].is_string()
                             ? Bounded(versions[part].get<std::string>())
                             : "";
    }
    Json record = {{"record", "card_started"},
                   {"card", card_.entry.card},
                   {"pcie", Bounded(card_.entry.pcie)},
                   {"uuid", Bounded(card_.Fact("uuid"))},
                   {"generation", card_.Fact("generation")},
                   {"firmware", firmware},
                   {"mode", card_.Mode()},
                   {"tests", tests}};
    if (card_.MemorySize() != 0) {
        record["memory_size"] = card_.MemorySize();
    }
    record["facts"] = KnownFacts(card_.entry.facts);
    record["expected_seconds"] = expectedSeconds;
    recorder_.Write(record);
}

Json CardRecords::About(const char* kind, const TestRow& row) const {
    return {{"record", kind}, {"card", card_.entry.card}, {"group", row.group}, {"test", row.name}};
}

void CardRecords::WriteTestStarted(const TestRow& row, double deadlineSeconds) {
    Json record = About("test_started", row);
    record["expected_seconds"] = row.Expected(card_.MemorySize());
    record["deadline_seconds"] = deadlineSeconds;
    recorder_.Write(record);
}

void CardRecords::WriteProgress(const TestRow& row, int percent) {
    Json record = About("test_progress", row);
    record["percent"] = percent;
    recorder_.Write(record);
}

void CardRecords::WriteTest(const PlannedTest& test, int round, const Judgement& judgement,
                            const ChildResult& child) {
    const TestRow& row = *test.row;
    Json record = {{"record", "test_finished"},
                   {"card", card_.entry.card},
                   {"pcie", Bounded(card_.entry.pcie)},
                   {"group", row.group},
                   {"test", row.name},
                   {"options", BoundedLines(test.options, kMessages)},
                   {"round", round},
                   {"verdict", NameOf(judgement.verdict)},
                   {"seconds", child.seconds.count()},
                   {"reason", Bounded(judgement.reason)},
                   {"messages", BoundedLines(judgement.messages, kMessages)}};
    if (!judgement.mend.empty()) {
        record["mend"] = Bounded(judgement.mend);
    }
    if (IsFailure(judgement.verdict)) {
        const auto now = std::chrono::system_clock::now();
        const Waiver* const waiver =
            waivers_.Find(card_.entry.card, card_.entry.pcie, row.Id(), now);
        if (waiver != nullptr) {
            record[waiver->Expired(now) ? "waiver_expired" : "waived"] = Bounded(waiver->Text(now));
        }
    }
    record["evidence"] = {{"out", BoundedLines(child.out, kEvidenceLines)},
                          {"err", BoundedLines(child.err, kEvidenceLines)}};
    {
        const std::lock_guard lock(mutex_);
        judged_ += judgement.verdict == Verdict::passed || IsFailure(judgement.verdict) ? 1 : 0;
        worst_ = Worse(worst_, StatusOfTest(record));
    }
    recorder_.Write(record);
}

void CardRecords::AddReason(const std::string& reason, const std::string& text, int status) {
    const std::lock_guard lock(mutex_);
    const Json added = {{"reason", reason}, {"text", Bounded(text)}, {"status", status}};
    if (std::find(reasons_.begin(), reasons_.end(), added) == reasons_.end()) {
        reasons_.push_back(added);
    }
}

void CardRecords::WriteFinished(const std::string& modeLeft, double seconds) {
    Status status = Worse(worst_, StatusOfReasons(reasons_));
    // Those that tell the most stay where there are too many.
    const auto isCritical = [](const Json& reason) { return reason["status"] == 2; };
    if (std::ssize(reasons_) > kReasons) {
        std::stable_partition(reasons_.begin(), reasons_.end(), isCritical);
        reasons_.erase(reasons_.begin() + kReasons, reasons_.end());
    }
    // Nothing is known of a card of which nothing was judged.
    if (status == Status::warning && judged_ == 0) {
        status = Status::unknown;
    }
    recorder_.Write({{"record", "card_finished"},
                     {"card", card_.entry.card},
                     {"pcie", Bounded(card_.entry.pcie)},
                     {"verdict", VerdictOf(status)},
                     {"reasons", reasons_},
                     {"mode_found", card_.Mode()},
                     {"mode_left", modeLeft},
                     {"seconds", seconds}});
}

}  // namespace zelhealth
