// The SBOX scan: what it reads and in which order, how many differences it tolerates, and what a read
// that fails does to it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "Rows.h"
#include "TestEngine/PCIExpress/PCIExpress.h"
#include "TestEngine/PCIExpress/SboxRegisters.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_summary.h"
#include "ToolFixture.h"
#include "ZelAccess.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr U32 kReadsOfAScan = 752;
constexpr std::size_t kFirstWideRow = 503;

std::span<const _SBOX_REG_DEF_VALUE> Registers() {
    return std::span(sbox_array).first(kSboxRegisterCount);
}

__attribute__((format(printf, 1, 2))) std::string Format(const char* format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    return text;
}

std::string ReadOf(U32 sboxOffset) {
    return Format("ZelReadMMIOReg(0x%X)", 0x10000 + sboxOffset);
}

std::string DifferenceOf(const _SBOX_REG_DEF_VALUE& row, U64 value) {
    return Format(
        "Sbox register offset =0x%x value read=0x%lx doesn't match default value =0x%lx \n",
        row.offset, value, row.defaultValue);
}

// The calls that a whole scan makes.
std::vector<std::string> ReadsOfAScan() {
    std::vector<std::string> reads;
    for (const auto& row : Registers()) {
        reads.push_back(ReadOf(row.offset));
        if (row.size == 64)
            reads.push_back(ReadOf(row.offset + 4));
    }
    return reads;
}

// How many reads a scan makes before that of row `index`.
U32 ReadsBefore(std::size_t index) {
    U32 reads = 0;
    for (const auto& row : Registers().first(index))
        reads += row.size / 32;
    return reads;
}

// A card whose registers hold their values after power-on, open for tests.
class SboxScan : public ToolFixture {
protected:
    SboxScan() {
        for (const auto& row : Registers())
            Card().registers[0x10000 + row.offset] = static_cast<U32>(row.defaultValue);
        zelAccess->setAccessHandle();
        zelAccess->InitAdapterforDiag(0, false);
        callsBefore_ = fakes::ZelAccess().Calls().size();
    }

    ~SboxScan() override {
        zelAccess->CloseAdapter();
        zelAccess->CloseAccessHandle();
    }

    fakes::Card& Card() { return fakes::ZelAccess().cards[0]; }

    U32& LowHalf(const _SBOX_REG_DEF_VALUE& row) { return Card().registers[0x10000 + row.offset]; }
    U32& HighHalf(const _SBOX_REG_DEF_VALUE& row) { return Card().registers[0x10004 + row.offset]; }

    // Makes the first `count` registers differ from their defaults.
    void Disturb(std::size_t count) {
        for (const auto& row : Registers().first(count))
            LowHalf(row) ^= 1;
    }

    void FailRead(U32 number) {
        fakes::ZelAccess().Fail("ZelReadMMIOReg", ZEL_DEVICE_IO_ERROR, number);
    }

    unsigned int Scan() { return CheckSboxDefaultValues(zelAccess->getAccessHandle()); }

    // The calls since the card was opened.
    std::vector<std::string> Calls() {
        std::vector<std::string> calls = fakes::ZelAccess().Calls();
        calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(callsBefore_));
        return calls;
    }

    static std::vector<std::string> Errors() { return fakes::Trace().TextsAt(DLVL_ERROR); }
    static std::vector<std::string> Differences() { return fakes::Trace().TextsAt(DLVL_DIAG2); }

private:
    std::size_t callsBefore_ = 0;
};

TEST_F(SboxScan, AcceptsACardInItsPowerOnState) {
    EXPECT_EQ(Scan(), 0u);
    EXPECT_THAT(fakes::Trace().Records(), IsEmpty());
}

TEST_F(SboxScan, ReadsEveryRegisterOnceInTableOrder) {
    Scan();
    EXPECT_EQ(Calls().size(), kReadsOfAScan);
    EXPECT_EQ(Calls(), ReadsOfAScan());
}

TEST_F(SboxScan, ReadsTheSameRegistersWhenTheyDiffer) {
    Disturb(kSboxRegisterCount);
    Scan();
    EXPECT_EQ(Calls(), ReadsOfAScan());
}

TEST_F(SboxScan, TracesADifferenceAndToleratesIt) {
    Disturb(1);
    EXPECT_EQ(Scan(), 0u);
    EXPECT_THAT(Differences(),
                ElementsAre("Sbox register offset =0x1000 value read=0x11061 doesn't "
                            "match default value =0x11060 \n"));
    EXPECT_EQ(fakes::Trace().Records().size(), 1u);
}

