// Locks between processes: who gets one, who is named, and what a holder that is killed leaves.
#include "host/Locks.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <thread>

#include "Scratch.h"

namespace zelhealth {

namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr milliseconds kOnce{0};
constexpr milliseconds kLong{20000};

class LocksTest : public testing::Test {
protected:
    LockResult Take(LockKind kind, milliseconds patience = kOnce) {
        return locks_.Card("zel0", kind, patience, stop_);
    }

    std::string File() const { return ReadText(scratch_ / "card-zel0.lock"); }

    Scratch scratch_;
    Locks locks_{scratch_.Path()};
    Stop stop_;
};

// A process that takes the card's lock and keeps it until it is killed.
class Holder {
public:
    Holder(const Locks& locks, LockKind kind) {
        int ready[2];
        if (pipe(ready) != 0)
            throw std::runtime_error("no pipe");
        pid_ = fork();
        if (pid_ == 0) {
            const Stop stop;
            const LockResult result = locks.Card("zel0", kind, kOnce, stop);
            if (result.lock && write(ready[1], "x", 1) == 1)
                pause();
            _exit(1);
        }
        close(ready[1]);
        char byte = 0;
        held_ = read(ready[0], &byte, 1) == 1;
        close(ready[0]);
    }
    ~Holder() { Kill(); }

    void Kill() {
        if (pid_ <= 0)
            return;
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = 0;
    }

    bool Held() const { return held_; }
    pid_t Pid() const { return pid_; }

private:
    pid_t pid_ = 0;
    bool held_ = false;
};

TEST_F(LocksTest, ManyShare) {
    const Holder other(locks_, LockKind::shared);
    ASSERT_TRUE(other.Held());
    const LockResult mine = Take(LockKind::shared);
    const LockResult again = Take(LockKind::shared);
    EXPECT_TRUE(mine.lock && again.lock);
    EXPECT_THAT(locks_.CardHolders("zel0"), SizeIs(3));
}

TEST_F(LocksTest, OneAloneKeepsOthersOutAndIsNamed) {
    const Holder other(locks_, LockKind::exclusive);
    ASSERT_TRUE(other.Held());
    for (const LockKind kind : {LockKind::shared, LockKind::exclusive}) {
        const LockResult result = Take(kind);
        EXPECT_FALSE(result.lock);
        ASSERT_THAT(result.holders, SizeIs(1));
        EXPECT_EQ(result.holders[0].process.pid, other.Pid());
        EXPECT_EQ(result.holders[0].kind, LockKind::exclusive);
        EXPECT_TRUE(IsAlive(result.holders[0].process));
        EXPECT_THAT(result.Why(), HasSubstr("held by pid " + std::to_string(other.Pid()) + " ("));
    }
}

TEST_F(LocksTest, SharersKeepOneOutWhoWantsItAlone) {
    const LockResult mine = Take(LockKind::shared);
    const Holder other(locks_, LockKind::shared);
    const LockResult result = Take(LockKind::exclusive);
    EXPECT_FALSE(result.lock);
    EXPECT_THAT(result.holders, SizeIs(2));
}

TEST_F(LocksTest, AHolderThatIsKilledLeavesItFree) {
    Holder other(locks_, LockKind::exclusive);
    ASSERT_TRUE(other.Held());
    EXPECT_THAT(File(), HasSubstr(std::to_string(other.Pid())));
    other.Kill();
    EXPECT_THAT(locks_.CardHolders("zel0"), IsEmpty()) << "a line of a process that has gone";
    EXPECT_TRUE(Take(LockKind::exclusive).lock);
}

TEST_F(LocksTest, LinesOfTheDeadGoWhenAnotherShares) {
    Holder other(locks_, LockKind::shared);
    ASSERT_TRUE(other.Held());
    const std::string pid = std::to_string(other.Pid());
    other.Kill();
    const LockResult mine = Take(LockKind::shared);
    EXPECT_THAT(File(), testing::Not(testing::StartsWith(pid + " ")));
    EXPECT_THAT(File(), testing::StartsWith(std::to_string(getpid()) + " "));
}

TEST_F(LocksTest, APidThatIsGivenOutAgainIsNotTheHolder) {
    ProcessId self = ThisProcess();
    self.startTime += 1;
    scratch_.Write("card-zel0.lock", std::to_string(self.pid) + " " +
                                         std::to_string(self.startTime) +
                                         " exclusive 2026-11-21T20:15:04.123Z zelhealth run\n");
    EXPECT_THAT(locks_.CardHolders("zel0"), IsEmpty());
}

TEST_F(LocksTest, LeavesNoLineWhenGivenUp) {
    { const LockResult mine = Take(LockKind::exclusive); }
    EXPECT_EQ(File(), "");
    EXPECT_TRUE(Take(LockKind::exclusive).lock);
}

TEST_F(LocksTest, IsWaitedFor) {
    auto held = std::make_unique<LockResult>(Take(LockKind::exclusive));
    std::jthread later([&held] {
        std::this_thread::sleep_for(milliseconds(200));
        held.reset();
    });
    EXPECT_TRUE(Take(LockKind::shared, kLong).lock);
}

TEST_F(LocksTest, IsNotWaitedForWhenTheRunIsToEnd) {
    const LockResult held = Take(LockKind::exclusive);
    std::jthread later([this] {
        std::this_thread::sleep_for(milliseconds(200));
        stop_.Request();
    });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(Take(LockKind::shared, kLong).lock);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kLong / 2);
}

