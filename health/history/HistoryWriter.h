// Stores each run in the history as it happens: a run that is killed leaves what it had told until then. What cannot
// be stored is tried again.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "history/HistoryFile.h"
#include "history/HistoryLimits.h"
#include "history/Tables.h"
#include "record/Record.h"
#include "run/Stop.h"

namespace zelhealth {

class HistoryWriter : public RecordReader {
public:
    // `tell` gets what people have to know, and what changes no verdict: a file that is damaged has been set aside.
    HistoryWriter(std::filesystem::path file, const HistoryLimits& limits,
                  std::function<void(const std::string&)> tell);

    void Read(const Json& record) override;

    // Makes room, and stores what could not be stored until now. Waits as long as another program has the file
    // locked, until `patience` is over or somebody wishes to end.
    void CatchUp(std::chrono::milliseconds patience, const Stop& stop);

    // What keeps records from being stored, now or for good; null when nothing does. The run goes on without a
    // history.
    std::optional<std::string> Error() const;

    // After the last record: takes out what is too old, and looks for damage.
    void Close();

private:
    using Clock = std::chrono::steady_clock;

    struct Failure {
        std::string text;
        bool isLock = false;  // of another program, which goes by itself
    };

    Json Numbered(const Json& record);
    void Begin(SQLite::Database& database);
    void Store(const Json& record, std::chrono::milliseconds patience);
    bool HoldsAll() const;
    void LookAfterFile();
    void SetAside(const std::string& damage);
    template <typename Action>
    void Try(const Action& action);
    void Fail(const std::string& why, bool isLock);

    HistoryFile file_;
    HistoryLimits limits_;
    std::function<void(const std::string&)> tell_;
    std::vector<Json>
        records_;  // of the run, to be stored again where the file was not to be had, or is new
    std::map<Json, int> numbers_;   // how often each test was done on each card
    std::optional<Tables> tables_;  // null where not all has been stored
    std::optional<Failure> failure_;
    Clock::time_point nextTry_;
    std::size_t lost_ = 0;  // records that came when no more could be kept
};

}  // namespace zelhealth
