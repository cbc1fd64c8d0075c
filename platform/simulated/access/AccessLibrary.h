// The simulated card-access library: what the exported functions do, on the cards of one host.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "ZelAccessApi.h"
#include "host/CardMemory.h"
#include "host/HostState.h"

namespace simulated {

class AccessLibrary {
public:
    explicit AccessLibrary(std::unique_ptr<HostState> host) : host_(std::move(host)) {}

    const HostState& Host() const { return *host_; }

    // Fills the records of the first `capacity` cards; returns how many. The place of `devices` is kept,
    // never read again.
    U32 Enumerate(ZelDeviceOnSystem* devices, U32 capacity);

    U32 OpenCard(const ZelDeviceOnSystem& device);
    U32 CloseCard();

    // The open card, or null.
    CardState* Card() const { return card_; }

    U32 Version(_E_ZEL_VERSION_TYPE type, char* text, U32* length) const;
    U32 SetMode(ZEL_CARD_USAGE_MODE mode);
    U32 SetModeWithImage(ZEL_CARD_USAGE_MODE mode, const char* image);
    U32 ReadRegister(U32 offset, U32* value) const;

    // The open card's memory, in memory-diagnostic mode. What was written is kept, each card's for
    // itself, as long as this object lives.
    U32 ReadMemory(U64 address, void* buffer, U32 bytes, U32 width, U32 caching);
    U32 WriteMemory(U64 address, const void* buffer, U32 bytes, U32 width, U32 caching);

private:
    CardState* FindCard(const ZelDeviceOnSystem& device) const;
    U32 CheckMemoryAccess(U64 address, U32 bytes, U32 width, U32 caching) const;
    CardMemory& Memory();

    std::unique_ptr<HostState> host_;
    const ZelDeviceOnSystem* devices_ = nullptr;  // the caller's records
    CardState* card_ = nullptr;
    std::map<const CardState*, CardMemory> memories_;
};

}  // namespace simulated
