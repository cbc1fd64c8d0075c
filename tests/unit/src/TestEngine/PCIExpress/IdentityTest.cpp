// Device, vendor, subsystem and revision ids against the settings file.
#include "TestEngine/RunningTest.h"

namespace {

constexpr char kSection[] = "pcieConfigReg";
constexpr char kUnreadable[] = "Failed to read settings.ini for valid device ID";

class DeviceId : public RunningTest {
protected:
    static constexpr char kFile[] = "TestEngine/PCIExpress/PCIExpressverifyDeviceId";
    DeviceId() : RunningTest("-pcie", "-vdi") {}
    void ExpectInvalid() {
        ExpectFailed(kFile, 69, "FAILED: Invalid device id  ",
                     "PcieDiag.DeviceID: Invalid device id");
        EXPECT_TRUE(Traced(DLVL_DIAG1).empty());
    }
};

TEST_F(DeviceId, PassesWithAnyAllowedId) {
    fakes::SettingsFake().SetWords(kSection, "deviceID", {1, 2, 0x00501F5A});
    Run();
    ExpectPassed();
    EXPECT_EQ(Traced(DLVL_DIAG1), Texts{"Device ID = 0x501f5a\n"});
    EXPECT_EQ(done_[0], "settings.GetWords(\"pcieConfigReg\", \"deviceID\", 50)");
}

TEST_F(DeviceId, FailsWithAnotherId) {
    fakes::SettingsFake().SetWords(kSection, "deviceID", {0x1F5A, 0x0050});
    Run();
    ExpectInvalid();
}

TEST_F(DeviceId, FailsWhenNothingIsAllowed) {
    fakes::SettingsFake().SetWords(kSection, "deviceID", {});
    Run();
    ExpectInvalid();
}

TEST_F(DeviceId, LooksAtFiftyValuesAndNoFurther) {
    std::vector<U32> values(60, 0);
    values[49] = 0x00501F5A;
    fakes::SettingsFake().SetWords(kSection, "deviceID", values);
    Run();
    ExpectPassed();
    std::swap(values[49], values[50]);
    fakes::SettingsFake().SetWords(kSection, "deviceID", values);
    fakes::Trace().Reset();
    Run();
    ExpectInvalid();
}

TEST_F(DeviceId, FailsWhenTheSettingsCannotBeRead) {
    fakes::SettingsFake().Fail(kSection, "deviceID", 0x1F);
    Run();
    EXPECT_EQ(out_, "settings->GetWord failed with return value = 1f\n");
    ExpectFailed(kFile, 48, kUnreadable, std::string("PcieDiag.DeviceID: ") + kUnreadable);
}

TEST_F(DeviceId, KeepsTheSettingsLineToItselfInQuietMode) {
    ifstSetupParams.bQuietMode = 1;
    fakes::SettingsFake().Fail(kSection, "deviceID", 1);
    Run();
    EXPECT_EQ(out_, "");
    ExpectFailed(kFile, 48, kUnreadable, std::string("PcieDiag.DeviceID: ") + kUnreadable);
}

class SubSystem : public RunningTest {
protected:
    static constexpr char kFile[] = "TestEngine/PCIExpress/vRevSubSysID";
    SubSystem() : RunningTest("-pcie", "-vrs") {}
    void ExpectUnreadable(const std::string& printed, int line) {
        EXPECT_EQ(out_, printed);
        ExpectFailed(kFile, line, kUnreadable, std::string("PcieDiag.SubSystem: ") + kUnreadable);
        EXPECT_TRUE(Traced(DLVL_DIAG1).empty());
    }
};

TEST_F(SubSystem, ReadsAndChecksInOrder) {
    Run();
    ExpectPassed();
    EXPECT_EQ(done_,
              (Texts{"settings.GetWords(\"pcieConfigReg\", \"revisionID\", 50)",
                     "settings.GetWords(\"pcieConfigReg\", \"subsystemVendorID\", 50)",
                     "settings.GetWords(\"pcieConfigReg\", \"subsystemID\", 50)",
                     "trace 8 \"Vendor ID = 0x1f5a\\n\"", "ZelGetSubSystemID()",
                     "trace 8 \"SubSystem ID = 0x2\\n\"", "ZelGetRevisionID()",
                     "trace 8 \"Revision ID = 0x20\\n\"", "stdout \"Test 4 Passed \\n\\n\""}));
}

TEST_F(SubSystem, FailsWhenAListCannotBeRead) {
    struct Row {
        const char* key;
        const char* printed;
        int line;
    };
    for (const Row& row :
         {Row{"revisionID", "settings->GetWords revID failed with return value = 7\n", 58},
          {"subsystemVendorID", "settings->GetWords of SSVID failed with return value = 7\n", 68},
          {"subsystemID", "settings->GetWords of SSID failed with return value = 7\n", 78}}) {
        Restart();
        fakes::SettingsFake().Fail(kSection, row.key, 7);
        Run();
        ExpectUnreadable(row.printed, row.line);
    }
}

TEST_F(SubSystem, FailsWithAnotherVendor) {
    Card().deviceId = 0x00501234;
    Run();
    ExpectFailed(kFile, 97, "FAILED: Found invalid Vendor ID ",
                 "PcieDiag.SubSystem: Found invalid Vendor ID");
    EXPECT_EQ(Traced(DLVL_DIAG1), Texts{"FAILED: could not find Vendor ID = 0x1234 \n"});
    EXPECT_EQ(fakes::ZelAccess().CountOf("ZelGetSubSystemID"), 0U);
}

TEST_F(SubSystem, FailsWithAnotherSubsystem) {
    Card().subsystemId = 0x00991F5A;
    Run();
    ExpectFailed(kFile, 121, "FAILED: Found invalid SubSystem ID ",
                 "PcieDiag.SubSystem: Found invalid SubSystem ID");
    EXPECT_EQ(Traced(DLVL_DIAG1),
              (Texts{"Vendor ID = 0x1f5a\n", "FAILED: could not find SubSystem ID = 0x99 \n"}));
    EXPECT_EQ(fakes::ZelAccess().CountOf("ZelGetRevisionID"), 0U);
}

TEST_F(SubSystem, FailsWhenTheSubsystemCannotBeRead) {
    fakes::SettingsFake().SetWords(kSection, "subsystemID", {0});
    fakes::ZelAccess().Fail("ZelGetSubSystemID", 13);
    Run();
    ExpectFailed(kFile, 121, "FAILED: Found invalid SubSystem ID ",
                 "PcieDiag.SubSystem: Found invalid SubSystem ID");
    EXPECT_EQ(Traced(DLVL_DIAG1).back(), "FAILED: could not find SubSystem ID = 0x0 \n");
}

TEST_F(SubSystem, FailsWithAnotherRevisionAndTracesItsLowByte) {
    Card().revisionId = 0x12345;
    Run();
    ExpectFailed(kFile, 143, "FAILED: Found invalid Revision ID ",
                 "PcieDiag.SubSystem: Found invalid Revision ID");
    EXPECT_EQ(Traced(DLVL_DIAG1).back(), "FAILED: could not find Revision ID = 0x45\n");
}

TEST_F(SubSystem, TracesAnAllowedRevisionWhole) {
    Card().revisionId = 0x12345;
    fakes::SettingsFake().SetWords(kSection, "revisionID", {0x12345});
    Run();
    ExpectPassed();
    EXPECT_EQ(Traced(DLVL_DIAG1).back(), "Revision ID = 0x12345\n");
}

TEST_F(SubSystem, FailsWhenTheRevisionCannotBeRead) {
    fakes::SettingsFake().SetWords(kSection, "revisionID", {0});
    fakes::ZelAccess().Fail("ZelGetRevisionID", 13);
    Run();
    ExpectFailed(kFile, 143, "FAILED: Found invalid Revision ID ",
                 "PcieDiag.SubSystem: Found invalid Revision ID");
}

TEST_F(SubSystem, FailsWhenAListIsEmpty) {
    struct Row {
        const char* key;
        int line;
    };
    for (const Row& row :
         {Row{"subsystemVendorID", 97}, {"subsystemID", 121}, {"revisionID", 143}}) {
        Restart();
        fakes::SettingsFake().SetWords(kSection, row.key, {});
        Run();
        EXPECT_NE(err_.find(", line " + std::to_string(row.line) + " "), std::string::npos) << err_;
    }
}

}  // namespace
