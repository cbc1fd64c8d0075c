#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "fleet/Fleet.h"

namespace simulated {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

std::string Repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

Card OnlyCard(const std::string& text) {
    const Fleet fleet = ParseFleet(text, "fleet.toml");
    EXPECT_THAT(fleet.cards, SizeIs(1)) << text;
    return fleet.cards.at(0);
}

TEST(FleetFile, HostWithoutCards) {
    for (const char* text : {"", "# nothing\n", "[host]\n", "\r\n"}) {
        const Fleet fleet = ParseFleet(text, "fleet.toml");
        EXPECT_THAT(fleet.cards, SizeIs(0)) << text;
        EXPECT_EQ(fleet.hoskVersion, "3.1.2") << text;
    }
}

TEST(FleetFile, PlacesCardsBesideTheNodesThatAreGiven) {
    const Fleet fleet =
        ParseFleet("[[card]]\n[[card]]\nnode = 0\n[[card]]\nnode = 1\n[[card]]\n", "x");
    ASSERT_EQ(fleet.cards.size(), 4U);
    EXPECT_EQ(fleet.cards[0].node, 2);
    EXPECT_EQ(fleet.cards[1].node, 0);
    EXPECT_EQ(fleet.cards[2].node, 1);
    EXPECT_EQ(fleet.cards[3].node, 3);
}

TEST(FleetFile, HostStack) {
    EXPECT_EQ(ParseFleet("[host]\nhosk_version = \"4.0\"", "f").hoskVersion, "4.0");
    EXPECT_EQ(ParseFleet("[host]\nhosk_version = \"\"", "f").hoskVersion, "");
}

TEST(FleetFile, CardWithoutKeysIsACurrentOne) {
    const Card card = OnlyCard("[[card]]");
    EXPECT_EQ(card.generation, Generation::Er1x);
    EXPECT_EQ(card.name, DefaultCard(Generation::Er1x).name);
    EXPECT_EQ(ToText(card.pcie), "0000:02:00.0");
}

TEST(FleetFile, GenerationPresetsTheOtherKeysWhereverItStands) {
    const Card card = OnlyCard("[[card]]\nrevision_id = 0x11\ngeneration = \"ev1x\"");
    EXPECT_EQ(card.generation, Generation::Ev1x);
    EXPECT_EQ(card.deviceId, DefaultCard(Generation::Ev1x).deviceId);
    EXPECT_EQ(card.revisionId, 0x11U);
}

TEST(FleetFile, EveryKeyReachesTheCard) {
    const Card card = OnlyCard(R"(
[[card]]
generation = "ev1x"
name = "Some Card"
pcie = "0001:83:01.2"
node = 7
device_id = 0x12345678
subsystem_id = 0x9ABCDEF0
revision_id = 0xFFFFFFFF
link_speed = 3
link_width = 8
post_code = "3C"
usage_mode = "offline"
mode_change = "3s"
hang_on_kill = true
cores = 0
cpuid = 0xA000
thread_mask = 0x7
smc_firmware = "2.3.4"
smc_hardware = 0x00020003
uuid = "ffeeddcc-bbaa-9988-7766-554433221100"
flash_version = "9.9"
memory_size = "16GiB"
memory_vendor = "Other"
memory_type = "GDDR6"
memory_speed = 1
memory_density = 2
memory_revision = 3
ssh = "down"
[card.sbox]
SBOX_OC_I2C_ICR = 0x1
SBOX_APICRT0 = 0x100000000
[[card.fault]]
call = "ZelGetUUID"
status = 4294967295
skip = 2
count = 0
[[card.fault]]
call = "vorl_open"
[[card.fault]]
call = "vorl_recv"
block = true
[[card.fault]]
call = "vorl_send"
delay = "250ms"
[[card.fault]]
call = "vorl_bind"
delay = "2min"
status = 98
block = false
[[card.memory_fault]]
address = 0x3FFFFFFFF
bit = 7
stuck = 0
[[card.memory_fault]]
address = 0
every = 4096
[[card.address_fault]]
line = 33
[[card.address_fault]]
line = 0
swapped_with = 20
[[card.dma_fault]]
to = "card"
word = 1023
bit = 31
stuck = 0
[[card.dma_fault]]
to = "host"
[card.vpu_fault]
operation = "reduce"
lane = 15
[card.cache_fault]
operation = "lost"
line = 255
)");
    EXPECT_EQ(card.name, "Some Card");
    EXPECT_EQ(card.pcie, (PcieAddress{1, 0x83, 1, 2}));
    EXPECT_EQ(card.node, 7U);
    EXPECT_EQ(card.deviceId, 0x12345678U);
    EXPECT_EQ(card.subsystemId, 0x9ABCDEF0U);
    EXPECT_EQ(card.revisionId, 0xFFFFFFFFU);
    EXPECT_EQ(card.linkSpeed, 3U);
    EXPECT_EQ(card.linkWidth, 8U);
    EXPECT_EQ(card.postCode, "3C");
    EXPECT_EQ(card.firstMode, ZEL_USAGE_MODE_OFFLINE);
    EXPECT_EQ(card.modeChange, 3000U);
    EXPECT_TRUE(card.hangOnKill);
    EXPECT_EQ(card.cores, 0U);
    EXPECT_EQ(card.cpuId, 0xA000U);
    EXPECT_EQ(card.threadMask, 7U);
    EXPECT_EQ(card.smcFirmware, 0x02030004U);
    EXPECT_EQ(card.smcHardware, 0x00020003U);
    EXPECT_EQ(card.uuid[0], 0xFFU);
    EXPECT_EQ(card.flashVersion, "9.9");
    EXPECT_EQ(card.memoryBytes, U64{16} << 30);
    EXPECT_EQ(card.memoryVendor, "Other");
    EXPECT_EQ(card.memoryType, "GDDR6");
    EXPECT_EQ(card.memorySpeed, 1U);
    EXPECT_EQ(card.memoryDensity, 2U);
    EXPECT_EQ(card.memoryRevision, 3U);
    EXPECT_EQ(card.ssh, SshState::Down);

    ASSERT_THAT(card.sbox, SizeIs(2));
    EXPECT_EQ(card.sbox[0].offset, 0xA840U);
    EXPECT_EQ(card.sbox[0].width, 64U);
    EXPECT_EQ(card.sbox[0].value, U64{1} << 32);
    EXPECT_EQ(card.sbox[1].offset, 0x1000U);
    EXPECT_EQ(card.sbox[1].width, 32U);

    ASSERT_THAT(card.faults, SizeIs(5));
    EXPECT_EQ(card.faults[0].call, "ZelGetUUID");
    EXPECT_EQ(card.faults[0].status, 0xFFFFFFFFU);
    EXPECT_EQ(card.faults[0].skip, 2U);
    EXPECT_EQ(card.faults[0].count, 0U);
    EXPECT_EQ(card.faults[1].status, U32{ZEL_DEVICE_IO_ERROR});
    EXPECT_EQ(card.faults[1].skip, 0U);
    EXPECT_EQ(card.faults[1].count, 1U);
    EXPECT_FALSE(card.faults[1].block);
    EXPECT_EQ(card.faults[1].delay, 0U);
    EXPECT_TRUE(card.faults[2].block);
    EXPECT_EQ(card.faults[2].status, 0U);
    EXPECT_FALSE(card.faults[3].block);
    EXPECT_EQ(card.faults[3].delay, 250U);
    EXPECT_EQ(card.faults[3].status, 0U) << "it passes when its time is over";
    EXPECT_EQ(card.faults[4].delay, 120'000U);
    EXPECT_EQ(card.faults[4].status, 98U);
    EXPECT_FALSE(card.faults[4].block);

    ASSERT_THAT(card.memoryFaults, SizeIs(2));
    EXPECT_EQ(card.memoryFaults[0].address, 0x3FFFFFFFFU);
    EXPECT_EQ(card.memoryFaults[0].bit, 7U);
    EXPECT_EQ(card.memoryFaults[0].stuck, 0U);
    EXPECT_EQ(card.memoryFaults[0].every, 0U);
    EXPECT_EQ(card.memoryFaults[1].every, 4096U);

    const std::vector<AddressFault> addressFaults = {{.line = 33},
                                                     {.line = 0, .swaps = true, .with = 20}};
    EXPECT_EQ(card.addressFaults, addressFaults);

    ASSERT_THAT(card.dmaFaults, SizeIs(2));
    EXPECT_TRUE(card.dmaFaults[0].toCard);
    EXPECT_EQ(card.dmaFaults[0].word, 1023U);
    EXPECT_EQ(card.dmaFaults[0].bit, 31U);
    EXPECT_EQ(card.dmaFaults[0].stuck, 0U);
    EXPECT_FALSE(card.dmaFaults[1].toCard);
    EXPECT_EQ(card.dmaFaults[1].word, 0U);
    EXPECT_EQ(card.dmaFaults[1].bit, 0U);
    EXPECT_EQ(card.dmaFaults[1].stuck, 1U);

    EXPECT_EQ(card.vpuFault, (CoreFault{"reduce", 15}));
    EXPECT_EQ(card.cacheFault, (CoreFault{"lost", 255}));
}

TEST(FleetFile, EveryOperationOfTheCoresCanGoWrong) {
    EXPECT_EQ(OnlyCard("[[card]]").vpuFault, CoreFault());
    EXPECT_EQ(OnlyCard("[[card]]").cacheFault, CoreFault());
    for (const std::string operation :
         {"add", "subtract", "multiply", "fma", "shuffle", "compare", "reduce"}) {
        const Card card = OnlyCard("[[card]]\n[card.vpu_fault]\noperation = \"" + operation + "\"");
        EXPECT_EQ(card.vpuFault, (CoreFault{operation, 0}));
        EXPECT_EQ(card.cacheFault, CoreFault());
    }
    for (const std::string operation : {"walk", "link", "write", "pingpong", "lost"}) {
        const Card card =
            OnlyCard("[[card]]\n[card.cache_fault]\noperation = \"" + operation + "\"");
        EXPECT_EQ(card.cacheFault, (CoreFault{operation, 0}));
        EXPECT_EQ(card.vpuFault, CoreFault());
    }
}

TEST(FleetFile, LimitsAreAccepted) {
    EXPECT_EQ(OnlyCard("[[card]]\nname = \"" + std::string(254, 'n') + "\"").name.View().size(),
              254U);
    EXPECT_EQ(OnlyCard("[[card]]\nname = \"\"").name, "");
    EXPECT_EQ(
        OnlyCard("[[card]]\npost_code = \"" + std::string(15, 'F') + "\"").postCode.View().size(),
        15U);
    EXPECT_EQ(OnlyCard("[[card]]\nmemory_size = 0").memoryBytes, 0U);
    EXPECT_EQ(OnlyCard("[[card]]\nmemory_size = 68719476736").memoryBytes, U64{64} << 30);
    EXPECT_EQ(OnlyCard("[[card]]\nnode = 65534").node, 65534U);
    EXPECT_THAT(ParseFleet(Repeated("[[card]]\n", kMaxCards), "f").cards, SizeIs(kMaxCards));
    EXPECT_EQ(OnlyCard("[[card]]\nmode_change = \"0s\"").modeChange, 0U);
    EXPECT_EQ(OnlyCard("[[card]]\nmode_change = \"24h\"").modeChange, 86'400'000U);
}

TEST(FleetFile, FaultsOfTheHost) {
    const Fleet fleet = ParseFleet("[[fault]]\ncall = \"ZelInitAPI\"\nstatus = 6", "f");
    ASSERT_THAT(fleet.faults, SizeIs(1));
    EXPECT_EQ(fleet.faults[0].call, "ZelInitAPI");
    EXPECT_EQ(fleet.faults[0].status, 6U);
}

TEST(FleetFile, CardWithoutAddressGoesBesideThoseThatHaveOne) {
    const Fleet fleet = ParseFleet(R"(
[[card]]
[[card]]
[[card]]
pcie = "0000:02:00.0"
[[card]]
pcie = "0000:03:00.0"
[[card]]
)",
                                   "f");
    ASSERT_THAT(fleet.cards, SizeIs(5));
    EXPECT_EQ(ToText(fleet.cards[0].pcie), "0000:04:00.0");
    EXPECT_EQ(ToText(fleet.cards[1].pcie), "0000:05:00.0");
    EXPECT_EQ(ToText(fleet.cards[4].pcie), "0000:06:00.0");
    for (U32 i = 0; i < fleet.cards.size(); ++i)
        EXPECT_EQ(fleet.cards[i].node, i) << "the node is the card's number, wherever the card is";
}

TEST(FleetFile, CardsHaveUuidsOfTheirOwn) {
    const std::string given = "[[card]]\nuuid = \"ffeeddcc-bbaa-9988-7766-554433221100\"\n";
    const Fleet fleet = ParseFleet("[[card]]\n" + given + "[[card]]\n[[card]]\n", "f");
    EXPECT_EQ(fleet.cards[0].uuid, DefaultUuid(0));
    EXPECT_EQ(fleet.cards[1].uuid[0], 0xFFU);
    EXPECT_EQ(fleet.cards[2].uuid, DefaultUuid(2));
    EXPECT_EQ(fleet.cards[3].uuid, DefaultUuid(3));
}

struct Refusal {
    const char* text;
    const char* error;
};

void PrintTo(const Refusal& refusal, std::ostream* out) {
    *out << refusal.error;
}

class FleetFileRefuses : public testing::TestWithParam<Refusal> {};

TEST_P(FleetFileRefuses, WithFileLineAndReason) {
    const Refusal& refusal = GetParam();
    try {
        ParseFleet(refusal.text, "my.toml");
        FAIL() << "accepted:\n" << refusal.text;
    } catch (const FleetError& error) {
        const std::string what = error.what();
        EXPECT_EQ(what, refusal.error) << refusal.text;
        EXPECT_EQ(what.find('\n'), what.npos) << what;
    }
}

constexpr Refusal kRefusals[] = {
    {"[[card]]\ncoers = 3", "my.toml:2: unknown key \"coers\"; did you mean \"cores\"?"},
    {"[host]\n\n\"a\\nb\" = 3", "my.toml:3: unknown key \"a?b\"; known here: hosk_version"},
    {"[[crad]]", "my.toml:1: unknown key \"crad\"; did you mean \"card\"?"},
    {"[host]\nhosk = \"1\"", "my.toml:2: unknown key \"hosk\"; known here: hosk_version"},
    {"hosk_version = \"1\"",
     "my.toml:1: unknown key \"hosk_version\"; known here: host, fault, card"},
    {"[host]\nhosk_version = 3", "my.toml:2: hosk_version takes a text in quotes"},
    {"host = 3", "my.toml:1: host is a table: [host]"},
    {"[card]", "my.toml:1: card is a list of tables: [[card]]"},
    {"card = [1]", "my.toml:1: card is a list of tables: [[card]]"},
    {"[[card]]\ngeneration = \"er2x\"", "my.toml:2: generation takes \"er1x\" or \"ev1x\""},
    {"[[card]]\nname = 3", "my.toml:2: name takes a text in quotes"},
    {"[[card]]\nname = \"a\\u0000b\"", "my.toml:2: name holds a NUL character"},
    {"[[card]]\npost_code = \"0123456789ABCDEF\"",
     "my.toml:2: post_code takes at most 15 bytes, this has 16"},
    {"[[card]]\nmemory_vendor = \"123456789012345678901234567890123\"",
     "my.toml:2: memory_vendor takes at most 32 bytes, this has 33"},
    {"[[card]]\npcie = \"02:00.0\"", "my.toml:2: pcie takes an address such as \"0000:02:00.0\""},
    {"[[card]]\npcie = 2", "my.toml:2: pcie takes an address such as \"0000:02:00.0\""},
    {"[[card]]\npcie = \"0000:05:00.0\"\n[[card]]\n[[card]]\npcie = \"0000:05:00.0\"",
     "my.toml:5: zel2 is on 0000:05:00.0, and so is zel0"},
    {"[[card]]\n[[card]]\nnode = 4\n[[card]]\nnode = 4",
     "my.toml:5: zel2 is on node 4, and so is zel1"},
    {"[[card]]\nnode = 65535", "my.toml:2: node takes 0 to 65534, this is 65535"},
    {"[[card]]\ncores = -1", "my.toml:2: cores takes 0 to 4294967295, this is -1"},
    {"[[card]]\ncores = 4294967296", "my.toml:2: cores takes 0 to 4294967295, this is 4294967296"},
    {"[[card]]\ncores = \"60\"", "my.toml:2: cores takes a whole number"},
    {"[[card]]\ncores = 60.0", "my.toml:2: cores takes a whole number"},
    {"[[card]]\ncores = true", "my.toml:2: cores takes a whole number"},
    {"[[card]]\ncores = [60]", "my.toml:2: cores takes a whole number"},
    {"[[card]]\nusage_mode = \"ready\"",
     "my.toml:2: usage_mode takes \"normal\", \"maintenance\", \"zombie\", \"memdiag\", "
     "\"normal_restricted\", \"offline\" or \"in_transition\""},
    {"[[card]]\nsmc_firmware = \"1.256.0\"",
     "my.toml:2: smc_firmware takes a version such as \"1.16.42\""},
    {"[[card]]\nuuid = \"0011\"",
     "my.toml:2: uuid takes 16 bytes such as \"00112233-4455-6677-8899-aabbccddeeff\""},
    {"[[card]]\nmemory_size = \"8GB\"",
     "my.toml:2: memory_size takes bytes, or a text such as \"8GiB\", at most 64GiB"},
    {"[[card]]\nmemory_size = -1", "my.toml:2: memory_size takes 0 to 68719476736, this is -1"},
    {"[[card]]\nmemory_size = 8.5",
     "my.toml:2: memory_size takes bytes, or a text such as \"8GiB\", at most 64GiB"},
    {"[[card]]\nmemory_revision = 65536",
     "my.toml:2: memory_revision takes 0 to 65535, this is 65536"},
    {"[[card]]\nssh = true", "my.toml:2: ssh takes \"up\", \"down\" or \"silent\""},
    {"[[card]]\nssh = \"Silent\"", "my.toml:2: ssh takes \"up\", \"down\" or \"silent\""},
    {"[[card]]\nsbox = 1", "my.toml:2: sbox is a table: [card.sbox]"},
    {"[[card]]\n[card.sbox]\nSBOX_SCRATCH16 = 1",
     "my.toml:3: the SBOX has no register \"SBOX_SCRATCH16\"; did you mean \"SBOX_SCRATCH1\"?"},
    {"[[card]]\n[card.sbox]\nSBOX_SCRATCH0 = 0x100000000",
     "my.toml:3: SBOX_SCRATCH0 takes 0 to 4294967295, this is 4294967296"},
    {"[[card]]\n[card.sbox]\nSBOX_SCRATCH0 = \"1\"",
     "my.toml:3: SBOX_SCRATCH0 takes a whole number, or a text such as \"0xF\", of 32 bits"},
    {"[[card]]\n[card.fault]", "my.toml:2: fault is a list of tables: [[card.fault]]"},
    {"[[card]]\n[[card.fault]]\nstatus = 3",
     "my.toml:2: a fault names the call that fails: call = \"ZelGetUUID\""},
    {"[[card]]\n[[card.fault]]\ncall = \"ZelGetUUIDs\"",
     "my.toml:3: no library has a call \"ZelGetUUIDs\"; did you mean \"ZelGetUUID\"?"},
    {"[[card]]\n[[card.fault]]\ncall = \"ZelGetErrorString\"",
     "my.toml:3: no library has a call \"ZelGetErrorString\""},
    {"[[card]]\n[[card.fault]]\ncall = \"ZelInitAPI\"",
     "my.toml:3: ZelInitAPI comes before any card is open: put the fault into [[fault]]"},
    {"[[fault]]\ncall = \"ZelGetUUID\"",
     "my.toml:2: ZelGetUUID concerns a card: put the fault into [[card.fault]]"},
    {"[[fault]]\ncall = \"ZelInitAPI\"\nstatus = 0",
     "my.toml:3: status takes 1 to 4294967295, this is 0"},
    {"[[card]]\n[[card.fault]]\ncall = \"vorl_send\"\nstatus = -1",
     "my.toml:4: status takes 1 to 4294967295, this is -1"},
    {"[[fault]]\ncall = \"ZelInitAPI\"\nblock = 1", "my.toml:3: block takes true or false"},
    {"[[fault]]\ncall = \"ZelInitAPI\"\nblock = true\nstatus = 6",
     "my.toml:4: a call that blocks returns no status: leave out status or block"},
    {"[[fault]]\ncall = \"ZelInitAPI\"\ndelay = \"3s\"\nblock = true",
     "my.toml:3: a call that blocks takes no time: leave out delay or block"},
    {"[[fault]]\ncall = \"ZelInitAPI\"\ndelay = \"-3s\"",
     "my.toml:3: delay takes a time such as \"3s\" or \"250ms\", from 1ms to 24h"},
    {"[[fault]]\ncall = \"ZelInitAPI\"\ndelay = \"0s\"",
     "my.toml:3: delay takes a time such as \"3s\" or \"250ms\", from 1ms to 24h"},
    {"[[fault]]\ncall = \"ZelInitAPI\"\ndelay = \"25h\"",
     "my.toml:3: delay takes a time such as \"3s\" or \"250ms\", from 1ms to 24h"},
    {"[[fault]]\ncall = \"ZelInitAPI\"\ndelay = 3",
     "my.toml:3: delay takes a time such as \"3s\" or \"250ms\", from 1ms to 24h"},
    {"[[card]]\nmode_change = \"25h\"",
     "my.toml:2: mode_change takes a time such as \"3s\" or \"250ms\", at most 24h"},
    {"[[card]]\nmode_change = 3",
     "my.toml:2: mode_change takes a time such as \"3s\" or \"250ms\", at most 24h"},
    {"[[card]]\nhang_on_kill = \"yes\"", "my.toml:2: hang_on_kill takes true or false"},
    {"[[card]]\nhang_on_kill = true\n[[card.fault]]\ncall = \"ZelGetUUID\"",
     "my.toml:2: hang_on_kill concerns calls that block: give the card a [[card.fault]] with block "
     "= true"},
    {"[[fault]]\ncall = \"ZelInitAPI\"\nskip = -1",
     "my.toml:3: skip takes 0 to 4294967295, this is -1"},
    {"[[fault]]\ncall = \"ZelInitAPI\"\ncuont = 1",
     "my.toml:3: unknown key \"cuont\"; did you mean \"count\"?"},
    {"[[card]]\n[card.sbox]\nSBOX_SCRATCH0 = \"0x100000000\"",
     "my.toml:3: SBOX_SCRATCH0 takes a whole number, or a text such as \"0xF\", of 32 bits"},
    {"[[card]]\n[card.sbox]\nSBOX_APICRT0 = -1",
     "my.toml:3: SBOX_APICRT0 takes 0 to 9223372036854775807, this is -1"},
    {"[[card]]\nmemory_size = 0\n[[card.memory_fault]]\naddress = 0",
     "my.toml:3: a card without memory has no memory fault"},
    {"[[card]]\n[[card.memory_fault]]\nbit = 1",
     "my.toml:2: a memory fault names its address: address = 0x2000"},
    {"[[card]]\nmemory_size = \"1MiB\"\n[[card.memory_fault]]\naddress = 0x100000",
     "my.toml:4: address takes 0 to 1048575, this is 1048576"},
    {"[[card]]\n[[card.memory_fault]]\naddress = 0\nbit = 8",
     "my.toml:4: bit takes 0 to 7, this is 8"},
    {"[[card]]\n[[card.memory_fault]]\naddress = 0\nstuck = 2",
     "my.toml:4: stuck takes 0 to 1, this is 2"},
    {"[[card]]\n[[card.memory_fault]]\naddress = 0\nevery = -1",
     "my.toml:4: every takes 0 to 68719476736, this is -1"},
    {"[[card]]\n[[card.address_fault]]\nswapped_with = 1",
     "my.toml:2: an address fault names its line: line = 20"},
    {"[[card]]\nmemory_size = 1\n[[card.address_fault]]\nline = 0",
     "my.toml:3: a card without memory has no address fault"},
    {"[[card]]\n[[card.address_fault]]\nline = 33", "my.toml:3: line takes 0 to 32, this is 33"},
    {"[[card]]\nmemory_size = 5\n[[card.address_fault]]\nline = 3",
     "my.toml:4: line takes 0 to 2, this is 3"},
    {"[[card]]\n[[card.address_fault]]\nline = 3\nswapped_with = -1",
     "my.toml:4: swapped_with takes 0 to 32, this is -1"},
    {"[[card]]\n[[card.address_fault]]\nline = 3\nswapped_with = 3",
     "my.toml:4: a line that is swapped with itself is not broken"},
    {"[[card]]\n[[card.address_fault]]\nline = 3\nswaped_with = 4",
     "my.toml:4: unknown key \"swaped_with\"; did you mean \"swapped_with\"?"},
    {"[[card]]\n[[card.dma_fault]]\nword = 1",
     "my.toml:2: a DMA fault names the end where it shows: to = \"card\""},
    {"[[card]]\n[[card.dma_fault]]\nto = \"zel0\"", "my.toml:3: to takes \"card\" or \"host\""},
    {"[[card]]\n[[card.dma_fault]]\nto = \"card\"\nword = 1024",
     "my.toml:4: word takes 0 to 1023, this is 1024"},
    {"[[card]]\n[[card.dma_fault]]\nto = \"card\"\nbit = 32",
     "my.toml:4: bit takes 0 to 31, this is 32"},
    {"[[card]]\n[[card.dma_fault]]\nto = \"card\"\nstuck = 2",
     "my.toml:4: stuck takes 0 to 1, this is 2"},
    {"[[card]]\n[[card.dma_fault]]\nto = \"card\"\nwrod = 1",
     "my.toml:4: unknown key \"wrod\"; did you mean \"word\"?"},
    {"[[card]]\n[[card.vpu_fault]]", "my.toml:2: vpu_fault is a table: [card.vpu_fault]"},
    {"[[card]]\n[card.vpu_fault]\nlane = 1",
     "my.toml:2: a core fault names what goes wrong: operation = \"add\""},
    {"[[card]]\n[card.cache_fault]\nline = 1",
     "my.toml:2: a core fault names what goes wrong: operation = \"walk\""},
    {"[[card]]\n[card.vpu_fault]\noperation = \"walk\"",
     "my.toml:3: operation takes \"add\", \"subtract\", \"multiply\", \"fma\", \"shuffle\", "
     "\"compare\" or \"reduce\""},
    {"[[card]]\n[card.cache_fault]\noperation = \"add\"",
     "my.toml:3: operation takes \"walk\", \"link\", \"write\", \"pingpong\" or \"lost\""},
    {"[[card]]\n[card.vpu_fault]\noperation = \"add\"\nlane = 16",
     "my.toml:4: lane takes 0 to 15, this is 16"},
    {"[[card]]\n[card.cache_fault]\noperation = \"walk\"\nline = 256",
     "my.toml:4: line takes 0 to 255, this is 256"},
    {"[[card]]\n[card.vpu_fault]\noperation = \"add\"\nline = 1",
     "my.toml:4: unknown key \"line\"; did you mean \"lane\"?"},
};

INSTANTIATE_TEST_SUITE_P(Table, FleetFileRefuses, testing::ValuesIn(kRefusals));

std::string RefusalOf(const std::string& text) {
    try {
        ParseFleet(text, "my.toml");
    } catch (const FleetError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(FleetFile, MalformedTextIsRefusedAtItsLine) {
    // The reasons are the parser's own.
    for (const char* text : {"\n[[card]", "\ncores", "\na = ", "\na = \"b", "\na = 1 1",
                             "\na = 99999999999999999999"}) {
        const std::string error = RefusalOf(text);
        EXPECT_TRUE(error.starts_with("my.toml:2: ") || error.starts_with("my.toml:3: "))
            << text << "\n"
            << error;
        EXPECT_EQ(error.find('\n'), error.npos) << error;
    }
    EXPECT_TRUE(RefusalOf("a = 1\na = 2").starts_with("my.toml:2: "));
    // Of bytes that are no text the parser knows only about where they are.
    EXPECT_TRUE(RefusalOf("\xff\xfe").starts_with("my.toml:1: "));
}

TEST(FleetFile, OneCardTooManyIsRefused) {
    EXPECT_EQ(RefusalOf(Repeated("[[card]]\n", kMaxCards + 1)),
              "my.toml:1025: a host takes at most 1024 cards");
}

TEST(FleetFile, DeeplyNestedTextIsRefused) {
    EXPECT_THAT(RefusalOf("a = " + std::string(100000, '[')), HasSubstr("my.toml:1: "));
}

std::string RefusalOfFile(const std::string& path) {
    try {
        ReadFleet(path);
    } catch (const FleetError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(FleetFile, FileThatCannotBeReadIsRefused) {
    EXPECT_EQ(RefusalOfFile("/no/such/file"),
              "/no/such/file: cannot be read: No such file or directory");
    EXPECT_EQ(RefusalOfFile("/"), "/: cannot be read: Is a directory");
    EXPECT_EQ(RefusalOfFile(""), ": cannot be read: No such file or directory");
    EXPECT_EQ(RefusalOfFile("/dev/zero"),
              "/dev/zero: cannot be read: it is larger than a fleet file can be");
}

TEST(FleetFile, EmptyFileIsAHostWithoutCards) {
    EXPECT_EQ(RefusalOfFile("/dev/null"), "accepted");
}

TEST(FleetFile, RegisterOf64BitsTakesThemAll) {
    const Fleet fleet = ParseFleet(
        "[[card]]\n[card.sbox]\nSBOX_APICRT0 = \"0xFFFFFFFFFFFFFFFF\"\nSBOX_SCRATCH0 = \"0xF\"",
        "my.toml");
    ASSERT_EQ(fleet.cards.at(0).sbox.size(), 2U);
    EXPECT_EQ(fleet.cards[0].sbox[0].value, ~U64{0});
    EXPECT_EQ(fleet.cards[0].sbox[1].value, 0xFU);
}

}  // namespace
}  // namespace simulated
