// Runs of the tool that are under way on this host, whoever began them.
//
// Two runs at once are in each other's way: the DMA tests share a port, and a memory test takes the card
// from every other. Runs of zelhealth keep out of each other's way by locks; one that somebody else
// started can only be found.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/Processes.h"

namespace zelhealth {

struct ToolRun {
    enum class Kind {
        foreign,     // nobody of ours has started it
        ours,        // a zelhealth that lives has: this one or another
        leftBehind,  // the zelhealth that has is gone; it is being ended, or cannot be
    };

    Process process;
    Kind kind = Kind::foreign;

    // Whether its words choose this card ("zel1"), as those of every run of ours do.
    bool IsOn(const std::string& card) const;

    // "pid 4711 (ZelDiag -dma -all)"
    std::string Text() const;
};

// The file name under which the tool is delivered. Whoever starts it is likely to use it, also where a run
// of ours has been told another one.
inline constexpr char kToolName[] = "ZelDiag";

// All processes whose executable is the tool's, which is delivered under its name, or is called `tool`.
std::vector<ToolRun> FindToolRuns(const std::string& tool = kToolName,
                                  const std::filesystem::path& proc = "/proc");

// Those that somebody else started.
std::vector<ToolRun> FindForeignTools(const std::string& tool = kToolName,
                                      const std::filesystem::path& proc = "/proc");

}  // namespace zelhealth
