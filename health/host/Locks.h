// Keeps runs of zelhealth on one host out of each other's way.
//
// A lock is a file that is locked with flock, so that it is free when its holder has gone, however it
// went. Each card has one, and each resource that cards share. A card's may be held by several at once
// who all only look (shared), or by one who disturbs (exclusive). Who holds a lock stands in its file, a
// line a holder: pid, start time of that process, kind, since when, command. The files stay when they
// are free: to remove one would let two hold "the same" lock.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/Processes.h"
#include "run/Descriptor.h"
#include "run/Stop.h"

namespace zelhealth {

enum class LockKind { shared, exclusive };

struct LockHolder {
    ProcessId process;
    LockKind kind = LockKind::shared;
    std::string since;
    std::string command;

    // "pid 4711 (zelhealth run --plan standard) since 2026-11-21T20:15:04.123Z"
    std::string Text() const;
};

// A lock that is held, until this object goes. It is given up from the thread that has the object; the
// process's children do not inherit it.
class Lock {
public:
    Lock(Lock&&) noexcept = default;
    Lock& operator=(Lock&& other) noexcept;
    ~Lock();

private:
    friend class Locks;
    Lock(Descriptor file, std::string line) : file_(std::move(file)), line_(std::move(line)) {}

    Descriptor file_;
    std::string line_;  // ours, in the file
};

struct LockResult {
    std::optional<Lock> lock;

    // Without a lock: what went wrong, when it was not that others hold it ...
    std::string error;
    // ... and those who do. A holder that has not yet written its line is missing here.
    std::vector<LockHolder> holders;

    // Both in one text: "held by pid 4711 (...) since ...".
    std::string Why() const;
};

class Locks {
public:
    // The folder is made when a lock is first asked for.
    explicit Locks(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // Waits for the lock, no longer than `patience` and no longer than `stop` allows. With a patience of
    // 0 it looks once.
    LockResult Card(std::string_view card, LockKind kind, std::chrono::milliseconds patience,
                    const Stop& stop) const;
    LockResult Resource(std::string_view resource, std::chrono::milliseconds patience,
                        const Stop& stop) const;

    // Who holds a card now. Takes nothing.
    std::vector<LockHolder> CardHolders(std::string_view card) const;

private:
    LockResult Take(const std::string& name, LockKind kind, std::chrono::milliseconds patience,
                    const Stop& stop) const;

    std::filesystem::path folder_;
};

}  // namespace zelhealth
