#include "readers/Journal.h"

#include <fmt/format.h>
#include <syslog.h>
// The line of this file that calls it tells nobody anything.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <system_error>
#include <thread>

#include "host/Printable.h"
#include "readers/Outcome.h"
#include "record/Fields.h"

namespace zelhealth {

namespace {

// Programs look for these; they never change.
constexpr const char* kTestFailed = "bd4723ef396e4a49bd27feb8c314ec78";
constexpr const char* kCardUnhealthy = "977b46935fec43d9ab1ac9953c6bba2c";
constexpr const char* kRunFinished = "e670905cf2314870bd357a8251b2cda7";

constexpr std::size_t kMostWaiting = 10000;
constexpr std::chrono::seconds kPatience{2};

int Priority(const std::string& verdict, bool waived) {
    if (verdict == "healthy") {
        return LOG_INFO;
    }
    return IsFailure(verdict) && !waived ? LOG_ERR : LOG_WARNING;
}

// What all entries have.
JournalSender::Entry EntryOf(const Json& record, const char* id, const std::string& message,
                             bool waived) {
    const std::string& verdict = TextOf(record, "verdict");
    return {fmt::format("MESSAGE={}", Printable(message)),
            fmt::format("MESSAGE_ID={}", id),
            fmt::format("PRIORITY={}", Priority(verdict, waived)),
            "SYSLOG_IDENTIFIER=zelhealth",
            "DOCUMENTATION=man:zelhealth(8)",
            fmt::format("ZEL_RUN={}", TextOf(record, "run")),
            fmt::format("ZEL_HOST={}", TextOf(record, "host")),
            fmt::format("ZEL_VERDICT={}", verdict)};
}

void Add(JournalSender::Entry& entry, const char* field, const std::string& value) {
    if (!value.empty()) {
        entry.push_back(fmt::format("{}={}", field, value));
    }
}

// But for what is only worth knowing.
std::string Reasons(const Json& record) {
    std::vector<std::string> texts;
    for (const Json& reason : ListOf(record, "reasons")) {
        if (NumberOf(reason, "status") > 0) {
            texts.push_back(TextOf(reason, "text"));
        }
    }
    return fmt::format("{}", fmt::join(texts, "; "));
}

// 0, or the error for which the journal did not take it. Where there is no journal it is 0.
int Take(const JournalSender::Entry& entry) {
    std::vector<iovec> fields;
    for (const std::string& field : entry) {
        // The library reads only.
        fields.push_back({const_cast<char*>(field.data()), field.size()});
    }
    return -std::min(0, sd_journal_sendv(fields.data(), static_cast<int>(fields.size())));
}

}  // namespace

struct JournalSender::Shared {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Entry> waiting;  // the first is being taken
    std::size_t tooMany = 0;
    std::size_t refused = 0;
    int error = 0;  // of the first that was refused
    bool closed = false;

