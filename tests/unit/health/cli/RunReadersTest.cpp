// What a run writes beside its stream.
#include "cli/RunReaders.h"

#include <SQLiteCpp/Database.h>
#include <gmock/gmock.h>

#include <cstdlib>

#include "host/Scratch.h"
#include "report/Records.h"

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class KeepersTest : public ::testing::Test {
protected:
    KeepersTest() { setenv("ZELHEALTH_STATE_FOLDER", scratch.Path().c_str(), 1); }
    ~KeepersTest() override { unsetenv("ZELHEALTH_STATE_FOLDER"); }

    static Configuration Told(bool storesHistory) {
        Configuration configuration;
        configuration.storesHistory = storesHistory;
        configuration.sendsToJournal = false;
        return configuration;
    }

    // A run to its end; gives the status that is left of `status`.
    int Run(bool storesHistory, int status, const std::string& meanwhile = "") {
        Keepers keepers(
            Told(storesHistory), [this](const std::string& text) { told.push_back(text); },
            std::chrono::milliseconds(0), stop);
        std::vector<RecordReader*> readers;
        keepers.AddTo(readers);
        for (const Json& fields : {RunStarted(), CardStarted("zel0"), RunFinished(0)}) {
            for (RecordReader* const reader : readers) {
                reader->Read(RecordOf("h", "r", fields));
            }
        }
        EXPECT_FALSE(keepers.Failed());
        if (!meanwhile.empty()) {
            SQLite::Database(file.string(), SQLite::OPEN_READWRITE).exec(meanwhile);
        }
        return keepers.Close(status);
    }

    Stop stop;
    Scratch scratch;
    std::filesystem::path file = scratch.Path() / "history.db";
    std::vector<std::string> told;
};

TEST_F(KeepersTest, StoreTheHistoryUnlessTheOperatorWantsNone) {
    EXPECT_EQ(Run(false, 0), 0);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(Run(true, 1), 1);
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(KeepersTest, LeaveNoAnswerWhereTheHistoryFailsInTheEnd) {
    EXPECT_EQ(Run(true, 0, "DROP TABLE result; DROP TABLE card_run; DROP TABLE run"), 3);
    EXPECT_THAT(told, ElementsAre(HasSubstr(file.string() + ": no such table")));
}

TEST_F(KeepersTest, LeaveABadCardBad) {
    EXPECT_EQ(Run(true, 2, "DROP TABLE result; DROP TABLE card_run; DROP TABLE run"), 2);
}

}  // namespace
}  // namespace zelhealth
