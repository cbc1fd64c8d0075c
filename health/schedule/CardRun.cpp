#include "schedule/CardRun.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "host/Tools.h"

namespace zelhealth {

namespace {

using std::chrono::milliseconds;

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
      records_(card_, host.recorder, host.waivers),
      state_(host, card_, records_),
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
                const auto deadline =
                    test.deadline.value_or(test.row->Deadline(card_.MemorySize()));
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

void CardRun::Run() {
    double expected = 0;
    for (const Step& step : steps_) {
        expected += step.test.row->Expected(card_.MemorySize());
    }
    records_.WriteStarted(steps_.size(), expected);
    if (const std::string why = state_.Prepare(); !why.empty()) {
        DropSteps(why);
    } else {
        try {
            RunSteps();
            LeaveReadyState();
        } catch (const std::exception& fault) {
            // Out of memory, say. The card goes back all the same.
            EndTests();
            LeaveReadyState();
            records_.AddReason("setup", fmt::format("zelhealth could not go on: {}", fault.what()),
                               3);
            DropSteps("zelhealth could not go on");
        }
        state_.Leave();
    }
    records_.WriteFinished(state_.ModeLeft(),
                           std::chrono::duration<double>(Clock::now() - begin_).count());
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
        Taken taken(host_.resources, steps_[*next].test.row->resources);
        Step step = std::move(steps_[*next]);
        steps_.erase(steps_.begin() + static_cast<std::ptrdiff_t>(*next));
        Begin(std::move(step), std::move(taken));
    }
    AwaitWaiting();
}

void CardRun::Begin(Step step, Taken taken) {
    const bool beside = step.test.row->waits && !step.test.row->disturbs;
    if (!beside) {
        RunStep(step);
        return;
    }
    auto work = std::make_shared<std::pair<Step, Taken>>(std::move(step), std::move(taken));
    try {
        waiting_.emplace_back([this, work] {
            try {
                RunStep(work->first);
            } catch (...) {
                const std::lock_guard lock(mutex_);
                fault_ = std::current_exception();
            }
        });
    } catch (const std::system_error&) {
        // The host gives no more threads: one test after the other, then.
        RunStep(work->first);
    }
}

void CardRun::EndTests() {
    for (std::thread& thread : waiting_) {
        thread.join();
    }
    waiting_.clear();
}

void CardRun::AwaitWaiting() {
    EndTests();
    if (fault_) {
        std::rethrow_exception(std::exchange(fault_, nullptr));
    }
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

// What this host cannot do is the fault of no card, and keeps no other test from its turn.
Judgement CardRun::TryStep(const Step& step, ChildResult& child) {
    try {
        auto why = WhyNot(step);
        return why ? std::move(*why) : RunTool(step, child);
    } catch (const std::exception& fault) {
        return Make(Verdict::setup, fmt::format("zelhealth could not run it: {}", fault.what()));
    }
}

void CardRun::RunStep(const Step& step) {
    ChildResult child;
    Judgement judgement = TryStep(step, child);
    for (const std::string& problem : judgement.cardProblems) {
        records_.AddReason("not_closed", problem, 2);
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
    records_.WriteTest(step.test, step.round, judgement, child);
    if (child.end == ChildEnd::givenUp) {
        GiveUp(step, child);
    }
}

std::optional<Judgement> CardRun::WhyNot(const Step& step) {
    const TestRow& row = *step.test.row;
    const std::string generation = card_.Fact("generation");
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
    if (!state_.Busy().empty() && row.disturbs) {
        return NotRun(state_.Busy());
    }
    const auto fault =
        host_.preflight.Check({card_.entry.card, generation, card_.Mode()}, row.needs, host_.stop);
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
            records_.AddReason("mode", "it does not go to its ready state: " + result.error, 2);
        }
    }
    if (result.restoration && result.restoration->end == Restoration::End::notRestored) {
        records_.AddReason("not_restored", result.restoration->text, 2);
    }
    return inReadyState_;
}

void CardRun::LeaveReadyState() {
    if (!inReadyState_) {
        return;
    }
    const Restoration restoration = host_.modes.Leave(card_.entry.card, host_.now);
    state_.SetModeLeft(restoration.left);
    inReadyState_ = false;
    if (restoration.end == Restoration::End::notRestored) {
        records_.AddReason("not_restored", restoration.text, 2);
    } else if (restoration.end == Restoration::End::noteStays) {
        records_.AddReason("note", restoration.text, 3);
    } else if (restoration.end != Restoration::End::restored) {
        records_.AddReason("mode", restoration.text, 1);
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
        std::clamp(step.test.deadline.value_or(row.Deadline(card_.MemorySize())), milliseconds(1),
                   std::max(left, milliseconds(1)));
    records_.WriteTestStarted(row, std::chrono::duration<double>(deadline).count());
    const auto onPercent = [this, &row](int percent) { records_.WriteProgress(row, percent); };
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
    records_.AddReason("wedged", wedged, 2);
    const std::string error =
        host_.wedged.Add(card_.entry.card, row.Id(), row.resources, child.pid);
    if (!error.empty()) {
        records_.AddReason("note", "the next run cannot be told: " + error, 3);
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

void CardRun::DropSteps(const std::string& why) {
    for (const Step& step : std::exchange(steps_, {})) {
        records_.WriteTest(step.test, step.round, NotRun(why), ChildResult());
    }
}

}  // namespace zelhealth
