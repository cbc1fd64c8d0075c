// A card's usage mode, as all programs of its host see it.
//
// A card that is on its way to a mode says when it arrives, in the same word, so that no program finds
// half a change and nobody has to be there to end it.
#pragma once

#include <atomic>

#include "ZelAccessApi.h"

namespace simulated {

class UsageMode {
public:
    struct Value {
        ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_NORMAL;  // in which it is, or to which it goes
        U64 arrives = 0;  // by the host's clock; 0: it is there, and the host has followed
        ZEL_CARD_USAGE_MODE At(U64 now) const {
            return now < arrives ? ZEL_USAGE_MODE_IN_TRANSITION : mode;
        }
    };

    Value Load() const { return Unpacked(word_); }
    void Store(const Value& value) { word_ = Packed(value); }

    // Forgets when the card arrived, unless it has been moved since `seen`.
    void Settle(const Value& seen) {
        U64 expected = Packed(seen);
        word_.compare_exchange_strong(expected, Packed({.mode = seen.mode}));
    }

private:
    static constexpr unsigned int kModeBits = 8;

    static U64 Packed(const Value& value) { return value.arrives << kModeBits | U64{value.mode}; }
    static Value Unpacked(U64 word) {
        return {static_cast<ZEL_CARD_USAGE_MODE>(word & 0xFF), word >> kModeBits};
    }

    std::atomic<U64> word_{0};
};

static_assert(std::atomic<U64>::is_always_lock_free);

}  // namespace simulated
