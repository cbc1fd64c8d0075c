// The one way to the coprocessor cards.
#include "ZelAccess.h"

#include "CommonException.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_params.h"
#include "ToolFixture.h"

namespace {

using Calls = std::vector<std::string>;

class Access : public ToolFixture {
protected:
    // Opens the library and its first card.
    static void Open() {
        ASSERT_TRUE(zelAccess->setAccessHandle());
        zelAccess->InitAdapterforDiag(0, false);
    }

    template <typename Action>
    static std::string Thrown(Action action) {
        try {
            action();
        } catch (const CommonException& failure) {
            return failure.what();
        }
        return "nothing";
    }
};

TEST_F(Access, BeginsClosed) {
    EXPECT_EQ(zelAccess->m_accessHandle, nullptr);
    EXPECT_EQ(zelAccess->GetCurrentDevice(), -1);
    EXPECT_FALSE(zelAccess->m_pciScanned);
    EXPECT_EQ(zelAccess->def_devName[0], 0);
    EXPECT_EQ(zelAccess, &g_ZelAccess);
    EXPECT_STREQ(k_PerfFlags, "icache_snoop_off zelpm=etc_on");
}

TEST_F(Access, OpensTheLibraryOnce) {
    EXPECT_TRUE(zelAccess->setAccessHandle());
    EXPECT_TRUE(zelAccess->setAccessHandle());
    EXPECT_EQ(fakes::ZelAccess().Calls(), Calls{"ZelInitAPI(3, 256)"});
    EXPECT_EQ(zelAccess->m_totalDevices, 1U);
}

TEST_F(Access, SaysThatThereIsNoCard) {
    fakes::ZelAccess().cards.clear();
    EXPECT_FALSE(zelAccess->setAccessHandle());
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_ERROR),
              Calls{" NO Ostrel(R) Vimbra(TM) Coprocessor Found \n"});
    EXPECT_NE(zelAccess->m_accessHandle, nullptr) << "the handle stays as the library set it";
}

TEST_F(Access, ReportsALibraryThatDoesNotOpen) {
    fakes::ZelAccess().Fail("ZelInitAPI", 6);
    EXPECT_FALSE(zelAccess->setAccessHandle());
    EXPECT_TRUE(fakes::Trace().Records().empty());
}

TEST_F(Access, ThrowsWithoutAHandle) {
    EXPECT_EQ(Thrown([] { zelAccess->getAccessHandle(); }), "Access handle is NULL\n");
    EXPECT_EQ(Thrown([] { zelAccess->InitAdapterforDiag(0, true); }),
              "InitAdapterforDiag, NULL handle");
    EXPECT_EQ(Thrown([] { zelAccess->isDeviceinNormalMode(); }), "Access handle is NULL\n");
}

TEST_F(Access, BoundsTheDeviceByItsCapacityOnly) {
    fakes::ZelAccess().cards.resize(6);
    ASSERT_TRUE(zelAccess->setAccessHandle());
    g_ZelAccess.m_totalDevices = 2;
    EXPECT_EQ(Thrown([] { zelAccess->InitAdapterforDiag(256, true); }),
              "Selected device is greater than supported devices");
    zelAccess->InitAdapterforDiag(5, false);
    EXPECT_EQ(zelAccess->GetCurrentDevice(), 5);
}

TEST_F(Access, ShowsTheLibraryVersion) {
    ASSERT_TRUE(zelAccess->setAccessHandle());
    fakes::CaptureOutput capture;
    zelAccess->InitAdapterforDiag(0, true);
    EXPECT_EQ(capture.Out(), "ZelGetVersion  1.0.0 \n" + std::string(72, '=') + "\n");
    EXPECT_EQ(fakes::ZelAccess().Calls().back(), "ZelGetZelVersion(0, 255)");
}

TEST_F(Access, ShowsTheVersionButNotTheRuleInQuietMode) {
    ifstSetupParams.bQuietMode = 1;
    ASSERT_TRUE(zelAccess->setAccessHandle());
    fakes::CaptureOutput capture;
    zelAccess->InitAdapterforDiag(0, true);
    EXPECT_EQ(capture.Out(), "ZelGetVersion  1.0.0 \n");
}

TEST_F(Access, ThrowsTheLibrarysTextForAnUnreadableVersion) {
    ASSERT_TRUE(zelAccess->setAccessHandle());
    fakes::ZelAccess().Fail("ZelGetZelVersion", 13);
    EXPECT_EQ(Thrown([] { zelAccess->InitAdapterforDiag(0, true); }), "text of status 13");
    EXPECT_EQ(zelAccess->GetCurrentDevice(), 0);
}

TEST_F(Access, PrintsNothingOfACardThatDoesNotOpen) {
    ASSERT_TRUE(zelAccess->setAccessHandle());
    fakes::ZelAccess().Fail("ZelInitAdapter", 13);
    fakes::CaptureOutput capture;
    EXPECT_EQ(Thrown([] { zelAccess->InitAdapterforDiag(0, true); }), "ZelInitAdapter failed");
    EXPECT_EQ(capture.Out(), "");
    EXPECT_EQ(zelAccess->GetCurrentDevice(), -1);
}

