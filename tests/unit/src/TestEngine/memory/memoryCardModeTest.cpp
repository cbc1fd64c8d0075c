// The way into memory-diagnostic mode, and every way in which it fails.
#include "TestEngine/memory/memoryCardMode.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "MemoryFixture.h"

namespace {

constexpr char kCurrentSwitch[] =
    R"(ZelSetUsageModeExtn(3, 0, "/usr/share/hosk/boot/memdiag-kernel.emberridge.elf", ""))";
constexpr char kOlderSwitch[] =
    R"(ZelSetUsageModeExtn(3, 0, "/usr/share/flash/MFG/md_handler_ev1x.elf", ""))";

class UsageMode : public MemoryFixture {
protected:
    int Switch(ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_MEMDIAG) {
        return Printing([mode] { return setMemDiagUsageMode(mode); });
    }
    void ExpectFailure(const std::string& printed, const std::string& summary) {
        EXPECT_EQ(out, printed);
        EXPECT_EQ(TakeErrors(), Texts{"MemDiag.Some: " + summary});
    }
    static Texts Switches() { return Calls("ZelSetUsageModeExtn"); }
};

TEST_F(UsageMode, SwitchesACardOfTheCurrentGeneration) {
    EXPECT_EQ(Switch(), 1);
    EXPECT_EQ(out, "");
    EXPECT_EQ(Switches(), Texts{kCurrentSwitch});
    EXPECT_EQ(Calls("ZelGetPostCode"), Texts{"ZelGetPostCode()"});
    EXPECT_EQ(Card().usageMode, ZEL_USAGE_MODE_MEMDIAG);
    EXPECT_EQ(TakeErrors(), Texts{});
}

TEST_F(UsageMode, ChoosesTheImageByTheBeginningOfTheName) {
    struct Case {
        std::string name;
        const char* call;
    };
    for (const auto& [name, call] :
         {Case{fakes::Card::OlderGeneration().name, kOlderSwitch},
          Case{"Ostrel(R) Vimbra(TM) Coprocessor 7120", kCurrentSwitch},
          Case{"Ostrel(R) Vimbra(TM) Coprocesso", kOlderSwitch},
          Case{"ostrel(R) Vimbra(TM) Coprocessor", kOlderSwitch}, Case{"", kOlderSwitch}}) {
        fakes::Card card;
        card.name = name;
        OpenCard(card);
        EXPECT_EQ(Switch(), 1) << name;
        EXPECT_EQ(Switches().back(), call) << name;
    }
}

TEST_F(UsageMode, UsesTheFallbackNameWithoutAnOpenCard) {
    zelAccess->m_currentDevice = -1;
    EXPECT_EQ(Switch(), 1);
    EXPECT_EQ(Switches(), Texts{kOlderSwitch});
}

TEST_F(UsageMode, SwitchesToRestrictedNormalMode) {
    EXPECT_EQ(Switch(ZEL_USAGE_MODE_NORMAL_RESTRICTED), 1);
    EXPECT_EQ(Switches(), Texts{R"(ZelSetUsageModeExtn(4, 330, "", ""))"});
}

TEST_F(UsageMode, RefusesACardInNormalModeWithoutTryingToSwitch) {
    Card().usageMode = ZEL_USAGE_MODE_NORMAL;
    EXPECT_EQ(Switch(), 0);
    EXPECT_EQ(Switches(), Texts{});
    ExpectFailure(
        "\nMemory tests need the device to be in ready state.\n"
        "\nRefer to the User Guide for instructions.",
        "Card not in 'ready' state");
}

TEST_F(UsageMode, RefusesOtherModes) {
    for (const ZEL_CARD_USAGE_MODE mode :
         {ZEL_USAGE_MODE_NORMAL, ZEL_USAGE_MODE_OFFLINE, ZEL_USAGE_MODE_MAX}) {
        EXPECT_EQ(Switch(mode), 0);
        ExpectFailure("", "Unexpected usage mode received");
    }
    EXPECT_EQ(Switches(), Texts{});
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG2),
              Texts(3, "\n unexpected mode received in  setMemDiagUsageMode"));
}

TEST_F(UsageMode, FailsWhenTheModeIsNotTold) {
    fakes::ZelAccess().Fail("ZelGetUsageMode", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Switch(), 0);
    ExpectFailure("\n failed to get mode  in  setMemDiagUsageMode", "Failed to get the usage mode");
    EXPECT_EQ(Switches(), Texts{});
}

