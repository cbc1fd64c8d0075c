// What the cards of a host share, such as the port of the DMA tests: one test at a time has it. Within a
// run it is given out here; between runs by locks.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "run/Stop.h"

namespace zelhealth {

using Names = std::vector<std::string>;

class Resources {
public:
    using Clock = std::chrono::steady_clock;

    // Waits until one of the wishes can be fulfilled, takes what it names, and gives its place in the
    // list. Those that share most go first, so that what is scarce is not left idle; else the first of
    // the list. A wish for something that is held for good is fulfilled at once: who has it is told by
    // Why. Null when it is wished to stop, or the time is over.
    std::optional<std::size_t> Take(const std::vector<Names>& wishes, Clock::time_point until,
                                    const Stop& stop);

    void Give(const Names& names);

    // What these name is not given back any more: a child that cannot be killed has it. `why` says so.
    void HoldForGood(const Names& names, const std::string& why);

    // Who holds one of these for good; null when nobody does.
    std::optional<std::string> Why(const Names& names) const;

private:
    std::optional<std::size_t> Choose(const std::vector<Names>& wishes) const;
    bool IsFree(const Names& names) const;
    bool IsHeldForGood(const Names& names) const;

    mutable std::mutex mutex_;
    std::condition_variable given_;
    std::set<std::string> taken_;
    std::map<std::string, std::string> heldForGood_;
};

// What was taken, until this object goes.
class Taken {
public:
    Taken(Resources& resources, const Names& names) : resources_(&resources), names_(&names) {}
    Taken(Taken&& other) noexcept
        : resources_(std::exchange(other.resources_, nullptr)), names_(other.names_) {}
    Taken& operator=(Taken&&) = delete;
    ~Taken() {
        if (resources_ != nullptr) {
            resources_->Give(*names_);
        }
    }

private:
    Resources* resources_;
    const Names* names_;
};

}  // namespace zelhealth
