#include "HostState.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>
#include <vector>

#include "HostClock.h"

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
    EXPECT_EQ(HostState::Open("/"), nullptr);
}

TEST_F(HostStateTest, OtherFileIsNoHost) {
    std::ofstream(Path()) << std::string(4096, 'x');
    EXPECT_EQ(HostState::Open(Path()), nullptr);
}

TEST_F(HostStateTest, CutOffStateIsNoHostAtAnyLength) {
    Fleet fleet;
    fleet.cards.resize(2, DefaultCard(Generation::Er1x));
    HostState::Create(Path(), fleet);
    const auto whole = std::filesystem::file_size(Path());
    for (const auto length : {whole - 1, whole / 2, std::uintmax_t{16}, std::uintmax_t{0}}) {
        std::filesystem::resize_file(Path(), length);
        EXPECT_EQ(HostState::Open(Path()), nullptr) << length << " of " << whole << " bytes";
    }
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
