// Memory that is put by for the time when there is no more: a run then ends in order, takes its cards back
// and says why, instead of breaking off wherever it is. What libraries do in their destructors cannot fail
// otherwise than by ending the process.
#pragma once

#include <atomic>

#include "run/Stop.h"

namespace zelhealth {

// One in a process, from its start to its end.
class Reserve {
public:
    Reserve() noexcept;
    ~Reserve();
    Reserve(const Reserve&) = delete;
    Reserve& operator=(const Reserve&) = delete;

    // Whether it had to be given up.
    static bool IsUsed();

private:
    static void Use();

    static std::atomic<void*> memory_;
    static std::atomic<bool> used_;
    static std::atomic<Stop*> wish_;
    friend class ReserveWatch;
};

// As long as this lives, a stop is wished as soon as the reserve is given up.
class ReserveWatch {
public:
    explicit ReserveWatch(Stop& wish);
    ~ReserveWatch();
    ReserveWatch(const ReserveWatch&) = delete;
    ReserveWatch& operator=(const ReserveWatch&) = delete;
};

}  // namespace zelhealth
