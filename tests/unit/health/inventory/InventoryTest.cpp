// What a host should have, read from files, written as files, and compared with what it has.
#include "inventory/Inventory.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

#include "../host/Scratch.h"
#include "host/DurableFile.h"
#include "inventory/Baseline.h"

namespace zelhealth {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;

FoundCard Card(const std::string& pcie, const std::string& uuid) {
    return {pcie,
            {{"pcie", pcie},
             {"uuid", uuid},
             {"generation", "er1x"},
             {"device_id", 0x501f5aU},
             {"subsystem_id", 0x21f5aU},
             {"revision_id", 0x20U},
             {"firmware", {{"flash", "2.1"}, {"smc", "1.16"}}},
             {"cores", 60U},
             {"threads", 240U},
             {"memory_size", 8ULL << 30U},
             {"link", {{"width", 16U}, {"speed", "5 GT/s"}}},
             {"mode", "normal"}}};
}

constexpr char kOne[] = "0000:02:00.0";
constexpr char kOther[] = "0000:03:00.0";

class InventoryTest : public testing::Test {
protected:
    Inventory Load(const std::string& inventory, const std::string& fleet = "") {
        if (!inventory.empty())
            scratch_.Write("inventory.toml", inventory);
        if (!fleet.empty())
            scratch_.Write("fleet.toml", fleet);
        return Inventory::Load(scratch_.Path());
    }

    // The inventory of the two cards, with these lines in front.
    Inventory LoadBoth(const std::string& policies = "") {
        return Load(policies + InventoryText(cards_));
    }

