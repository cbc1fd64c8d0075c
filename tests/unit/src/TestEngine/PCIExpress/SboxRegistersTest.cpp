// Holds every fact that is known about the SBOX register table, so that an edit of a row (measured
// values in the place of invented ones) cannot break the table unnoticed.
#include "TestEngine/PCIExpress/SboxRegisters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "MmioRegisters.h"
#include "SboxRegisterNames.h"

namespace {

enum class Origin { given, provisional, measured };

constexpr Origin kOrigins[] = {
#define SBOX_REGISTER(name, offset, bits, powerOnValue, origin) Origin::origin,
#include "SboxRegisters.def"
#undef SBOX_REGISTER
};

std::span<const _SBOX_REG_DEF_VALUE> Registers() {
    return std::span(sbox_array).first(kSboxRegisterCount);
}

U32 ByteWidth(const _SBOX_REG_DEF_VALUE& row) {
    return row.size / 8;
}

std::vector<std::string> GivenNames() {
    std::vector<std::string> names;
    std::istringstream words(kSboxRegisterNames);
    for (std::string word; words >> word;) {
        const std::size_t dots = word.find("..");
        if (dots == std::string::npos) {
            names.push_back("SBOX_" + word);
            continue;
        }
        const std::size_t firstDigit = word.find_last_not_of("0123456789", dots - 1) + 1;
        const int first = std::stoi(word.substr(firstDigit, dots - firstDigit));
        const int last = std::stoi(word.substr(dots + 2));
        for (int number = first; number <= last; ++number)
            names.push_back("SBOX_" + word.substr(0, firstDigit) + std::to_string(number));
    }
    return names;
}

const _SBOX_REG_DEF_VALUE* Find(const std::string& name) {
    const auto registers = Registers();
    const auto row =
        std::ranges::find_if(registers, [&](const auto& r) { return r.regName == name; });
    return row == registers.end() ? nullptr : &*row;
}

Origin OriginOf(const _SBOX_REG_DEF_VALUE& row) {
    return kOrigins[&row - sbox_array];
}

void ExpectRow(const std::string& name, U32 offset, U32 size, U64 defaultValue) {
    const _SBOX_REG_DEF_VALUE* row = Find(name);
    ASSERT_NE(row, nullptr) << name;
    EXPECT_EQ(row->offset, offset) << name;
    EXPECT_EQ(row->size, size) << name;
    EXPECT_EQ(row->defaultValue, defaultValue) << name;
}

TEST(SboxRegisters, EndsWithTheTerminatorAndHasItNowhereElse) {
    const _SBOX_REG_DEF_VALUE& last = sbox_array[718];
    EXPECT_STREQ(last.regName, "0");
    EXPECT_EQ(last.offset, 0u);
    EXPECT_EQ(last.size, 0u);
    EXPECT_EQ(last.defaultValue, 0u);
    EXPECT_EQ(std::size(sbox_array), 719u);
    EXPECT_EQ(Find("0"), nullptr);
}

TEST(SboxRegisters, NamesAreTheGivenOnesInTheirOrder) {
    const std::vector<std::string> names = GivenNames();
    ASSERT_EQ(names.size(), 718u);
    EXPECT_EQ(std::set(names.begin(), names.end()).size(), 718u);
    for (std::size_t i = 0; i < names.size(); ++i)
        ASSERT_EQ(sbox_array[i].regName, names[i]) << "row " << i;
}

TEST(SboxRegisters, ExactlyTheApicRedirectionAndCommandRegistersAre64BitsWide) {
    std::set<std::string> wide;
    for (const auto& row : Registers()) {
        if (row.size == 64)
            wide.insert(row.regName);
        else
            EXPECT_EQ(row.size, 32u) << row.regName;
    }

    std::set<std::string> expected;
    for (int i = 0; i <= 25; ++i)
        expected.insert("SBOX_APICRT" + std::to_string(i));
    for (int i = 0; i <= 7; ++i)
        expected.insert("SBOX_APICICR" + std::to_string(i));
    EXPECT_EQ(expected.size(), 34u);
    EXPECT_EQ(wide, expected);
}

TEST(SboxRegisters, AScanTakes752ReadsOf32Bits) {
    U32 reads = 0;
    for (const auto& row : Registers())
        reads += row.size / 32;
    EXPECT_EQ(reads, 752u);
}

TEST(SboxRegisters, DefaultsFitIn32BitsAnd258AreNotZero) {
    int notZero = 0;
    for (const auto& row : Registers()) {
        EXPECT_LE(row.defaultValue, 0xFFFFFFFFu) << row.regName;
        notZero += row.defaultValue != 0;
    }
    EXPECT_EQ(notZero, 258);
}

TEST(SboxRegisters, OffsetsAreAlignedToTheWidth) {
    for (const auto& row : Registers())
        EXPECT_EQ(row.offset % ByteWidth(row), 0u) << row.regName;
}

TEST(SboxRegisters, OffsetsReachFrom0ToCCF8) {
    const auto [lowest, highest] =
        std::ranges::minmax(Registers(), {}, &_SBOX_REG_DEF_VALUE::offset);
    EXPECT_EQ(lowest.offset, 0x0u) << lowest.regName;
    EXPECT_EQ(highest.offset, 0xCCF8u) << highest.regName;
}

TEST(SboxRegisters, OffsetsAreNotSorted) {
    EXPECT_FALSE(std::ranges::is_sorted(Registers(), {}, &_SBOX_REG_DEF_VALUE::offset));
}

TEST(SboxRegisters, NoTwoRegistersOverlap) {
    std::map<U32, const char*> ownerOfWord;
    for (const auto& row : Registers()) {
        for (U32 word = row.offset; word < row.offset + ByteWidth(row); word += 4) {
            const auto [owner, isFree] = ownerOfWord.emplace(word, row.regName);
            EXPECT_TRUE(isFree) << row.regName << " and " << owner->second << " share offset 0x"
                                << std::hex << word;
        }
    }
    EXPECT_EQ(ownerOfWord.size(), 752u);
}

TEST(SboxRegisters, GivenRowsAreExact) {
    ExpectRow("SBOX_OC_I2C_ICR", 0x1000, 32, 0x11060);
    ExpectRow("SBOX_OC_I2C_ISR", 0x1004, 32, 0x2);
    ExpectRow("SBOX_OC_I2C_ISAR", 0x1008, 32, 0x7f);
    ExpectRow("SBOX_OC_I2C_IDBR", 0x100c, 32, 0xc1);
    ExpectRow("SBOX_OC_I2C_IDMR", 0x1010, 32, 0x3);
    ExpectRow("SBOX_MICROCONTROLLER_FAN_STATUS", 0x1020, 32, 0x80000000);
    ExpectRow("SBOX_APICRT0", 0xa840, 64, 0x30);
    ExpectRow("SBOX_APICRT4", 0xa860, 64, 0x34);
    ExpectRow("SBOX_APICRT5", 0xa868, 64, 0x10000);
    ExpectRow("SBOX_APICRT25", 0xa908, 64, 0x10000);
    ExpectRow("SBOX_APICICR0", 0xa9d0, 64, 0x0);
    ExpectRow("SBOX_TLB_DATIN0", 0xccf8, 32, 0x0);
}

TEST(SboxRegisters, ExactlyTheGivenRowsAreMarkedSo) {
    std::set<std::string> given;
    for (const auto& row : Registers()) {
        if (OriginOf(row) == Origin::given)
            given.insert(row.regName);
    }
    EXPECT_EQ(given, (std::set<std::string>{"SBOX_OC_I2C_ICR", "SBOX_OC_I2C_ISR",
                                            "SBOX_OC_I2C_ISAR", "SBOX_OC_I2C_IDBR",
                                            "SBOX_OC_I2C_IDMR", "SBOX_MICROCONTROLLER_FAN_STATUS",
                                            "SBOX_APICRT0", "SBOX_APICRT4", "SBOX_APICRT5",
                                            "SBOX_APICRT25", "SBOX_APICICR0", "SBOX_TLB_DATIN0"}));
}

// A step of 8 is what the given rows have between them, and what their width asks for.
TEST(SboxRegisters, ApicRegistersStepByTheirWidth) {
    for (U32 i = 0; i <= 25; ++i)
        EXPECT_EQ(Find("SBOX_APICRT" + std::to_string(i))->offset, 0xa840 + 8 * i) << i;
    for (U32 i = 0; i <= 7; ++i)
        EXPECT_EQ(Find("SBOX_APICICR" + std::to_string(i))->offset, 0xa9d0 + 8 * i) << i;
}

// A row that is still invented carries the mark of an invented value; a row that is not, does not.
// So a measured value in a row that is still marked provisional is noticed, and the reverse too.
TEST(SboxRegisters, InventedValuesStandInProvisionalRowsOnly) {
    for (const auto& row : Registers()) {
        const std::size_t number = static_cast<std::size_t>(&row - sbox_array);
        char invented[11];
        std::snprintf(invented, sizeof invented, "0xFA4E%04u", static_cast<unsigned>(number));
        const U64 inventedValue = std::stoull(invented, nullptr, 16);

        if (OriginOf(row) != Origin::provisional) {
            EXPECT_NE(row.defaultValue, inventedValue) << row.regName << " is not provisional";
        } else if (row.size == 32) {
            EXPECT_TRUE(row.defaultValue == 0 || row.defaultValue == inventedValue)
                << row.regName << " is provisional, but its value is no placeholder: 0x" << std::hex
                << row.defaultValue;
        }
    }
}

// Two registers of the region are known by what the core tests read there, but not by name: no
// placeholder may claim their offsets.
TEST(SboxRegisters, PlaceholdersStayOffTheRegistersOfTheCoreTests) {
    for (const auto& row : Registers()) {
        if (OriginOf(row) != Origin::provisional)
            continue;
        EXPECT_NE(ZEL_MMIO_SBOX + row.offset, ZEL_MMIO_CPUID) << row.regName;
        EXPECT_NE(ZEL_MMIO_SBOX + row.offset, ZEL_MMIO_THREAD_ENABLE) << row.regName;
    }
}

// The defaults of the APIC registers that nobody has read run on from those that are given.
TEST(SboxRegisters, ProvisionalApicDefaultsContinueTheGivenOnes) {
    const auto expectUnlessMeasured = [](const std::string& name, U64 defaultValue) {
        const _SBOX_REG_DEF_VALUE* row = Find(name);
        if (OriginOf(*row) == Origin::measured)
            return;
        EXPECT_EQ(row->defaultValue, defaultValue) << name;
    };
    for (U32 i = 0; i <= 25; ++i)
        expectUnlessMeasured("SBOX_APICRT" + std::to_string(i), i <= 4 ? 0x30 + i : 0x10000);
    for (U32 i = 0; i <= 7; ++i)
        expectUnlessMeasured("SBOX_APICICR" + std::to_string(i), 0);
}

}  // namespace
