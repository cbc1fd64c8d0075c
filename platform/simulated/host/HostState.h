// The state of a simulated host: its cards as the fleet file made them, and what changes while
// programs run there (usage modes, how often each fault has been passed).
//
// The state is one file on the host, mapped by every program that asks the simulated libraries: a
// second command sees what the first one did. What changes is atomic; everything else is written
// once, before the first program starts.
//
// Only root may write it, every user may look. What it holds is checked when it is mapped, so that
// no offset leads out of it; only root could spoil it afterwards, or cut it off under those who have
// it mapped, which ends them with SIGBUS.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "fleet/Fleet.h"
#include "fleet/UsageMode.h"
#include "host/Mishap.h"

namespace simulated {

// Where the state lies on the simulated host, and nowhere else.
inline constexpr char kStateFile[] = "/run/zelsim/state";

struct FaultState : Fault {
    std::atomic<U32> calls;
};

struct Range {
    U32 first;
    U32 count;
};

struct CardState : CardFacts {
    UsageMode usageMode;
    Range faults;
    Range memoryFaults;
    Range addressFaults;
    Range dmaFaults;
    Range sbox;
};

static_assert(std::atomic<U32>::is_always_lock_free);

// Whether the card's own operating system runs in this mode, and takes connections.
inline bool IsReachable(const CardState& card, ZEL_CARD_USAGE_MODE mode) {
    return card.ssh != SshState::Down && mode == ZEL_USAGE_MODE_NORMAL;
}

// Why a state cannot be had although there is one: "FILE: reason".
class HostStateError : public std::runtime_error {
public:
    HostStateError(const std::string& path, const std::string& reason, int error)
        : std::runtime_error(path + ": " + reason), error_(error) {}

    int Error() const { return error_; }  // as an errno value

private:
    int error_;
};

class HostState {
public:
    // To look is all that users other than root may do: neither calls nor modes can be changed then.
    enum class Access { Change, Look };

    // Writes the state of a new host. Throws std::system_error.
    static void Create(const std::string& path, const Fleet& fleet);

    // Maps a host's state; null when there is none, as on a machine that is no simulated host. Throws
    // HostStateError.
    static std::unique_ptr<HostState> Open(const std::string& path = kStateFile,
                                           Access access = Access::Change);

    ~HostState();
    HostState(const HostState&) = delete;
    HostState& operator=(const HostState&) = delete;

    std::span<CardState> Cards() const;
    std::span<const MemoryFault> MemoryFaults(const CardState& card) const;
    std::span<const AddressFault> AddressFaults(const CardState& card) const;
    std::span<const DmaFault> DmaFaults(const CardState& card) const;
    std::span<const SboxValue> Sbox(const CardState& card) const;

    // The usage mode in which a card is, when the host has followed it there.
    static ZEL_CARD_USAGE_MODE UsageModeOf(const CardState& card);

    // Moves a card to another usage mode, and returns when the host has followed. A card whose changes
    // take time is on its way by then, and arrives by itself.
    static void SetUsageMode(CardState& card, ZEL_CARD_USAGE_MODE mode);

    // Waits for the end of a change of usage mode that is under way.
    static void AwaitUsageMode(const CardState& card);

    // What is to become of this call of the host, or of the card; nothing happens to it without a fault.
    // Counts the call.
    std::optional<Mishap> FindHostMishap(std::string_view call) const;
    std::optional<Mishap> FindCardMishap(const CardState& card, std::string_view call) const;

    // The same, and lets it happen. The status with which the call is to fail; 0 when it passes.
    U32 FailHostCall(std::string_view call) const;
    U32 FailCardCall(const CardState& card, std::string_view call) const;

private:
    // The file: this, then the lists. A range here counts elements behind a byte offset.
    struct Header {
        U64 magic;
        U64 bytes;  // of the whole file
        Range cards;
        Range hostFaults;
        Range cardFaults;
        Range memoryFaults;
        Range addressFaults;
        Range dmaFaults;
        Range sbox;
    };

    HostState(void* memory, std::size_t bytes) : memory_(memory), bytes_(bytes) {}

    // What does not hold together; empty when everything does.
    std::string Damage() const;
    std::string DamageOf(const CardState& card) const;
    template <typename Element>
    bool IsInside(const Range& list) const;

    template <typename Element>
    std::span<Element> Elements(const Range& bytes) const;

    void* memory_;
    std::size_t bytes_;
    Header head_{};  // as it was when it was checked
};

}  // namespace simulated