    std::string WhyNot(const std::string& inventory) {
        try {
            Load(inventory);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "";
    }

    // "TEXT (STATUS)" of the first card.
    static std::vector<std::string> Differences(const Inventory& inventory,
                                                const std::vector<FoundCard>& cards) {
        std::vector<std::string> texts;
        for (const Difference& difference : inventory.Compare(cards.front(), cards))
            texts.push_back(difference.text + " (" + std::to_string(difference.status) + ")");
        return texts;
    }

    std::vector<std::string> Changed(const char* pointer, const json& value,
                                     const std::string& policies = "") {
        const Inventory inventory = LoadBoth(policies);
        std::vector<FoundCard> cards = cards_;
        cards[0].facts[json::json_pointer(pointer)] = value;
        return Differences(inventory, cards);
    }

    Scratch scratch_;
    std::vector<FoundCard> cards_ = {Card(kOne, "aa"), Card(kOther, "bb")};
};

TEST_F(InventoryTest, OfWhatIsThereDiffersInNothing) {
    const Inventory inventory = LoadBoth();
    EXPECT_TRUE(inventory.HasCards());
    EXPECT_THAT(inventory.Compare(cards_[0], cards_), IsEmpty());
    EXPECT_THAT(inventory.Compare(cards_[1], cards_), IsEmpty());
    EXPECT_THAT(inventory.Missing({kOne, kOther}), IsEmpty());
}

TEST_F(InventoryTest, EachFieldIsCompared) {
    EXPECT_THAT(Changed("/uuid", "cc"), ElementsAre("uuid cc, not aa as the inventory says (1)"));
    EXPECT_THAT(Changed("/generation", "ev1x"),
                ElementsAre("generation ev1x, not er1x as the inventory says (2)"));
    EXPECT_THAT(Changed("/device_id", 1U),
                ElementsAre("device id 0x1, not 0x501f5a as the inventory says (2)"));
    EXPECT_THAT(Changed("/subsystem_id", 1U),
                ElementsAre("subsystem id 0x1, not 0x21f5a as the inventory says (2)"));
    EXPECT_THAT(Changed("/revision_id", 1U),
                ElementsAre("revision id 0x1, not 0x20 as the inventory says (1)"));
    EXPECT_THAT(Changed("/firmware/flash", "2.0"),
                ElementsAre("flash version 2.0, not 2.1 as the inventory says (1)"));
    EXPECT_THAT(Changed("/firmware/smc", "1.15"),
                ElementsAre("SMC version 1.15, not 1.16 as the inventory says (1)"));
    EXPECT_THAT(Changed("/cores", 31U),
                ElementsAre("number of cores 31, not 60 as the inventory says (2)"));
    EXPECT_THAT(Changed("/threads", 1U),
                ElementsAre("number of threads 1, not 240 as the inventory says (2)"));
    EXPECT_THAT(Changed("/memory_size", 4ULL << 30U),
                ElementsAre("memory 4 GiB, not 8 GiB as the inventory says (2)"));
    EXPECT_THAT(Changed("/link/width", 8U),
                ElementsAre("number of lanes 8, not 16 as the inventory says (2)"));
    // An idle link may be slow; the mode is looked at elsewhere.
    EXPECT_THAT(Changed("/link/speed", "2.5 GT/s"), IsEmpty());
    EXPECT_THAT(Changed("/mode", "offline"), IsEmpty());
}

TEST_F(InventoryTest, WhatACardDoesNotTellIsNotCompared) {
    EXPECT_THAT(Changed("/cores", nullptr), IsEmpty());
    EXPECT_THAT(Changed("/uuid", nullptr), IsEmpty());
}

TEST_F(InventoryTest, APolicySaysWhatADifferenceMeans) {
    EXPECT_THAT(Changed("/cores", 31U, "[policy]\ncores = \"warn\"\n"),
                ElementsAre(HasSubstr("(1)")));
    EXPECT_THAT(Changed("/cores", 31U, "[policy]\ncores = \"ignore\"\n"), IsEmpty());
    EXPECT_THAT(Changed("/link/speed", "2.5 GT/s", "[policy]\nlink_speed = \"fail\"\n"),
                ElementsAre("link speed 2.5 GT/s, not 5 GT/s as the inventory says (2)"));
}

TEST_F(InventoryTest, TwoCardsThatHaveChangedPlacesAreTold) {
    const Inventory inventory = LoadBoth();
    cards_[0].facts["uuid"] = "bb";
    cards_[1].facts["uuid"] = "aa";
    EXPECT_THAT(Differences(inventory, cards_),
                ElementsAre("uuid bb, not aa as the inventory says; that card's place is "
                            "0000:03:00.0 (1)"));
}

TEST_F(InventoryTest, AUuidThatIsNoneIsToldWithoutAnInventoryToo) {
    cards_[0].facts["uuid"] = "00000000-0000-0000-0000-000000000000";
    EXPECT_THAT(Differences(Load(""), cards_),
                ElementsAre("uuid of zeros: no card can be told from others by it (1)"));
    EXPECT_THAT(Differences(Load("[policy]\nuuid = \"fail\"\nunexpected = \"ignore\""), cards_),
                ElementsAre(HasSubstr("(2)")));
    EXPECT_THAT(Differences(Load("[policy]\nuuid = \"ignore\"\nunexpected = \"ignore\""), cards_),
                IsEmpty());
    cards_[0].facts["uuid"] = "bb";
    EXPECT_THAT(Differences(Load("[policy]\nunexpected = \"ignore\""), cards_),
                ElementsAre("uuid bb is also that of the card at 0000:03:00.0 (1)"));
}

TEST_F(InventoryTest, CardsMoreAndLess) {
    const Inventory inventory = Load("[[card]]\npcie = \"0000:04:00.0\"\n");
    EXPECT_THAT(inventory.Missing({kOne}), ElementsAre(Pair("0000:04:00.0", 2)));
    EXPECT_THAT(Differences(inventory, cards_), ElementsAre("it is not in the inventory (1)"));
    const Inventory other = Load(
        "[policy]\nmissing = \"warn\"\nunexpected = \"fail\"\n[[card]]\npcie = \"0000:04:00.0\"\n");
    EXPECT_THAT(other.Missing({kOne}), ElementsAre(Pair("0000:04:00.0", 1)));
    EXPECT_THAT(Differences(other, cards_), ElementsAre("it is not in the inventory (2)"));
}

TEST_F(InventoryTest, OneOfSeveralValuesWillDo) {
    const Inventory inventory =
        Load("[[card]]\npcie = \"0000:02:00.0\"\nflash = [\"2.0\", \"2.1\"]\ncores = [57, 61]\n");
    EXPECT_THAT(Differences(inventory, cards_),
                ElementsAre("number of cores 60, not 57 or 61 as the inventory says (2)"));
}

TEST_F(InventoryTest, AFleetSaysWhatAGenerationHas) {
    const Inventory inventory =
        Load("",
             "[policy]\nsmc = \"fail\"\n[generation.er1x]\nsmc = \"1.17\"\ncores = 60\n"
             "[generation.ev1x]\ncores = 1\n");
    EXPECT_FALSE(inventory.HasCards());
    EXPECT_THAT(Differences(inventory, cards_),
                ElementsAre("SMC version 1.16, not 1.17 as fleet.toml says (2)"));
}

TEST_F(InventoryTest, TheFleetsFileIsMadeOfWhatCardsHaveInCommon) {
    cards_[1].facts["firmware"]["smc"] = "1.17";
    const std::string text = FleetText(cards_);
    EXPECT_THAT(text, HasSubstr("[generation.er1x]\ndevice_id    = 0x501f5a\n"));
    EXPECT_THAT(text, HasSubstr("smc          = [\"1.16\", \"1.17\"]\n"));
    EXPECT_THAT(text, Not(HasSubstr("uuid")));
    const Inventory inventory = Load("", text);
    EXPECT_THAT(Differences(inventory, cards_), IsEmpty());
}

TEST_F(InventoryTest, TheModeThatBelongsThere) {
    const Inventory inventory = Load(
        "[[card]]\npcie = \"0000:02:00.0\"\nmode = \"offline\"\n"
        "[[card]]\npcie = \"0000:03:00.0\"\n");
    EXPECT_EQ(inventory.ModeOf(kOne), "offline");
    EXPECT_EQ(inventory.ModeOf(kOther), "normal");
    EXPECT_EQ(inventory.ModeOf("0000:09:00.0"), "normal");
}

TEST_F(InventoryTest, WhatIsWrongIsRefusedWithItsLine) {
    EXPECT_THAT(WhyNot("[[card]]\npcie = \"02:00.0\"\n"),
                HasSubstr("inventory.toml:2: \"pcie\" is written as \"0000:02:00.0\""));
    EXPECT_THAT(WhyNot("[[card]]\npcie = \"0000:02:00.0\"\n[[card]]\npcie = \"0000:02:00.0\"\n"),
                HasSubstr("inventory.toml:4: \"pcie\" stands in front of another card already"));
    EXPECT_THAT(WhyNot("[[card]]\nuuid = \"x\"\n"), HasSubstr(":1: \"pcie\" is missing"));
    EXPECT_THAT(WhyNot("[[card]]\npcie = \"0000:02:00.0\"\ncore = 1\n"),
                HasSubstr(":3: unknown key \"core\"; did you mean \"cores\"?"));
    EXPECT_THAT(WhyNot("[[card]]\npcie = \"0000:02:00.0\"\nzebra = 1\n"),
                HasSubstr(":3: unknown key \"zebra\"; there are pcie, uuid, "));
    EXPECT_THAT(WhyNot("[[card]]\npcie = \"0000:02:00.0\"\ncores = \"1\"\n"),
                HasSubstr(":3: \"cores\" takes a number, or several in brackets"));
    EXPECT_THAT(WhyNot("[[card]]\npcie = \"0000:02:00.0\"\ncores = -1\n"),
                HasSubstr(":3: \"cores\" takes a number"));
    EXPECT_THAT(WhyNot("[[card]]\npcie = \"0000:02:00.0\"\nflash = []\n"),
                HasSubstr(":3: \"flash\" takes a text"));
    EXPECT_THAT(WhyNot("[[card]]\npcie = \"0000:02:00.0\"\nmode = \"of line\"\n"),
                HasSubstr(":3: \"mode\" takes one of normal, offline, memdiag, maintenance"));
    EXPECT_THAT(WhyNot("[policy]\ncores = \"no\"\n"),
                HasSubstr(":2: \"cores\" takes \"fail\", \"warn\" or \"ignore\""));
    EXPECT_THAT(WhyNot("[policy]\nmode = \"warn\"\n"), HasSubstr("unknown key \"mode\""));
    EXPECT_THAT(WhyNot("policy = 1\n"), HasSubstr(":1: \"policy\" is written as [policy]"));
    EXPECT_THAT(WhyNot("cards = 1\n"), HasSubstr("unknown key \"cards\""));
}

TEST_F(InventoryTest, HostileTextsComeBackAsTheyWere) {
    cards_[0].facts["firmware"]["flash"] = "a\"\\\n[[card]]\x1b[0m'''";
    cards_[0].facts["uuid"] = "";
    const Inventory inventory = LoadBoth();
    EXPECT_THAT(Differences(inventory, cards_), IsEmpty());
}

TEST_F(InventoryTest, AnEditedFileIsKnownFromOneThatIsAsWritten) {
    const auto file = scratch_ / "inventory.toml";
    EXPECT_TRUE(IsAsWritten(file));
    ASSERT_EQ(ReplaceDurably(file, InventoryText(cards_)), "");
    EXPECT_TRUE(IsAsWritten(file));
    std::ofstream(file, std::ios::app) << "# mine\n";
    EXPECT_FALSE(IsAsWritten(file));
    scratch_.Write("inventory.toml", "[[card]]\npcie = \"0000:02:00.0\"\n");
    EXPECT_FALSE(IsAsWritten(file));
    scratch_.Write("inventory.toml", "");
    EXPECT_FALSE(IsAsWritten(file));
}

}  // namespace
}  // namespace zelhealth
