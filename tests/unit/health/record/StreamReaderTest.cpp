// Streams that are whole, cut, damaged, hostile, of any size, and of other versions.
#include "record/StreamReader.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <thread>

#include "host/Scratch.h"
#include "record/Fields.h"
#include "record/LineSource.h"

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

struct ReadStream {
    std::vector<Json> records;
    std::vector<std::string> problems;
    bool lost = false;
};

ReadStream ReadFile(const std::string& file, const StreamOptions& options = {}) {
    ReadStream read;
    StreamReader reader(
        file,
        [&read](const StreamProblem& problem) {
            read.problems.push_back(problem.Text());
            read.lost = read.lost || problem.lost;
        },
        options);
    for (Json record; reader.Next(record);) {
        read.records.push_back(record);
    }
    return read;
}

std::string Record(const std::string& more) {
    return R"({"record":"test_finished","schema":1,"run":"r","host":"h")" + more + "}";
}

class StreamReading : public ::testing::Test {
protected:
    ReadStream Read(const std::string& text, const StreamOptions& options = {}) {
        file_ = scratch_.Write("s.jsonl", text);
        return ReadFile(file_, options);
    }

    std::string At(int line) const { return file_ + ":" + std::to_string(line) + ": "; }

    Scratch scratch_;
    std::string file_;
};

TEST_F(StreamReading, HandsOutRecordAfterRecord) {
    const ReadStream read = Read(
        Record(R"(,"card":"zel0","seconds":1.5)") + "\n\n" +
        Record(R"(,"card":"zel1","messages":["a","b"],"new":{"x":[1,-2,true,null]})") + "\r\n");
    EXPECT_THAT(read.problems, IsEmpty());
    ASSERT_THAT(read.records, SizeIs(2));
    EXPECT_EQ(TextOf(read.records[0], "card"), "zel0");
    EXPECT_EQ(NumberOf(read.records[0], "seconds"), 1.5);
    EXPECT_THAT(TextsOf(read.records[1], "messages"), ElementsAre("a", "b"));
    EXPECT_EQ(read.records[1]["new"].dump(), R"({"x":[1,-2,true,null]})");
}

TEST_F(StreamReading, IsThatOfTheOtherParser) {
    const std::string line = Record(
        R"(,"a":"\u00e4\"\\\/\b\f\n\r\t\u0000\ud83d\ude00","b":[0,-1,1.25e3,18446744073709551615,{}],"c":{"d":[[]]})");
    const ReadStream read = Read(line + "\n");
    ASSERT_THAT(read.records, SizeIs(1));
    EXPECT_EQ(read.records[0], Json::parse(line));
}

TEST_F(StreamReading, TellsOfWhatIsNoRecordAndGoesOn) {
    const std::string nul("{\"record\":\"x\",\"run\":\"\0\"}", 23);
    const ReadStream read =
        Read("nonsense\n" + Record("") + "\n[1]\n\"text\"\n" + nul + "\n{\"run\":\"r\"}\n" +
             "{\"record\":\"x\",\"run\":5}\n{\"record\":\"\xff\",\"run\":\"r\"}\n" + Record("") +
             " {}\n" + Record(R"(,"seconds":1e999)") + "\n" + Record("") + "\n");
    EXPECT_THAT(read.records, SizeIs(2));
    ASSERT_THAT(read.problems, SizeIs(10));
    EXPECT_THAT(read.problems[0], HasSubstr(At(1) + "is no record: "));
    EXPECT_THAT(read.problems[0], EndsWith("; the line is left out"));
    EXPECT_EQ(read.problems[1], At(3) + "is no record: it is no object; the line is left out");
    EXPECT_THAT(read.problems[3], HasSubstr(At(5) + "is no record: "));
    EXPECT_EQ(read.problems[4],
              At(6) + "is no record: it has no text \"record\"; the line is left out");
    EXPECT_EQ(read.problems[5], At(7) + "\"run\" is no text; the field is left out");
    EXPECT_EQ(read.problems[6],
              At(7) + "is no record: it has no text \"run\"; the line is left out");
    EXPECT_THAT(read.problems[9], HasSubstr(At(10)));
    EXPECT_TRUE(read.lost);
}

