#include "access/AccessLibrary.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

namespace simulated {
namespace {

class AccessLibraryTest : public testing::Test {
protected:
    AccessLibraryTest() {
        char folder[] = "/tmp/access-library-XXXXXX";
        if (mkdtemp(folder) == nullptr)
            throw std::system_error(errno, std::generic_category(), folder);
        folder_ = folder;
        std::ofstream(folder_ / "image") << "handler\n";
    }
    ~AccessLibraryTest() override {
        std::error_code error;
        std::filesystem::remove_all(folder_, error);
    }

    std::unique_ptr<AccessLibrary> Make(const std::vector<Card>& cards) const {
        const std::string path = folder_ / "state";
        HostState::Create(path, {.faults = {}, .cards = cards});
        auto host = HostState::Open(path);
        std::filesystem::remove(path);
        return std::make_unique<AccessLibrary>(std::move(host));
    }

    // The library with one open card.
    std::unique_ptr<AccessLibrary> MakeOpen(const Card& card) const {
        auto library = Make({card});
        ZelDeviceOnSystem record{};
        library->Enumerate(&record, 1);
        EXPECT_EQ(library->OpenCard(record), U32{ZEL_SUCCESS});
        return library;
    }

    std::string Image() const { return folder_ / "image"; }
    std::string Folder() const { return folder_; }

private:
    std::filesystem::path folder_;
};

Card CardIn(ZEL_CARD_USAGE_MODE mode) {
    Card card = DefaultCard(Generation::Er1x);
    card.firstMode = mode;
    return card;
}

TEST_F(AccessLibraryTest, EnumeratesWhatTheFleetSays) {
    Card card = DefaultCard(Generation::Ev1x);
    card.pcie = {.domain = 1, .bus = 0x83, .device = 0x1F, .function = 2};
    card.node = 5;
    card.name = std::string(254, 'n');
    const auto library = Make({card});
    ZelDeviceOnSystem record{};
    ASSERT_EQ(library->Enumerate(&record, 1), 1U);
    EXPECT_EQ(record.deviceId, card.deviceId);
    EXPECT_EQ(record.busNumber, 0x83U);
    EXPECT_EQ(record.deviceNumber, 0x1FU);
    EXPECT_EQ(record.node, 5U);
    EXPECT_EQ(record.subSystemId, card.subsystemId);
    EXPECT_EQ(reinterpret_cast<const char*>(record.deviceName), card.name);
}

TEST_F(AccessLibraryTest, LeavesOutCardsBeyondTheCapacity) {
    const auto library = Make(std::vector<Card>(3, DefaultCard(Generation::Er1x)));
    std::vector<ZelDeviceOnSystem> records(4);
    records[2].deviceId = 0x77777777;
    EXPECT_EQ(library->Enumerate(records.data(), 2), 2U);
    EXPECT_EQ(records[2].deviceId, 0x77777777U);
    EXPECT_EQ(library->Enumerate(records.data(), 0), 0U);
    EXPECT_EQ(library->Enumerate(records.data(), 4), 3U);
}

TEST_F(AccessLibraryTest, OpensOneCardAtATime) {
    const auto library = Make({DefaultCard(Generation::Er1x), DefaultCard(Generation::Ev1x)});
    std::vector<ZelDeviceOnSystem> records(2);
    library->Enumerate(records.data(), 2);
    EXPECT_EQ(library->CloseCard(), U32{ZEL_NO_ADAPTER_OPEN});
    EXPECT_EQ(library->OpenCard(records[1]), U32{ZEL_SUCCESS});
    EXPECT_EQ(library->Card(), &library->Host().Cards()[1]);
    EXPECT_EQ(library->OpenCard(records[0]), U32{ZEL_ADAPTER_ALREADY_OPEN});
    EXPECT_EQ(library->CloseCard(), U32{ZEL_SUCCESS});
    EXPECT_EQ(library->Card(), nullptr);
    EXPECT_EQ(library->OpenCard(records[0]), U32{ZEL_SUCCESS});
    EXPECT_EQ(library->Card(), &library->Host().Cards()[0]);
}

TEST_F(AccessLibraryTest, RecordThatStandsForNoCardIsRefused) {
    const auto library = Make({DefaultCard(Generation::Er1x)});
    std::vector<ZelDeviceOnSystem> records(2);
    library->Enumerate(records.data(), 2);
    EXPECT_EQ(library->OpenCard(records[1]), U32{ZEL_NO_SUCH_DEVICE});
    ++records[0].busNumber;
    EXPECT_EQ(library->OpenCard(records[0]), U32{ZEL_NO_SUCH_DEVICE});
    EXPECT_EQ(library->Card(), nullptr);
}

TEST_F(AccessLibraryTest, CardsInDifferentDomainsAreToldApartByTheirRecordsPlace) {
    std::vector<Card> cards(3, DefaultCard(Generation::Er1x));
    for (U32 i = 0; i < cards.size(); ++i)
        cards[i].pcie = {.domain = i, .bus = 2, .device = 0, .function = 0};
    const auto library = Make(cards);
    std::vector<ZelDeviceOnSystem> records(3);
    library->Enumerate(records.data(), 3);
    for (std::size_t i = 0; i < cards.size(); ++i) {
        ASSERT_EQ(library->OpenCard(records[i]), U32{ZEL_SUCCESS}) << i;
        EXPECT_EQ(library->Card(), &library->Host().Cards()[i]) << i;
        library->CloseCard();
    }
    const ZelDeviceOnSystem copy = records[2];
    EXPECT_EQ(library->OpenCard(copy), U32{ZEL_SUCCESS});
    EXPECT_EQ(library->Card(), &library->Host().Cards()[0]);
}

TEST_F(AccessLibraryTest, CardThatFailsToOpenIsNotOpen) {
    Card card = DefaultCard(Generation::Er1x);
    card.faults = {{.call = "ZelInitAdapter", .status = 13, .skip = 0, .count = 1}};
    const auto library = Make({card});
    ZelDeviceOnSystem record{};
    library->Enumerate(&record, 1);
    EXPECT_EQ(library->OpenCard(record), 13U);
    EXPECT_EQ(library->Card(), nullptr);
    EXPECT_EQ(library->OpenCard(record), U32{ZEL_SUCCESS});
}

TEST_F(AccessLibraryTest, CardThatFailsToCloseIsClosedAllTheSame) {
    Card card = DefaultCard(Generation::Er1x);
    card.faults = {{.call = "ZelCloseAdapter", .status = 13, .skip = 0, .count = 1}};
    const auto library = MakeOpen(card);
    EXPECT_EQ(library->CloseCard(), 13U);
    EXPECT_EQ(library->Card(), nullptr);
}

TEST_F(AccessLibraryTest, VersionNeedsRoomForItsTerminator) {
    Card card = DefaultCard(Generation::Er1x);
    card.flashVersion = "1.2.3";
    const auto library = MakeOpen(card);
    char text[8] = "xxxxxxx";
    for (const U32 room : {0U, 1U, 5U}) {
        U32 length = room;
        EXPECT_EQ(library->Version(ZEL_VERSION_FLASH_IMAGE, text, &length),
                  U32{ZEL_BUFFER_TOO_SMALL})
            << room;
        EXPECT_EQ(length, room);
        EXPECT_STREQ(text, "xxxxxxx");
    }
    U32 length = 6;
    EXPECT_EQ(library->Version(ZEL_VERSION_FLASH_IMAGE, text, &length), U32{ZEL_SUCCESS});
    EXPECT_EQ(length, 5U);
    EXPECT_STREQ(text, "1.2.3");
    EXPECT_EQ(text[6], 'x') << "written behind the terminator";
}

TEST_F(AccessLibraryTest, VersionsThatACardHas) {
    const auto library = MakeOpen(DefaultCard(Generation::Er1x));
    for (U32 type = 0; type <= ZEL_VERSION_MAX + 1; ++type) {
        char text[256] = "";
        U32 length = sizeof(text);
        const bool known = type == ZEL_VERSION_API || type == ZEL_VERSION_FLASH_IMAGE;
        const U32 expected = known                    ? ZEL_SUCCESS
                             : type < ZEL_VERSION_MAX ? ZEL_NOT_SUPPORTED
                                                      : ZEL_INVALID_PARAMETER;
        EXPECT_EQ(library->Version(static_cast<_E_ZEL_VERSION_TYPE>(type), text, &length), expected)
            << type;
        EXPECT_EQ(length, known ? std::strlen(text) : sizeof(text)) << type;
        EXPECT_EQ(known, text[0] != '\0') << type;
    }
}

TEST_F(AccessLibraryTest, ModesThatCanBeAskedForWithoutAnImage) {
    const auto library = MakeOpen(CardIn(ZEL_USAGE_MODE_OFFLINE));
    for (const auto mode :
         {ZEL_USAGE_MODE_MAINTENANCE, ZEL_USAGE_MODE_ZOMBIE, ZEL_USAGE_MODE_NORMAL_RESTRICTED,
          ZEL_USAGE_MODE_NORMAL, ZEL_USAGE_MODE_OFFLINE}) {
        EXPECT_EQ(library->SetMode(mode), U32{ZEL_SUCCESS}) << mode;
        EXPECT_EQ(HostState::UsageModeOf(*library->Card()), mode);
        EXPECT_EQ(library->SetModeWithImage(mode, ""), U32{ZEL_SUCCESS}) << mode;
    }
}

TEST_F(AccessLibraryTest, OtherModesAreNone) {
    const auto library = MakeOpen(CardIn(ZEL_USAGE_MODE_OFFLINE));
    for (const U32 mode : {U32{ZEL_USAGE_MODE_MEMDIAG}, U32{ZEL_USAGE_MODE_IN_TRANSITION},
                           U32{ZEL_USAGE_MODE_NOP}, U32{ZEL_USAGE_MODE_MAX}, 0xFFFFFFFFU}) {
        EXPECT_EQ(library->SetMode(static_cast<ZEL_CARD_USAGE_MODE>(mode)),
                  U32{ZEL_INVALID_PARAMETER})
            << mode;
        EXPECT_EQ(HostState::UsageModeOf(*library->Card()), ZEL_USAGE_MODE_OFFLINE);
    }
}

TEST_F(AccessLibraryTest, MemoryDiagnosticModeIsReachedFromEveryModeButThoseThatRefuse) {
    for (const ModeName& row : kModeNames) {
        const auto library = MakeOpen(CardIn(row.value));
        const U32 expected = row.value == ZEL_USAGE_MODE_NORMAL          ? ZEL_DEVICE_IN_NORMAL_MODE
                             : row.value == ZEL_USAGE_MODE_IN_TRANSITION ? ZEL_ACCESS_DENIED
                                                                         : ZEL_SUCCESS;
        EXPECT_EQ(library->SetModeWithImage(ZEL_USAGE_MODE_MEMDIAG, Image().c_str()), expected)
            << row.name;
        EXPECT_EQ(HostState::UsageModeOf(*library->Card()),
                  expected == ZEL_SUCCESS ? ZEL_USAGE_MODE_MEMDIAG : row.value)
            << row.name;
    }
}

TEST_F(AccessLibraryTest, NormalModeRefusesWith29WhateverTheImage) {
    const auto library = MakeOpen(CardIn(ZEL_USAGE_MODE_NORMAL));
    EXPECT_EQ(library->SetModeWithImage(ZEL_USAGE_MODE_MEMDIAG, "/no/such/image"), 29U);
}

TEST_F(AccessLibraryTest, MemoryDiagnosticModeNeedsItsImage) {
    const auto library = MakeOpen(CardIn(ZEL_USAGE_MODE_OFFLINE));
    for (const std::string& image : {std::string(), std::string("/no/such/image"), Folder()}) {
        EXPECT_EQ(library->SetModeWithImage(ZEL_USAGE_MODE_MEMDIAG, image.c_str()),
                  U32{ZEL_IMAGE_NOT_FOUND})
            << '"' << image << '"';
        EXPECT_EQ(HostState::UsageModeOf(*library->Card()), ZEL_USAGE_MODE_OFFLINE);
    }
}

TEST_F(AccessLibraryTest, CardInTransitionRefusesEveryMode) {
    const auto library = MakeOpen(CardIn(ZEL_USAGE_MODE_IN_TRANSITION));
    EXPECT_EQ(library->SetMode(ZEL_USAGE_MODE_OFFLINE), U32{ZEL_ACCESS_DENIED});
    EXPECT_EQ(library->SetModeWithImage(ZEL_USAGE_MODE_NORMAL_RESTRICTED, ""),
              U32{ZEL_ACCESS_DENIED});
}

TEST_F(AccessLibraryTest, CardOnItsWayRefusesEveryModeUntilItArrives) {
    Card card = CardIn(ZEL_USAGE_MODE_OFFLINE);
    card.modeChange = 30;
    const auto library = MakeOpen(card);
    ASSERT_EQ(library->SetModeWithImage(ZEL_USAGE_MODE_MEMDIAG, Image().c_str()), U32{ZEL_SUCCESS});
    U8 byte = 0;
    EXPECT_EQ(library->SetMode(ZEL_USAGE_MODE_OFFLINE), U32{ZEL_ACCESS_DENIED});
    EXPECT_EQ(library->SetModeWithImage(ZEL_USAGE_MODE_MEMDIAG, Image().c_str()),
              U32{ZEL_ACCESS_DENIED});
    EXPECT_EQ(library->ReadMemory(0, &byte, 1, 1, 0), U32{ZEL_ACCESS_DENIED});
    HostState::AwaitUsageMode(*library->Card());
    EXPECT_EQ(library->ReadMemory(0, &byte, 1, 1, 0), U32{ZEL_SUCCESS});
    EXPECT_EQ(library->SetMode(ZEL_USAGE_MODE_OFFLINE), U32{ZEL_SUCCESS});
}

U32 Register(const AccessLibrary& library, U32 offset) {
    U32 value = 0xDEADBEEF;
    EXPECT_EQ(library.ReadRegister(offset, &value), U32{ZEL_SUCCESS}) << std::hex << offset;
    return value;
}

TEST_F(AccessLibraryTest, CoreRegisters) {
    Card card = DefaultCard(Generation::Er1x);
    card.cpuId = 0x1234B678;
    card.threadMask = 0xFFFFFFF7;
    const auto library = MakeOpen(card);
    EXPECT_EQ(Register(*library, 0x1AB54), 0x1234B678U);
    EXPECT_EQ(Register(*library, 0x1AB30), 0xFFFFFFF7U);
}

TEST_F(AccessLibraryTest, SboxPowersUpWithItsDefaults) {
    const auto library = MakeOpen(DefaultCard(Generation::Er1x));
    EXPECT_EQ(Register(*library, 0x11000), 0x11060U);
    EXPECT_EQ(Register(*library, 0x11020), 0x80000000U);
    EXPECT_EQ(Register(*library, 0x1A840), 0x30U);
    EXPECT_EQ(Register(*library, 0x1A844), 0U);
    EXPECT_EQ(Register(*library, 0x1CCF8), 0U);
}

TEST_F(AccessLibraryTest, EverySboxRegisterReadsAsTheTableSaysInBothHalves) {
    struct Row {
        const char* name;
        U32 offset;
        U32 width;
        U64 value;
    };
    constexpr Row kRows[] = {
#define SBOX_REGISTER(name, offset, size, default_value, origin) \
    {#name, offset, size, default_value},
#include "SboxRegisters.def"
#undef SBOX_REGISTER
    };
    const auto library = MakeOpen(DefaultCard(Generation::Er1x));
    for (const Row& row : kRows) {
        EXPECT_EQ(Register(*library, 0x10000 + row.offset), static_cast<U32>(row.value))
            << row.name;
        if (row.width == 64) {
            EXPECT_EQ(Register(*library, 0x10004 + row.offset), static_cast<U32>(row.value >> 32))
                << row.name;
        }
    }
}

TEST_F(AccessLibraryTest, FleetSetsSboxRegistersInBothHalves) {
    Card card = DefaultCard(Generation::Er1x);
    card.sbox = {{.offset = 0x1000, .width = 32, .value = 7},
                 {.offset = 0xA840, .width = 64, .value = 0x1122334455667788}};
    const auto library = MakeOpen(card);
    EXPECT_EQ(Register(*library, 0x11000), 7U);
    EXPECT_EQ(Register(*library, 0x11004), 2U);
    EXPECT_EQ(Register(*library, 0x1A840), 0x55667788U);
    EXPECT_EQ(Register(*library, 0x1A844), 0x11223344U);
}

TEST_F(AccessLibraryTest, OffsetsThatAreNoRegister) {
    const auto library = MakeOpen(DefaultCard(Generation::Er1x));
    U32 value = 5;
    for (const U32 offset : {1U, 2U, 0x1AB55U, 0xFFFFFFFFU})
        EXPECT_EQ(library->ReadRegister(offset, &value), U32{ZEL_INVALID_PARAMETER}) << offset;
    for (const U32 offset : {0x20000U, 0xFFFFFFFCU})
        EXPECT_EQ(library->ReadRegister(offset, &value), U32{ZEL_OUT_OF_RANGE}) << offset;
    EXPECT_EQ(value, 5U);
    EXPECT_EQ(library->ReadRegister(0x1FFFC, &value), U32{ZEL_SUCCESS});
}

}  // namespace
}  // namespace simulated
