// What a run comes to: its verdict, and the exit status, which is that of monitoring plugins.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "record/Record.h"

namespace zelhealth {

// 2 wins over 3, and 3 over 1.
enum class Status {
    ok = 0,        // every expected card is there, and every planned test passed
    warning = 1,   // nothing failed, but something was not judged, or was waived
    critical = 2,  // a card failed
    unknown = 3,   // the question could not be answered
};

Status Worse(Status one, Status other);

// "healthy", "degraded", "failed", "unknown"
std::string_view VerdictOf(Status status);

// Whether a test with this verdict has found something bad, and whether it ran and gave an answer at all.
bool IsFailure(std::string_view testVerdict);
bool IsAnswer(std::string_view testVerdict);

// What a record of a test says about the run.
Status StatusOfTest(const Json& testFinished);

// What the reasons of a record say, which have a status each.
Status StatusOfReasons(const Json& reasons);

// Collects it from the records of one run.
class Outcome : public RecordReader {
public:
    void Read(const Json& record) override;

    // Something that no record tells: the stream could not be written.
    void Add(Status status) { status_ = Worse(status_, status); }

    Status Get() const { return status_; }

    // How many tests had which verdict: {"passed": 12, "failed": 1}.
    const std::map<std::string, int>& Counts() const { return counts_; }

    // Whether the run came to its end.
    bool Finished() const { return finished_; }

private:
    Status status_ = Status::ok;
    std::map<std::string, int> counts_;
    bool finished_ = false;
};

}  // namespace zelhealth