TEST_F(SboxScan, ToleratesDifferencesInHalfOfTheRegisters) {
    Disturb(359);
    EXPECT_EQ(Scan(), 0u);
    EXPECT_EQ(Differences().size(), 359u);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(SboxScan, RefusesOneDifferenceMore) {
    Disturb(360);
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Differences().size(), 360u);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(SboxScan, RefusesWhenAllRegistersDiffer) {
    Disturb(kSboxRegisterCount);
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Differences().size(), kSboxRegisterCount);
}

TEST_F(SboxScan, ComparesTheHighHalf) {
    const auto& row = sbox_array[kFirstWideRow];
    ASSERT_STREQ(row.regName, "SBOX_APICRT0");
    HighHalf(row) = 0x80000001;
    EXPECT_EQ(Scan(), 0u);
    EXPECT_THAT(Differences(), ElementsAre(DifferenceOf(row, 0x8000000100000030)));
}

TEST_F(SboxScan, CountsAWideRegisterThatDiffersInBothHalvesOnce) {
    const auto& row = sbox_array[kFirstWideRow];
    LowHalf(row) = 0x31;
    HighHalf(row) = 0x1;
    Scan();
    EXPECT_THAT(Differences(), ElementsAre(DifferenceOf(row, 0x100000031)));
}

TEST_F(SboxScan, CountsHighHalvesAgainstTheTolerance) {
    Disturb(359);
    HighHalf(sbox_array[kFirstWideRow]) = 1;
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Differences().size(), 360u);
}

TEST_F(SboxScan, TakesNarrowRegistersWithAllTheirBits) {
    const auto& row = sbox_array[7];
    ASSERT_EQ(row.defaultValue, 0x80000000u);
    LowHalf(row) = 0xFFFFFFFF;
    Scan();
    EXPECT_THAT(Differences(), ElementsAre(DifferenceOf(row, 0xFFFFFFFF)));
}

TEST_F(SboxScan, EndsAtTheFirstRegisterWhenItsReadFails) {
    Disturb(kSboxRegisterCount);
    FailRead(0);
    EXPECT_EQ(Scan(), 1u);
    EXPECT_THAT(Calls(), ElementsAre("ZelReadMMIOReg(0x11000)"));
    EXPECT_THAT(Errors(), ElementsAre("Failed to read MMIO register for Sbox offset =0x1000, "
                                      "register Name= SBOX_OC_I2C_ICR \n"));
    EXPECT_THAT(Differences(), IsEmpty());
}

TEST_F(SboxScan, EndsAtAMiddleRegisterWhenItsReadFails) {
    constexpr std::size_t kRow = 359;
    Disturb(1);
    FailRead(ReadsBefore(kRow));
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Calls().size(), kRow + 1);
    EXPECT_EQ(Calls().back(), ReadOf(sbox_array[kRow].offset));
    EXPECT_THAT(Errors(), ElementsAre(Format("Failed to read MMIO register for Sbox offset =0x%x, "
                                             "register Name= %s \n",
                                             sbox_array[kRow].offset, sbox_array[kRow].regName)));
    EXPECT_EQ(Differences().size(), 1u);
}

TEST_F(SboxScan, EndsAtTheLastRegisterWhenItsReadFails) {
    FailRead(kReadsOfAScan - 1);
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Calls().size(), kReadsOfAScan);
    EXPECT_THAT(Errors(), ElementsAre("Failed to read MMIO register for Sbox offset =0xccf8, "
                                      "register Name= SBOX_TLB_DATIN0 \n"));
}

TEST_F(SboxScan, EndsAtALowHalfWhenItsReadFails) {
    FailRead(ReadsBefore(kFirstWideRow));
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Calls().back(), "ZelReadMMIOReg(0x1A840)");
    EXPECT_THAT(Errors(), ElementsAre("Failed to read MMIO register for Sbox offset =0xa840, "
                                      "register Name= SBOX_APICRT0 \n"));
}

// The message names the register, not its high half, and lacks the blank before the line end.
TEST_F(SboxScan, EndsAtAHighHalfWhenItsReadFails) {
    FailRead(ReadsBefore(kFirstWideRow) + 1);
    EXPECT_EQ(Scan(), 1u);
    EXPECT_EQ(Calls().back(), "ZelReadMMIOReg(0x1A844)");
    EXPECT_THAT(Errors(), ElementsAre("Failed to read MMIO register for Sbox offset =0xa840, "
                                      "register Name= SBOX_APICRT0\n"));
    EXPECT_THAT(Differences(), IsEmpty());
}

