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

void HistoryWriter::Begin() {
    tables_.reset();
    tables_.emplace(file_.Open(HistoryAccess::write), runStarted_);
}

// Once, with a new file in place of the damaged one.
template <typename Action>
void HistoryWriter::TryAgain(const std::string& damage, const Action& action) {
    try {
        tables_.reset();
        if (const auto aside = file_.SetAside(); !aside.empty()) {
            tell_(fmt::format("{}; it is set aside as {}, and a new history begins", damage,
                              aside.string()));
        }
        action();
    } catch (const SQLite::Exception& error) {
        Fail(ErrorText(file_.Path(), error));
    } catch (const std::runtime_error& error) {
        Fail(error.what());
    }
}

template <typename Action>
void HistoryWriter::Try(const Action& action) {
    try {
        action();
    } catch (const SQLite::Exception& error) {
        const std::string text = ErrorText(file_.Path(), error);
        if (IsDamage(error)) {
            TryAgain(text, action);
        } else {
            Fail(text);
        }
    } catch (const std::runtime_error& error) {
        Fail(error.what());
    }
}

void HistoryWriter::Read(const Json& record) {
    const bool begins = TextOf(record, "record") == "run_started";
    if (error_ || (!begins && !tables_)) {
        return;
    }
    if (begins) {
        runStarted_ = record;
        Try([this] { Begin(); });
        return;
    }
    Try([&] {
        if (!tables_) {
            Begin();
        }
        tables_->Write(record);
    });
}

void HistoryWriter::Close() {
    if (error_ || !tables_) {
        return;
    }
    Try([this] {
        if (tables_) {
            TakeOutOldest(tables_->Database(), tables_->Run(), limits_,
                          std::chrono::system_clock::now());
        }
    });
    tables_.reset();
}

}  // namespace zelhealth
