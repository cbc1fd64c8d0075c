// What a run writes beside its stream and beside what people see of it.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "history/HistoryWriter.h"
#include "host/Configuration.h"
#include "readers/Journal.h"
#include "record/Record.h"
#include "report/Reports.h"
#include "run/Stop.h"

namespace zelhealth {

// Reports of the run itself, written when it is over.
class OwnReports : public RecordReader {
public:
    // `tell` gets what cannot be written.
    OwnReports(const ReportFiles& files, const std::function<void(const std::string&)>& tell);

    void Read(const Json& record) override;

    // After the last record. Gives the status that it leaves of this one.
    int Close(int status);

private:
    Reports reports_;
};

// What outlives the run, asked for or not: the history, and the system's journal.
class Keepers {
public:
    // `tell` gets what makes the run's answer none. `patience` is for what others hold, unless somebody wishes to
    // end.
    Keepers(const Configuration& configuration, std::function<void(const std::string&)> tell,
            std::chrono::milliseconds patience, const Stop& stop);

    void AddTo(std::vector<RecordReader*>& readers);

    // In front of the last record, and behind it: stores what could not be stored until now. Whether the run's
    // answer is none any more.
    bool Failed();

    // After the last record. Gives the status that it leaves of this one.
    int Close(int status);

private:
    std::function<void(const std::string&)> tell_;
    std::chrono::milliseconds patience_;  // what is left of it
    const Stop& stop_;
    std::optional<HistoryWriter> history_;
    std::optional<Journal> journal_;
};

}  // namespace zelhealth
