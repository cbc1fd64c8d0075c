// Usage modes by name, and how a card is moved into one.
#pragma once

#include <string>
#include <vector>

#include "ZelAccessApi.h"

namespace zelcard {

// "normal", "offline", ...; "mode 9" for a number that has no name.
std::string ModeName(ZEL_CARD_USAGE_MODE mode);

// The modes that a card can be asked to move to.
const std::vector<std::string>& SettableModes();

ZEL_CARD_USAGE_MODE ReadMode(HANDLE handle);

// Asks the open card to move. It may be on its way for a while when this returns.
void SetMode(HANDLE handle, const ZelDeviceOnSystem& device, const std::string& mode);

}  // namespace zelcard
