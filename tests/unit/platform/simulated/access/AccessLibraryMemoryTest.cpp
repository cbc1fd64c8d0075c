// A simulated card's memory through the library: when it is reachable, and whose it is.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "access/AccessLibrary.h"
#include "fleet/Fleet.h"

namespace simulated {
namespace {

constexpr U64 kMemoryBytes = U64{16} << 30;

class AccessLibraryMemory : public testing::Test {
protected:
    AccessLibraryMemory() {
        Fleet fleet;
        for (U32 i = 0; i < 3; ++i) {
            fleet.cards.push_back(DefaultCard(Generation::Er1x));
            fleet.cards.back().pcie = DefaultAddress(i);
            fleet.cards.back().memoryBytes = kMemoryBytes;
            fleet.cards.back().firstMode = ZEL_USAGE_MODE_MEMDIAG;
        }
        fleet.cards[1].memoryFaults = {
            {kMemoryBytes - 1, 3, 1}, {0, 0, 0}, {.address = 0x2000, .bit = 2, .every = 4}};
        fleet.cards[2].addressFaults = {{.line = 32}};
        HostState::Create(path_, fleet);
        library_ = std::make_unique<AccessLibrary>(HostState::Open(path_));
        devices_.resize(3);
        library_->Enumerate(devices_.data(), 3);
        Open(0);
    }
    ~AccessLibraryMemory() override { std::filesystem::remove(path_); }

    void Open(std::size_t card) {
        library_->CloseCard();
        ASSERT_EQ(library_->OpenCard(devices_[card]), 0U);
    }
    U32 Write(U64 address, std::vector<U8> data, U32 width = 1, U32 caching = 0) {
        return library_->WriteMemory(address, data.data(), static_cast<U32>(data.size()), width,
                                     caching);
    }
    std::vector<U8> Read(U64 address, U32 bytes) {
        std::vector<U8> data(bytes, 0xEE);
        EXPECT_EQ(library_->ReadMemory(address, data.data(), bytes, 1, 0), 0U);
        return data;
    }

    const std::string path_ =
        (std::filesystem::temp_directory_path() / ("zeldiag-memory-" + std::to_string(getpid())))
            .string();
    std::unique_ptr<AccessLibrary> library_;
    std::vector<ZelDeviceOnSystem> devices_;
};

TEST_F(AccessLibraryMemory, IsReachableInMemoryDiagnosticModeOnly) {
    for (const ModeName& mode : kModeNames) {
        library_->Card()->usageMode.Store({.mode = mode.value});
        U8 byte = 0xEE;
        const U32 expected = mode.value == ZEL_USAGE_MODE_MEMDIAG ? ZEL_SUCCESS : ZEL_ACCESS_DENIED;
        EXPECT_EQ(Write(0, {1}), expected) << mode.name;
        EXPECT_EQ(library_->ReadMemory(0, &byte, 1, 1, 0), expected) << mode.name;
        EXPECT_EQ(byte == 0xEE, expected != ZEL_SUCCESS) << mode.name;
    }
}

TEST_F(AccessLibraryMemory, EndsWhereTheCardsMemoryDoes) {
    EXPECT_EQ(Write(kMemoryBytes - 2, {1, 2}), U32{ZEL_SUCCESS});
    EXPECT_EQ(Write(kMemoryBytes - 2, {1, 2, 3}), U32{ZEL_OUT_OF_RANGE});
    EXPECT_EQ(Write(~U64{0}, {1, 2}), U32{ZEL_OUT_OF_RANGE});
    EXPECT_EQ(library_->ReadMemory(kMemoryBytes, nullptr, 1, 1, 0), U32{ZEL_OUT_OF_RANGE});
}

TEST_F(AccessLibraryMemory, KnowsWidthsAndCaching) {
    for (const U32 width : {1U, 2U, 4U, 8U})
        EXPECT_EQ(Write(0, {1, 2, 3, 4, 5, 6, 7, 8}, width), U32{ZEL_SUCCESS}) << width;
    for (const U32 width : {0U, 3U, 16U})
        EXPECT_EQ(Write(0, {1}, width), U32{ZEL_INVALID_PARAMETER}) << width;
    EXPECT_EQ(Write(0, {1}, 1, 1), U32{ZEL_INVALID_PARAMETER});
}

TEST_F(AccessLibraryMemory, IsEachCardsOwnAndOutlivesItsClosing) {
    ASSERT_EQ(Write(0x1000, {1, 2, 3}), 0U);
    Open(1);
    EXPECT_EQ(Read(0x1000, 3), (std::vector<U8>{0, 0, 0}));
    ASSERT_EQ(Write(0x1000, {9}), 0U);
    Open(0);
    EXPECT_EQ(Read(0x1000, 3), (std::vector<U8>{1, 2, 3}));
}

TEST_F(AccessLibraryMemory, HasTheBrokenCellsOfItsCard) {
    for (const std::size_t card : {0U, 1U}) {
        Open(card);
        ASSERT_EQ(Write(0, {0xFF}), 0U);
        ASSERT_EQ(Write(kMemoryBytes - 1, {0x00}), 0U);
        EXPECT_EQ(Read(0, 1).front(), card == 0 ? 0xFF : 0xFE);
        EXPECT_EQ(Read(kMemoryBytes - 1, 1).front(), card == 0 ? 0x00 : 0x08);
        const U8 stuck = card == 0 ? 0 : 4;
        EXPECT_EQ(Read(0x1FFC, 9), (std::vector<U8>{0, 0, 0, 0, stuck, 0, 0, 0, stuck}));
    }
}

TEST_F(AccessLibraryMemory, HasTheBrokenAddressLinesOfItsCard) {
    for (const std::size_t card : {0U, 2U}) {
        Open(card);
        ASSERT_EQ(Write(0x100, {5}), 0U);
        EXPECT_EQ(Read((U64{1} << 32) + 0x100, 1).front(), card == 0 ? 0 : 5);
    }
}

}  // namespace
}  // namespace simulated
