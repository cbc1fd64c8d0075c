// Taking cards to a mode and back, with cards that obey, refuse, take their time, or are meddled with.
#include "host/ModeKeeper.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include "Scratch.h"

namespace zelhealth {

namespace {

using nlohmann::json;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kAddress[] = "0000:02:00.0";

CardReply Refuse(const std::string& text) {
    CardReply reply;
    reply.kind = CardReply::Kind::refused;
    reply.error = text;
    return reply;
}

// One card, as zelcard tells of it.
class OneCard : public CardAccess {
public:
    CardReply Ask(const std::vector<std::string>& words, const Stop& stop) const override {
        if (stop.Requested())
            return Reply(CardReply::Kind::stopped, {});
        if (words[0] == "set-mode")
            return Set(words[2]);
        if (!why.empty())
            return Refuse(why);
        const json identity = {{"card", "zel0"}, {"pcie", address}};
        if (words.size() == 1)
            return Reply(CardReply::Kind::answered,
                         {{"cards", present ? json::array({identity}) : json::array()}});
        json answer = identity;
        answer["mode"] = Mode();
        answer["uuid"] = uuid;
        return Reply(CardReply::Kind::answered, answer);
    }

    mutable std::string mode = "normal";
    std::string uuid = "u";
    std::string address = kAddress;
    std::string why;     // nothing is answered, and this is told
    std::string refuse;  // moving is refused with this text
    bool present = true;
    int looksToArrive = 0;                          // in transition for so many questions
    std::function<void(const std::string&)> onSet;  // before the card moves
    mutable std::vector<std::string> asked;         // the modes that were asked for

private:
    static CardReply Reply(CardReply::Kind kind, json answer) {
        CardReply reply;
        reply.kind = kind;
        reply.answer = std::move(answer);
        return reply;
    }

    std::string Mode() const {
        if (looksLeft_ == 0)
            return mode;
        --looksLeft_;
        return "in_transition";
    }

    CardReply Set(const std::string& to) const {
        asked.push_back(to);
        if (onSet)
            onSet(to);
        if (!refuse.empty())
            return Refuse(refuse);
        if (!(mode == "normal" && to == "memdiag"))
            mode = to;
        looksLeft_ = looksToArrive;
        return Reply(CardReply::Kind::answered, {{"card", "zel0"}, {"mode", Mode()}});
    }

    mutable int looksLeft_ = 0;
};

class ModeKeeperTest : public testing::Test {
protected:
    EnterResult Enter() { return keeper_.Enter("zel0", "offline", stop_); }
    Restoration Leave() { return keeper_.Leave("zel0", stop_); }
    Restoration Recover() {
        const auto all = keeper_.Recover(stop_);
        EXPECT_EQ(all.size(), 1U);
        return all.empty() ? Restoration{} : all[0];
    }
    bool Noted() const { return files_.Read(kAddress).has_value(); }

    // As a run leaves the card that is killed while the tool tests the memory.
    void BeKilled() {
        ASSERT_TRUE(Enter().entered);
        card_.mode = "memdiag";
        card_.asked.clear();
    }