TEST_F(Access, ForgetsTheCardEvenWhenItDoesNotClose) {
    Open();
    fakes::ZelAccess().Fail("ZelCloseAdapter", 13);
    EXPECT_FALSE(zelAccess->CloseAdapter());
    EXPECT_EQ(zelAccess->GetCurrentDevice(), -1);
    g_ZelAccess.m_accessHandle = nullptr;
    EXPECT_FALSE(zelAccess->CloseAdapter());
}

TEST_F(Access, ForgetsTheLibraryEvenWhenItDoesNotClose) {
    Open();
    fakes::ZelAccess().Fail("ZelCloseAPI", 13);
    EXPECT_FALSE(zelAccess->CloseAccessHandle());
    EXPECT_EQ(zelAccess->m_accessHandle, nullptr);
    EXPECT_FALSE(zelAccess->CloseAccessHandle());
    EXPECT_EQ(fakes::ZelAccess().CountOf("ZelCloseAPI"), 1U);
}

TEST_F(Access, TellsTheGenerationByTheWholeName) {
    EXPECT_FALSE(zelAccess->IsCurrentDeviceEMR()) << "no card is open";
    for (const auto& [name, current] :
         std::vector<std::pair<std::string, bool>>{{"Ostrel(R) Vimbra(TM) Coprocessor", true},
                                                   {"Ostrel(R) Vimbra(TM) Coprocessor ", false},
                                                   {"ostrel(R) Vimbra(TM) Coprocessor", false},
                                                   {"Ostrel(R) Vimbra(TM)", false}}) {
        ResetToolState();
        fakes::ResetAll();
        fakes::ZelAccess().cards[0].name = name;
        Open();
        EXPECT_EQ(zelAccess->IsCurrentDeviceEMR(), current) << name;
    }
}

TEST_F(Access, ReadsTheModeAndNeverChangesIt) {
    Open();
    EXPECT_TRUE(zelAccess->checknSetNormalMode());
    for (const auto mode : {ZEL_USAGE_MODE_MAINTENANCE, ZEL_USAGE_MODE_OFFLINE,
                            ZEL_USAGE_MODE_MEMDIAG, ZEL_USAGE_MODE_NORMAL_RESTRICTED}) {
        fakes::Trace().Reset();
        fakes::ZelAccess().cards[0].usageMode = mode;
        EXPECT_FALSE(zelAccess->checknSetNormalMode()) << mode;
        EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG2),
                  Calls{"\the adapter is not in NORMALMODE \n"});
    }
    fakes::Trace().Reset();
    fakes::ZelAccess().Fail("ZelGetUsageMode", 13);
    EXPECT_FALSE(zelAccess->checknSetNormalMode());
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG2),
              Calls{"\n failed to get mode  in  isDeviceinNormalMode"});
    EXPECT_EQ(fakes::ZelAccess().CountOf("ZelSetUsageMode"), 0U);
}

// The one wrapper that everybody uses is asked, whichever object answers.
TEST_F(Access, AsksForTheModeThroughTheGlobalPointer) {
    Open();
    _ZelAccess other;
    EXPECT_TRUE(other.isDeviceinNormalMode());
    zelAccess = &other;
    EXPECT_EQ(Thrown([] { g_ZelAccess.isDeviceinNormalMode(); }), "Access handle is NULL\n");
}

// Mode changes without an open card fail the running test, and are asked for all the same.
class AccessWithoutCard : public Access {
protected:
    AccessWithoutCard() {
        EXPECT_TRUE(zelAccess->setAccessHandle());
        zelAccess->InitAdapterforDiag(0, false);
        g_ZelAccess.m_currentDevice = -1;
        ifstTstGrps[0].dbgLvl = k_DbgLvlFailed;
        ifstTstGrps[0].tstList = &test_;
        ifstTstGrps[0].numTests = 1;
    }
    static std::string FailLine(int line) {
        return "Test 1 Failed in file ZelAccess, line " + std::to_string(line) +
               " with reason [ Failed -- fail to get current device in  "
               "setCurDevicetoNormalMode ]\n\n";
    }
    static void ExpectTraces(size_t count) {
        EXPECT_EQ(fakes::Trace().TextsAt(DLVL_ERROR),
                  Calls(count, "\n Error in getting current device in settoNormalmode \n"));
    }
    ifstTstCb test_{};
};

TEST_F(AccessWithoutCard, SetsOfflineModeInTheNameOfNormalMode) {
    fakes::ZelAccess().Fail("ZelSetUsageMode", 13, 1);
    fakes::CaptureOutput capture;
    EXPECT_TRUE(zelAccess->settoNormalMode());
    EXPECT_FALSE(zelAccess->settoNormalMode());
    EXPECT_EQ(fakes::ZelAccess().Calls().back(), "ZelSetUsageMode(5)");
    EXPECT_EQ(capture.Err(), FailLine(260) + FailLine(260));
    ExpectTraces(2);
    EXPECT_EQ(test_.failCnt, 2);
}

TEST_F(AccessWithoutCard, SetsRestrictedModeWithItsSize) {
    fakes::CaptureOutput capture;
    EXPECT_TRUE(zelAccess->setNormalModewithSize());
    EXPECT_EQ(fakes::ZelAccess().Calls().back(), "ZelSetUsageModeExtn(4, 512, \"\", \"\")");
    EXPECT_EQ(capture.Err(), FailLine(288));
    ExpectTraces(1);
    zelAccess = nullptr;
    EXPECT_FALSE(g_ZelAccess.setNormalModewithSize());
}

}  // namespace
