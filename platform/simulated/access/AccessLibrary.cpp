// The simulated card-access library.
#include "access/AccessLibrary.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "MmioRegisters.h"

namespace simulated {

namespace {

constexpr char kApiVersion[] = "3.1.2";
constexpr U32 kProcessorClass = 0x0B4000;  // co-processor

constexpr U32 kMmioBytes = 0x20000;

struct SboxDefault {
    U32 offset;
    U32 width;
    U64 value;
};

constexpr SboxDefault kSboxDefaults[] = {
#define SBOX_REGISTER(name, offset, size, default_value, origin) {offset, size, default_value},
#include "SboxRegisters.def"
#undef SBOX_REGISTER
};

// The SBOX at power-on, a word an element.
using SboxWords = std::array<U32, (kMmioBytes - ZEL_MMIO_SBOX) / 4>;

const SboxWords& PowerOnSbox() {
    static const SboxWords words = [] {
        SboxWords made{};
        for (const SboxDefault& row : kSboxDefaults) {
            made[row.offset / 4] = static_cast<U32>(row.value);
            if (row.width == 64)
                made[row.offset / 4 + 1] = static_cast<U32>(row.value >> 32);
        }
        return made;
    }();
    return words;
}

U32 ReadSbox(U32 offset, std::span<const SboxValue> changed) {
    for (const SboxValue& value : changed) {
        if (offset == value.offset)
            return static_cast<U32>(value.value);
        if (value.width == 64 && offset == value.offset + 4)
            return static_cast<U32>(value.value >> 32);
    }
    return PowerOnSbox()[offset / 4];
}

void Describe(const CardState& card, ZelDeviceOnSystem& record) {
    record = {};
    record.deviceId = card.deviceId;
    record.busNumber = card.pcie.bus;
    record.deviceNumber = card.pcie.device;
    const std::string_view name = card.name.View();
    std::memcpy(record.deviceName, name.data(),
                std::min(name.size(), sizeof(record.deviceName) - 1));
    record.node = card.node;
    record.subSystemId = card.subsystemId;
    record.classCode = kProcessorClass;
}

bool SameCard(const ZelDeviceOnSystem& a, const ZelDeviceOnSystem& b) {
    return a.node == b.node && a.deviceId == b.deviceId && a.busNumber == b.busNumber &&
           a.deviceNumber == b.deviceNumber && a.subSystemId == b.subSystemId &&
           std::memcmp(a.deviceName, b.deviceName, sizeof(a.deviceName)) == 0;
}

bool IsReadableFile(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISREG(status.st_mode) && access(path, R_OK) == 0;
}

}  // namespace

U32 AccessLibrary::Enumerate(ZelDeviceOnSystem* devices, U32 capacity) {
    devices_ = devices;
    const auto cards = host_->Cards();
    const U32 count = std::min(capacity, static_cast<U32>(cards.size()));
    for (U32 i = 0; i < count; ++i)
        Describe(cards[i], devices[i]);
    return count;
}

// A record does not tell cards apart that differ in PCI domain or function only. Of such cards the
// record's place among those that the caller got decides; a copy elsewhere stands for the first.
CardState* AccessLibrary::FindCard(const ZelDeviceOnSystem& device) const {
    CardState* found = nullptr;
    const auto cards = host_->Cards();
    for (std::size_t i = 0; i < cards.size(); ++i) {
        ZelDeviceOnSystem record{};
        Describe(cards[i], record);
        if (!SameCard(record, device))
            continue;
        if (&device == devices_ + i)
            return &cards[i];
        if (found == nullptr)
            found = &cards[i];
    }
    return found;
}

U32 AccessLibrary::OpenCard(const ZelDeviceOnSystem& device) {
    if (card_ != nullptr)
        return ZEL_ADAPTER_ALREADY_OPEN;
    CardState* card = FindCard(device);
    if (card == nullptr)
        return ZEL_NO_SUCH_DEVICE;
    const U32 status = host_->FailCardCall(*card, "ZelInitAdapter");
    if (status == 0)
        card_ = card;
    return status;
}

// A card that fails to close is closed all the same: nothing can be asked of it any more.
U32 AccessLibrary::CloseCard() {
    if (card_ == nullptr)
        return ZEL_NO_ADAPTER_OPEN;
    const U32 status = host_->FailCardCall(*card_, "ZelCloseAdapter");
    card_ = nullptr;
    return status;
}

U32 AccessLibrary::Version(_E_ZEL_VERSION_TYPE type, char* text, U32* length) const {
    std::string_view version;
    if (type == ZEL_VERSION_API)
        version = kApiVersion;
    else if (type == ZEL_VERSION_FLASH_IMAGE)
        version = card_->flashVersion.View();
    else
        return type < ZEL_VERSION_MAX ? ZEL_NOT_SUPPORTED : ZEL_INVALID_PARAMETER;
    if (version.size() >= *length)
        return ZEL_BUFFER_TOO_SMALL;
    std::memcpy(text, version.data(), version.size());
    text[version.size()] = '\0';
    *length = static_cast<U32>(version.size());
    return ZEL_SUCCESS;
}

U32 AccessLibrary::SetMode(ZEL_CARD_USAGE_MODE mode) {
    // Memory-diagnostic mode needs a handler image; the last three are no modes to ask for.
    if (mode == ZEL_USAGE_MODE_MEMDIAG || mode >= ZEL_USAGE_MODE_IN_TRANSITION)
        return ZEL_INVALID_PARAMETER;
    if (HostState::UsageModeOf(*card_) == ZEL_USAGE_MODE_IN_TRANSITION)
        return ZEL_ACCESS_DENIED;
    HostState::SetUsageMode(*card_, mode);
    return ZEL_SUCCESS;
}

U32 AccessLibrary::SetModeWithImage(ZEL_CARD_USAGE_MODE mode, const char* image) {
    if (mode != ZEL_USAGE_MODE_MEMDIAG)
        return SetMode(mode);
    const ZEL_CARD_USAGE_MODE present = HostState::UsageModeOf(*card_);
    if (present == ZEL_USAGE_MODE_NORMAL)
        return ZEL_DEVICE_IN_NORMAL_MODE;
    if (present == ZEL_USAGE_MODE_IN_TRANSITION)
        return ZEL_ACCESS_DENIED;
    if (!IsReadableFile(image))
        return ZEL_IMAGE_NOT_FOUND;
    HostState::SetUsageMode(*card_, mode);
    return ZEL_SUCCESS;
}

U32 AccessLibrary::ReadRegister(U32 offset, U32* value) const {
    if (offset % 4 != 0)
        return ZEL_INVALID_PARAMETER;
    if (offset >= kMmioBytes)
        return ZEL_OUT_OF_RANGE;
    if (offset == ZEL_MMIO_CPUID)
        *value = card_->cpuId;
    else if (offset == ZEL_MMIO_THREAD_ENABLE)
        *value = card_->threadMask;
    else if (offset >= ZEL_MMIO_SBOX)
        *value = ReadSbox(offset - ZEL_MMIO_SBOX, host_->Sbox(*card_));
    else
        *value = 0;
    return ZEL_SUCCESS;
}

U32 AccessLibrary::ReadMemory(U64 address, void* buffer, U32 bytes, U32 width, U32 caching) {
    if (const U32 status = CheckMemoryAccess(address, bytes, width, caching))
        return status;
    Memory().Read(address, buffer, bytes);
    return ZEL_SUCCESS;
}

U32 AccessLibrary::WriteMemory(U64 address, const void* buffer, U32 bytes, U32 width, U32 caching) {
    if (const U32 status = CheckMemoryAccess(address, bytes, width, caching))
        return status;
    Memory().Write(address, buffer, bytes);
    return ZEL_SUCCESS;
}

U32 AccessLibrary::CheckMemoryAccess(U64 address, U32 bytes, U32 width, U32 caching) const {
    constexpr U32 kNotCached = 0;
    if (HostState::UsageModeOf(*card_) != ZEL_USAGE_MODE_MEMDIAG)
        return ZEL_ACCESS_DENIED;
    if (width == 0 || width > 8 || !std::has_single_bit(width) || caching != kNotCached)
        return ZEL_INVALID_PARAMETER;
    const bool inside = bytes <= card_->memoryBytes && address <= card_->memoryBytes - bytes;
    return inside ? ZEL_SUCCESS : ZEL_OUT_OF_RANGE;
}

CardMemory& AccessLibrary::Memory() {
    const auto found = memories_
                           .try_emplace(card_, card_->memoryBytes, host_->MemoryFaults(*card_),
                                        host_->AddressFaults(*card_))
                           .first;
    return found->second;
}

}  // namespace simulated
