// What a run writes beside its stream and beside what people see of it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "history/HistoryWriter.h"
#include "host/Configuration.h"
#include "readers/Journal.h"
#include "record/Record.h"
#include "report/Reports.h"

namespace zelhealth {

// Reports of the run itself, written when it is over.
class OwnReports : public RecordReader {
public:
    explicit OwnReports(const ReportFiles& files);

    void Read(const Json& record) override;

    // After the last record. Gives the status that it leaves of this one.
    int Close(int status);

private:
    Reports reports_;
};

// What outlives the run, asked for or not: the history, and the system's journal.
class Keepers {
public:
    // `tell` gets what makes the run's answer none.
    Keepers(const Configuration& configuration, std::function<void(const std::string&)> tell);

    void AddTo(std::vector<RecordReader*>& readers);

    // Whether the run's answer is none any more.
    bool Failed() const { return history_ && history_->Error(); }

    // After the last record. Gives the status that it leaves of this one.
    int Close(int status);

private:
    std::function<void(const std::string&)> tell_;
    std::optional<HistoryWriter> history_;
    std::optional<Journal> journal_;
};

}  // namespace zelhealth