    Scratch scratch_;
    OneCard card_;
    Folders folders_{.run = scratch_ / "run", .state = scratch_.Path(), .configuration = ""};
    ModeFiles files_{scratch_ / "modes"};
    Locks locks_{scratch_ / "run"};
    ModeKeeper keeper_{card_, folders_, milliseconds(1000)};
    Stop stop_;
};

TEST_F(ModeKeeperTest, TakesACardToReadyStateAndBack) {
    const EnterResult entered = Enter();
    EXPECT_TRUE(entered.entered);
    EXPECT_EQ(entered.found, "normal");
    EXPECT_EQ(card_.mode, "offline");
    EXPECT_TRUE(Noted());
    const Restoration left = Leave();
    EXPECT_EQ(left.end, Restoration::End::restored);
    EXPECT_EQ(left.left, "normal");
    EXPECT_EQ(card_.mode, "normal");
    EXPECT_FALSE(Noted());
}

TEST_F(ModeKeeperTest, TheNoteIsThereBeforeTheCardMoves) {
    bool noted = false;
    card_.onSet = [&](const std::string&) { noted = Noted(); };
    Enter();
    EXPECT_TRUE(noted);
}

TEST_F(ModeKeeperTest, WithoutANoteNothingMoves) {
    scratch_.Write("modes", "no folder");
    const EnterResult entered = Enter();
    EXPECT_FALSE(entered.entered);
    EXPECT_EQ(entered.kind, CardReply::Kind::setup);
    EXPECT_THAT(entered.error, HasSubstr("modes"));
    EXPECT_THAT(card_.asked, IsEmpty());
}

TEST_F(ModeKeeperTest, KeepsACardInReadyStateAndNotesIt) {
    card_.mode = "offline";
    EXPECT_TRUE(Enter().entered);
    EXPECT_THAT(card_.asked, IsEmpty());
    EXPECT_TRUE(Noted()) << "a killed memory test leaves it in memdiag";
    card_.mode = "memdiag";
    EXPECT_EQ(Leave().end, Restoration::End::restored);
    EXPECT_EQ(card_.mode, "offline");
}

TEST_F(ModeKeeperTest, LeavesACardAloneThatIsInAnAdministratorsMode) {
    card_.mode = "maintenance";
    const EnterResult entered = Enter();
    EXPECT_FALSE(entered.entered);
    EXPECT_EQ(entered.found, "maintenance");
    EXPECT_THAT(entered.error, HasSubstr("maintenance"));
    EXPECT_THAT(card_.asked, IsEmpty());
    EXPECT_FALSE(Noted());
}

TEST_F(ModeKeeperTest, WaitsForACardThatTakesItsTime) {
    card_.looksToArrive = 2;
    EXPECT_TRUE(Enter().entered);
    EXPECT_EQ(Leave().end, Restoration::End::restored);
}

TEST_F(ModeKeeperTest, ACardThatDoesNotArriveIsTakenBack) {
    card_.looksToArrive = 1000000;
    const EnterResult entered = Enter();
    EXPECT_FALSE(entered.entered);
    EXPECT_THAT(entered.error, HasSubstr("it has not arrived in offline"));
    ASSERT_TRUE(entered.restoration);
    EXPECT_EQ(entered.restoration->end, Restoration::End::notRestored);
    EXPECT_THAT(entered.restoration->text, HasSubstr("still in transition"));
    EXPECT_TRUE(Noted());
}

TEST_F(ModeKeeperTest, ACardThatRefusesStaysAsItWas) {
    card_.refuse = "ZelSetUsageMode: The card does not answer (13)";
    const EnterResult entered = Enter();
    EXPECT_FALSE(entered.entered);
    EXPECT_EQ(entered.kind, CardReply::Kind::refused);
    EXPECT_THAT(entered.error, HasSubstr("The card does not answer (13)"));
    ASSERT_TRUE(entered.restoration);
    EXPECT_EQ(entered.restoration->end, Restoration::End::restored);
    EXPECT_FALSE(Noted());
}

TEST_F(ModeKeeperTest, ACardThatGoesElsewhereIsSaid) {
    card_.onSet = [&](const std::string&) { card_.mode = "zombie"; };
    card_.refuse = "no";
    EXPECT_FALSE(Enter().entered);
    EXPECT_EQ(card_.mode, "zombie");
}

TEST_F(ModeKeeperTest, BackToNormalLeadsThroughReadyState) {
    BeKilled();
    EXPECT_EQ(Recover().end, Restoration::End::restored);
    EXPECT_THAT(card_.asked, ElementsAre("offline", "normal"));
    EXPECT_EQ(card_.mode, "normal");
    EXPECT_FALSE(Noted());
}

TEST_F(ModeKeeperTest, AnAdministratorsChangeMeanwhileStays) {
    BeKilled();
    card_.mode = "maintenance";
    const Restoration restored = Recover();
    EXPECT_EQ(restored.end, Restoration::End::othersMode);
    EXPECT_EQ(restored.left, "maintenance");
    EXPECT_THAT(card_.asked, IsEmpty());
    EXPECT_FALSE(Noted()) << "what an administrator sets later is not ours either";
}

TEST_F(ModeKeeperTest, ACardThatSomebodyTookBackIsDone) {
    BeKilled();
    card_.mode = "normal";
    EXPECT_EQ(Recover().end, Restoration::End::restored);
    EXPECT_THAT(card_.asked, IsEmpty());
    EXPECT_FALSE(Noted());
}

TEST_F(ModeKeeperTest, AnotherCardAtTheSameAddressIsLeftAlone) {
    BeKilled();
    card_.uuid = "another";
    EXPECT_EQ(Recover().end, Restoration::End::otherCard);
    EXPECT_THAT(card_.asked, IsEmpty());
    EXPECT_FALSE(Noted());
}

TEST_F(ModeKeeperTest, WhatCannotBeRestoredIsTriedAgain) {
    BeKilled();
    card_.refuse = "no";
    const Restoration restored = Recover();
    EXPECT_EQ(restored.end, Restoration::End::notRestored);
    EXPECT_EQ(restored.text, "zel0 could not be taken back to normal: no");
    EXPECT_EQ(restored.left, "memdiag");
    EXPECT_TRUE(Noted());
    card_.refuse.clear();
    EXPECT_EQ(Recover().end, Restoration::End::restored);
    EXPECT_FALSE(Noted());
}

TEST_F(ModeKeeperTest, ACardThatIsGoneIsSaid) {
    BeKilled();
    card_.present = false;
    const Restoration restored = Recover();
    EXPECT_EQ(restored.end, Restoration::End::notRestored);
    EXPECT_THAT(restored.text, HasSubstr("there is no card at 0000:02:00.0"));
    EXPECT_THAT(restored.text, HasSubstr("remove "));
    EXPECT_EQ(restored.Status(), 2);
    EXPECT_TRUE(Noted());
}

TEST_F(ModeKeeperTest, ALibraryThatDoesNotOpenIsSaid) {
    BeKilled();
    card_.why = "ZelInitAPI: The host driver stack is not running (6)";
    const Restoration restored = Recover();
    EXPECT_EQ(restored.end, Restoration::End::notRestored);
    EXPECT_THAT(restored.text, HasSubstr("The host driver stack is not running"));
    EXPECT_TRUE(Noted());
}

TEST_F(ModeKeeperTest, ANoteThatCannotBeReadIsSaid) {
    scratch_.Write("modes/0000:02:00.0.json", "{");
    const Restoration restored = Recover();
    EXPECT_EQ(restored.end, Restoration::End::notKnown);
    EXPECT_EQ(restored.Status(), 3);
    EXPECT_THAT(restored.text, HasSubstr("cannot read"));
    EXPECT_THAT(restored.text, HasSubstr("zelhealth mode 0000:02:00.0 normal"));
    EXPECT_FALSE(Enter().entered) << "what it holds would be lost";
}

TEST_F(ModeKeeperTest, ACardThatARunHasIsLeftToIt) {
    BeKilled();
    const LockResult held = locks_.Card("zel0", LockKind::exclusive, milliseconds(0), stop_);
    ASSERT_TRUE(held.lock);
    const Restoration restored = Recover();
    EXPECT_EQ(restored.end, Restoration::End::inUse);
    EXPECT_THAT(restored.text, HasSubstr("held by pid"));
    EXPECT_THAT(card_.asked, IsEmpty());
    EXPECT_TRUE(Noted());
}

TEST_F(ModeKeeperTest, ACardOnWhichAChildHangsIsLeftAlone) {
    BeKilled();
    ASSERT_EQ(WedgedNotes(scratch_ / "run/wedged").Add("zel0", "mem.wr", {}, getpid()), "");
    const Restoration restored = Recover();
    EXPECT_EQ(restored.end, Restoration::End::notRestored);
    EXPECT_THAT(restored.text, HasSubstr("zel0 is wedged since"));
    EXPECT_THAT(card_.asked, IsEmpty());
    EXPECT_TRUE(Noted());
}

TEST_F(ModeKeeperTest, ACardThatOnlyIsLookedAtIsWaitedFor) {
    BeKilled();
    auto looking =
        std::make_unique<LockResult>(locks_.Card("zel0", LockKind::shared, milliseconds(0), stop_));
    std::jthread later([&looking] {
        std::this_thread::sleep_for(milliseconds(200));
        looking.reset();
    });
    EXPECT_EQ(Recover().end, Restoration::End::restored);
}

// The earlier run's note would be overwritten, and with it the mode to which the card belongs.
TEST_F(ModeKeeperTest, ACardThatWaitsForItsRestorationIsNotTaken) {
    BeKilled();
    card_.mode = "offline";
    const EnterResult entered = Enter();
    EXPECT_FALSE(entered.entered);
    EXPECT_THAT(entered.error, HasSubstr("zelhealth recover"));
    EXPECT_EQ(files_.Read(kAddress)->note->found, "normal");
}

TEST_F(ModeKeeperTest, ACardWithoutAnAddressIsNotTaken) {
    card_.address.clear();
    EXPECT_FALSE(Enter().entered);
    EXPECT_THAT(card_.asked, IsEmpty());
}

TEST_F(ModeKeeperTest, ARunThatIsToEndTakesBackWhatItHasBegun) {
    card_.looksToArrive = 1000000;
    card_.onSet = [&](const std::string& to) {
        if (to == "offline")
            stop_.Request();
        card_.looksToArrive = 0;
    };
    const EnterResult entered = Enter();
    EXPECT_FALSE(entered.entered);
    ASSERT_TRUE(entered.restoration);
    EXPECT_EQ(entered.restoration->end, Restoration::End::restored);
    EXPECT_EQ(card_.mode, "normal");
}

TEST_F(ModeKeeperTest, AWishToEndAtOnceLeavesTheNote) {
    ASSERT_TRUE(Enter().entered);
    stop_.Request();
    EXPECT_EQ(Leave().end, Restoration::End::notRestored);
    EXPECT_TRUE(Noted());
    EXPECT_EQ(card_.mode, "offline");
}

// Two cards, each of which answers when the other has been asked too.
class CardsThatWaitForEachOther : public CardAccess {
public:
    CardReply Ask(const std::vector<std::string>& words, const Stop&) const override {
        CardReply reply;
        reply.kind = CardReply::Kind::answered;
        if (words.size() == 1) {
            reply.answer["cards"] = {{{"card", "zel0"}, {"pcie", "0000:02:00.0"}},
                                     {{"card", "zel1"}, {"pcie", "0000:03:00.0"}}};
            return reply;
        }
        std::unique_lock lock(mutex_);
        asked_.insert(words.at(1));
        changed_.notify_all();
        if (!changed_.wait_for(lock, std::chrono::seconds(10),
                               [this] { return asked_.size() == 2; }))
            return Refuse("the other was not asked");
        reply.answer = {{"card", words[1]},
                        {"pcie", words[1] == "zel0" ? "0000:02:00.0" : "0000:03:00.0"},
                        {"mode", "normal"}};
        return reply;
    }

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    mutable std::set<std::string> asked_;
};

TEST_F(ModeKeeperTest, NoCardWaitsForAnother) {
    for (const char* const pcie : {"0000:02:00.0", "0000:03:00.0"}) {
        const ModeNote note{.pcie = pcie,
                            .uuid = "",
                            .found = "normal",
                            .ours = {"offline"},
                            .time = "",
                            .boot = "",
                            .run = ""};
        ASSERT_EQ(files_.Write(note), "");
    }
    const CardsThatWaitForEachOther cards;
    const auto all = ModeKeeper(cards, folders_, milliseconds(1000)).Recover(stop_);
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].text, "zel0 is back in normal");
    EXPECT_EQ(all[1].text, "zel1 is back in normal");
}

TEST_F(ModeKeeperTest, WhatIsForgottenIsNotRestored) {
    BeKilled();
    EXPECT_EQ(keeper_.Forget(kAddress), "");
    EXPECT_THAT(keeper_.Recover(stop_), IsEmpty());
    EXPECT_EQ(card_.mode, "memdiag");
}

}  // namespace

}  // namespace zelhealth
