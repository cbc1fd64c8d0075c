// What is made of stored runs: each output gets every run, and of each run every record.
#pragma once

#include <memory>
#include <string>

#include "record/Record.h"

namespace zelhealth {

// Which run it is: ids are made by hosts, each for itself.
struct RunName {
    std::string host;
    std::string run;

    bool operator==(const RunName&) const = default;
};

// Gets the records of one run, and nothing of others.
class RunReader : public RecordReader {
public:
    // No more of its records come: after run_finished, or where the run was broken off.
    virtual void End() = 0;
};

class Output {
public:
    virtual ~Output() = default;

    // A reader of a run that begins; never null. Others may be open, and the output outlives them all.
    virtual std::unique_ptr<RunReader> Begin(const RunName& name) = 0;

    // All runs have ended. Throws std::runtime_error when something could not be written.
    virtual void Close() = 0;
};

}  // namespace zelhealth