    // Until it is closed and nothing waits.
    void Work() {
        for (std::unique_lock lock(mutex); true;) {
            changed.wait(lock, [this] { return closed || !waiting.empty(); });
            if (waiting.empty()) {
                return;
            }
            const Entry entry = waiting.front();
            lock.unlock();
            const int fault = Take(entry);
            lock.lock();
            refused += fault != 0 ? 1 : 0;
            error = error != 0 ? error : fault;
            waiting.pop_front();
            changed.notify_all();
        }
    }
};

JournalSender::JournalSender() : shared_(std::make_shared<Shared>()) {
    // Signals are for the threads that wait for them.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread([shared = shared_] { shared->Work(); }).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

JournalSender::~JournalSender() {
    const std::lock_guard lock(shared_->mutex);
    shared_->closed = true;
    shared_->changed.notify_all();
}

void JournalSender::Send(Entry entry) {
    const std::lock_guard lock(shared_->mutex);
    if (shared_->waiting.size() >= kMostWaiting) {
        ++shared_->tooMany;
        return;
    }
    shared_->waiting.push_back(std::move(entry));
    shared_->changed.notify_all();
}

JournalSender::Lost JournalSender::Finish() {
    std::unique_lock lock(shared_->mutex);
    shared_->changed.wait_for(lock, kPatience, [this] { return shared_->waiting.empty(); });
    return {shared_->waiting.size() + shared_->tooMany + shared_->refused,
            shared_->error == 0 ? "" : std::generic_category().message(shared_->error)};
}

void Journal::TellTest(const Json& record) {
    const std::string& verdict = TextOf(record, "verdict");
    if (!IsFailure(verdict)) {
        return;
    }
    const std::string& card = TextOf(record, "card");
    const std::string test = TextOf(record, "group") + "." + TextOf(record, "test");
    const std::string& reason = TextOf(record, "reason");
    const std::string& waived = TextOf(record, "waived");
    JournalSender::Entry entry = EntryOf(record, kTestFailed,
                                         fmt::format("{} {} {}: {}{}", card, test, verdict, reason,
                                                     waived.empty() ? "" : " (waived)"),
                                         !waived.empty());
    Add(entry, "ZEL_CARD", card);
    Add(entry, "ZEL_PCIE", TextOf(record, "pcie"));
    Add(entry, "ZEL_UUID", uuids_[card]);
    Add(entry, "ZEL_TEST", test);
    Add(entry, "ZEL_REASON", reason);
    Add(entry, "ZEL_WAIVED", waived);
    Add(entry, "ZEL_SECONDS", fmt::format("{:.3f}", NumberOf(record, "seconds")));
    sender_.Send(std::move(entry));
}

void Journal::TellCard(const Json& record) {
    const std::string& verdict = TextOf(record, "verdict");
    if (verdict == "healthy") {
        return;
    }
    const std::string& card = TextOf(record, "card");
    const std::string reasons = Reasons(record);
    unhealthy_.push_back(fmt::format("{} {}", card, verdict));
    JournalSender::Entry entry = EntryOf(
        record, kCardUnhealthy,
        fmt::format("{} {}{}{}", card, verdict, reasons.empty() ? "" : ": ", reasons), false);
    Add(entry, "ZEL_CARD", card);
    Add(entry, "ZEL_PCIE", TextOf(record, "pcie"));
    Add(entry, "ZEL_UUID", uuids_[card]);
    Add(entry, "ZEL_REASON", reasons);
    sender_.Send(std::move(entry));
}

void Journal::TellRun(const Json& record) {
    std::vector<std::string> parts = unhealthy_;
    if (!note_.empty()) {
        parts.push_back(note_);
    }
    JournalSender::Entry entry =
        EntryOf(record, kRunFinished,
                fmt::format("run of plan {} {}{}{}", plan_, TextOf(record, "verdict"),
                            parts.empty() ? "" : ": ", fmt::join(parts, ", ")),
                false);
    Add(entry, "ZEL_PLAN", plan_);
    Add(entry, "ZEL_STATUS", fmt::format("{:.0f}", NumberOf(record, "status")));
    Add(entry, "ZEL_SECONDS", fmt::format("{:.3f}", NumberOf(record, "seconds")));
    sender_.Send(std::move(entry));
}

void Journal::Read(const Json& record) {
    const std::string& kind = TextOf(record, "record");
    if (kind == "run_started") {
        plan_ = TextOf(record, "plan");
    } else if (kind == "card_started") {
        uuids_[TextOf(record, "card")] = TextOf(record, "uuid");
    } else if (kind == "run_note") {
        note_ = note_.empty() ? Reasons(record) : note_;
    } else if (kind == "test_finished") {
        TellTest(record);
    } else if (kind == "card_finished") {
        TellCard(record);
    } else if (kind == "run_finished") {
        TellRun(record);
    }
}

std::string Journal::Close() {
    const JournalSender::Lost lost = sender_.Finish();
    return lost.entries == 0
               ? ""
               : fmt::format("the system's journal does not take entries{}{}; {} are not in it",
                             lost.why.empty() ? "" : ": ", lost.why, lost.entries);
}

}  // namespace zelhealth
