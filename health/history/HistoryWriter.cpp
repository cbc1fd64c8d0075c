#include "history/HistoryWriter.h"

#include <fmt/format.h>

#include <chrono>
#include <utility>

#include "record/Fields.h"

namespace zelhealth {

HistoryWriter::HistoryWriter(std::filesystem::path file, const HistoryLimits& limits,
                             std::function<void(const std::string&)> tell)
    : file_(std::move(file)), limits_(limits), tell_(std::move(tell)) {}

void HistoryWriter::Fail(const std::string& why) {
    tables_.reset();
    error_ = why;
}

// Stores what the run has told until now.
void HistoryWriter::Begin() {
    tables_.reset();
    tables_.emplace(file_.Open(HistoryAccess::write), records_.front());
    for (std::size_t i = 1; i < records_.size(); ++i) {
        tables_->Write(records_[i]);
    }
}

// With a new file in place of the damaged one.
void HistoryWriter::BeginAnew(const std::string& damage) {
    tables_.reset();
    if (const auto aside = file_.SetAside(); !aside.empty()) {
        tell_(fmt::format("{}; it is set aside as {}, and a new history begins", damage,
                          aside.string()));
    }
    Begin();
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
            BeginAnew(ErrorText(file_.Path(), error));
        }
    } catch (const SQLite::Exception& error) {
        Fail(ErrorText(file_.Path(), error));
    } catch (const std::runtime_error& error) {
        Fail(error.what());
    }
}

void HistoryWriter::Write(const Json& record) {
    // Somebody else has found the file damaged, and set it aside.
    const bool kept = records_.size() < kMostRecords;
    if (!file_.IsInPlace()) {
        Begin();
        if (kept) {
            return;
        }
    }
    tables_->Write(record);
}

void HistoryWriter::Read(const Json& record) {
    const std::string& kind = TextOf(record, "record");
    if (error_ || (kind != "run_started" && records_.empty()) || kind == "test_progress" ||
        kind == "test_started") {
        return;
    }
    if (kind == "run_started") {
        tables_.reset();
        records_.clear();
    }
    if (records_.size() < kMostRecords) {
        records_.push_back(record);
        records_.back().erase("evidence");
    }
    Try([&] {
        if (tables_) {
            Write(record);
        } else {
            Begin();
        }
    });
}

void HistoryWriter::Close() {
    if (error_ || !tables_) {
        return;
    }
    Try([this] {
        TakeOutOldest(tables_->Database(), tables_->Run(), limits_,
                      std::chrono::system_clock::now());
    });
    tables_.reset();
}

}  // namespace zelhealth
