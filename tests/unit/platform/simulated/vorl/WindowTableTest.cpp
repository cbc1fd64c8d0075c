#include "vorl/WindowTable.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <limits>
#include <vector>

#include "vorl.h"

namespace {

constexpr size_t kPage = VORL_PAGE_BYTES;
constexpr int kBoth = VORL_PROT_READ | VORL_PROT_WRITE;
constexpr off_t kBase = 0x80000000;

class WindowTable : public ::testing::Test {
protected:
    off_t Register(size_t pages, off_t offset = 0, int flags = 0, int protection = kBoth) {
        return table_.Register(memory_.data(), pages * kPage, offset, protection, flags);
    }
    off_t Fix(size_t pages, off_t offset) { return Register(pages, offset, VORL_MAP_FIXED); }
    int Load(off_t offset, size_t length) {
        std::vector<std::byte> bytes(length);
        return table_.Load(static_cast<U64>(offset), bytes);
    }
    int Store(off_t offset, size_t length, U8 value = 1) {
        const std::vector<std::byte> bytes(length, std::byte{value});
        return table_.Store(static_cast<U64>(offset), bytes);
    }

    alignas(kPage) inline static std::array<std::byte, 16 * kPage> memory_{};
    vorl::WindowTable table_;
};

TEST_F(WindowTable, HandsOutTheLowestFreeOffset) {
    EXPECT_EQ(Register(1, 0x12345), kBase);  // what is suggested does not count
    EXPECT_EQ(Register(2), kBase + 0x1000);
    EXPECT_EQ(Register(1), kBase + 0x3000);
    EXPECT_EQ(table_.Unregister(kBase + 0x1000, 2 * kPage), 0);
    EXPECT_EQ(Register(3), kBase + 0x4000);  // the gap is too small
    EXPECT_EQ(Register(1), kBase + 0x1000);
    EXPECT_EQ(Register(1), kBase + 0x2000);
    EXPECT_EQ(Register(1), kBase + 0x7000);
}

TEST_F(WindowTable, KeepsClearOfFixedWindows) {
    EXPECT_EQ(Fix(1, 0x80000), 0x80000);
    EXPECT_EQ(Fix(2, kBase - 0x1000), kBase - 0x1000);  // reaches over the base
    EXPECT_EQ(Fix(1, kBase + 0x2000), kBase + 0x2000);
    EXPECT_EQ(Register(1), kBase + 0x1000);
    EXPECT_EQ(Register(1), kBase + 0x3000);
}

TEST_F(WindowTable, RefusesFixedOffsetsThatOverlap) {
    ASSERT_EQ(Fix(2, 0x80000), 0x80000);
    for (const off_t offset : {0x7F000, 0x80000, 0x81000})
        EXPECT_EQ(Fix(2, offset), -EADDRINUSE) << std::hex << offset;
    EXPECT_EQ(Fix(3, 0x7E000), -EADDRINUSE);
    EXPECT_EQ(Fix(2, 0x7E000), 0x7E000);
    EXPECT_EQ(Fix(1, 0x82000), 0x82000);
    EXPECT_EQ(Fix(1, 0), 0);
}

TEST_F(WindowTable, RefusesWhatIsNoWindow) {
    EXPECT_EQ(table_.Register(nullptr, kPage, 0, kBoth, 0), -EFAULT);
    EXPECT_EQ(table_.Register(memory_.data() + 1, kPage, 0, kBoth, 0), -EINVAL);
    EXPECT_EQ(table_.Register(memory_.data(), 0, 0, kBoth, 0), -EINVAL);
    EXPECT_EQ(table_.Register(memory_.data(), kPage + 1, 0, kBoth, 0), -EINVAL);
    EXPECT_EQ(table_.Register(memory_.data(), ~size_t{0} - kPage + 1, 0, kBoth, 0), -EINVAL);
    EXPECT_EQ(Register(1, 0, 1), -EINVAL);
    EXPECT_EQ(Register(1, 0, 0, 0), -EINVAL);
    EXPECT_EQ(Register(1, 0, 0, 4), -EINVAL);
    EXPECT_EQ(Fix(1, -0x1000), -EINVAL);
    EXPECT_EQ(Fix(1, 0x80001), -EINVAL);
}

TEST_F(WindowTable, EndsWithTheOffsetSpace) {
    constexpr off_t kLastPage = std::numeric_limits<off_t>::max() - 0xFFF;
    EXPECT_EQ(Fix(2, kLastPage), -EINVAL);
    EXPECT_EQ(Fix(1, kLastPage), kLastPage);
    EXPECT_EQ(Store(kLastPage, kPage), 0);
    EXPECT_EQ(Store(kLastPage + 1, kPage), ENXIO);
    EXPECT_EQ(table_.Register(memory_.data(), static_cast<size_t>(kLastPage), 0, kBoth, 0),
              -ENOSPC);
}

TEST_F(WindowTable, HasALimit) {
    for (size_t i = 0; i < vorl::kMaxWindows; ++i)
        ASSERT_GE(Register(1), 0);
    EXPECT_EQ(Register(1), -ENOSPC);
    EXPECT_EQ(Fix(1, 0), -ENOSPC);
    EXPECT_EQ(table_.Unregister(kBase, kPage), 0);
    EXPECT_EQ(Register(1), kBase);
}

TEST_F(WindowTable, UnregistersExactlyOneWindow) {
    ASSERT_EQ(Register(2), kBase);
    EXPECT_EQ(table_.Unregister(kBase, kPage), EINVAL);
    EXPECT_EQ(table_.Unregister(kBase + 0x1000, kPage), EINVAL);
    EXPECT_EQ(table_.Unregister(-1, kPage), EINVAL);
    EXPECT_EQ(table_.Unregister(kBase, 2 * kPage), 0);
    EXPECT_EQ(table_.Unregister(kBase, 2 * kPage), EINVAL);
    EXPECT_EQ(Load(kBase, 1), ENXIO);
}

TEST_F(WindowTable, NeverLeavesAWindow) {
    ASSERT_EQ(Register(2), kBase);
    ASSERT_EQ(Register(1), kBase + 0x2000);  // next to it, but another
    for (const auto& [offset, length] :
         std::initializer_list<std::pair<off_t, size_t>>{{kBase - 1, 1},
                                                         {kBase - 1, 2},
                                                         {kBase, 2 * kPage + 1},
                                                         {kBase + 0x1FFF, 2},
                                                         {kBase + 0x3000, 1},
                                                         {kBase + 0x2FFF, 2},
                                                         {0, 1},
                                                         {std::numeric_limits<off_t>::max(), 1}}) {
        EXPECT_EQ(Load(offset, length), ENXIO) << std::hex << offset << " " << length;
        EXPECT_EQ(Store(offset, length), ENXIO) << std::hex << offset << " " << length;
    }
    EXPECT_EQ(table_.Check(static_cast<U64>(kBase), ~U64{0}, VORL_PROT_READ), ENXIO);
    EXPECT_EQ(table_.Check(~U64{0}, 2, VORL_PROT_READ), ENXIO);
    EXPECT_EQ(Store(kBase + 0x1FFF, 1), 0);
    EXPECT_EQ(Store(kBase, 2 * kPage), 0);
}

TEST_F(WindowTable, CopiesToTheRightPlace) {
    memory_.fill({});
    ASSERT_EQ(Register(2), kBase);
    EXPECT_EQ(Store(kBase + 5, 3, 9), 0);
    EXPECT_EQ(memory_[4], std::byte{0});
    EXPECT_EQ(memory_[5], std::byte{9});
    EXPECT_EQ(memory_[7], std::byte{9});
    EXPECT_EQ(memory_[8], std::byte{0});
    std::array<std::byte, 2> bytes{};
    EXPECT_EQ(table_.Load(static_cast<U64>(kBase) + 7, bytes), 0);
    EXPECT_EQ(bytes[0], std::byte{9});
    EXPECT_EQ(bytes[1], std::byte{0});
}

TEST_F(WindowTable, KeepsTheProtection) {
    ASSERT_EQ(Register(1, 0, 0, VORL_PROT_READ), kBase);
    ASSERT_EQ(Register(1, 0, 0, VORL_PROT_WRITE), kBase + 0x1000);
    EXPECT_EQ(Load(kBase, 1), 0);
    EXPECT_EQ(Store(kBase, 1), EACCES);
    EXPECT_EQ(Load(kBase + 0x1000, 1), EACCES);
    EXPECT_EQ(Store(kBase + 0x1000, 1), 0);
}

}  // namespace
