// Passes a run's records on, but for the last.
#pragma once

#include <utility>
#include <vector>

#include "readers/Outcome.h"
#include "record/Record.h"

namespace zelhealth {

// Holds the last record back, which tells the status, until all that can change this has been done.
class HeldEnd : public RecordReader {
public:
    explicit HeldEnd(std::vector<RecordReader*> readers) : readers_(std::move(readers)) {}

    void Read(const Json& record) override {
        if (record["record"] == "run_finished") {
            end_ = record;
        } else {
            Pass(record);
        }
    }

    // With the status that the run has in the end.
    void Close(int status) {
        if (!end_.is_null()) {
            end_["status"] = status;
            end_["verdict"] = VerdictOf(static_cast<Status>(status));
            Pass(end_);
        }
    }

private:
    void Pass(const Json& record) {
        for (RecordReader* const reader : readers_) {
            reader->Read(record);
        }
    }

    std::vector<RecordReader*> readers_;
    Json end_;
};

}  // namespace zelhealth
