// Waivers: which failure one is for, and until when.
#include "host/Waivers.h"

#include <gmock/gmock.h>

#include "Scratch.h"

namespace zelhealth {

namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;

constexpr sys_days kDay = std::chrono::year(2026) / 12 / 31;

class WaiversTest : public testing::Test {
protected:
    Waivers Load(const std::string& text) {
        return Waivers::Load(scratch_.Write("waivers.toml", text));
    }

    std::string Refused(const std::string& text) {
        try {
            Load(text);
        } catch (const std::runtime_error& fault) {
            const std::string what = fault.what();
            return what.substr(what.find("waivers.toml"));
        }
        return "accepted";
    }

    Scratch scratch_;
};

constexpr char kOne[] =
    "[[waiver]]\ncard = \"0000:03:00.0\"\ntest = \"pcie.vlw\"\nuntil = 2026-12-31\nwhy = "
    "\"riser\"\n";

TEST_F(WaiversTest, CountsForItsCardAndTest) {
    const Waivers waivers = Load(kOne);
    EXPECT_NE(waivers.Find("zel1", "0000:03:00.0", "pcie.vlw", kDay), nullptr);
    EXPECT_EQ(waivers.Find("zel1", "0000:03:00.0", "pcie.vls", kDay), nullptr);
    EXPECT_EQ(waivers.Find("zel0", "0000:02:00.0", "pcie.vlw", kDay), nullptr);
}

TEST_F(WaiversTest, CountsOnItsLastDayAndNotOnTheNext) {
    const Waivers waivers = Load(kOne);
    const Waiver* waiver = waivers.Find("zel1", "0000:03:00.0", "pcie.vlw", kDay);
    ASSERT_NE(waiver, nullptr);
    EXPECT_FALSE(waiver->Expired(kDay + 23h + 59min));
    EXPECT_EQ(waiver->Text(kDay), "waived until 2026-12-31: riser");
    EXPECT_TRUE(waiver->Expired(kDay + 24h));
    EXPECT_EQ(waiver->Text(kDay + 24h), "waiver expired on 2026-12-31: riser");
}

TEST_F(WaiversTest, TakesNamesAndPatterns) {
    const Waivers waivers = Load(
        "[[waiver]]\ncard = \"zel0\"\ntest = \"*\"\nuntil = 2026-12-31\nwhy = \"a\"\n"
        "[[waiver]]\ncard = \"*\"\ntest = \"mem.*\"\nuntil = 2026-12-31\nwhy = \"b\"\n");
    EXPECT_EQ(waivers.Find("zel0", "", "dma.vdh2l", kDay)->why, "a");
    EXPECT_EQ(waivers.Find("zel5", "", "mem.wr", kDay)->why, "b");
    EXPECT_EQ(waivers.Find("zel5", "", "memory.wr", kDay), nullptr);
}

TEST_F(WaiversTest, OneThatCountsComesBeforeOneThatHasExpired) {
    const Waivers waivers = Load(
        "[[waiver]]\ncard = \"*\"\ntest = \"*\"\nuntil = 2025-01-01\nwhy = \"old\"\n"
        "[[waiver]]\ncard = \"*\"\ntest = \"*\"\nuntil = 2027-01-01\nwhy = \"new\"\n"
        "[[waiver]]\ncard = \"*\"\ntest = \"*\"\nuntil = 2024-01-01\nwhy = \"older\"\n");
    EXPECT_EQ(waivers.Find("zel0", "", "pcie.vlw", kDay)->why, "new");
    EXPECT_TRUE(waivers.Find("zel0", "", "pcie.vlw", kDay + 24h * 365)->Expired(kDay + 24h * 365));
}

TEST_F(WaiversTest, NoFileIsNoWaiver) {
    EXPECT_TRUE(Waivers::Load(scratch_ / "none.toml").All().empty());
    EXPECT_TRUE(Load("").All().empty());
}

TEST_F(WaiversTest, RefusesWhatItDoesNotUnderstand) {
    EXPECT_EQ(Refused("x = 1\n"), "waivers.toml:1: unknown key \"x\"; there are waiver");
    EXPECT_EQ(Refused("\n[waiver]\ncard = \"*\"\n"),
              "waivers.toml:2: \"waiver\" is written as [[waiver]]");
    EXPECT_EQ(Refused("[[waiver]]\ncard = \"*\"\n"), "waivers.toml:1: \"test\" is missing");
    EXPECT_EQ(Refused("[[waiver]]\ncard = 0\ntest = \"*\"\nuntil = 2026-12-31\nwhy = \"a\"\n"),
              "waivers.toml:2: \"card\" takes a text");
    EXPECT_EQ(Refused("[[waiver]]\ncard = \"*\"\ntest = \"*\"\nuntil = \"soon\"\nwhy = \"a\"\n"),
              "waivers.toml:4: \"until\" takes a date such as 2026-12-31");
    EXPECT_EQ(
        Refused("[[waiver]]\ncard = \"*\"\ntest = \"vlw\"\nuntil = 2026-12-31\nwhy = \"a\"\n"),
        "waivers.toml:3: \"test\" names no test; it takes one such as \"pcie.vlw\", "
        "\"pcie.*\", or \"*\"");
    for (const std::string name : {"pcie.vlx", "pci.*", "pcie", "pcie.v*"})
        EXPECT_THAT(Refused("[[waiver]]\ncard = \"*\"\ntest = \"" + name +
                            "\"\nuntil = 2026-12-31\nwhy = \"a\"\n"),
                    testing::HasSubstr("names no test"))
            << name;
    EXPECT_EQ(Refused("[[waiver]]\ncard = \"*\"\ntest = \"*\"\nuntil = 2026-12-31\nwhy = \"\"\n"),
              "waivers.toml:5: \"why\" must say why");
    EXPECT_THAT(Refused("[[waiver]\n"), testing::StartsWith("waivers.toml:1: "));
}

TEST_F(WaiversTest, AFileThatCannotBeReadIsNotNone) {
    std::filesystem::create_directory(scratch_ / "folder");
    EXPECT_THROW(Waivers::Load(scratch_ / "folder"), std::runtime_error);
}

}  // namespace

}  // namespace zelhealth
