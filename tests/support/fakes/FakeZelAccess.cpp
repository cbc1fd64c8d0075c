// The script: which answer a call gets, and what is left over at the end.
#include "FakeZelAccess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "Journal.h"

namespace fakes {

FakeZelAccess& ZelAccess() {
    static FakeZelAccess* const fake =
        new FakeZelAccess;  // outlives every static object of the program
    return *fake;
}

Card Card::OlderGeneration() {
    Card card;
    card.deviceId = 0x00401F5A;
    card.busNumber = 3;
    card.name =
        "Ostrel(R) Vimbra(TM) Software Development Vehicle (formerly known as \"Ember Vale\")";
    card.subsystemId = 0x00011F5A;
    card.revisionId = 0x10;
    return card;
}

void FakeZelAccess::AnswerNext(const std::string& name, Answer answer) {
    next_[name].push_back(std::move(answer));
}

void FakeZelAccess::AnswerNext(const std::string& name, std::initializer_list<Answer> answers) {
    for (const Answer& answer : answers) {
        AnswerNext(name, answer);
    }
}

void FakeZelAccess::AnswerAlways(const std::string& name, Answer answer) {
    always_.insert_or_assign(name, StandingAnswer{std::move(answer), false});
}

void FakeZelAccess::Fail(const std::string& name, U32 status, unsigned skip, unsigned times) {
    failures_.insert_or_assign(name, Failure{status, skip, times, 0});
}

void FakeZelAccess::Expect(const std::string& call, Answer answer) {
    strict_ = true;
    expected_.push_back({call, std::move(answer)});
}

unsigned FakeZelAccess::CountOf(std::string_view name) const {
    const std::string start = std::string(name) + "(";
    return static_cast<unsigned>(
        std::count_if(calls_.begin(), calls_.end(),
                      [&start](const std::string& call) { return call.starts_with(start); }));
}

Answer FakeZelAccess::NextAnswer(const std::string& name, const std::string& call) {
    TheJournal().Add(call);
    calls_.push_back(call);
    if (strict_) {
        return ExpectedAnswer(call).value_or(Answer{ZEL_DEVICE_IO_ERROR});
    }
    if (const std::optional<U32> status = FailureOf(name)) {
        return {*status};
    }
    if (auto& queue = next_[name]; !queue.empty()) {
        Answer answer = std::move(queue.front());
        queue.pop_front();
        return answer;
    }
    if (const auto standing = always_.find(name); standing != always_.end()) {
        standing->second.used = true;
        return standing->second.answer;
    }
    return {};
}

std::optional<Answer> FakeZelAccess::ExpectedAnswer(const std::string& call) {
    if (expected_.empty()) {
        ADD_FAILURE() << "call that was not expected, behind the last one: " << call;
        return std::nullopt;
    }
    if (expected_.front().call != call) {
        ADD_FAILURE() << "call that was not expected: " << call
                      << "\n              expected: " << expected_.front().call;
        return std::nullopt;
    }
    Answer answer = std::move(expected_.front().answer);
    expected_.pop_front();
    return answer;
}

std::optional<U32> FakeZelAccess::FailureOf(const std::string& name) {
    const auto found = failures_.find(name);
    if (found == failures_.end()) {
        return std::nullopt;
    }
    Failure& failure = found->second;
    if (failure.skip > 0) {
        --failure.skip;
        return std::nullopt;
    }
    if (failure.times != 0 && failure.met >= failure.times) {
        return std::nullopt;
    }
    ++failure.met;
    return failure.status;
}

void FakeZelAccess::SpoilRead(U64 address, U8* data, U32 bytes) const {
    for (const StuckBit& stuck : stuckBits) {
        if (stuck.address < address || stuck.address - address >= bytes) {
            continue;
        }
        U8& cell = data[stuck.address - address];
        const U8 mask = static_cast<U8>(1U << stuck.bit);
        cell = static_cast<U8>(stuck.value ? cell | mask : cell & ~mask);
    }
    if (corruptRead) {
        corruptRead(address, data, bytes);
    }
}

void FakeZelAccess::Reset() {
    *this = FakeZelAccess();
    cards.assign(1, Card());
}

void FakeZelAccess::Verify() {
    for (const Expectation& expectation : expected_) {
        ADD_FAILURE() << "expected call that never came: " << expectation.call;
    }
    for (const auto& [name, answers] : next_) {
        EXPECT_TRUE(answers.empty())
            << answers.size() << " answers of " << name << " never asked for";
    }
    for (const auto& [name, standing] : always_) {
        EXPECT_TRUE(standing.used) << "the answer of " << name << " was never asked for";
    }
    for (const auto& [name, failure] : failures_) {
        EXPECT_TRUE(failure.met > 0 && failure.met >= failure.times)
            << name << " was to fail " << failure.times << " times and failed " << failure.met;
    }
}

}  // namespace fakes
