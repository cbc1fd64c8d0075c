#include "host/HostState.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <system_error>
#include <thread>
#include <vector>

#include "host/CardMemory.h"
#include "host/HostClock.h"

namespace simulated {
namespace {

class HostStateTest : public testing::Test {
protected:
    HostStateTest() {
        char folder[] = "/tmp/host-state-XXXXXX";
        if (mkdtemp(folder) == nullptr)
            throw std::system_error(errno, std::generic_category(), folder);
        folder_ = folder;
    }
    ~HostStateTest() override {
        std::error_code error;
        std::filesystem::remove_all(folder_, error);
    }

    std::string Path() const { return folder_ / "state"; }

    std::unique_ptr<HostState> Make(const Fleet& fleet) const {
        HostState::Create(Path(), fleet);
        return HostState::Open(Path());
    }

private:
    std::filesystem::path folder_;
};

Fault FaultOf(const char* call, U32 status, U32 skip, U32 count) {
    return {.call = call, .status = status, .skip = skip, .count = count};
}

Card CardWith(std::vector<Fault> faults) {
    Card card = DefaultCard(Generation::Er1x);
    card.faults = std::move(faults);
    return card;
}

std::vector<U32> CallTimes(const HostState& host, std::size_t card, const char* call, int times) {
    std::vector<U32> statuses;
    for (int i = 0; i < times; ++i)
        statuses.push_back(host.FailCardCall(host.Cards()[card], call));
    return statuses;
}

using Statuses = std::vector<U32>;

TEST_F(HostStateTest, MachineWithoutStateIsNoHost) {
    EXPECT_EQ(HostState::Open(Path()), nullptr);
    EXPECT_EQ(HostState::Open(Path() + "/state"), nullptr);
}

// Why the state cannot be had, behind the file's name; empty when it can.
std::string Refusal(const std::string& path, HostState::Access access = HostState::Access::Look) {
    try {
        return HostState::Open(path, access) == nullptr ? "none" : "";
    } catch (const HostStateError& failure) {
        const std::string what = failure.what();
        EXPECT_TRUE(what.starts_with(path + ": ")) << what;
        EXPECT_EQ(what.find('\n'), what.npos) << what;
        EXPECT_NE(failure.Error(), 0) << what;
        return what.substr(std::min(what.size(), path.size() + 2));
    }
}

TEST_F(HostStateTest, OtherFilesAreDamaged) {
    EXPECT_EQ(Refusal("/", HostState::Access::Change), "Is a directory");
    EXPECT_EQ(Refusal("/"), "it is damaged: no state of a host");
    EXPECT_EQ(Refusal("/dev/zero"), "it is damaged: no state of a host");
    ASSERT_EQ(mkfifo(Path().c_str(), 0600), 0);
    EXPECT_EQ(Refusal(Path()), "it is damaged: no state of a host");
    std::filesystem::remove(Path());
    std::ofstream(Path()) << std::string(4096, 'x');
    EXPECT_EQ(Refusal(Path()), "it is damaged: no state of a host");
}

TEST_F(HostStateTest, IsRootsToWriteAndEveryonesToRead) {
    HostState::Create(Path(), {});
    EXPECT_EQ(std::filesystem::status(Path()).permissions(), std::filesystem::perms(0644));
}

TEST_F(HostStateTest, CutOffStateIsDamagedAtAnyLength) {
    Fleet fleet;
    fleet.cards.resize(2, DefaultCard(Generation::Er1x));
    HostState::Create(Path(), fleet);
    const auto whole = std::filesystem::file_size(Path());
    for (const auto length : {whole - 1, whole / 2, std::uintmax_t{16}, std::uintmax_t{0}}) {
        std::filesystem::resize_file(Path(), length);
        EXPECT_TRUE(Refusal(Path()).starts_with("it is damaged: "))
            << length << " of " << whole << " bytes";
    }
}

// Everything that a library or zelsim does with what a state holds. Where it holds together this ends.
std::size_t UseAllOf(const HostState& host) {
    std::size_t seen = 0;
    host.FindHostMishap("ZelInitAPI");
    for (CardState& card : host.Cards()) {
        for (const std::string_view text :
             {card.name.View(), card.flashVersion.View(), card.postCode.View(),
              card.memoryVendor.View(), card.memoryType.View()})
            seen += std::string(text).size();
        const auto mishap = host.FindCardMishap(card, "ZelGetUUID");
        seen += mishap ? mishap->status + mishap->delay : 0;
        for (const DmaFault& fault : host.DmaFaults(card))
            seen += (fault.toCard ? 1U : 0U) + (U32{1} << fault.bit);
        for (const SboxValue& value : host.Sbox(card))
            seen += value.value;
        CardMemory memory(card.memoryBytes, host.MemoryFaults(card), host.AddressFaults(card));
        std::array<U8, 64> bytes{};
        seen += memory.Read(0, bytes.data(), bytes.size()) ? bytes[0] : 0;
        seen += HostState::UsageModeOf(card);
        HostState::SetUsageMode(card, ZEL_USAGE_MODE_OFFLINE);
    }
    return seen;
}

Fleet FleetWithAllLists() {
    Fleet fleet;
    fleet.faults = {FaultOf("ZelInitAPI", 6, 0, 1)};
    for (int i = 0; i < 2; ++i) {
        Card card = CardWith({FaultOf("ZelGetUUID", 13, 0, 0), FaultOf("vorl_send", 5, 0, 1)});
        card.memoryFaults = {{.address = 5}, {.address = 6, .bit = 7}};
        card.addressFaults = {{.line = 3}, {.line = 4, .swaps = true, .with = 5}};
        card.dmaFaults = {{.toCard = true, .word = 3}};
        card.sbox = {{.offset = 4, .width = 32, .value = 7}};
        fleet.cards.push_back(card);
    }
    return fleet;
}

class Spoiled {
public:
    Spoiled(const std::string& path, const Fleet& fleet) : path_(path) {
        HostState::Create(path, fleet);
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        whole_ = text.str();
    }

