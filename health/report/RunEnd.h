// How a run ended, and when.
#pragma once

#include <string>
#include <string_view>

#include "record/Record.h"

namespace zelhealth {

// Collected from the records of one run. A run that was broken off has no good verdict, whatever its records
// said until then.
class RunEnd {
public:
    void Read(const Json& record);

    bool Finished() const { return finished_; }

    // "healthy", "degraded", "failed", "unknown", or "broken_off"
    std::string_view Verdict() const { return verdict_; }

    // The exit status, 3 of a run that was broken off.
    int Status() const { return status_; }

    double Seconds() const { return seconds_; }

    // Of the first record and of the last: "2026-11-21T20:15:04.123Z", or what stood there.
    const std::string& Began() const { return began_; }
    const std::string& LastTime() const { return last_; }

private:
    bool finished_ = false;
    bool isUnknown_ = false;  // something in it was judged by a verdict that nobody knows
    std::string_view verdict_ = "broken_off";
    int status_ = 3;
    double seconds_ = 0;
    std::string began_;
    std::string last_;
};

}  // namespace zelhealth
