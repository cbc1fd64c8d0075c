// A state with values that no fleet file gives is refused, with the reason.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>

#include "host/HostState.h"

namespace simulated {
namespace {

struct Wrong {
    const char* what;
    std::function<void(Fleet&)> make;
    const char* reason;
};

template <typename Value>
void Fill(Value& value, int byte) {
    std::memset(static_cast<void*>(&value), byte, sizeof(value));
}

const Wrong kWrong[] = {
    {"text", [](Fleet& fleet) { Fill(fleet.cards[0].postCode, 'x'); }, "a card's text has no end"},
    {"memory", [](Fleet& fleet) { fleet.cards[0].memoryBytes = (U64{64} << 30) + 1; },
     "a card is invalid"},
    {"time", [](Fleet& fleet) { fleet.cards[0].modeChange = 24 * 60 * 60 * 1000 + 1; },
     "a card is invalid"},
    {"flag", [](Fleet& fleet) { Fill(fleet.cards[0].hangOnKill, 2); }, "a card is invalid"},
    {"name of a call", [](Fleet& fleet) { Fill(fleet.cards[0].faults[0].call, 'x'); },
     "a call's fault is invalid"},
    {"time of a call", [](Fleet& fleet) { fleet.faults[0].delay = 24 * 60 * 60 * 1000 + 1; },
     "a call's fault is invalid"},
    {"cell outside", [](Fleet& fleet) { fleet.cards[0].memoryFaults[0].address = U64{8} << 30; },
     "a cell's fault is invalid"},
    {"bit of a cell", [](Fleet& fleet) { fleet.cards[0].memoryFaults[0].bit = 8; },
     "a cell's fault is invalid"},
    {"address line", [](Fleet& fleet) { fleet.cards[0].addressFaults[0].line = 36; },
     "an address line's fault is invalid"},
    {"other address line", [](Fleet& fleet) { fleet.cards[0].addressFaults[0].with = 36; },
     "an address line's fault is invalid"},
    {"word", [](Fleet& fleet) { fleet.cards[0].dmaFaults[0].word = 1024; },
     "a data line's fault is invalid"},
    {"bit of a word", [](Fleet& fleet) { fleet.cards[0].dmaFaults[0].bit = 32; },
     "a data line's fault is invalid"},
};

Fleet Sound() {
    Card card = DefaultCard(Generation::Er1x);
    card.faults = {{.call = "ZelGetUUID"}};
    card.memoryFaults = {{.address = (U64{8} << 30) - 1, .bit = 7}};
    card.addressFaults = {{.line = 35, .swaps = true, .with = 34}};
    card.dmaFaults = {{.toCard = true, .word = 1023, .bit = 31}};
    return {.faults = {{.call = "ZelInitAPI", .delay = 24 * 60 * 60 * 1000}}, .cards = {card}};
}

// Empty where the state is taken.
std::string RefusalOf(const Fleet& fleet) {
    char folder[] = "/tmp/host-damage-XXXXXX";
    if (mkdtemp(folder) == nullptr)
        throw std::system_error(errno, std::generic_category(), folder);
    const std::string path = std::string(folder) + "/state";
    std::string refusal;
    try {
        HostState::Create(path, fleet);
        HostState::Open(path);
    } catch (const HostStateError& error) {
        refusal = std::string(error.what()).substr(path.size() + 2);
    }
    std::filesystem::remove_all(folder);
    return refusal;
}

TEST(HostDamage, ValuesAtTheirLimitsAreNone) {
    EXPECT_EQ(RefusalOf(Sound()), "");
}

TEST(HostDamage, OtherValuesAreRefused) {
    for (const Wrong& wrong : kWrong) {
        Fleet fleet = Sound();
        wrong.make(fleet);
        EXPECT_EQ(RefusalOf(fleet), std::string("it is damaged: ") + wrong.reason) << wrong.what;
    }
}

}  // namespace
}  // namespace simulated
