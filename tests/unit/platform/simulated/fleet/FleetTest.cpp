#include "fleet/Fleet.h"

#include <gtest/gtest.h>

#include <set>

namespace simulated {
namespace {

TEST(DefaultCard, CurrentGeneration) {
    const Card card = DefaultCard(Generation::Er1x);
    EXPECT_EQ(card.name, "Ostrel(R) Vimbra(TM) Coprocessor");
    EXPECT_EQ(card.deviceId, 0x00501F5AU);
    EXPECT_EQ(card.subsystemId, 0x00021F5AU);
    EXPECT_EQ(card.revisionId, 0x20U);
}

TEST(DefaultCard, OlderGeneration) {
    const Card card = DefaultCard(Generation::Ev1x);
    EXPECT_EQ(card.name,
              "Ostrel(R) Vimbra(TM) Software Development Vehicle (formerly known as "
              "\"Ember Vale\")");
    EXPECT_EQ(card.deviceId, 0x00401F5AU);
    EXPECT_EQ(card.subsystemId, 0x00011F5AU);
    EXPECT_EQ(card.revisionId, 0x10U);
}

TEST(DefaultCard, IsHealthy) {
    for (const Generation generation : {Generation::Er1x, Generation::Ev1x}) {
        SCOPED_TRACE(GenerationName(generation));
        const Card card = DefaultCard(generation);
        EXPECT_EQ(card.linkSpeed, U32{LINK_SPEED_5});
        EXPECT_EQ(card.linkWidth, U32{LINK_WIDTH_16});
        EXPECT_EQ(card.postCode, "12");
        EXPECT_EQ(card.firstMode, ZEL_USAGE_MODE_NORMAL);
        EXPECT_EQ(card.cores, 60U);
        EXPECT_EQ(card.cpuId >> 12 & 0xF, 0xBU);
        EXPECT_EQ(card.threadMask, 0xFU);
        EXPECT_EQ(card.smcFirmware, 0x0110002AU);
        EXPECT_EQ(card.smcHardware, 0x00030002U);
        EXPECT_EQ(card.uuid[0], 0x00U);
        EXPECT_EQ(card.uuid[15], 0xFFU);
        EXPECT_EQ(card.flashVersion, "2.1.02.0390");
        EXPECT_EQ(card.memoryBytes, U64{8} << 30);
        EXPECT_EQ(card.memoryVendor, "Elmwood");
        EXPECT_EQ(card.memoryType, "GDDR5");
        EXPECT_EQ(card.memorySpeed, 5000000U);
        EXPECT_EQ(card.memoryDensity, 8192U);
        EXPECT_EQ(card.memoryRevision, 1U);
        EXPECT_EQ(card.ssh, SshState::Up);
        EXPECT_EQ(card.modeChange, 0U);
        EXPECT_FALSE(card.hangOnKill);
        EXPECT_TRUE(card.sbox.empty());
        EXPECT_TRUE(card.faults.empty());
        EXPECT_TRUE(card.memoryFaults.empty());
        EXPECT_TRUE(card.addressFaults.empty());
    }
}

TEST(DefaultUuid, IsOneOfItsOwnForEveryCardOfTheLargestHost) {
    EXPECT_EQ(DefaultUuid(0), DefaultCard(Generation::Er1x).uuid);
    EXPECT_EQ(DefaultUuid(1)[14], 0xEFU);
    EXPECT_EQ(DefaultUuid(1)[15], 0x00U);
    std::set<std::array<U8, 16>> uuids;
    for (U32 i = 0; i < kMaxCards; ++i)
        uuids.insert(DefaultUuid(i));
    EXPECT_EQ(uuids.size(), kMaxCards);
}

TEST(DefaultAddress, IsOneOfItsOwnForEveryCardOfTheLargestHost) {
    EXPECT_EQ(ToText(DefaultAddress(0)), "0000:02:00.0");
    EXPECT_EQ(ToText(DefaultAddress(1)), "0000:03:00.0");
    EXPECT_EQ(ToText(DefaultAddress(253)), "0000:ff:00.0");
    EXPECT_EQ(ToText(DefaultAddress(254)), "0001:00:00.0");
    std::set<PcieAddress> addresses;
    for (U32 i = 0; i < kMaxCards; ++i)
        addresses.insert(DefaultAddress(i));
    EXPECT_EQ(addresses.size(), kMaxCards);
}

}  // namespace
}  // namespace simulated
