// The memory options: which words are taken, and what each sets.
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "MemoryFixture.h"

namespace {

class MemoryOptions : public MemoryFixture {
protected:
    MemoryOptions() { ifstResetParsedOptions(); }

    static int Take(const std::string& word) { return memory_TGParseUserCustom(word.c_str()); }
    static U64 Pattern() {
        U64 pattern = 0;
        std::memcpy(&pattern, Params().dataPattern, sizeof(pattern));
        return pattern;
    }
};

TEST_F(MemoryOptions, TakesAddresses) {
    EXPECT_EQ(Take("-startAddress=0x0d000000"), 1);
    EXPECT_EQ(Params().startAddress, 0x0d000000U);
    EXPECT_TRUE(Params().userDefinedAddress);
    EXPECT_EQ(Params().usrInput, 0x02U);
    EXPECT_EQ(Take("-endAddress=3FFFFFFFF"), 1) << "hexadecimal without a prefix";
    EXPECT_EQ(Params().endAddress, 0x3FFFFFFFFU);
    EXPECT_EQ(Params().usrInput, 0x06U);
}

TEST_F(MemoryOptions, TakesSizesInDecimalAndHexadecimal) {
    EXPECT_EQ(Take("-memSize=4096"), 1);
    EXPECT_EQ(Params().memSize, 4096U);
    EXPECT_TRUE(Params().userDefinedAddress);
    EXPECT_EQ(Params().usrInput, 0x08U);
    EXPECT_EQ(Take("-memSize=0x40"), 1);
    EXPECT_EQ(Params().memSize, 0x40U);
    EXPECT_EQ(Take("-memSize=0X40"), 0);
    EXPECT_EQ(Take("-memSize=-1"), 0);
    EXPECT_EQ(Params().memSize, 0x40U) << "an invalid value changes nothing";
}

TEST_F(MemoryOptions, TakesWidthsWithCase) {
    struct Case {
        const char* value;
        U32 width;
    };
    for (const auto& [value, width] :
         {Case{"BYTE", 1}, Case{"B", 1}, Case{"WORD", 2}, Case{"W", 2}, Case{"DWORD", 4},
          Case{"DW", 4}, Case{"QWORD", 8}, Case{"QW", 8}}) {
        for (const char* key : {"-datawidth=", "-dw=", "-DW=", "-DataWidth="}) {
            memory_ResetOptions();
            EXPECT_EQ(Take(std::string(key) + value), 1) << key << value;
            EXPECT_EQ(Params().dataWidth, width) << key << value;
            EXPECT_EQ(Params().usrInput, 0x01U);
        }
    }
    memory_ResetOptions();
    for (const char* value : {"dw", "byte", "Qword", "8", "", "QWORD "})
        EXPECT_EQ(Take(std::string("-dw=") + value), 0) << value;
    EXPECT_EQ(Params().usrInput, 0U);
}

TEST_F(MemoryOptions, KeepsTwelveBitsOfTheChannels) {
    EXPECT_EQ(Take("-tc=0x12345"), 1);
    EXPECT_EQ(Params().chnlBitMask, 0x345U);
    EXPECT_EQ(Params().usrInput, 0x20U);
    EXPECT_EQ(Take("-testChannel=F"), 1);
    EXPECT_EQ(Params().chnlBitMask, 0xFU);
    EXPECT_EQ(Take("-tc=G"), 0);
    EXPECT_FALSE(Params().userDefinedAddress);
}

TEST_F(MemoryOptions, TakesPatternsAsNumbers) {
    for (const char* key : {"-dp", "-data", "-datapattern", "-dataPattern", "-DP"}) {
        memory_ResetOptions();
        std::strcpy(m_memoryCb.fileName, "old");
        EXPECT_EQ(Take(std::string(key) + "=0x1122334455667788"), 1) << key;
        EXPECT_EQ(Pattern(), 0x1122334455667788U);
        EXPECT_TRUE(Params().userDefinedData);
        EXPECT_EQ(Params().usrInput, 0x10U);
        EXPECT_STREQ(m_memoryCb.fileName, "");
    }
}

TEST_F(MemoryOptions, TakesAnEmptyHexadecimalValueAsZero) {
    Params().startAddress = 7;
    EXPECT_EQ(Take("-startAddress="), 1);
    EXPECT_EQ(Params().startAddress, 0U);
    EXPECT_EQ(Take("-dp="), 1);
    EXPECT_TRUE(Params().userDefinedData);
    EXPECT_EQ(Take("-memSize="), 1);
}

TEST_F(MemoryOptions, TakesAPatternThatIsNoNumberAsAFileThatMustOpen) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("zp" + std::to_string(getpid()) + ".patterns-of-a-long-name");
    EXPECT_EQ(Take("-dp=" + path.string()), 0) << "there is no such file";
    EXPECT_STREQ(m_memoryCb.fileName, "");
    std::ofstream(path) << "pattern";
    EXPECT_EQ(Take("-dp=" + path.string()), 1);
    std::filesystem::remove(path);
    EXPECT_EQ(std::string(m_memoryCb.fileName), path.string().substr(0, k_GroupFileNameSize - 1));
    EXPECT_EQ(Params().usrInput, 0U);
    EXPECT_FALSE(Params().userDefinedData);
}

