#include "schedule/CardRun.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "readers/Outcome.h"

namespace zelhealth {

namespace {

using std::chrono::milliseconds;

// Lines of each of the tool's outputs that go with a test.
constexpr std::size_t kEvidenceLines = 40;
constexpr std::size_t kMessages = 50;
constexpr std::ptrdiff_t kReasons = 100;

// Two mode changes, for which a card may take minutes.
constexpr milliseconds kModeChanges = 2 * std::chrono::duration_cast<milliseconds>(kArrivalSeconds);

Judgement NotRun(std::string why) {
    Judgement judgement;
    judgement.verdict = Verdict::notRun;
    judgement.reason = std::move(why);
    return judgement;
}

Judgement Make(Verdict verdict, std::string reason, std::string mend = {}) {
    Judgement judgement;
    judgement.verdict = verdict;
    judgement.reason = std::move(reason);
    judgement.mend = std::move(mend);
    return judgement;
}

bool IsFailure(Verdict verdict) {
    return verdict == Verdict::failed || verdict == Verdict::timedOut ||
           verdict == Verdict::crashed;
}

// Tests that another tool on this host can spoil.
bool CanBeSpoilt(const TestRow& row) {
    return !row.resources.empty() || row.mode == NeededMode::ready;
}

// Whether a test compares with identities that an operator has to put into Settings.ini.
bool ComparesIdentities(const TestRow& row) {
    return std::any_of(row.needs.begin(), row.needs.end(), [](const std::string& need) {
        return need.starts_with("settings:pcieConfigReg.");
    });
}

}  // namespace

CardRun::CardRun(RunHost& host, const RunCard& card)
    : host_(host),
      card_(card),
      number_(std::atoi(card.entry.card.c_str() + std::string_view("zel").size())),
      wedged_(card.wedged) {
    PlanSteps();
}

// Those that take the card from normal mode come last, so that they can spoil nothing for others.
void CardRun::PlanSteps() {
    milliseconds whole{};
    for (const bool ready : {false, true}) {
        for (int round = 1; round <= host_.repeat; ++round) {
            for (const PlannedTest& test : host_.plan.tests) {
                if ((test.row->mode == NeededMode::ready) != ready) {
                    continue;
                }
                const auto deadline = test.deadline.value_or(test.row->Deadline(MemorySize()));
                const std::size_t turns = test.row->resources.empty() ? 1 : host_.cards;
                whole += deadline * test.repeat * static_cast<int>(turns);
                for (int i = 0; i < test.repeat; ++i) {
                    steps_.push_back({test, (round - 1) * test.repeat + i + 1});
                }
            }
        }
    }
    until_ = Clock::now() + host_.plan.cardDeadline.value_or(whole + kModeChanges + host_.patience);
}

std::string CardRun::Fact(const char* name) const {
    const auto fact = card_.entry.facts.find(name);
    return fact != card_.entry.facts.end() && fact->is_string() ? fact->get<std::string>() : "";
}

std::uint64_t CardRun::MemorySize() const {
    const auto size = card_.entry.facts.find("memory_size");
    return size != card_.entry.facts.end() && size->is_number_unsigned()
               ? size->get<std::uint64_t>()
               : 0;
}

void CardRun::AddReason(const std::string& reason, const std::string& text, int status) {
    const std::lock_guard lock(mutex_);
    const Json added = {{"reason", reason}, {"text", Bounded(text)}, {"status", status}};
    if (std::find(reasons_.begin(), reasons_.end(), added) == reasons_.end()) {
        reasons_.push_back(added);
    }
}

void CardRun::Run() {
    modeLeft_ = Mode();
    WriteStarted();
    if (Prepare()) {
        RunSteps();
        LookAtModeLeft();
    }
    lock_.reset();
    WriteFinished();
}

void CardRun::WriteStarted() {
    const auto& facts = card_.entry.facts;
    Json firmware = Json::object();
    for (const char* const part : {"flash", "smc"}) {
        const auto version = facts.value("firmware", nlohmann::json::object());
        firmware[part] = version.contains(part) && version[part].is_string()
                             ? Bounded(version[part].get<std::string>())
                             : "";
    }
    Json record = {{"record", "card_started"},
                   {"card", card_.entry.card},
                   {"pcie", Bounded(card_.entry.pcie)},
                   {"uuid", Bounded(Fact("uuid"))},
                   {"generation", Fact("generation")},
                   {"firmware", firmware},
                   {"mode", Mode()},
                   {"tests", steps_.size()}};
    if (MemorySize() != 0) {
        record["memory_size"] = MemorySize();
    }
    double expected = 0;
    for (const Step& step : steps_) {
        expected += step.test.row->Expected(MemorySize());
    }
    record["expected_seconds"] = expected;
    host_.recorder.Write(record);
}

bool CardRun::Prepare() {
    if (!card_.present) {
        AddReason("missing", card_.entry.card + " is not there", 2);
        DropSteps(card_.entry.card + " is not there");
        return false;
    }
    if (!wedged_.empty()) {
        AddReason("wedged", wedged_, 2);
        DropSteps(wedged_);
        return false;
    }
    using Kind = CardReply::Kind;
    const Kind kind = card_.entry.kind;
    if (kind == Kind::silent) {
        AddReason("silent", "it does not answer: " + card_.entry.error, 2);
        DropSteps("the card does not answer");
        return false;
    }
    if (kind == Kind::refused) {
        AddReason("refused", "it cannot be opened: " + card_.entry.error, 2);
    } else if (kind == Kind::setup) {
        AddReason("setup", card_.entry.error, 3);
    } else if (kind == Kind::broken) {
        AddReason("facts", "its facts cannot be read: " + card_.entry.error, 1);
    }
    // The tool passes any number of cores, and without a memory test any size of memory.
    const auto isNone = [this](const char* fact) {
        const auto found = card_.entry.facts.find(fact);
        return found != card_.entry.facts.end() && *found == 0;
    };
    if (isNone("cores")) {
        AddReason("cores", "no core of it is enabled", 2);
    }
    if (isNone("memory_size")) {
        AddReason("memory", "it has no memory", 2);
    }
    AddUntoldFacts();
    AskWhetherBusy();
    if (!TakeLock()) {
        return false;
    }
    LookAtMode();
    return true;
}

// What the library could not tell is what jobs would ask it too. An item that cards of this kind lack is no
// fault of this one.
void CardRun::AddUntoldFacts() {
    constexpr unsigned kNotSupported = 8;
    const auto errors = card_.entry.facts.value("errors", nlohmann::json::object());
    for (const auto& [fact, error] : errors.items()) {
        if (error.value("status", 0U) != kNotSupported) {
            AddReason("facts",
                      fmt::format("it does not tell {}: {}: {}", fact, error.value("call", ""),
                                  error.value("text", "")),
                      2);
        }
    }
}

// A card that another run has just given back is where that run found it, and may have been elsewhere when
// it was asked first.
void CardRun::LookAtMode() {
    if (card_.entry.kind != CardReply::Kind::answered) {
        return;
    }
    if (Mode() != "normal") {
        CardReply now = host_.access.Ask({"facts", card_.entry.card}, host_.stop);
        if (now.Answered()) {
            card_.entry.facts = std::move(now.answer);
        }
        modeLeft_ = Mode();
    }
    if (Mode().empty()) {
        AddReason("mode", "it does not tell its mode", 2);
    } else if (Mode() != "normal") {
        AddReason("mode", fmt::format("it is in mode {}, in which no job can use it", Mode()), 2);
    }
}

// A card that has left normal mode since is of no use to jobs, whatever its tests have said.
void CardRun::LookAtModeLeft() {
    if (Mode() != "normal" || modeLeft_ != "normal" || host_.now.Requested()) {
        return;
    }
    const CardReply left = host_.access.Ask({"mode", card_.entry.card}, host_.now);
    if (!left.Answered()) {
        AddReason("mode", "it does not tell its mode any more: " + left.error, 2);
        return;
    }
    modeLeft_ = left.answer.value("mode", "");
    if (modeLeft_ != "normal") {
        AddReason("mode",
                  fmt::format("it has gone to mode {}, in which no job can use it", modeLeft_), 2);
    }
}

void CardRun::AskWhetherBusy() {
    if (host_.configuration.busy.empty() || !host_.plan.Disturbs()) {
        return;
    }
    const Busy busy =
        AskBusy(host_.configuration.busy, card_.entry.card, card_.entry.pcie, host_.stop);
    if (busy.busy) {
        busy_ = busy.text.empty() ? "the card is in use" : "the card is in use: " + busy.text;
        AddReason("busy", busy_, busy.setup ? 3 : 1);
    }
}

// A card that is in use is only looked at.
bool CardRun::TakeLock() {
    const bool disturbs = host_.plan.Disturbs() && busy_.empty();
    LockResult result =
        host_.locks.Card(card_.entry.card, disturbs ? LockKind::exclusive : LockKind::shared,
                         host_.patience, host_.stop);
    if (!result.lock) {
        AddReason("locked", "it was not judged: " + result.Why(), result.error.empty() ? 1 : 3);
        DropSteps(result.Why());
        return false;
    }
    lock_ = std::move(result.lock);
    return true;
}

std::string CardRun::WhyWedged() const {
    const std::lock_guard lock(mutex_);
    return wedged_;
}

void CardRun::RunSteps() {
    while (!steps_.empty()) {
        if (std::none_of(steps_.begin(), steps_.end(),
                         [this](const Step& step) { return MayRunNow(step); })) {
            AwaitWaiting();
        }
        const auto next = NextStep();
        if (!next) {
            AwaitWaiting();
            DropSteps(host_.stop.Requested() ? host_.whyStopped() : "the card's deadline is over");
            break;
        }
        const Step step = steps_[*next];
        steps_.erase(steps_.begin() + static_cast<std::ptrdiff_t>(*next));
        Begin(step);
    }
    AwaitWaiting();
    LeaveReadyState();
}

void CardRun::Begin(const Step& step) {
    if (step.test.row->waits && !step.test.row->disturbs) {
        waiting_.emplace_back([this, step] { RunStep(step); });
    } else {
        RunStep(step);
        host_.resources.Give(step.test.row->resources);
    }
}

void CardRun::AwaitWaiting() {
    for (std::thread& thread : waiting_) {
        thread.join();
    }
    waiting_.clear();
}

// What disturbs, or waits itself, comes behind what waits.
bool CardRun::MayRunNow(const Step& step) const {
    const TestRow& row = *step.test.row;
    return waiting_.empty() || (!row.disturbs && !row.waits);
}

std::optional<std::size_t> CardRun::NextStep() {
    const auto firstReady = std::find_if(steps_.begin(), steps_.end(), [](const Step& step) {
        return step.test.row->mode == NeededMode::ready;
    });
    // Of the last ones, only the next.
    const auto end = firstReady == steps_.begin() ? firstReady + 1 : firstReady;
    std::vector<Names> wishes;
    std::vector<std::size_t> places;
    for (auto step = steps_.begin(); step != end; ++step) {
        if (MayRunNow(*step)) {
            wishes.push_back(step->test.row->resources);
            places.push_back(static_cast<std::size_t>(step - steps_.begin()));
        }
    }
    const auto taken = host_.resources.Take(wishes, until_, host_.stop);
    return taken ? std::optional(places[*taken]) : std::nullopt;
}

void CardRun::RunStep(const Step& step) {
    ChildResult child;
    Judgement judgement;
    if (auto why = WhyNot(step)) {
        judgement = std::move(*why);
    } else {
        judgement = RunTool(step, child);
    }
    for (const std::string& problem : judgement.cardProblems) {
        AddReason("not_closed", problem, 2);
    }
    if (IsFailure(judgement.verdict)) {
        LookForOthers(step, judgement);
    }
    const bool compared = judgement.verdict == Verdict::failed && !judgement.messages.empty();
    if (compared && ComparesIdentities(*step.test.row) &&
        host_.preflight.IdentitiesAreProvisional()) {
        judgement.reason +=
            "; Settings.ini holds the identities with which it is delivered, which "
            "are those of no real card";
    }
    WriteTest(step, judgement, child);
    if (child.end == ChildEnd::givenUp) {
        GiveUp(step, child);
    }
}

std::optional<Judgement> CardRun::WhyNot(const Step& step) {
    const TestRow& row = *step.test.row;
    const std::string generation = Fact("generation");
    if (host_.stop.Requested()) {
        return NotRun(host_.whyStopped());
    }
    if (const std::string wedged = WhyWedged(); !wedged.empty()) {
        return NotRun(wedged);
    }
    if (const auto why = host_.resources.Why(row.resources)) {
        return NotRun(*why);
    }
    const bool known = !generation.empty() && generation != "unknown";
    if (known && !row.Suits(generation)) {
        return Make(Verdict::unsupported, "cards of generation " + generation + " lack it");
    }
    // Of a card of which that is not known, a pass would say nothing.
    if (!known && row.generations.size() == 1) {
        return NotRun("the card's generation is not known");
    }
    if (!busy_.empty() && row.disturbs) {
        return NotRun(busy_);
    }
    const auto fault =
        host_.preflight.Check({card_.entry.card, generation, Mode()}, row.needs, host_.stop);
    if (fault) {
        switch (fault->kind) {
            case PreflightFault::Kind::setup:
                return Make(Verdict::setup, fault->text, fault->mend);
            case PreflightFault::Kind::card:
                return Make(Verdict::failed, fault->text);
            case PreflightFault::Kind::stopped:
                return NotRun(host_.whyStopped());
        }
    }
    if (row.mode == NeededMode::ready && !EnterReadyState()) {
        if (host_.stop.Requested()) {
            return NotRun(host_.whyStopped());
        }
        return Make(readyIsRefused_ ? Verdict::skipped : Verdict::setup, notReady_);
    }
    return std::nullopt;
}

bool CardRun::EnterReadyState() {
    if (inReadyState_ || !notReady_.empty()) {
        return inReadyState_;
    }
    const EnterResult result = host_.modes.Enter(card_.entry.card, "offline", host_.stop);
    inReadyState_ = result.entered;
    if (!result.entered) {
        notReady_ = result.error;
        const bool cards =
            result.kind == CardReply::Kind::refused || result.kind == CardReply::Kind::silent;
        readyIsRefused_ = cards;
        if (cards) {
            AddReason("mode", "it does not go to its ready state: " + result.error, 2);
        }
    }
    if (result.restoration && result.restoration->end == Restoration::End::notRestored) {
        AddReason("not_restored", result.restoration->text, 2);
    }
    return inReadyState_;
}

void CardRun::LeaveReadyState() {
    if (!inReadyState_) {
        return;
    }
    const Restoration restoration = host_.modes.Leave(card_.entry.card, host_.now);
    modeLeft_ = restoration.left;
    inReadyState_ = false;
    if (restoration.end == Restoration::End::notRestored) {
        AddReason("not_restored", restoration.text, 2);
    } else if (restoration.end != Restoration::End::restored) {
        AddReason("mode", restoration.text, 1);
    }
}

Judgement CardRun::RunTool(const Step& step, ChildResult& child) {
    const TestRow& row = *step.test.row;
    std::vector<Lock> locks;
    for (const std::string& resource : row.resources) {
        LockResult result = host_.locks.Resource(resource, host_.patience, host_.stop);
        if (!result.lock) {
            return NotRun(fmt::format("{}: {}", resource, result.Why()));
        }
        locks.push_back(std::move(*result.lock));
    }
    const milliseconds left = std::chrono::ceil<milliseconds>(until_ - Clock::now());
    const milliseconds deadline =
        std::clamp(step.test.deadline.value_or(row.Deadline(MemorySize())), milliseconds(1),
                   std::max(left, milliseconds(1)));
    const Json about = {{"card", card_.entry.card}, {"group", row.group}, {"test", row.name}};
    Json started = {{"record", "test_started"}};
    started.update(about);
    started["expected_seconds"] = row.Expected(MemorySize());
    started["deadline_seconds"] = std::chrono::duration<double>(deadline).count();
    host_.recorder.Write(started);

    const auto onPercent = [this, &about](int percent) {
        Json progress = {{"record", "test_progress"}};
        progress.update(about);
        progress["percent"] = percent;
        host_.recorder.Write(progress);
    };
    TestOutcome outcome =
        RunTest(host_.tool, number_, card_.entry.pcie, step.test, deadline, onPercent, host_.stop);
    child = std::move(outcome.child);
    if (child.end == ChildEnd::stopped) {
        return NotRun(host_.whyStopped());
    }
    return std::move(outcome.judgement);
}

// The next run has to know of it, and nothing that it holds is free.
void CardRun::GiveUp(const Step& step, const ChildResult& child) {
    const TestRow& row = *step.test.row;
    const std::string wedged = fmt::format("{} is wedged: pid {} ({}) cannot be killed",
                                           card_.entry.card, child.pid, row.Id());
    {
        const std::lock_guard lock(mutex_);
        wedged_ = wedged;
    }
    host_.resources.HoldForGood(row.resources, wedged);
    AddReason("wedged", wedged, 2);
    const std::string error =
        host_.wedged.Add(card_.entry.card, row.Id(), row.resources, child.pid);
    if (!error.empty()) {
        AddReason("note", "the next run cannot be told: " + error, 3);
    }
}

void CardRun::LookForOthers(const Step& step, Judgement& judgement) const {
    if (!CanBeSpoilt(*step.test.row)) {
        return;
    }
    const std::vector<ToolRun> others =
        FindForeignTools(std::filesystem::path(host_.tool).filename());
    if (!others.empty()) {
        judgement.reason = fmt::format("not judged: {} ran beside it; it said: {}",
                                       others.front().Text(), judgement.reason);
        judgement.verdict = Verdict::notRun;
    }
}

void CardRun::WriteTest(const Step& step, const Judgement& judgement, const ChildResult& child) {
    const TestRow& row = *step.test.row;
    Json record = {{"record", "test_finished"},
                   {"card", card_.entry.card},
                   {"pcie", Bounded(card_.entry.pcie)},
                   {"group", row.group},
                   {"test", row.name},
                   {"options", BoundedLines(step.test.options, kMessages)},
                   {"round", step.round},
                   {"verdict", NameOf(judgement.verdict)},
                   {"seconds", child.seconds.count()},
                   {"reason", Bounded(judgement.reason)},
                   {"messages", BoundedLines(judgement.messages, kMessages)}};
    if (!judgement.mend.empty()) {
        record["mend"] = Bounded(judgement.mend);
    }
    const auto now = std::chrono::system_clock::now();
    if (IsFailure(judgement.verdict)) {
        const Waiver* const waiver =
            host_.waivers.Find(card_.entry.card, card_.entry.pcie, row.Id(), now);
        if (waiver != nullptr) {
            record[waiver->Expired(now) ? "waiver_expired" : "waived"] = Bounded(waiver->Text(now));
        }
    }
    record["evidence"] = {{"out", BoundedLines(child.out, kEvidenceLines)},
                          {"err", BoundedLines(child.err, kEvidenceLines)}};
    {
        const std::lock_guard lock(mutex_);
        judged_ += judgement.verdict == Verdict::passed || IsFailure(judgement.verdict) ? 1 : 0;
        worst_ = static_cast<int>(Worse(static_cast<Status>(worst_), StatusOfTest(record)));
    }
    host_.recorder.Write(record);
}

void CardRun::DropSteps(const std::string& why) {
    for (const Step& step : std::exchange(steps_, {})) {
        WriteTest(step, NotRun(why), ChildResult());
    }
}

void CardRun::WriteFinished() {
    Status status = Worse(static_cast<Status>(worst_), StatusOfReasons(reasons_));
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
    host_.recorder.Write(
        {{"record", "card_finished"},
         {"card", card_.entry.card},
         {"pcie", Bounded(card_.entry.pcie)},
         {"verdict", VerdictOf(status)},
         {"reasons", reasons_},
         {"mode_found", Mode()},
         {"mode_left", modeLeft_},
         {"seconds", std::chrono::duration<double>(Clock::now() - begin_).count()}});
}

}  // namespace zelhealth
