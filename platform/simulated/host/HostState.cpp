// The state of a simulated host.
#include "host/HostState.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <type_traits>

#include "common/UniqueFd.h"
#include "fleet/CardKeys.h"
#include "fleet/FaultKeys.h"
#include "host/HostClock.h"
#include "host/ModeChange.h"

namespace simulated {

namespace {

constexpr U64 kMicroseconds = 1000;  // in a millisecond

constexpr U64 kMagic = 0x31'6D69'736C'657AULL;  // "zelsim1"

[[noreturn]] void Throw(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// Where the lists of a host with these cards lie, one behind the other.
class Layout {
public:
    explicit Layout(std::size_t begin) : end_(begin) {}

    template <typename Element>
    Range Place(std::size_t count) {
        end_ = (end_ + alignof(Element) - 1) / alignof(Element) * alignof(Element);
        const Range range{static_cast<U32>(end_), static_cast<U32>(count)};
        end_ += count * sizeof(Element);
        return range;
    }
    std::size_t End() const { return end_; }

private:
    std::size_t end_;
};

// Copies each card's list behind those of the cards before it.
template <typename Element, typename Copy>
Range Append(std::span<Element> all, U32& used, std::size_t count, Copy copy) {
    const Range range{used, static_cast<U32>(count)};
    for (std::size_t i = 0; i < count; ++i)
        copy(all[used++], i);
    return range;
}

// The first fault that is due. Every fault of the call counts it, so that two faults of one call are
// independent of each other.
std::optional<Mishap> FindMishap(std::span<FaultState> faults, std::string_view call) {
    std::optional<Mishap> found;
    for (FaultState& fault : faults) {
        if (fault.call != call)
            continue;
        const U32 before = fault.calls.fetch_add(1);
        const bool due = before >= fault.skip;
        const bool over = fault.count != 0 && before - fault.skip >= fault.count;
        if (due && !over && !found)
            found = {.status = fault.status, .delay = fault.delay, .blocks = fault.block};
    }
    return found;
}

// Whether a card's part of a list lies in it.
bool Holds(const Range& list, const Range& part) {
    return U64{part.first} + part.count <= list.count;
}

// Whether all elements of a list have values that a fleet file can give them.
template <typename Object, std::size_t Count, typename Element>
bool AreSound(const Key<Object> (&keys)[Count], std::span<Element> list) {
    return std::all_of(list.begin(), list.end(), [&keys](const Object& object) {
        return DamageOf(keys, object) == Damage::None;
    });
}

}  // namespace

template <typename Element>
std::span<Element> HostState::Elements(const Range& bytes) const {
    auto* first = static_cast<std::byte*>(memory_) + bytes.first;
    return {reinterpret_cast<Element*>(first), bytes.count};
}

void HostState::Create(const std::string& path, const Fleet& fleet) {
    std::size_t cardFaults = 0;
    std::size_t memoryFaults = 0;
    std::size_t addressFaults = 0;
    std::size_t dmaFaults = 0;
    std::size_t sbox = 0;
    for (const Card& card : fleet.cards) {
        cardFaults += card.faults.size();
        memoryFaults += card.memoryFaults.size();
        addressFaults += card.addressFaults.size();
        dmaFaults += card.dmaFaults.size();
        sbox += card.sbox.size();
    }
    Layout layout(sizeof(Header));
    Header header{};
    header.magic = kMagic;
    header.cards = layout.Place<CardState>(fleet.cards.size());
    header.hostFaults = layout.Place<FaultState>(fleet.faults.size());
    header.cardFaults = layout.Place<FaultState>(cardFaults);
    header.memoryFaults = layout.Place<MemoryFault>(memoryFaults);
    header.addressFaults = layout.Place<AddressFault>(addressFaults);
    header.dmaFaults = layout.Place<DmaFault>(dmaFaults);
    header.sbox = layout.Place<SboxValue>(sbox);
    header.bytes = layout.End();

    const platform::UniqueFd file(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    // Programs of other users see the cards too, and their usage.
    if (file.Get() < 0 || fchmod(file.Get(), 0644) != 0 ||
        ftruncate(file.Get(), static_cast<off_t>(layout.End())) != 0)
        Throw(path);
    void* memory = mmap(nullptr, layout.End(), PROT_READ | PROT_WRITE, MAP_SHARED, file.Get(), 0);
    if (memory == MAP_FAILED)
        Throw(path);
    HostState state(memory, layout.End());
    std::memcpy(memory, &header, sizeof(header));
    state.head_ = header;

    const auto hostFaultStates = state.Elements<FaultState>(header.hostFaults);
    for (std::size_t i = 0; i < fleet.faults.size(); ++i)
        static_cast<Fault&>(hostFaultStates[i]) = fleet.faults[i];
    U32 usedFaults = 0;
    U32 usedMemoryFaults = 0;
    U32 usedAddressFaults = 0;
    U32 usedDmaFaults = 0;
    U32 usedSbox = 0;
    for (std::size_t i = 0; i < fleet.cards.size(); ++i) {
        const Card& card = fleet.cards[i];
        CardState& cardState = state.Cards()[i];
        static_cast<CardFacts&>(cardState) = card;
        cardState.usageMode.Store({.mode = card.firstMode});
        cardState.faults =
            Append(state.Elements<FaultState>(header.cardFaults), usedFaults, card.faults.size(),
                   [&](Fault& out, std::size_t n) { out = card.faults[n]; });
        cardState.memoryFaults =
            Append(state.Elements<MemoryFault>(header.memoryFaults), usedMemoryFaults,
                   card.memoryFaults.size(),
                   [&](MemoryFault& out, std::size_t n) { out = card.memoryFaults[n]; });
        cardState.addressFaults =
            Append(state.Elements<AddressFault>(header.addressFaults), usedAddressFaults,
                   card.addressFaults.size(),
                   [&](AddressFault& out, std::size_t n) { out = card.addressFaults[n]; });
        cardState.dmaFaults =
            Append(state.Elements<DmaFault>(header.dmaFaults), usedDmaFaults, card.dmaFaults.size(),
                   [&](DmaFault& out, std::size_t n) { out = card.dmaFaults[n]; });
        cardState.sbox = Append(state.Elements<SboxValue>(header.sbox), usedSbox, card.sbox.size(),
                                [&](SboxValue& out, std::size_t n) { out = card.sbox[n]; });
    }
}

std::unique_ptr<HostState> HostState::Open(const std::string& path, Access access) {
    const bool change = access == Access::Change;
    // Nothing that is no regular file is waited for.
    const platform::UniqueFd file(
        open(path.c_str(), (change ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!file.IsValid() && (errno == ENOENT || errno == ENOTDIR))
        return nullptr;
    struct stat status {};
    if (!file.IsValid() || fstat(file.Get(), &status) != 0)
        throw HostStateError(path, std::strerror(errno), errno);
    const auto bytes = static_cast<std::size_t>(status.st_size);
    if (!S_ISREG(status.st_mode) || bytes < sizeof(Header))
        throw HostStateError(path, "it is damaged: no state of a host", EIO);
    void* memory = mmap(nullptr, bytes, change ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED,
                        file.Get(), 0);
    if (memory == MAP_FAILED)
        throw HostStateError(path, std::strerror(errno), errno);
    std::unique_ptr<HostState> state(new HostState(memory, bytes));
    std::memcpy(&state->head_, memory, sizeof(Header));
    const std::string damage = state->Damage();
    if (!damage.empty())
        throw HostStateError(path, "it is damaged: " + damage, EIO);
    return state;
}

template <typename Element>
bool HostState::IsInside(const Range& list) const {
    return list.first >= sizeof(Header) && list.first % alignof(Element) == 0 &&
           list.first + U64{list.count} * sizeof(Element) <= bytes_;
}

std::string HostState::Damage() const {
    if (head_.magic != kMagic)
        return "no state of a host";
    if (head_.bytes != bytes_)
        return "it is not as long as it says";
    if (!IsInside<CardState>(head_.cards) || !IsInside<FaultState>(head_.hostFaults) ||
        !IsInside<FaultState>(head_.cardFaults) || !IsInside<MemoryFault>(head_.memoryFaults) ||
        !IsInside<AddressFault>(head_.addressFaults) || !IsInside<DmaFault>(head_.dmaFaults) ||
        !IsInside<SboxValue>(head_.sbox))
        return "a list lies outside of it";
    if (head_.cards.count > kMaxCards)
        return "it has more cards than a host";
    if (!AreSound(kFaultKeys, Elements<const FaultState>(head_.hostFaults)) ||
        !AreSound(kFaultKeys, Elements<const FaultState>(head_.cardFaults)))
        return "a call's fault is invalid";
    if (!AreSound(kDmaFaultKeys, Elements<const DmaFault>(head_.dmaFaults)))
        return "a data line's fault is invalid";
    if (!AreSound(kAddressFaultKeys, Elements<const AddressFault>(head_.addressFaults)))
        return "an address line's fault is invalid";
    for (const CardState& card : Cards()) {
        if (std::string damage = DamageOf(card); !damage.empty())
            return damage;
    }
    return "";
}

std::string HostState::DamageOf(const CardState& card) const {
    if (!Holds(head_.cardFaults, card.faults) || !Holds(head_.memoryFaults, card.memoryFaults) ||
        !Holds(head_.addressFaults, card.addressFaults) ||
        !Holds(head_.dmaFaults, card.dmaFaults) || !Holds(head_.sbox, card.sbox))
        return "a card's list lies outside of the cards'";
    switch (simulated::DamageOf(kCardKeys, card)) {
        case Damage::NoEnd:
            return "a card's text has no end";
        case Damage::NoValue:
            return "a card is invalid";
        case Damage::None:
            break;
    }
    const auto cells = MemoryFaults(card);
    const bool inside = std::all_of(cells.begin(), cells.end(), [&card](const MemoryFault& fault) {
        return fault.address < card.memoryBytes;
    });
    return inside && AreSound(kMemoryFaultKeys, cells) ? "" : "a cell's fault is invalid";
}

HostState::~HostState() {
    munmap(memory_, bytes_);
}

std::span<CardState> HostState::Cards() const {
    return Elements<CardState>(head_.cards);
}

std::span<const MemoryFault> HostState::MemoryFaults(const CardState& card) const {
    return Elements<const MemoryFault>(head_.memoryFaults)
        .subspan(card.memoryFaults.first, card.memoryFaults.count);
}

std::span<const AddressFault> HostState::AddressFaults(const CardState& card) const {
    return Elements<const AddressFault>(head_.addressFaults)
        .subspan(card.addressFaults.first, card.addressFaults.count);
}

std::span<const DmaFault> HostState::DmaFaults(const CardState& card) const {
    return Elements<const DmaFault>(head_.dmaFaults)
        .subspan(card.dmaFaults.first, card.dmaFaults.count);
}

std::span<const SboxValue> HostState::Sbox(const CardState& card) const {
    return Elements<const SboxValue>(head_.sbox).subspan(card.sbox.first, card.sbox.count);
}

ZEL_CARD_USAGE_MODE HostState::UsageModeOf(const CardState& card) {
    const UsageMode::Value value = card.usageMode.Load();
    const ZEL_CARD_USAGE_MODE mode = value.At(HostClock());
    // Whoever finds the card where it goes may use it at once: the host must be there, too.
    if (value.arrives != 0 && mode == value.mode)
        TellModeChange();
    return mode;
}

void HostState::SetUsageMode(CardState& card, ZEL_CARD_USAGE_MODE mode) {
    const bool takesTime =
        card.modeChange != 0 && mode != ZEL_USAGE_MODE_IN_TRANSITION && mode != UsageModeOf(card);
    const U64 arrives = HostClock() + card.modeChange * kMicroseconds;
    card.usageMode.Store({.mode = mode, .arrives = takesTime ? arrives : 0});
    TellModeChange();
}

void HostState::AwaitUsageMode(const CardState& card) {
    const U64 arrives = card.usageMode.Load().arrives;
    if (arrives == 0)
        return;
    SleepUntil(arrives);
    TellModeChange();
}

std::optional<Mishap> HostState::FindHostMishap(std::string_view call) const {
    return FindMishap(Elements<FaultState>(head_.hostFaults), call);
}

std::optional<Mishap> HostState::FindCardMishap(const CardState& card,
                                                std::string_view call) const {
    const auto faults = Elements<FaultState>(head_.cardFaults);
    auto mishap = FindMishap(faults.subspan(card.faults.first, card.faults.count), call);
    if (mishap)
        mishap->unending = mishap->blocks && card.hangOnKill;
    return mishap;
}

U32 HostState::FailHostCall(std::string_view call) const {
    const auto mishap = FindHostMishap(call);
    return mishap ? Undergo(*mishap) : 0;
}

U32 HostState::FailCardCall(const CardState& card, std::string_view call) const {
    const auto mishap = FindCardMishap(card, call);
    return mishap ? Undergo(*mishap) : 0;
}

}  // namespace simulated