    std::size_t Size() const { return whole_.size(); }

    // Puts bytes into the state and uses what is there then. Whether it was taken.
    bool TakenWith(std::size_t at, const std::string& bytes) const {
        std::string spoiled = whole_;
        spoiled.replace(at, bytes.size(), bytes);
        // Not made anew, which costs a disk some milliseconds.
        std::fstream(path_, std::ios::in | std::ios::out | std::ios::binary) << spoiled;
        if (!Refusal(path_, HostState::Access::Change).empty())
            return false;
        used_ += UseAllOf(*HostState::Open(path_));
        return true;
    }

    // What came of using it, so that it was.
    std::size_t Used() const { return used_; }

private:
    std::string path_;
    std::string whole_;
    mutable std::size_t used_ = 0;
};

std::string Word(U32 value) {
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

// Magic number, size, and seven lists.
constexpr std::size_t kHeaderBytes = 72;

TEST_F(HostStateTest, NumbersThatLeadOutOfTheFileAreDamage) {
    const Spoiled state(Path(), FleetWithAllLists());
    for (std::size_t at = 0; at < kHeaderBytes; at += sizeof(U32)) {
        for (const U32 value : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU, 0xFFFFFFF8U})
            EXPECT_FALSE(state.TakenWith(at, Word(value))) << at << ": " << value;
    }
    // An offset that lies in the header, one that is not aligned, and one element too many.
    const auto size = static_cast<U32>(state.Size());
    for (std::size_t list = 16; list < kHeaderBytes; list += 2 * sizeof(U32)) {
        for (const U32 offset : {0U, 68U, 73U, size})
            EXPECT_FALSE(state.TakenWith(list, Word(offset))) << list << ": " << offset;
    }
    EXPECT_TRUE(state.TakenWith(0, ""));
    EXPECT_GT(state.Used(), 0U);
}

TEST_F(HostStateTest, RandomBytesAnywhereAreDamageOrHarmless) {
    const Spoiled state(Path(), FleetWithAllLists());
    std::mt19937 random(20);  // any
    int refused = 0;
    for (int round = 0; round < 3000; ++round) {
        // Every other one where the offsets and sizes stand.
        const std::size_t end = round % 2 == 0 ? kHeaderBytes : state.Size() - 8;
        const std::size_t at = random() % end;
        std::string bytes;
        for (std::size_t i = 0; i < 1 + random() % 8; ++i)
            bytes += static_cast<char>(random());
        refused += state.TakenWith(at, bytes) ? 0 : 1;
    }
    EXPECT_GT(refused, 1000);
}

TEST_F(HostStateTest, HostIsMadeOnce) {
    HostState::Create(Path(), {});
    EXPECT_THROW(HostState::Create(Path(), {}), std::system_error);
}

TEST_F(HostStateTest, HostWithoutCards) {
    const auto host = Make({});
    ASSERT_NE(host, nullptr);
    EXPECT_TRUE(host->Cards().empty());
    EXPECT_EQ(host->FailHostCall("ZelInitAPI"), 0U);
}

TEST_F(HostStateTest, LargestHostKeepsEveryCardsOwnLists) {
    Fleet fleet;
    for (U32 i = 0; i < kMaxCards; ++i) {
        Card card = CardWith({FaultOf("ZelGetUUID", i + 1, 0, 1)});
        card.deviceId = i;
        card.memoryFaults = {{.address = i, .bit = 1, .stuck = 0}, {.address = i + 1U}};
        card.addressFaults.resize(i % 2, {.line = i % 36, .swaps = true, .with = 3});
        card.dmaFaults.resize(i % 3, {.toCard = true, .word = i});
        card.sbox = {{.offset = 4 * i, .width = 32, .value = i}};
        fleet.cards.push_back(card);
    }
    const auto host = Make(fleet);
    ASSERT_NE(host, nullptr);
    ASSERT_EQ(host->Cards().size(), kMaxCards);
    for (U32 i = 0; i < kMaxCards; ++i) {
        SCOPED_TRACE(i);
        const CardState& card = host->Cards()[i];
        EXPECT_EQ(card.deviceId, i);
        ASSERT_EQ(host->MemoryFaults(card).size(), 2U);
        EXPECT_EQ(host->MemoryFaults(card)[0].address, i);
        EXPECT_EQ(host->MemoryFaults(card)[1].stuck, 1U);
        ASSERT_EQ(host->AddressFaults(card).size(), i % 2);
        for (const AddressFault& fault : host->AddressFaults(card))
            EXPECT_EQ(fault, (AddressFault{.line = i % 36, .swaps = true, .with = 3}));
        ASSERT_EQ(host->DmaFaults(card).size(), i % 3);
        for (const DmaFault& fault : host->DmaFaults(card)) {
            EXPECT_TRUE(fault.toCard);
            EXPECT_EQ(fault.word, i);
        }
        ASSERT_EQ(host->Sbox(card).size(), 1U);
        EXPECT_EQ(host->Sbox(card)[0].value, i);
        EXPECT_EQ(host->FailCardCall(card, "ZelGetUUID"), i + 1);
        EXPECT_EQ(host->FailCardCall(card, "ZelGetUUID"), 0U);
    }
}

TEST_F(HostStateTest, LongestTextsAreKeptWhole) {
    Card card = DefaultCard(Generation::Ev1x);
    card.name = std::string(254, 'n');
    card.flashVersion = std::string(254, 'f');
    card.postCode = std::string(15, 'p');
    card.memoryVendor = std::string(32, 'v');
    card.memoryType = std::string(32, 't');
    const auto host = Make({.faults = {}, .cards = {card}});
    const CardState& state = host->Cards()[0];
    EXPECT_EQ(state.name.View(), card.name);
    EXPECT_EQ(state.flashVersion.View(), card.flashVersion);
    EXPECT_EQ(state.postCode.View(), card.postCode);
    EXPECT_EQ(state.memoryVendor.View(), card.memoryVendor);
    EXPECT_EQ(state.memoryType.View(), card.memoryType);
}

TEST_F(HostStateTest, FaultFailsTheCallsAfterThoseSkipped) {
    const auto host = Make({.faults = {}, .cards = {CardWith({FaultOf("ZelGetUUID", 13, 2, 3)})}});
    EXPECT_EQ(CallTimes(*host, 0, "ZelGetUUID", 7), (Statuses{0, 0, 13, 13, 13, 0, 0}));
}

TEST_F(HostStateTest, CountZeroFailsEveryCallFromThereOn) {
    const auto host = Make({.faults = {}, .cards = {CardWith({FaultOf("ZelGetUUID", 13, 1, 0)})}});
    EXPECT_EQ(CallTimes(*host, 0, "ZelGetUUID", 5), (Statuses{0, 13, 13, 13, 13}));
}

TEST_F(HostStateTest, GreatestSkipAndCountDoNotOverflow) {
    const U32 most = 0xFFFFFFFF;
    const auto host = Make({.faults = {},
                            .cards = {CardWith({FaultOf("ZelGetUUID", 1, most, most),
                                                FaultOf("ZelGetPostCode", 2, 0, most)})}});
    EXPECT_EQ(CallTimes(*host, 0, "ZelGetUUID", 2), (Statuses{0, 0}));
    EXPECT_EQ(CallTimes(*host, 0, "ZelGetPostCode", 2), (Statuses{2, 2}));
}

TEST_F(HostStateTest, FaultsOfOneCallFollowEachOther) {
    const auto host =
        Make({.faults = {},
              .cards = {CardWith({FaultOf("ZelGetUUID", 1, 0, 1), FaultOf("ZelGetUUID", 2, 1, 1),
                                  FaultOf("ZelGetUUID", 3, 3, 0)})}});
    EXPECT_EQ(CallTimes(*host, 0, "ZelGetUUID", 5), (Statuses{1, 2, 0, 3, 3}));
}

TEST_F(HostStateTest, FirstOfTwoFaultsThatAreDueDecides) {
    const auto host = Make(
        {.faults = {},
         .cards = {CardWith({FaultOf("ZelGetUUID", 1, 0, 1), FaultOf("ZelGetUUID", 2, 0, 2)})}});
    EXPECT_EQ(CallTimes(*host, 0, "ZelGetUUID", 3), (Statuses{1, 2, 0}));
}

TEST_F(HostStateTest, FaultConcernsItsCardAndItsCallOnly) {
    const auto host = Make({.faults = {FaultOf("ZelInitAPI", 6, 0, 1)},
                            .cards = {CardWith({FaultOf("ZelGetUUID", 13, 0, 1)}), CardWith({})}});
    EXPECT_EQ(CallTimes(*host, 0, "ZelGetPostCode", 1), Statuses{0});
    EXPECT_EQ(CallTimes(*host, 1, "ZelGetUUID", 1), Statuses{0});
    EXPECT_EQ(host->FailHostCall("ZelCloseAPI"), 0U);
    EXPECT_EQ(CallTimes(*host, 0, "ZelGetUUID", 2), (Statuses{13, 0}));
    EXPECT_EQ(host->FailHostCall("ZelInitAPI"), 6U);
    EXPECT_EQ(host->FailHostCall("ZelInitAPI"), 0U);
}

TEST_F(HostStateTest, SecondProgramSeesWhatTheFirstOneDid) {
    const auto first = Make({.faults = {}, .cards = {CardWith({FaultOf("ZelGetUUID", 13, 1, 1)})}});
    const auto second = HostState::Open(Path());
    EXPECT_EQ(CallTimes(*first, 0, "ZelGetUUID", 1), Statuses{0});
    EXPECT_EQ(CallTimes(*second, 0, "ZelGetUUID", 1), Statuses{13});
    EXPECT_EQ(CallTimes(*first, 0, "ZelGetUUID", 1), Statuses{0});

    HostState::SetUsageMode(first->Cards()[0], ZEL_USAGE_MODE_OFFLINE);
    EXPECT_EQ(HostState::UsageModeOf(second->Cards()[0]), ZEL_USAGE_MODE_OFFLINE);
}

// Longer than a test takes.
constexpr U32 kHour = 60 * 60 * 1000;

Card SlowlyMoving(U32 milliseconds) {
    Card card = CardWith({});
    card.modeChange = milliseconds;
    return card;
}

TEST_F(HostStateTest, ChangeOfModeThatTakesTimeIsUnderWayForEveryProgram) {
    const auto first = Make({.faults = {}, .cards = {SlowlyMoving(kHour), SlowlyMoving(0)}});
    const auto second = HostState::Open(Path());
    const U64 before = HostClock();
    HostState::SetUsageMode(first->Cards()[0], ZEL_USAGE_MODE_OFFLINE);
    const UsageMode::Value value = second->Cards()[0].usageMode.Load();
    EXPECT_EQ(HostState::UsageModeOf(second->Cards()[0]), ZEL_USAGE_MODE_IN_TRANSITION);
    EXPECT_EQ(value.mode, ZEL_USAGE_MODE_OFFLINE);
    EXPECT_GE(value.arrives, before + U64{kHour} * 1000);
    EXPECT_LE(value.arrives, HostClock() + U64{kHour} * 1000);
    EXPECT_EQ(HostState::UsageModeOf(second->Cards()[1]), ZEL_USAGE_MODE_NORMAL);
}

TEST_F(HostStateTest, ChangeOfModeArrives) {
    const auto host = Make({.faults = {}, .cards = {SlowlyMoving(20)}});
    CardState& card = host->Cards()[0];
    const U64 start = HostClock();
    HostState::SetUsageMode(card, ZEL_USAGE_MODE_OFFLINE);
    HostState::AwaitUsageMode(card);
    EXPECT_GE(HostClock(), start + 20'000);
    EXPECT_EQ(HostState::UsageModeOf(card), ZEL_USAGE_MODE_OFFLINE);
    HostState::AwaitUsageMode(card);
}

TEST_F(HostStateTest, ModeThatTheCardIsInAlreadyTakesNoTime) {
    const auto host = Make({.faults = {}, .cards = {SlowlyMoving(kHour)}});
    CardState& card = host->Cards()[0];
    HostState::SetUsageMode(card, ZEL_USAGE_MODE_NORMAL);
    EXPECT_EQ(HostState::UsageModeOf(card), ZEL_USAGE_MODE_NORMAL);
    HostState::SetUsageMode(card, ZEL_USAGE_MODE_IN_TRANSITION);
    EXPECT_EQ(card.usageMode.Load().mode, ZEL_USAGE_MODE_IN_TRANSITION);
    EXPECT_EQ(card.usageMode.Load().arrives, 0U);
}

TEST_F(HostStateTest, AnotherChangeTakesTheOnesPlace) {
    const auto host = Make({.faults = {}, .cards = {SlowlyMoving(kHour)}});
    CardState& card = host->Cards()[0];
    HostState::SetUsageMode(card, ZEL_USAGE_MODE_OFFLINE);
    HostState::SetUsageMode(card, ZEL_USAGE_MODE_MAINTENANCE);
    EXPECT_EQ(card.usageMode.Load().mode, ZEL_USAGE_MODE_MAINTENANCE);
    EXPECT_EQ(HostState::UsageModeOf(card), ZEL_USAGE_MODE_IN_TRANSITION);
}

TEST_F(HostStateTest, CallThatTakesTimeThenPassesOrFails) {
    const auto host =
        Make({.faults = {{.call = "ZelInitAPI", .status = 6, .delay = 20}},
              .cards = {CardWith({{.call = "ZelGetUUID", .status = 0, .count = 2, .delay = 20}})}});
    U64 start = HostClock();
    EXPECT_EQ(host->FailHostCall("ZelInitAPI"), 6U);
    EXPECT_GE(HostClock(), start + 20'000);
    start = HostClock();
    EXPECT_EQ(CallTimes(*host, 0, "ZelGetUUID", 3), (Statuses{0, 0, 0}));
    EXPECT_GE(HostClock(), start + 40'000);
}

TEST_F(HostStateTest, CallThatBlocksIsCountedLikeOneThatFails) {
    Card card = CardWith({{.call = "vorl_recv", .status = 0, .skip = 1, .block = true}});
    const auto host =
        Make({.faults = {{.call = "ZelCloseAPI", .status = 0, .block = true}}, .cards = {card}});
    EXPECT_FALSE(host->FindCardMishap(host->Cards()[0], "vorl_recv"));
    const auto mishap = host->FindCardMishap(host->Cards()[0], "vorl_recv");
    ASSERT_TRUE(mishap);
    EXPECT_TRUE(mishap->blocks);
    EXPECT_FALSE(mishap->unending);
    EXPECT_FALSE(host->FindCardMishap(host->Cards()[0], "vorl_recv"));
    const auto ofHost = host->FindHostMishap("ZelCloseAPI");
    ASSERT_TRUE(ofHost);
    EXPECT_TRUE(ofHost->blocks);
}

TEST_F(HostStateTest, OnlyCallsThatBlockHangWhenKilled) {
    Card card = CardWith({{.call = "vorl_recv", .status = 0, .block = true},
                          {.call = "vorl_send", .status = 0, .delay = 1}});
    card.hangOnKill = true;
    const auto host = Make({.faults = {}, .cards = {card}});
    EXPECT_TRUE(host->FindCardMishap(host->Cards()[0], "vorl_recv")->unending);
    EXPECT_FALSE(host->FindCardMishap(host->Cards()[0], "vorl_send")->unending);
}

TEST_F(HostStateTest, CallsOfManyThreadsAreEachCountedOnce) {
    constexpr int kThreads = 4;
    constexpr int kCalls = 5000;
    constexpr U32 kFailing = 777;
    const auto host =
        Make({.faults = {}, .cards = {CardWith({FaultOf("vorl_send", 5, 100, kFailing)})}});
    std::atomic<U32> failed = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < kCalls; ++n)
                failed += host->FailCardCall(host->Cards()[0], "vorl_send") == 5;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failed, kFailing);
}

}  // namespace
}  // namespace simulated
