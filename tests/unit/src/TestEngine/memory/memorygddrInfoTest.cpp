// The GDDR information test: what it tells, which vendors and cards it accepts.
#include <gmock/gmock.h>

#include "CommonException.h"
#include "MemoryFixture.h"

namespace {

class GddrInfo : public MemoryFixture {
protected:
    GddrInfo() { Group().curTest = 2; }
    I16 Run() {
        return Printing([] { return memory_memorygddrInfo(reinterpret_cast<U64>(&m_memoryCb)); });
    }
    static ifstTstCb& Test() { return TestRow("-mem", "-info"); }
    static std::string Failed(int line, const std::string& reason) {
        return "Test 3 Failed in file TestEngine/memory/memorygddrInfo, line " +
               std::to_string(line) + " with reason [" + reason + "]\n\n";
    }
    static Texts Details() { return fakes::Trace().TextsAt(DLVL_DIAG1); }
};

TEST_F(GddrInfo, TellsOfACurrentCard) {
    Card().memorySpeed = 5500000;
    Card().memoryRevision = 0x1A;
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(out, "GDDR Size  8192 MB \nTest 3 Passed \n\n");
    EXPECT_EQ(Details(), (Texts{"GDDR Vendor    : Elmwood \n", "GDDR Revision  : 0x1a \n",
                                "GDDR Type    : GDDR5 \n", "GDDR Speed   : 5.500000 GT/s \n"}));
    EXPECT_EQ(Test().passCnt, 1);
    EXPECT_EQ(TakeErrors(), Texts{});
}

TEST_F(GddrInfo, TellsTheDensityOfAnOlderCard) {
    fakes::Card card = fakes::Card::OlderGeneration();
    card.memoryDensityMegabytes = 2048;
    for (const char* more : {"", " B1"}) {
        card.name += more;
        OpenCard(card);
        EXPECT_EQ(Run(), k_TestFinished);
        EXPECT_THAT(out, testing::StartsWith("GDDR Size   2048 MB \n")) << card.name;
    }
    EXPECT_EQ(Test().passCnt, 2);
}

TEST_F(GddrInfo, TheSizeFallsSilentInQuietMode) {
    ifstSetupParams.bQuietMode = 1;
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(out, "");
}

TEST_F(GddrInfo, AcceptsALongerNameOfTheCurrentGeneration) {
    fakes::Card card;
    card.name += " 7120";
    OpenCard(card);
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_THAT(out, testing::StartsWith("GDDR Size  8192 MB \n"));
}

TEST_F(GddrInfo, ComparesVendorsIgnoringCase) {
    fakes::SettingsFake().SetTexts("gddr", "vendor", {"other", "eLMWOOD"});
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(err, "");
    EXPECT_EQ(Test().passCnt, 1);
}

TEST_F(GddrInfo, FailsAndPassesWithAnotherVendor) {
    for (const Texts& vendors : {Texts{"Birch", "Elm", "Elmwoods"}, Texts{}}) {
        fakes::SettingsFake().SetTexts("gddr", "vendor", vendors);
        EXPECT_EQ(Run(), k_TestFinished);
        EXPECT_EQ(err, Failed(100, "GDDR Vendor is not supported \n"));
        EXPECT_EQ(Details().back(), "GDDR Vendor Elmwood is not supported \n");
        EXPECT_EQ(TakeErrors(), Texts{"MemDiag.GDDRInfo: GDDR Vendor not supported"});
    }
    EXPECT_EQ(Test().failCnt, 2);
    EXPECT_EQ(Test().passCnt, 2);
    EXPECT_EQ(Test().result, IFST_PASSED) << "the last verdict counts for the test";
    EXPECT_EQ(Group().result, IFST_FAILED) << "and the failure for the group";
}

TEST_F(GddrInfo, FailsOnACardOfNoKnownGeneration) {
    fakes::Card card;
    card.name = "Some card";
    OpenCard(card);
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(out, "");
    EXPECT_EQ(err, Failed(107, "The Coprocessor is not supported \n"));
    EXPECT_EQ(ErrorTraces(), Texts{"GDDR Size unknown for unknown Device type : Some card \n"});
    EXPECT_EQ(Details().back(), "The Coprocessor Some card is not supported \n");
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.GDDRInfo: Coprocessor not supported"});
    EXPECT_EQ(Test().passCnt, 0);
}

TEST_F(GddrInfo, FailsTwiceWithNeitherVendorNorCard) {
    fakes::Card card;
    card.name = "Some card";
    card.memoryVendor = "Birch";
    OpenCard(card);
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(Test().failCnt, 2);
    EXPECT_EQ(TakeErrors().size(), 2U);
}

TEST_F(GddrInfo, FailsWhenTheCardDoesNotTell) {
    fakes::ZelAccess().Fail("ZelGetDevMemInfo", ZEL_DEVICE_IO_ERROR);
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(err, Failed(120, "FAILED to get GDDR Info \n"));
    EXPECT_EQ(fakes::Trace().TextsAt(DLVL_DIAG2),
              Texts{"Unable to get GDDR Info, failed code 0xd\n"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.GDDRInfo: Failed to get GDDR info"});
}

TEST_F(GddrInfo, FailsWithoutAVendorList) {
    fakes::SettingsFake().Remove("gddr", "vendor");
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(err, Failed(50, "Cannot read Setting.ini, Fatal error.\n"));
    EXPECT_EQ(Details(), Texts{"Cannot read Setting.ini, Fatal error.\n"});
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.GDDRInfo: Failed to read Settings.ini"});
}

TEST_F(GddrInfo, AcceptsTenVendorsAndRefusesEleven) {
    Texts vendors(9, "other");
    vendors.push_back("Elmwood");
    fakes::SettingsFake().SetTexts("gddr", "vendor", vendors);
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(err, "");
    vendors.push_back("Elmwood");
    fakes::SettingsFake().SetTexts("gddr", "vendor", vendors);
    EXPECT_EQ(Run(), k_TestFinished);
    EXPECT_EQ(err, Failed(59, "Error on Setting.ini, too many GDDR Vendors.\n"));
    EXPECT_EQ(out, "");
    EXPECT_EQ(TakeErrors(), Texts{"MemDiag.GDDRInfo: Too many GDDR vendors in Settings.ini"});
}

TEST_F(GddrInfo, NeedsTheLibrary) {
    zelAccess->CloseAccessHandle();
    EXPECT_THROW(memory_memorygddrInfo(reinterpret_cast<U64>(&m_memoryCb)), CommonException);
}

TEST_F(GddrInfo, DoesNothingWhileTheGroupIsNotValid) {
    m_memoryCb.gen.valid = 0;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Calls("ZelGetDevMemInfo"), Texts{});
}

}  // namespace
