// The operator's command that tells whether a card is in use.
#include "host/Busy.h"

#include <gmock/gmock.h>

#include "Scratch.h"
#include "host/Configuration.h"

namespace zelhealth {

namespace {

Busy Ask(const std::string& command) {
    const Stop stop;
    return AskBusy(command, "zel1", "0000:03:00.0", stop);
}

TEST(BusyTest, EndsWithNoughtWhenTheCardIsInUse) {
    const Busy busy = Ask("echo job 7 of $1 at $2");
    EXPECT_TRUE(busy.busy);
    EXPECT_FALSE(busy.setup);
    EXPECT_EQ(busy.text, "in use: job 7 of zel1 at 0000:03:00.0");
    EXPECT_EQ(Ask("true").text, "in use");
}

TEST(BusyTest, EndsWithOneWhenItIsFree) {
    EXPECT_FALSE(Ask("echo nobody; exit 1").busy);
}

TEST(BusyTest, WithoutACommandNoCardIsInUse) {
    EXPECT_FALSE(Ask("").busy);
}

TEST(BusyTest, WhatIsNotKnownCountsAsInUse) {
    for (const char* command : {"exit 2", "no-such-command", "kill -KILL $$"}) {
        const Busy busy = Ask(command);
        EXPECT_TRUE(busy.busy) << command;
        EXPECT_TRUE(busy.setup) << command;
        EXPECT_THAT(busy.text, testing::StartsWith("the busy command gives no answer: "))
            << command;
    }
}

TEST(ConfigurationTest, HoldsTheCommand) {
    const Scratch scratch;
    EXPECT_EQ(Configuration::Load(scratch / "none.toml").busy, "");
    const auto file = scratch.Write("zelhealth.toml", "busy = 'fuser -s \"/dev/$1\"'\n");
    EXPECT_EQ(Configuration::Load(file).busy, "fuser -s \"/dev/$1\"");
    scratch.Write("zelhealth.toml", "bussy = ''\n");
    EXPECT_THROW(Configuration::Load(file), std::runtime_error);
}

}  // namespace

}  // namespace zelhealth