TEST_F(UsageMode, FailsWithoutAPlaceForItsBuffer) {
    fakes::Memory().FailPlain();
    EXPECT_EQ(Switch(), 0);
    ExpectFailure("\nFail in memory allocation to buf in setMemDiagUsageMode",
                  "Out of heap memory");
    EXPECT_EQ(Switches(), Texts{});
}

TEST_F(UsageMode, FailsWithoutACurrentDirectory) {
    const std::string before = std::filesystem::current_path();
    char folder[] = "/tmp/zeldiag-unit-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    ASSERT_EQ(chdir(folder), 0);
    ASSERT_EQ(rmdir(folder), 0);
    EXPECT_EQ(Switch(), 0);
    ASSERT_EQ(chdir(before.c_str()), 0);
    ExpectFailure("\nFailed to get current directory in setMemDiagUsageMode",
                  "Failed to get current directory");
    EXPECT_EQ(Switches(), Texts{});
}

TEST_F(UsageMode, FailsWhenTheCardRunsItsOperatingSystem) {
    fakes::ZelAccess().Fail("ZelSetUsageModeExtn", ZEL_DEVICE_IN_NORMAL_MODE);
    EXPECT_EQ(Switch(), 0);
    ExpectFailure(
        "\nCoprocessor is in Normal mode and can not be switched to MEMORY DIAG mode. \n"
        "Reset Coprocessor to READY state before testing Memory \n",
        "Card not in 'ready' state");
}

TEST_F(UsageMode, FailsWhenTheSwitchFails) {
    fakes::ZelAccess().Fail("ZelSetUsageModeExtn", ZEL_IMAGE_NOT_FOUND);
    EXPECT_EQ(Switch(), 0);
    ExpectFailure("", "Failed to set MEMDIAG_MODE");
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG2),
              Texts{"ZELACCESS_API return fail to set MEMDIAG_MODE  \n"});
}

TEST_F(UsageMode, FailsWhenTheModeIsNotToldAfterTheSwitch) {
    fakes::ZelAccess().Fail("ZelGetUsageMode", ZEL_DEVICE_IO_ERROR, 1);
    EXPECT_EQ(Switch(), 0);
    ExpectFailure("\n failed to get mode  in  setMemDiagUsageMode", "Failed to get MEMDIAG_MODE");
}

TEST_F(UsageMode, NamesTheRequestedModeWhenTheCardIsInAnother) {
    fakes::ZelAccess().AnswerNext(
        "ZelGetUsageMode", {{.value = ZEL_USAGE_MODE_OFFLINE}, {.value = ZEL_USAGE_MODE_OFFLINE}});
    EXPECT_EQ(Switch(), 0);
    ExpectFailure("Mode is not set to MEMDIAG_MODE, current Mode is  ZEL_USAGE_MODE_MEMDIAG \n",
                  "MEMDIAG_MODE mode set != to current mode");
    fakes::ZelAccess().AnswerNext(
        "ZelGetUsageMode", {{.value = ZEL_USAGE_MODE_OFFLINE}, {.value = ZEL_USAGE_MODE_NORMAL}});
    EXPECT_EQ(Switch(ZEL_USAGE_MODE_NORMAL_RESTRICTED), 0);
    ExpectFailure(
        "Mode is not set to MEMDIAG_MODE, current Mode is  ZEL_USAGE_MODE_NORMAL_RESTRICTED \n",
        "MEMDIAG_MODE mode set != to current mode");
}

TEST_F(UsageMode, FailsWithoutAPostCode) {
    fakes::ZelAccess().Fail("ZelGetPostCode", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Switch(), 0);
    ExpectFailure("", "Failed to get post code");
}

TEST_F(UsageMode, DoesNotJudgeThePostCode) {
    Card().postCode = "FF";
    EXPECT_EQ(Switch(), 1);
}

TEST_F(UsageMode, IsSilentInQuietMode) {
    ifstSetupParams.bQuietMode = 1;
    Card().usageMode = ZEL_USAGE_MODE_NORMAL;
    EXPECT_EQ(Switch(), 0);
    ExpectFailure("", "Card not in 'ready' state");
}

}  // namespace
