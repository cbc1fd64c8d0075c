#include "run/Reserve.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace zelhealth {

namespace {

// Enough for the records of a run's end; nothing touches it, so that it takes room only.
constexpr std::size_t kBytes = 8UL * 1024 * 1024;

}  // namespace

std::atomic<void*> Reserve::memory_{nullptr};
std::atomic<bool> Reserve::used_{false};
std::atomic<Stop*> Reserve::wish_{nullptr};

Reserve::Reserve() noexcept {
    memory_ = std::malloc(kBytes);
    std::set_new_handler(Use);
}

Reserve::~Reserve() {
    std::set_new_handler(nullptr);
    std::free(memory_.exchange(nullptr));
}

bool Reserve::IsUsed() {
    return used_;
}

// Called by whichever thread gets no memory, which then tries again. Without a handler that throws.
void Reserve::Use() {
    void* const memory = memory_.exchange(nullptr);
    if (memory == nullptr) {
        std::set_new_handler(nullptr);
    }
    std::free(memory);
    used_ = true;
    if (Stop* const wish = wish_) {
        wish->Request();
    }
}

ReserveWatch::ReserveWatch(Stop& wish) {
    Reserve::wish_ = &wish;
    if (Reserve::IsUsed()) {
        wish.Request();
    }
}

ReserveWatch::~ReserveWatch() {
    Reserve::wish_ = nullptr;
}

}  // namespace zelhealth