// Every single read of the scan fails once.
TEST_F(SboxScan, EndsAtWhicheverReadFails) {
    for (U32 number = 0; number < kReadsOfAScan; ++number) {
        FailRead(number);
        ASSERT_EQ(Scan(), 1u) << "read " << number;
    }
    EXPECT_EQ(Errors().size(), kReadsOfAScan);
    EXPECT_EQ(Calls().size(), kReadsOfAScan * (kReadsOfAScan + 1) / 2);
}

// The test as the engine calls it, with the group prepared as for a card.
class SboxTest : public SboxScan {
protected:
    SboxTest() {
        curTstGroup = GroupIndex("-pcie");
        PCIExpress_TGInit(&Group());
        m_PCIExpressCb.gen.valid = 1;
        m_PCIExpressCb.gen.eventCnt = 7;
        Group().curTest = TestIndex("-pcie", "-vsrdv");
        Group().dbgLvl = k_DbgLvlFailed | k_DbgLvlPassed;
        TE::SUMMARY_INSTANCE.SetZelNumberAndVersions(0, "", "");
        TE::SUMMARY_INSTANCE.SetGroupName("PcieDiag");
    }

    static ifstTstGroup& Group() { return GroupRow("-pcie"); }
    static ifstTstCb& Test() { return TestRow("-pcie", "-vsrdv"); }

    static I16 Run() {
        return PCIExpress_PCIExpressSBOXDefaultValues(reinterpret_cast<U64>(&m_PCIExpressCb));
    }

    // The closing report of the run so far.
    static std::string Summary() {
        char program[] = "ZelDiag";
        char option[] = "-summary";
        char* words[] = {program, option};
        int consumed = 0;
        TE::SUMMARY_INSTANCE.ProcessGlobalOptions(2, words, &consumed);
        fakes::CaptureOutput output;
        TE::SUMMARY_INSTANCE.SendSummaryToConsole();
        std::fflush(stdout);
        return output.Out();
    }
};

TEST_F(SboxTest, IsTheGroupsSixth) {
    EXPECT_STREQ(Test().shortNm, "-vsrdv");
    EXPECT_EQ(Test().tst, Marshal_PCIExpress_PCIExpressSBOXDefaultValues);
}

TEST_F(SboxTest, PassesWhenTheScanAccepts) {
    fakes::CaptureOutput output;
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(Test().passCnt, 1);
    EXPECT_EQ(Test().failCnt, 0);
    EXPECT_EQ(Test().result, IFST_PASSED);
    EXPECT_EQ(m_PCIExpressCb.gen.eventCnt, 0);
    EXPECT_EQ(output.Err(), "");
}

TEST_F(SboxTest, LogsNothingWhenTheScanAccepts) {
    Run();
    EXPECT_THAT(Summary(), HasSubstr("PASSED\n====="));
}

TEST_F(SboxTest, FailsWhenTooManyRegistersDiffer) {
    Disturb(360);
    {
        fakes::CaptureOutput output;
        EXPECT_EQ(Run(), k_TestFinished);
        EXPECT_EQ(
            output.Err(),
            "Test 6 Failed in file TestEngine/PCIExpress/PCIExpressSBOXDefaultValues, line 109 "
            "with reason [ Failed to check default Sbox register values ]\n\n");
    }
    EXPECT_EQ(Test().passCnt, 0);
    EXPECT_EQ(Test().failCnt, 1);
    EXPECT_EQ(m_PCIExpressCb.gen.eventCnt, 0);
    EXPECT_THAT(Summary(),
                HasSubstr("\n  PcieDiag.SBOX: Failed to check default Sbox register values\n"));
}

TEST_F(SboxTest, FailsOnceWhenAReadFails) {
    FailRead(3);
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(Test().failCnt, 1);
    EXPECT_EQ(Calls().size(), 4u);
    EXPECT_THAT(Summary(), HasSubstr("FAILED (1)\n  PcieDiag.SBOX: Failed to check"));
}

TEST_F(SboxTest, DoesNothingWhileItsGroupIsNotValid) {
    m_PCIExpressCb.gen.valid = 0;
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(Test().passCnt + Test().failCnt, 0);
    EXPECT_EQ(m_PCIExpressCb.gen.eventCnt, 7);
}

TEST_F(SboxTest, AsksNoCardGeneration) {
    zelAccess->CloseAdapter();
    zelAccess->CloseAccessHandle();
    const auto registers = Card().registers;
    Card() = fakes::Card::OlderGeneration();
    Card().registers = registers;
    zelAccess->setAccessHandle();
    zelAccess->InitAdapterforDiag(0, false);
    Run();
    EXPECT_EQ(Test().passCnt, 1);
}

}  // namespace
