#include "history/HistoryWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "history/Look.h"
#include "history/Retention.h"
#include "record/Fields.h"

namespace zelhealth {

using std::chrono::milliseconds;

namespace {

// No run waits for a file again and again while its tests go on.
constexpr milliseconds kAtOnce{0};
constexpr std::chrono::seconds kPause{10};
constexpr int kLookMilliseconds = 200;

// No row has this id.
constexpr std::int64_t kNoRun = 0;

}  // namespace

HistoryWriter::HistoryWriter(std::filesystem::path file, const HistoryLimits& limits,
                             std::function<void(const std::string&)> tell)
    : file_(std::move(file)), limits_(limits), tell_(std::move(tell)) {}

std::optional<std::string> HistoryWriter::Error() const {
    if (failure_) {
        return failure_->text;
    }
    return lost_ == 0 ? std::nullopt
                      : std::optional(fmt::format(
                            "{}: could not be written for so long that {} records of the run are "
                            "not in it; zelhealth history tells of the others",
                            file_.Path().string(), lost_));
}

void HistoryWriter::Fail(const std::string& why, bool isLock) {
    tables_.reset();
    failure_ = {why, isLock};
    nextTry_ = Clock::now() + kPause;
}

// The record as it is stored. Its number makes it the same one when it is stored a second time.
Json HistoryWriter::Numbered(const Json& record) {
    Json numbered = record;
    numbered.erase("evidence");
    if (TextOf(record, "record") == "test_finished") {
        numbered["number"] =
            ++numbers_[Json::array({TextOf(record, "card"), TextOf(record, "group"),
                                    TextOf(record, "test"), ListOf(record, "options")})];
    }
    return numbered;
}

bool HistoryWriter::HoldsAll() const {
    return tables_ && file_.IsInPlace();
}

// Stores what the run has told until now.
void HistoryWriter::Begin(SQLite::Database& database) {
    tables_.reset();
    tables_.emplace(database, records_.front());
    std::for_each(records_.begin() + 1, records_.end(),
                  [this](const Json& kept) { tables_->Write(kept); });
}

// Stores the record; where this is not the file that has those before it, these too.
void HistoryWriter::Store(const Json& record, milliseconds patience) {
    if (!HoldsAll()) {
        tables_.reset();
        Begin(file_.Open(HistoryAccess::write, patience));
    }
    tables_->Write(record);
}

// A new file begins in place of the damaged one.
void HistoryWriter::SetAside(const std::string& damage) {
    tables_.reset();
    if (const auto aside = file_.SetAside(); !aside.empty()) {
        tell_(fmt::format("{}; it is set aside as {}, and a new history begins", damage,
                          aside.string()));
    }
}

template <typename Action>
void HistoryWriter::Try(const Action& action) {
    try {
        try {
            action();
        } catch (const SQLite::Exception& error) {
            if (!IsDamage(error)) {
                throw;
            }
            SetAside(ErrorText(file_.Path(), error));
            action();
        }
        failure_.reset();
    } catch (const SQLite::Exception& error) {
        Fail(ErrorText(file_.Path(), error), IsLock(error));
    } catch (const std::runtime_error& error) {
        Fail(error.what(), false);
    }
}

void HistoryWriter::Read(const Json& record) {
    const std::string& kind = TextOf(record, "record");
    if ((kind != "run_started" && records_.empty()) || kind == "test_progress" ||
        kind == "test_started") {
        return;
    }
    if (kind == "run_started") {
        tables_.reset();
        failure_.reset();
        records_.clear();
        numbers_.clear();
        lost_ = 0;
    }
    const Json numbered = Numbered(record);
    const bool kept = records_.size() < limits_.records;
    if (kept) {
        records_.push_back(numbered);
    }
    if (!failure_) {
        Try([&] { Store(numbered, kHistoryPatience); });
    } else if (Clock::now() >= nextTry_) {
        Try([&] { Store(numbered, kAtOnce); });
    }
    lost_ += failure_ && !kept ? 1 : 0;
}

// The run is stored: what another program does not let be done now is done behind the next run.
void HistoryWriter::LookAfterFile() {
    try {
        TakeOutOldest(tables_->Database(), tables_->Run(), limits_,
                      std::chrono::system_clock::now());
        LookOnceADay(tables_->Database(), tables_->Run());
    } catch (const SQLite::Exception& error) {
        if (!IsLock(error)) {
            throw;
        }
    }
}

void HistoryWriter::CatchUp(milliseconds patience, const Stop& stop) {
    const Clock::time_point end = Clock::now() + patience;
    while (failure_) {
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
        Try([&] {
            SQLite::Database& database =
                file_.Open(HistoryAccess::write, std::clamp(left, kAtOnce, kHistoryPatience));
            // The log stays as small as it can be: room is what may be missing.
            database.exec("PRAGMA wal_autocheckpoint = 1");
            TakeOutOldest(database, kNoRun, limits_, std::chrono::system_clock::now());
            Begin(database);
        });
        if (failure_ &&
            (!failure_->isLock || Clock::now() >= end || stop.WaitFor(kLookMilliseconds))) {
            return;
        }
    }
}

void HistoryWriter::Close() {
    if (tables_) {
        Try([this] {
            if (!HoldsAll()) {
                tables_.reset();
                Begin(file_.Open(HistoryAccess::write));
            }
            LookAfterFile();
        });
    }
    tables_.reset();
}

}  // namespace zelhealth
