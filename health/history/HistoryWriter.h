// Stores each run in the history as it happens: a run that is killed leaves what it had told until then.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "history/HistoryFile.h"
#include "history/Retention.h"
#include "history/Tables.h"
#include "record/Record.h"

namespace zelhealth {

class HistoryWriter : public RecordReader {
public:
    // `tell` gets what people have to know, and what changes no verdict: a file that is damaged has been set aside.
    HistoryWriter(std::filesystem::path file, const HistoryLimits& limits,
                  std::function<void(const std::string&)> tell);

    void Read(const Json& record) override;

    // What kept any record from being stored; null when nothing did. The run goes on without a history.
    const std::optional<std::string>& Error() const { return error_; }

    // After the last record: takes out what is too old.
    void Close();

private:
    // More than any plan has; what comes behind them cannot be stored a second time.
    static constexpr std::size_t kMostRecords = 50000;

    void Write(const Json& record);
    void Begin();
    template <typename Action>
    void Try(const Action& action);
    void BeginAnew(const std::string& damage);
    void Fail(const std::string& why);

    HistoryFile file_;
    HistoryLimits limits_;
    std::function<void(const std::string&)> tell_;
    std::vector<Json> records_;  // of the run, to be stored again where a new file begins
    std::optional<Tables> tables_;
    std::optional<std::string> error_;
};

}  // namespace zelhealth
