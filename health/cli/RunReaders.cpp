#include "cli/RunReaders.h"

#include <algorithm>
#include <utility>

#include "cli/Host.h"
#include "history/HistoryFile.h"
#include "host/Folders.h"

namespace zelhealth {

OwnReports::OwnReports(const ReportFiles& files,
                       const std::function<void(const std::string&)>& tell)
    : reports_(files, tell) {}

void OwnReports::Read(const Json& record) {
    if (record["record"] != "test_progress") {
        reports_.Read(record);
    }
}

int OwnReports::Close(int status) {
    return reports_.Close() ? status : Worse(static_cast<ExitStatus>(status), kUnknown);
}

Keepers::Keepers(const Configuration& configuration, std::function<void(const std::string&)> tell,
                 std::chrono::milliseconds patience, const Stop& stop)
    : tell_(std::move(tell)), patience_(std::max(patience, kHistoryPatience)), stop_(stop) {
    if (configuration.storesHistory) {
        history_.emplace(Folders::FromEnvironment().state / kHistoryFile, configuration.history,
                         Complain);
    }
    if (configuration.sendsToJournal) {
        journal_.emplace();
    }
}

void Keepers::AddTo(std::vector<RecordReader*>& readers) {
    if (history_) {
        readers.push_back(&*history_);
    }
    if (journal_) {
        readers.push_back(&*journal_);
    }
}

bool Keepers::Failed() {
    if (!history_) {
        return false;
    }
    const auto begin = std::chrono::steady_clock::now();
    history_->CatchUp(patience_, stop_);
    const auto waited =
        std::chrono::ceil<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    patience_ -= std::min(patience_, waited);
    return history_->Error().has_value();
}

int Keepers::Close(int status) {
    if (history_) {
        history_->Close();
    }
    if (Failed()) {
        tell_(*history_->Error());
        status = Worse(static_cast<ExitStatus>(status), kUnknown);
    }
    // It keeps no answer from being one.
    if (const std::string lost = journal_ ? journal_->Close() : ""; !lost.empty()) {
        Complain(lost);
    }
    return status;
}

}  // namespace zelhealth
