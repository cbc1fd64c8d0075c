// The built libZelAccessSDK.so, asked through its C interface. Each test has a host of its own: a state
// file at the one place at which the library looks for it, on a memory file system over /run in a
// mount namespace that ends with the test program.
#include "ZelAccessApi.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "PrivateRun.h"
#include "fleet/CallNames.h"
#include "host/HostClock.h"
#include "host/HostState.h"

namespace simulated {
namespace {

constexpr char kImage[] = "/run/image";

class ZelAccessApi : public testing::Test {
protected:
    void SetUp() override {
        EnterPrivateRun();
        std::filesystem::remove_all("/run/zelsim");
        std::ofstream(kImage) << "handler\n";
    }
    void TearDown() override {
        if (handle_ != nullptr)
            ZelCloseAPI(&handle_);
    }

    U32 Init() {
        U32 count = static_cast<U32>(devices_.size());
        const U32 status = ZelInitAPI(&handle_, 3, devices_.data(), &count);
        count_ = count;
        return status;
    }

    // A host of one card, opened.
    void OpenOnly(const Card& card) {
        MakeHost({.faults = {}, .cards = {card}});
        ASSERT_EQ(Init(), U32{ZEL_SUCCESS});
        ASSERT_EQ(ZelInitAdapter(&handle_, &devices_[0]), U32{ZEL_SUCCESS});
    }

