// Records have what all have, a bounded size, and lines that are JSON whatever the texts hold.
#include "record/Record.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::MatchesRegex;

class Collected : public RecordReader {
public:
    void Read(const Json& record) override { records.push_back(record); }
    std::vector<Json> records;
};

TEST(Recorder, GivesEachReaderEachRecordWithWhatAllHave) {
    setenv("SLURMD_NODENAME", "node17", 1);
    Collected one;
    Collected other;
    Recorder recorder({&one, &other});
    unsetenv("SLURMD_NODENAME");
    recorder.Write({{"record", "run_note"}, {"reasons", Json::array()}});
    ASSERT_EQ(one.records.size(), 1U);
    EXPECT_EQ(one.records, other.records);
    const Json& record = one.records.front();
    EXPECT_EQ(record["record"], "run_note");
    EXPECT_EQ(record["schema"], 1);
    EXPECT_EQ(record["host"], "node17");
    EXPECT_EQ(record["run"], recorder.RunId());
    EXPECT_THAT(record["time"].get<std::string>(),
                MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}.[0-9]{3}Z"));
    EXPECT_THAT(recorder.RunId(), MatchesRegex("[0-9]{8}T[0-9]{6}Z-[0-9a-f]{8}"));
}

TEST(Bounded, CutsTextsBetweenCharacters) {
    EXPECT_EQ(Bounded("short"), "short");
    EXPECT_EQ(Bounded("abcdef", 3), "abc...");
    EXPECT_EQ(Bounded("ab\xC3\xA4", 3), "ab...");
    EXPECT_EQ(Bounded(std::string(5000, 'x')).size(), 1027U);
}

TEST(BoundedLines, KeepBeginningAndEnd) {
    EXPECT_THAT(BoundedLines("one\n\ntwo\nthree", 10), ElementsAre("one", "two", "three"));
    EXPECT_THAT(BoundedLines("1\n2\n3\n4\n5\n6\n", 4),
                ElementsAre("1", "2", "(2 lines are left out)", "5", "6"));
    EXPECT_EQ(BoundedLines(std::string(1000, 'x'), 1)[0].get<std::string>().size(), 403U);
}

TEST(Line, IsJsonWhateverTheTextsHold) {
    const Json record = {{"record", "x"}, {"text", std::string("a\"\n\0\x1b\xff\xc3<b>", 9)}};
    const std::string line = Line(record);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_TRUE(Json::accept(line)) << line;
}

}  // namespace
}  // namespace zelhealth
