// The simulated card-access library: what the exported functions do, on the cards of one host.
#pragma once

#include <memory>
#include <vector>

#include "HostState.h"
#include "ZelAccessApi.h"

namespace simulated {

class AccessLibrary {
public:
    explicit AccessLibrary(std::unique_ptr<HostState> host) : host_(std::move(host)) {}

    const HostState& Host() const { return *host_; }

    // Fills the records of the first `capacity` cards; returns how many.
    U32 Enumerate(ZelDeviceOnSystem* devices, U32 capacity) const;

    U32 OpenCard(const ZelDeviceOnSystem& device);
    U32 CloseCard();

    // The open card, or null.
    CardState* Card() const { return card_; }

    U32 Version(_E_ZEL_VERSION_TYPE type, char* text, U32* length) const;
    U32 SetMode(ZEL_CARD_USAGE_MODE mode);
    U32 SetModeWithImage(ZEL_CARD_USAGE_MODE mode, const char* image);
    U32 ReadRegister(U32 offset, U32* value) const;

private:
    std::unique_ptr<HostState> host_;
    CardState* card_ = nullptr;
};

}  // namespace simulated
