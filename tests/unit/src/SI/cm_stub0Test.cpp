// Texts and numbers.
#include "SI/cm_stub0.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Fixture.h"

namespace {

TEST(cmStringCmp, IgnoresCase) {
    EXPECT_EQ(cmStringCmp("-CoreDiag", "-COREDIAG"), 0);
    EXPECT_NE(cmStringCmp("-core", "-cores"), 0);
    EXPECT_NE(cmStringCmp("-core", "core"), 0);
    EXPECT_EQ(cmStringCmp("", ""), 0);
}

TEST(cmFindFirstString, FindsIgnoringCase) {
    const char* text = "-QuietMode";
    EXPECT_EQ(cmFindFirstString(text, "-quietMode"), text);
    const char* inside = "xx-HELPful";
    EXPECT_EQ(cmFindFirstString(inside, "-help"), inside + 2);
    EXPECT_EQ(cmFindFirstString(text, ""), text);
}

TEST(cmFindFirstString, HasNoPlaceForWhatIsNotThere) {
    EXPECT_EQ(cmFindFirstString("-hel", "-help"), nullptr);
    EXPECT_EQ(cmFindFirstString(nullptr, "a"), nullptr);
    EXPECT_EQ(cmFindFirstString("a", nullptr), nullptr);
}

class FindWithoutMemory : public fakes::Fixture {};

TEST_F(FindWithoutMemory, HasNoPlace) {
    // The copies of both texts.
    for (const unsigned skip : {0U, 1U}) {
        fakes::Memory().FailPlain(skip);
        EXPECT_EQ(cmFindFirstString("-help", "-help"), nullptr) << skip;
    }
    EXPECT_NE(cmFindFirstString("-help", "-help"), nullptr);
}

TEST(cmConvertStrToLower, LeavesOtherBytesAlone) {
    char text[] = "-ABC_\xC3\x89.z";
    EXPECT_EQ(strlwr(text), text);
    EXPECT_STREQ(text, "-abc_\xC3\x89.z");
}

TEST(cmStringCopyAndCat, KeepTheTerminator) {
    char text[8] = "zzzzzzz";
    cmStringCopy(text, "ab");
    EXPECT_STREQ(text, "ab");
    cmStringCat(text, "cd");
    EXPECT_STREQ(text, "abcd");
    EXPECT_EQ(cmFindStrLength(text), 4U);
}

TEST(cmBaseToPower, MultipliesAndWraps) {
    EXPECT_EQ(cmBaseToPower(10, 9), 1000000000U);
    EXPECT_EQ(cmBaseToPower(10, 0), 1U);
    EXPECT_EQ(cmBaseToPower(10, -3), 1U);
    EXPECT_EQ(cmBaseToPower(2, 32), 0U);
    EXPECT_EQ(cm64BaseToPower(2, 32), 4294967296ULL);
    EXPECT_EQ(cm64BaseToPower(2, 64), 0ULL);
}

TEST(cmConvertU32ToStr, HasNoLeadingZeros) {
    for (const auto& [value, expected] : std::vector<std::pair<U32, std::string>>{
             {0, "0"}, {7, "7"}, {10, "10"}, {4294967295U, "4294967295"}}) {
        char text[11] = {};
        cmConvertU32ToStr(value, text);
        EXPECT_EQ(text, expected);
    }
}

TEST(cmConvertU32ToStrLZ, FillsAndCuts) {
    char text[12] = {};
    EXPECT_EQ(cmConvertU32ToStrLZ(7, text, 3), 0);
    EXPECT_STREQ(text, "07");
    EXPECT_EQ(cmConvertU32ToStrLZ(123, text, 3), 1);
    EXPECT_STREQ(text, "23");
    EXPECT_EQ(cmConvertU32ToStrLZ(4294967295U, text, 12), 0);
    EXPECT_STREQ(text, "04294967295");
    text[1] = 'x';
    EXPECT_EQ(cmConvertU32ToStrLZ(5, text, 1), 1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(text[1], 'x');
}

struct NumberText {
    const char* text;
    int result;
    U32 value;
};

TEST(cmConvertChar2U32, AcceptsAndRefuses) {
    for (const NumberText& row : {NumberText{"0", 0, 0},
                                  {"", 0, 0},
                                  {"42", 0, 42},
                                  {"0x10", 0, 16},
                                  {"0x", 0, 0},
                                  {"0xffffffff", 0, 0xFFFFFFFF},
                                  {"0xABcd", 0, 0xABCD},
                                  {"4294967295", 0, 4294967295U},
                                  {"4294967296", 0, 0},
                                  {"0X10", 1, 0},
                                  {"12a", 1, 0},
                                  {"0x1g", 1, 0},
                                  {"-1", 1, 0},
                                  {"+1", 1, 0},
                                  {" 1", 1, 0},
                                  {"\xFF", 1, 0}}) {
        U32 value = 99;
        EXPECT_EQ(cmConvertChar2U32(row.text, &value), row.result) << row.text;
        EXPECT_EQ(value, row.value) << row.text;
    }
}

TEST(cmConvertChar2HexU32, TakesThePrefixOrNone) {
    U32 value = 0;
    EXPECT_EQ(cmConvertChar2HexU32("ff", &value), 0);
    EXPECT_EQ(value, 0xFFU);
    EXPECT_EQ(cmConvertChar2HexU32("0x00FF", &value), 0);
    EXPECT_EQ(value, 0xFFU);
    EXPECT_EQ(cmConvertChar2HexU32("123456789", &value), 0);
    EXPECT_EQ(value, 0x23456789U);
    EXPECT_EQ(cmConvertChar2HexU32("0Xff", &value), 1);
    EXPECT_EQ(cmConvertChar2HexU32("f f", &value), 1);
    EXPECT_EQ(value, 0x23456789U);
}

TEST(cmConvertChar2HexU64, ReadsSixtyFourBits) {
    U64 value = 0;
    EXPECT_EQ(cmConvertChar2HexU64("0xFFFFFFFFFFFFFFFF", &value), 0);
    EXPECT_EQ(value, 0xFFFFFFFFFFFFFFFFULL);
    EXPECT_EQ(cmConvertChar2HexU64("100000000", &value), 0);
    EXPECT_EQ(value, 0x100000000ULL);
    EXPECT_EQ(cmConvertChar2HexU64("x", &value), 1);
}

TEST(cmSplitAndStore, SplitsAtTheFirstSeparator) {
    for (const auto& [text, name, value] :
         std::vector<std::tuple<std::string, std::string, std::string>>{
             {"-dbgLvl=8", "-dbgLvl", "8"},
             {"=x", "", "x"},
             {"a=", "a", ""},
             {"a=b=c", "a", "b=c"}}) {
        char nameText[16] = {};
        char valueText[16] = {};
        EXPECT_EQ(cmSplitAndStore(text.c_str(), '=', nameText, valueText), 0) << text;
        EXPECT_EQ(nameText, name);
        EXPECT_EQ(valueText, value);
    }
}

TEST(cmSplitAndStore, LeavesTheOutputsAloneWithoutOne) {
    char name[8] = "n";
    char value[8] = "v";
    EXPECT_EQ(cmSplitAndStore("-all", '=', name, value), 1);
    EXPECT_STREQ(name, "n");
    EXPECT_STREQ(value, "v");
}

}  // namespace
