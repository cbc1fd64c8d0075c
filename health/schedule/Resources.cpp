#include "schedule/Resources.h"

#include <algorithm>

namespace zelhealth {

namespace {

// A stop is looked for that often. What is given back is heard of at once.
constexpr std::chrono::milliseconds kLook{50};

}  // namespace

std::optional<std::size_t> Resources::Take(const std::vector<Names>& wishes,
                                           Clock::time_point until, const Stop& stop) {
    std::unique_lock lock(mutex_);
    while (!stop.Requested() && Clock::now() < until) {
        if (const auto chosen = Choose(wishes)) {
            if (!IsHeldForGood(wishes[*chosen])) {
                auto taken = taken_;
                taken.insert(wishes[*chosen].begin(), wishes[*chosen].end());
                taken_.swap(taken);
            }
            return chosen;
        }
        given_.wait_for(lock, kLook);
    }
    return std::nullopt;
}

void Resources::Give(const Names& names) {
    const std::lock_guard lock(mutex_);
    for (const std::string& name : names) {
        taken_.erase(name);
    }
    given_.notify_all();
}

void Resources::HoldForGood(const Names& names, const std::string& why) {
    const std::lock_guard lock(mutex_);
    for (const std::string& name : names) {
        heldForGood_.emplace(name, why);
    }
    given_.notify_all();
}

std::optional<std::string> Resources::Why(const Names& names) const {
    const std::lock_guard lock(mutex_);
    for (const std::string& name : names) {
        if (const auto held = heldForGood_.find(name); held != heldForGood_.end()) {
            return held->second;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> Resources::Choose(const std::vector<Names>& wishes) const {
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < wishes.size(); ++i) {
        const bool possible = IsFree(wishes[i]) || IsHeldForGood(wishes[i]);
        if (possible && (!best || wishes[i].size() > wishes[*best].size())) {
            best = i;
        }
    }
    return best;
}

bool Resources::IsFree(const Names& names) const {
    return std::none_of(names.begin(), names.end(),
                        [this](const std::string& name) { return taken_.contains(name); });
}

bool Resources::IsHeldForGood(const Names& names) const {
    return std::any_of(names.begin(), names.end(),
                       [this](const std::string& name) { return heldForGood_.contains(name); });
}

}  // namespace zelhealth
