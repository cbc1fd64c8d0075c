// Children that could not be ended: they hang in a call of the driver that does not return, and hold what
// they had. A note a process tells later runs which card that is, and what it keeps from others.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/Processes.h"

namespace zelhealth {

struct WedgedNote {
    std::string card;                    // "zel1"
    std::string test;                    // "dma.vdh2l"; "" when it was no test
    std::vector<std::string> resources;  // of the host, that it holds
    std::string since;
    ProcessId process;

    // "zel1 is wedged since 2026-11-21T20:15:04.123Z, pid 4711 (dma.vdh2l)"
    std::string Text() const;
};

class WedgedNotes {
public:
    explicit WedgedNotes(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // Notes a process that lives; one that has gone meanwhile needs none. Gives what went wrong.
    std::string Add(const std::string& card, const std::string& test,
                    const std::vector<std::string>& resources, pid_t pid) const;

    // Those whose process is still there. What is noted of others is removed.
    std::vector<WedgedNote> Living() const;

private:
    std::filesystem::path folder_;
};

}  // namespace zelhealth