TEST_F(MemoryOptions, RefusesAPatternFileThatCannotBeRead) {
    const auto path =
        std::filesystem::temp_directory_path() / ("unreadable" + std::to_string(getpid()));
    std::ofstream(path) << "pattern";
    std::filesystem::permissions(path, std::filesystem::perms::none);
    // Root opens what nobody else may; with another user's rights on files it does not.
    constexpr uid_t kNobody = 65534;
    const int before = setfsuid(kNobody);
    const int taken = Take("-dp=" + path.string());
    setfsuid(static_cast<uid_t>(before));
    std::filesystem::remove(path);
    EXPECT_EQ(taken, 0);
    EXPECT_STREQ(m_memoryCb.fileName, "");
}

// A FIFO that was waited for would hang the test.
TEST_F(MemoryOptions, TakesAPatternFileOfAnyKindThatOpens) {
    const auto fifo = std::filesystem::temp_directory_path() / ("zp" + std::to_string(getpid()));
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& name :
         {fifo.string(), std::string("/dev/null"), std::string("/dev/zero"), std::string("/tmp")}) {
        memory_ResetOptions();
        m_memoryCb.fileName[0] = '\0';
        EXPECT_EQ(Take("-dp=" + name), 1) << name;
        EXPECT_EQ(std::string(m_memoryCb.fileName), name.substr(0, k_GroupFileNameSize - 1));
        EXPECT_FALSE(Params().userDefinedData);
    }
    std::filesystem::remove(fifo);
}

TEST_F(MemoryOptions, KeepsNoPatternFileOpen) {
    const int next = dup(STDIN_FILENO);
    ASSERT_GE(next, 0);
    close(next);
    ASSERT_EQ(Take("-dp=/dev/null"), 1);
    const int again = dup(STDIN_FILENO);
    close(again);
    EXPECT_EQ(again, next);
}

TEST_F(MemoryOptions, RefusesOtherWords) {
    for (const char* word : {"-startAddress", "startaddress=0", "-startAddres=0", "=", "=0x10", "",
                             "-startAddress=0x1G", "-endAddress=0X10", "-wr=0", "-help=1"})
        EXPECT_EQ(Take(word), 0) << word;
    EXPECT_EQ(Params().usrInput, 0U);
}

TEST_F(MemoryOptions, RefusesAWordThatItHasNoMemoryFor) {
    // Key, value and the key in lower case.
    for (const unsigned skip : {0U, 1U, 2U}) {
        fakes::Memory().FailPlain(skip);
        EXPECT_EQ(Take("-memSize=0x40"), 0) << skip;
        EXPECT_EQ(Params().memSize, 0U);
        EXPECT_EQ(Params().usrInput, 0U);
    }
    EXPECT_EQ(Take("-memSize=0x40"), 1);
}

TEST_F(MemoryOptions, SplitsAtTheFirstEqualsSign) {
    EXPECT_EQ(Take("-memSize=1=2"), 0);
    EXPECT_EQ(Take("-dp=/no/such=file"), 0);
}

TEST_F(MemoryOptions, EveryParseBeginsFromInitialValues) {
    for (const char* word :
         {"-startAddress=1", "-endAddress=2", "-memSize=3", "-dw=B", "-tc=4", "-dp=5"})
        ASSERT_EQ(Take(word), 1);
    memory_TakeAll();
    ifstResetParsedOptions();
    EXPECT_EQ(Params().startAddress, 0U);
    EXPECT_EQ(Params().endAddress, 0U);
    EXPECT_EQ(Params().memSize, 0U);
    EXPECT_EQ(Params().dataWidth, 0U);
    EXPECT_EQ(Params().chnlBitMask, 0U);
    EXPECT_EQ(Pattern(), 0U);
    EXPECT_EQ(Params().usrInput, 0U);
    EXPECT_EQ(Params().memTestMode, k_MemTestModeNormal);
    EXPECT_FALSE(Params().userDefinedAddress);
    EXPECT_FALSE(Params().userDefinedData);
}

TEST_F(MemoryOptions, ResetKeepsTheErrorListThatCleanFrees) {
    addError(&Params().errorList, "reason", 1, 8, MemErrorTypeUnknown, 0);
    memory_ResetOptions();
    EXPECT_EQ(Reasons(Params().errorList), Texts{"reason"});
}

}  // namespace