TEST_F(StreamReading, TellsOfACutStream) {
    const ReadStream read = Read(Record("") + "\n" + Record("").substr(0, 40));
    EXPECT_THAT(read.records, SizeIs(1));
    EXPECT_THAT(
        read.problems,
        ElementsAre(At(2) + "the stream is cut in the middle of this line; it is left out"));
    // The last line is whole where only its end is missing.
    EXPECT_THAT(Read(Record("") + "\n" + Record("")).records, SizeIs(2));
}

TEST_F(StreamReading, TellsOfWhatCannotBeRead) {
    const ReadStream empty = Read("");
    EXPECT_THAT(empty.problems, ElementsAre(file_ + ": holds no record"));
    EXPECT_THAT(ReadFile("/nowhere/x").problems,
                ElementsAre("/nowhere/x: cannot be read: No such file or directory"));
    const std::string folder = scratch_.Path();
    EXPECT_THAT(ReadFile(folder).problems,
                ElementsAre(folder + ": cannot be read: Is a directory"));
    EXPECT_TRUE(ReadFile(folder).lost);
}

TEST_F(StreamReading, LeavesOutFieldsOfAnotherType) {
    const ReadStream read = Read(
        Record(
            R"(,"seconds":"long","status":7,"card":[],"messages":["a",1],"reasons":[{"text":"x"}],"counts":{"passed":-1},)"
            R"("evidence":{"out":"x"},"firmware":{"smc":1},"round":1.5,"plan":null,"verdict":"failed")") +
        "\n");
    ASSERT_THAT(read.records, SizeIs(1));
    EXPECT_EQ(read.records[0].dump(), Record(R"(,"verdict":"failed")"));
    EXPECT_THAT(read.problems, SizeIs(10));
    EXPECT_EQ(read.problems[0], At(1) + "\"seconds\" is no number from 0; the field is left out");
    EXPECT_TRUE(read.lost);
    EXPECT_THAT(Read(Record(R"(,"seconds":-1)") + "\n").problems, SizeIs(1));
}

// What nobody knows is nothing good.
TEST_F(StreamReading, TakesVerdictsThatAreNotKnownForUnknown) {
    const auto of = [](const char* kind, const char* verdict, int status) {
        return fmt::format(
            R"({{"record":"{}","schema":1,"run":"r","host":"h","verdict":"{}","status":{}}})"
            "\n",
            kind, verdict, status);
    };
    const ReadStream read =
        Read(of("test_finished", "melted", 0) + of("card_finished", "passed", 0) +
             of("run_finished", "fine", 0) + of("run_finished", "worst", 2) +
             of("test_finished", "timed_out", 0) + of("card_finished", "degraded", 1));
    EXPECT_THAT(read.problems,
                ElementsAre(At(1) + "its verdict \"melted\" is not known; it counts as unknown",
                            At(2) + "its verdict \"passed\" is not known; it counts as unknown",
                            At(3) + "its verdict \"fine\" is not known; it counts as unknown",
                            At(4) + "its verdict \"worst\" is not known; it counts as unknown"));
    EXPECT_TRUE(read.lost);
    std::vector<std::string> verdicts;
    for (const Json& record : read.records) {
        verdicts.push_back(TextOf(record, "verdict"));
    }
    EXPECT_THAT(verdicts,
                ElementsAre("unknown", "unknown", "unknown", "unknown", "timed_out", "degraded"));
    EXPECT_EQ(NumberOf(read.records[2], "status"), 3);
    EXPECT_EQ(NumberOf(read.records[3], "status"), 2);
}

TEST_F(StreamReading, TellsWhatItsReaderKnowsOnce) {
    file_ = scratch_.Write("s.jsonl", Record("") + "\n" + Record("") + "\n" + Record("") + "\n");
    std::vector<std::string> problems;
    StreamReader reader(
        file_, [&problems](const StreamProblem& problem) { problems.push_back(problem.Text()); },
        {});
    for (Json record; reader.Next(record);) {
        reader.TellOfRecord("is old");
        if (reader.Line() == 2) {
            reader.TellOfRecord("is small");
        }
    }
    EXPECT_THAT(problems, ElementsAre(At(1) + "is old", At(2) + "is small"));
}