TEST_F(LocksTest, IsNotInheritedByAProgramThatIsStarted) {
    pid_t sleeper = 0;
    {
        const LockResult mine = Take(LockKind::exclusive);
        sleeper = fork();
        if (sleeper == 0) {
            execl("/bin/sleep", "sleep", "100", nullptr);
            _exit(1);
        }
        // Until it has become the other program it has what this one has.
        while (ReadProcess(sleeper).value_or(Process{}).program != "sleep")
            std::this_thread::sleep_for(milliseconds(5));
    }
    EXPECT_TRUE(Take(LockKind::exclusive).lock);
    kill(sleeper, SIGKILL);
    waitpid(sleeper, nullptr, 0);
}

TEST_F(LocksTest, CardsAndResourcesAreLocksOfTheirOwn) {
    const LockResult card = Take(LockKind::exclusive);
    EXPECT_TRUE(locks_.Card("zel1", LockKind::exclusive, kOnce, stop_).lock);
    const LockResult port = locks_.Resource("dma_port", kOnce, stop_);
    EXPECT_TRUE(port.lock);
    EXPECT_FALSE(locks_.Resource("dma_port", kOnce, stop_).lock);
    EXPECT_TRUE(locks_.Resource("zel0", kOnce, stop_).lock);
}

TEST_F(LocksTest, SaysWhenThereCanBeNone) {
    scratch_.Write("file", "");
    const LockResult result = Locks(scratch_ / "file").Card("zel0", LockKind::shared, kLong, stop_);
    EXPECT_FALSE(result.lock);
    EXPECT_THAT(result.holders, IsEmpty());
    EXPECT_THAT(result.Why(), HasSubstr((scratch_ / "file").string()));
}

TEST_F(LocksTest, FollowsNoLinkToAFileOfSomebodyElse) {
    const auto victim = scratch_.Write("victim", "text");
    std::filesystem::create_symlink(victim, scratch_ / "card-zel0.lock");
    const LockResult result = Take(LockKind::exclusive);
    EXPECT_FALSE(result.lock);
    EXPECT_THAT(result.error, HasSubstr("card-zel0.lock"));
    EXPECT_EQ(ReadText(victim), "text");
}

TEST_F(LocksTest, LinesThatNobodyOfUsWroteAreNobodys) {
    scratch_.Write("card-zel0.lock", "garbage\n-1 5 shared x y\n7 shared\n\n1 1 both now me\n");
    EXPECT_THAT(locks_.CardHolders("zel0"), IsEmpty());
    EXPECT_TRUE(Take(LockKind::exclusive).lock);
}

}  // namespace

}  // namespace zelhealth
