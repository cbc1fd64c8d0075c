// Asks for usage modes and sets them, each mode by the call that the card wants for it.
#include "Modes.h"

#include <algorithm>
#include <array>

#include "Generation.h"
#include "Library.h"

namespace zelcard {

namespace {

constexpr std::array<const char*, 7> kNames = {
    "normal", "maintenance", "zombie", "memdiag", "normal_restricted", "offline", "in_transition"};

// What the cards run in memory-diagnostic mode.
constexpr char kCurrentImage[] = "/usr/share/hosk/boot/memdiag-kernel.emberridge.elf";
constexpr char kOlderImage[] = "/usr/share/flash/MFG/md_handler_ev1x.elf";

}  // namespace

std::string ModeName(ZEL_CARD_USAGE_MODE mode) {
    return mode < kNames.size() ? kNames[mode] : "mode " + std::to_string(mode);
}

// Without the states into which a card comes by itself.
const std::vector<std::string>& SettableModes() {
    static const std::vector<std::string> modes = {"normal", "offline", "memdiag", "maintenance"};
    return modes;
}

ZEL_CARD_USAGE_MODE ReadMode(HANDLE handle) {
    ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_NOP;
    Check("ZelGetUsageMode", ZelGetUsageMode(handle, &mode));
    return mode;
}

void SetMode(HANDLE handle, const ZelDeviceOnSystem& device, const std::string& mode) {
    const auto* const name = std::find(kNames.begin(), kNames.end(), mode);
    const auto wanted = static_cast<ZEL_CARD_USAGE_MODE>(name - kNames.begin());
    if (wanted == ZEL_USAGE_MODE_MEMDIAG) {
        const char* const image = IsCurrentGeneration(device) ? kCurrentImage : kOlderImage;
        Check("ZelSetUsageModeExtn", ZelSetUsageModeExtn(handle, wanted, 0, image, ""));
        return;
    }
    Check("ZelSetUsageMode", ZelSetUsageMode(handle, wanted));
}

}  // namespace zelcard
