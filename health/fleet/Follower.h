// The streams of a step as they grow: a file a node, in a folder that the nodes share. What is kept of a node is
// how far it is; what it found is read again for the report when all is over.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "record/LineParser.h"
#include "run/Stop.h"

namespace zelhealth {

// How far a node is.
struct NodeProgress {
    using Clock = std::chrono::steady_clock;

    std::string name;
    std::size_t step = 0;  // in which it is asked
    bool asked = false;    // that step has begun; until then it may wait for its nodes
    bool began = false;
    bool ended = false;
    int status = 0;         // what was seen until now; of a run that ended, its own
    std::string failure;    // the first one, in a line
    std::size_t cards = 0;  // that have begun
    std::size_t tests = 0;  // that have ended
    Clock::time_point heard;
    Clock::time_point due;  // until then its silence is no wonder: a test may take its time

    bool IsSilent(Clock::time_point now) const { return asked && !ended && now > due; }
};

class Follower {
public:
    static constexpr std::size_t kMostFiles = 2000;

    // The nodes of each step.
    Follower(std::string folder, const std::vector<std::vector<std::string>>& steps,
             NodeProgress::Clock::time_point now);

    // Reads what has come, of no more than kMostFiles nodes: the next look goes on behind them. Gives the nodes
    // that have ended since.
    std::vector<const NodeProgress*> Look(NodeProgress::Clock::time_point now);

    const std::vector<NodeProgress>& Nodes() const { return progress_; }

    // Whether any node of a step has said anything, and of any step.
    bool Began(std::size_t step) const { return began_[step]; }
    bool Began() const;

private:
    // Longer than a step takes to start everywhere, than folders on a network take to show what is new, and than a
    // card takes from one usage mode to another.
    static constexpr std::chrono::seconds kPatience{240};

    bool LookAt(std::size_t index, NodeProgress::Clock::time_point now);
    static void Read(NodeProgress& node, const Json& record, NodeProgress::Clock::time_point now);

    void NoteBegun(NodeProgress::Clock::time_point now);

    std::string folder_;
    std::vector<bool> began_;  // of each step
    std::vector<NodeProgress> progress_;
    std::vector<off_t> read_;  // of each file, whole lines
    std::size_t next_ = 0;
    std::vector<char> buffer_;
    LineParser parser_;
};

}  // namespace zelhealth