TEST_F(StreamReading, TellsOfOtherSchemasOnce) {
    const std::string older = R"({"record":"x","run":"r"})";
    ReadStream read = Read(older + "\n" + older + "\n");
    EXPECT_THAT(read.problems, ElementsAre(HasSubstr(At(1) + "is of an older schema, 0")));
    EXPECT_FALSE(read.lost);
    read = Read(Record("") + "\n" + R"({"record":"x","run":"r","schema":2})" + "\n");
    EXPECT_THAT(read.problems, ElementsAre(HasSubstr(At(2) + "is of a newer schema, 2")));
    EXPECT_TRUE(read.lost);
    EXPECT_THAT(read.records, SizeIs(2));
}

TEST_F(StreamReading, TellsOfAFewProblemsAndHowManyMoreThereAre) {
    std::string text;
    for (int i = 0; i < 30; ++i) {
        text += "x\n";
    }
    const ReadStream read = Read(text + Record("") + "\n");
    ASSERT_THAT(read.problems, SizeIs(21));
    EXPECT_EQ(read.problems[20], file_ + ": 10 more problems are not shown");
}

TEST_F(StreamReading, LeavesTheEvidenceOfPassedTestsOut) {
    const std::string evidence = R"(,"evidence":{"out":["x"]})";
    const std::string text = Record(evidence + R"(,"verdict":"passed")") + "\n" +
                             Record(R"(,"verdict":"unsupported")" + evidence) + "\n" +
                             Record(evidence + R"(,"verdict":"failed")") + "\n";
    ReadStream read = Read(text);
    EXPECT_FALSE(read.records[0].contains("evidence"));
    EXPECT_FALSE(read.records[1].contains("evidence"));
    EXPECT_TRUE(read.records[2].contains("evidence"));
    StreamOptions options;
    options.evidenceOfPassed = true;
    EXPECT_TRUE(Read(text, options).records[0].contains("evidence"));
}

TEST_F(StreamReading, BoundsTextsAndDepth) {
    const ReadStream read = Read(Record(R"(,"card":")" + std::string(100000, 'x') + R"(","deep":)" +
                                        std::string(200, '[') + std::string(200, ']')) +
                                 "\n" + std::string(100000, '[') + "\n");
    ASSERT_THAT(read.records, SizeIs(1));
    EXPECT_EQ(TextOf(read.records[0], "card").size(), 4099U);
    EXPECT_LT(read.records[0]["deep"].dump().size(), 50U);
    EXPECT_THAT(read.problems, SizeIs(1));
}

TEST_F(StreamReading, EndsWithAWish) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    const Descriptor writer(ends[1]);
    Stop stop;
    LineSource lines{Descriptor(ends[0]), &stop};
    ASSERT_EQ(write(ends[1], "one\ntw", 6), 6);
    EXPECT_EQ(lines.Next()->text, "one");
    std::thread wisher([&stop] {
        usleep(50000);
        stop.Request();
    });
    EXPECT_FALSE(lines.Next());
    EXPECT_EQ(lines.Error(), ECANCELED);
    wisher.join();
}

TEST_F(StreamReading, LeavesOutLinesThatAreTooLong) {
    const std::string line = Record("") + "\n";
    std::string text = line + std::string(LineSource::kLongestLine + 1, 'x') + "\n" + line +
                       std::string(5 * LineSource::kLongestLine, 'y') + "\n" + line +
                       std::string(3 * LineSource::kLongestLine, 'z');
    const ReadStream read = Read(text);
    EXPECT_THAT(read.records, SizeIs(3));
    EXPECT_THAT(read.problems, ElementsAre(At(2) + "is longer than 4194304 bytes; it is left out",
                                           At(4) + "is longer than 4194304 bytes; it is left out",
                                           At(6) + "is longer than 4194304 bytes; it is left out"));
}

TEST_F(StreamReading, FindsLinesWhereverBlocksEnd) {
    std::string text;
    std::vector<std::string> expected;
    for (std::size_t i = 0; i < 3000; ++i) {
        expected.emplace_back(i % 1000, static_cast<char>('a' + i % 26));
        text += expected.back() + "\n";
    }
    scratch_.Write("lines", text);
    LineSource lines(Descriptor(open((scratch_ / "lines").c_str(), O_RDONLY)), nullptr);
    for (const std::string& line : expected) {
        ASSERT_EQ(lines.Next()->text, line);
    }
    EXPECT_FALSE(lines.Next());
    EXPECT_EQ(lines.Error(), 0);
}

}  // namespace
}  // namespace zelhealth