    HANDLE handle_ = nullptr;
    std::array<ZelDeviceOnSystem, 256> devices_{};
    U32 count_ = 0;
};

Card Healthy() {
    return DefaultCard(Generation::Er1x);
}

// One call of an operation on the open card; what it fills, it fills with valid pointers.
struct Operation {
    const char* name;
    std::function<U32(HANDLE)> call;
    std::vector<std::function<U32(HANDLE)>> nullCalls;  // each with one pointer missing
};

const std::vector<Operation>& Operations() {
    static U32 word = 0;
    static U64 size = 0;
    static char text[256];
    static U8 uuid[16];
    static ZEL_SMCFwRevType firmware;
    static ZEL_SMCHwRevType hardware;
    static ZelDevMemInfo memory;
    static ZEL_CARD_USAGE_MODE mode;
    static U32 length = 0;
    // The memory operations come behind the one that moves the card into the mode that they need.
    static const std::vector<Operation> operations = {
        {"ZelGetZelVersion",
         [](HANDLE h) {
             length = sizeof(text);
             return ZelGetZelVersion(h, ZEL_VERSION_API, text, &length);
         },
         {[](HANDLE h) { return ZelGetZelVersion(h, ZEL_VERSION_API, nullptr, &length); },
          [](HANDLE h) { return ZelGetZelVersion(h, ZEL_VERSION_API, text, nullptr); }}},
        {"ZelGetSMCFWVersion",
         [](HANDLE h) { return ZelGetSMCFWVersion(h, &firmware); },
         {[](HANDLE h) { return ZelGetSMCFWVersion(h, nullptr); }}},
        {"ZelGetSMCHWRevision",
         [](HANDLE h) { return ZelGetSMCHWRevision(h, &hardware); },
         {[](HANDLE h) { return ZelGetSMCHWRevision(h, nullptr); }}},
        {"ZelGetUUID",
         [](HANDLE h) {
             length = sizeof(uuid);
             return ZelGetUUID(h, uuid, &length);
         },
         {[](HANDLE h) { return ZelGetUUID(h, nullptr, &length); },
          [](HANDLE h) { return ZelGetUUID(h, uuid, nullptr); }}},
        {"ZelGetUsageMode", [](HANDLE h) { return ZelGetUsageMode(h, &mode); }, {[](HANDLE h) {
             return ZelGetUsageMode(h, nullptr);
         }}},
        {"ZelSetUsageMode",
         [](HANDLE h) { return ZelSetUsageMode(h, ZEL_USAGE_MODE_OFFLINE); },
         {}},
        {"ZelSetUsageModeExtn",
         [](HANDLE h) { return ZelSetUsageModeExtn(h, ZEL_USAGE_MODE_MEMDIAG, 0, kImage, ""); },
         {[](HANDLE h) { return ZelSetUsageModeExtn(h, ZEL_USAGE_MODE_MEMDIAG, 0, nullptr, ""); },
          [](HANDLE h) {
              return ZelSetUsageModeExtn(h, ZEL_USAGE_MODE_MEMDIAG, 0, kImage, nullptr);
          }}},
        {"ZelGetPostCode", [](HANDLE h) { return ZelGetPostCode(h, text); }, {[](HANDLE h) {
             return ZelGetPostCode(h, nullptr);
         }}},
        {"ZelGetPcieLinkSpeed",
         [](HANDLE h) { return ZelGetPcieLinkSpeed(h, &word); },
         {[](HANDLE h) { return ZelGetPcieLinkSpeed(h, nullptr); }}},
        {"ZelGetPcieLinkWidth",
         [](HANDLE h) { return ZelGetPcieLinkWidth(h, &word); },
         {[](HANDLE h) { return ZelGetPcieLinkWidth(h, nullptr); }}},
        {"ZelGetRevisionID", [](HANDLE h) { return ZelGetRevisionID(h, &word); }, {[](HANDLE h) {
             return ZelGetRevisionID(h, nullptr);
         }}},
        {"ZelGetSubSystemID", [](HANDLE h) { return ZelGetSubSystemID(h, &word); }, {[](HANDLE h) {
             return ZelGetSubSystemID(h, nullptr);
         }}},
        {"ZelReadMMIOReg",
         [](HANDLE h) { return ZelReadMMIOReg(h, 0x1AB54, &word); },
         {[](HANDLE h) { return ZelReadMMIOReg(h, 0x1AB54, nullptr); }}},
        {"ZelGetNumCores", [](HANDLE h) { return ZelGetNumCores(h, &word); }, {[](HANDLE h) {
             return ZelGetNumCores(h, nullptr);
         }}},
        {"ZelGetGDDRMemSize", [](HANDLE h) { return ZelGetGDDRMemSize(h, &size); }, {[](HANDLE h) {
             return ZelGetGDDRMemSize(h, nullptr);
         }}},
        {"ZelGetDevMemInfo", [](HANDLE h) { return ZelGetDevMemInfo(h, &memory); }, {[](HANDLE h) {
             return ZelGetDevMemInfo(h, nullptr);
         }}},
        {"ZelReadMemPhysical",
         [](HANDLE h) { return ZelReadMemPhysical(h, 0, text, 8, 8, 0); },
         {[](HANDLE h) { return ZelReadMemPhysical(h, 0, nullptr, 8, 8, 0); }}},
        {"ZelWriteMemPhysical",
         [](HANDLE h) { return ZelWriteMemPhysical(h, 0, text, 8, 8, 0); },
         {[](HANDLE h) { return ZelWriteMemPhysical(h, 0, nullptr, 8, 8, 0); }}},
    };
    return operations;
}

Card Offline() {
    Card card = Healthy();
    card.firstMode = ZEL_USAGE_MODE_OFFLINE;
    return card;
}

TEST_F(ZelAccessApi, MachineThatIsNoHostHasNoDriver) {
    HANDLE handle = &handle;
    U32 count = 256;
    devices_[0].deviceId = 7;
    EXPECT_EQ(ZelInitAPI(&handle, 3, devices_.data(), &count), U32{ZEL_NO_DRIVER});
    EXPECT_EQ(handle, &handle);
    EXPECT_EQ(count, 256U);
    EXPECT_EQ(devices_[0].deviceId, 7U);
}

TEST_F(ZelAccessApi, DamagedHostHasNoDriver) {
    MakeHost({.faults = {}, .cards = {Healthy(), Healthy()}});
    std::filesystem::resize_file(kStateFile, 100);
    EXPECT_EQ(Init(), U32{ZEL_NO_DRIVER});
    EXPECT_EQ(handle_, nullptr);
}

TEST_F(ZelAccessApi, InitRefusesWhatItCannotUse) {
    MakeHost({});
    U32 count = 256;
    EXPECT_EQ(ZelInitAPI(nullptr, 3, devices_.data(), &count), U32{ZEL_INVALID_PARAMETER});
    EXPECT_EQ(ZelInitAPI(&handle_, 3, nullptr, &count), U32{ZEL_INVALID_PARAMETER});
    EXPECT_EQ(ZelInitAPI(&handle_, 3, devices_.data(), nullptr), U32{ZEL_INVALID_PARAMETER});
    EXPECT_EQ(ZelInitAPI(&handle_, 0, devices_.data(), &count), U32{ZEL_INVALID_PARAMETER});
    EXPECT_EQ(handle_, nullptr);
}

TEST_F(ZelAccessApi, HostWithoutCardsOpens) {
    MakeHost({});
    EXPECT_EQ(Init(), U32{ZEL_SUCCESS});
    EXPECT_NE(handle_, nullptr);
    EXPECT_EQ(count_, 0U);
}

TEST_F(ZelAccessApi, MoreCardsThanTheCapacityHolds) {
    Fleet fleet;
    fleet.cards.resize(300, Healthy());
    MakeHost(fleet);
    EXPECT_EQ(Init(), U32{ZEL_SUCCESS});
    EXPECT_EQ(count_, 256U);
}

TEST_F(ZelAccessApi, FaultsOfTheHostItself) {
    MakeHost(
        {.faults = {{.call = "ZelInitAPI", .status = 6}, {.call = "ZelCloseAPI", .status = 13}},
         .cards = {}});
    EXPECT_EQ(Init(), 6U);
    EXPECT_EQ(handle_, nullptr);
    EXPECT_EQ(Init(), U32{ZEL_SUCCESS});
    EXPECT_EQ(ZelCloseAPI(&handle_), 13U);
    EXPECT_EQ(handle_, nullptr);
}

TEST_F(ZelAccessApi, CloseEndsTheHandle) {
    OpenOnly(Healthy());
    HANDLE copy = handle_;
    EXPECT_EQ(ZelCloseAPI(&handle_), U32{ZEL_SUCCESS});
    EXPECT_EQ(handle_, nullptr);
    EXPECT_EQ(ZelCloseAPI(&handle_), U32{ZEL_INVALID_HANDLE});
    EXPECT_EQ(ZelCloseAPI(&copy), U32{ZEL_INVALID_HANDLE});
    EXPECT_EQ(ZelCloseAPI(nullptr), U32{ZEL_INVALID_HANDLE});
}

TEST_F(ZelAccessApi, AdapterCallsRefuseWhatTheyCannotUse) {
    MakeHost({.faults = {}, .cards = {Healthy()}});
    ASSERT_EQ(Init(), U32{ZEL_SUCCESS});
    HANDLE other = &other;
    EXPECT_EQ(ZelInitAdapter(nullptr, &devices_[0]), U32{ZEL_INVALID_HANDLE});
    EXPECT_EQ(ZelInitAdapter(&other, &devices_[0]), U32{ZEL_INVALID_HANDLE});
    EXPECT_EQ(ZelInitAdapter(&handle_, nullptr), U32{ZEL_INVALID_PARAMETER});
    EXPECT_EQ(ZelInitAdapter(&handle_, &devices_[5]), U32{ZEL_NO_SUCH_DEVICE});
    EXPECT_EQ(ZelCloseAdapter(nullptr), U32{ZEL_INVALID_HANDLE});
    EXPECT_EQ(ZelCloseAdapter(handle_), U32{ZEL_NO_ADAPTER_OPEN});
}

TEST_F(ZelAccessApi, EveryCardOperationOfTheInterfaceIsTriedHere) {
    std::set<std::string> tried = {"ZelInitAPI", "ZelCloseAPI", "ZelInitAdapter",
                                   "ZelCloseAdapter"};
    for (const Operation& operation : Operations())
        tried.insert(operation.name);
    for (const std::string& name : CallNames()) {
        if (name.starts_with("Zel")) {
            EXPECT_TRUE(tried.contains(name)) << name;
        }
    }
}

TEST_F(ZelAccessApi, OperationsNeedAHandle) {
    OpenOnly(Offline());
    int other = 0;
    for (const Operation& operation : Operations()) {
        EXPECT_EQ(operation.call(nullptr), U32{ZEL_INVALID_HANDLE}) << operation.name;
        EXPECT_EQ(operation.call(&other), U32{ZEL_INVALID_HANDLE}) << operation.name;
    }
}

TEST_F(ZelAccessApi, OperationsNeedAnOpenCard) {
    OpenOnly(Offline());
    ASSERT_EQ(ZelCloseAdapter(handle_), U32{ZEL_SUCCESS});
    for (const Operation& operation : Operations())
        EXPECT_EQ(operation.call(handle_), U32{ZEL_NO_ADAPTER_OPEN}) << operation.name;
}

TEST_F(ZelAccessApi, OperationsNeedTheirPointers) {
    OpenOnly(Offline());
    for (const Operation& operation : Operations()) {
        for (const auto& call : operation.nullCalls)
            EXPECT_EQ(call(handle_), U32{ZEL_INVALID_PARAMETER}) << operation.name;
    }
}

TEST_F(ZelAccessApi, OperationsSucceedOnAHealthyCard) {
    OpenOnly(Offline());
    for (const Operation& operation : Operations())
        EXPECT_EQ(operation.call(handle_), U32{ZEL_SUCCESS}) << operation.name;
}

TEST_F(ZelAccessApi, EveryOperationFailsWhereTheFleetSaysAndNowhereElse) {
    Card card = Offline();
    U32 status = 1000;
    for (const Operation& operation : Operations())
        card.faults.push_back({.call = operation.name, .status = ++status, .skip = 1, .count = 1});
    OpenOnly(card);
    status = 1000;
    for (const Operation& operation : Operations()) {
        ++status;
        EXPECT_EQ(operation.call(handle_), U32{ZEL_SUCCESS}) << operation.name;
        EXPECT_EQ(operation.call(handle_), status) << operation.name;
        EXPECT_EQ(operation.call(handle_), U32{ZEL_SUCCESS}) << operation.name;
    }
}

TEST_F(ZelAccessApi, FailingOperationLeavesItsOutputsUntouched) {
    Card card = Healthy();
    for (const char* call : {"ZelGetNumCores", "ZelGetUUID", "ZelGetPostCode", "ZelGetZelVersion"})
        card.faults.push_back({.call = call, .status = 13, .skip = 0, .count = 0});
    OpenOnly(card);
    U32 cores = 77;
    EXPECT_EQ(ZelGetNumCores(handle_, &cores), 13U);
    EXPECT_EQ(cores, 77U);
    U8 uuid[16] = {1};
    U32 length = 16;
    EXPECT_EQ(ZelGetUUID(handle_, uuid, &length), 13U);
    EXPECT_EQ(uuid[0], 1U);
    char text[16] = "as it was";
    EXPECT_EQ(ZelGetPostCode(handle_, text), 13U);
    EXPECT_STREQ(text, "as it was");
    length = sizeof(text);
    EXPECT_EQ(ZelGetZelVersion(handle_, ZEL_VERSION_API, text, &length), 13U);
    EXPECT_STREQ(text, "as it was");
    EXPECT_EQ(length, sizeof(text));
}

TEST_F(ZelAccessApi, AnswersAreThoseOfTheFleet) {
    Card card = Healthy();
    card.linkSpeed = 3;
    card.linkWidth = 8;
    card.revisionId = 0x11;
    card.subsystemId = 0xABCD1F5A;
    card.cores = 61;
    card.memoryBytes = (U64{16} << 30) - 1024;
    card.postCode = std::string(15, 'F');
    card.memoryRevision = 9;
    OpenOnly(card);
    U32 word = 0;
    EXPECT_EQ(ZelGetPcieLinkSpeed(handle_, &word), 0U);
    EXPECT_EQ(word, 3U);
    EXPECT_EQ(ZelGetPcieLinkWidth(handle_, &word), 0U);
    EXPECT_EQ(word, 8U);
    EXPECT_EQ(ZelGetRevisionID(handle_, &word), 0U);
    EXPECT_EQ(word, 0x11U);
    EXPECT_EQ(ZelGetSubSystemID(handle_, &word), 0U);
    EXPECT_EQ(word, 0xABCD1F5AU);
    EXPECT_EQ(ZelGetNumCores(handle_, &word), 0U);
    EXPECT_EQ(word, 61U);
    U64 bytes = 0;
    EXPECT_EQ(ZelGetGDDRMemSize(handle_, &bytes), 0U);
    EXPECT_EQ(bytes, card.memoryBytes);
    ZEL_SMCFwRevType firmware{};
    EXPECT_EQ(ZelGetSMCFWVersion(handle_, &firmware), 0U);
    EXPECT_EQ(firmware.revbits.major, 1U);
    EXPECT_EQ(firmware.revbits.minor, 16U);
    EXPECT_EQ(firmware.revbits.buildno, 42U);
    ZEL_SMCHwRevType hardware{};
    EXPECT_EQ(ZelGetSMCHWRevision(handle_, &hardware), 0U);
    EXPECT_EQ(hardware.value, card.smcHardware);
    char code[16];
    EXPECT_EQ(ZelGetPostCode(handle_, code), 0U);
    EXPECT_EQ(code, card.postCode);
    ZelDevMemInfo memory{};
    EXPECT_EQ(ZelGetDevMemInfo(handle_, &memory), 0U);
    EXPECT_STREQ(memory.vendorName, "Elmwood");
    EXPECT_STREQ(memory.memoryType, "GDDR5");
    EXPECT_EQ(memory.revision, 9U);
    EXPECT_EQ(memory.density, 8192U);
    EXPECT_EQ(memory.size, card.memoryBytes / 1024);
    EXPECT_EQ(memory.speed, 5000000U);
}

TEST_F(ZelAccessApi, UuidNeedsRoomForAllOfIt) {
    OpenOnly(Healthy());
    U8 uuid[20] = {};
    U32 length = 15;
    EXPECT_EQ(ZelGetUUID(handle_, uuid, &length), U32{ZEL_BUFFER_TOO_SMALL});
    EXPECT_EQ(length, 15U);
    length = sizeof(uuid);
    EXPECT_EQ(ZelGetUUID(handle_, uuid, &length), U32{ZEL_SUCCESS});
    EXPECT_EQ(length, 16U);
    EXPECT_EQ(uuid[15], 0xFFU);
    EXPECT_EQ(uuid[16], 0U);
}

TEST_F(ZelAccessApi, ModeIsTheHosts) {
    OpenOnly(Offline());
    ASSERT_EQ(ZelSetUsageModeExtn(handle_, ZEL_USAGE_MODE_MEMDIAG, 0, kImage, ""), 0U);
    ASSERT_EQ(ZelCloseAPI(&handle_), 0U);
    ASSERT_EQ(Init(), 0U);
    ASSERT_EQ(ZelInitAdapter(&handle_, &devices_[0]), 0U);
    ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_NOP;
    EXPECT_EQ(ZelGetUsageMode(handle_, &mode), 0U);
    EXPECT_EQ(mode, ZEL_USAGE_MODE_MEMDIAG);
}

TEST_F(ZelAccessApi, ModeThatTakesTimeIsSetAtOnceAndArrivesLater) {
    Card card = Offline();
    card.modeChange = 200;
    OpenOnly(card);
    const U64 start = HostClock();
    ASSERT_EQ(ZelSetUsageModeExtn(handle_, ZEL_USAGE_MODE_MEMDIAG, 0, kImage, ""), 0U);
    ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_NOP;
    EXPECT_EQ(ZelGetUsageMode(handle_, &mode), 0U);
    if (HostClock() < start + 200'000) {
        EXPECT_EQ(mode, ZEL_USAGE_MODE_IN_TRANSITION);
    }
    while (mode == ZEL_USAGE_MODE_IN_TRANSITION)
        ASSERT_EQ(ZelGetUsageMode(handle_, &mode), 0U);
    EXPECT_EQ(mode, ZEL_USAGE_MODE_MEMDIAG);
    EXPECT_GE(HostClock(), start + 200'000);
}

TEST_F(ZelAccessApi, CallsTakeTheTimeThatTheFleetSays) {
    Card card = Healthy();
    card.faults = {{.call = "ZelInitAdapter", .status = 0, .delay = 10},
                   {.call = "ZelGetNumCores", .status = 0, .delay = 10},
                   {.call = "ZelCloseAdapter", .status = 13, .delay = 10}};
    MakeHost({.faults = {{.call = "ZelInitAPI", .status = 0, .delay = 10}}, .cards = {card}});
    const U64 start = HostClock();
    ASSERT_EQ(Init(), U32{ZEL_SUCCESS});
    EXPECT_GE(HostClock(), start + 10'000);
    ASSERT_EQ(ZelInitAdapter(&handle_, &devices_[0]), U32{ZEL_SUCCESS});
    EXPECT_GE(HostClock(), start + 20'000);
    U32 cores = 0;
    EXPECT_EQ(ZelGetNumCores(handle_, &cores), U32{ZEL_SUCCESS});
    EXPECT_EQ(cores, 60U);
    EXPECT_GE(HostClock(), start + 30'000);
    EXPECT_EQ(ZelCloseAdapter(handle_), 13U);
    EXPECT_GE(HostClock(), start + 40'000);
}

TEST_F(ZelAccessApi, EveryStatusHasATextOfItsOwn) {
    std::set<std::string> texts;
    const U32 statuses[] = {ZEL_SUCCESS,         ZEL_INVALID_HANDLE,  ZEL_INVALID_PARAMETER,
                            ZEL_NO_ADAPTER_OPEN, ZEL_NO_SUCH_DEVICE,  ZEL_ADAPTER_ALREADY_OPEN,
                            ZEL_NO_DRIVER,       ZEL_NOT_SUPPORTED,   ZEL_BUFFER_TOO_SMALL,
                            ZEL_OUT_OF_MEMORY,   ZEL_DEVICE_IO_ERROR, ZEL_OUT_OF_RANGE,
                            ZEL_ACCESS_DENIED,   ZEL_IMAGE_NOT_FOUND, ZEL_DEVICE_IN_NORMAL_MODE,
                            0xFFFFFFFF /* none */};
    for (const U32 status : statuses) {
        const char* text = ZelGetErrorString(status);
        ASSERT_NE(text, nullptr) << status;
        EXPECT_TRUE(texts.insert(text).second) << status << ": " << text;
    }
}

}  // namespace
}  // namespace simulated
