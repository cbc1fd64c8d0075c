// What waits in a file until everything was read.
#include "report/Spool.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <stdexcept>
#include <vector>

#include "host/Scratch.h"
#include "report/CardSamples.h"

namespace zelhealth {
namespace {

using ::testing::IsEmpty;

TEST(Spool, GivesBackWhatItWasGivenInAnyOrder) {
    constexpr std::size_t kParts = 3000;
    Spool spool;
    std::vector<Spool::Place> places;
    for (std::size_t i = 0; i < kParts; ++i) {
        places.push_back(spool.Add(std::string(i, static_cast<char>('a' + i % 26))));
    }
    for (std::size_t i = kParts; i-- > 0;) {
        ASSERT_EQ(spool.Read(places[i]), std::string(i, static_cast<char>('a' + i % 26))) << i;
    }
    EXPECT_EQ(spool.Read(spool.Add("more")), "more");
    EXPECT_EQ(spool.Read({}), "");
}

TEST(Spool, LeavesNoFileWhereItWrites) {
    const Scratch scratch;
    ASSERT_EQ(setenv("TMPDIR", scratch.Path().c_str(), 1), 0);
    Spool spool;
    const Spool::Place place = spool.Add(std::string(1UL << 20U, 'x'));
    unsetenv("TMPDIR");
    EXPECT_THAT(
        std::vector<std::filesystem::path>(std::filesystem::directory_iterator(scratch.Path()), {}),
        IsEmpty());
    EXPECT_EQ(spool.Read(place).size(), 1UL << 20U);
}

TEST(Spool, SaysThatItsFileCannotBeWritten) {
    EXPECT_EXIT(
        {
            rlimit few{};
            few.rlim_cur = few.rlim_max = 1000;
            (void)std::signal(SIGXFSZ, SIG_IGN);
            (void)setrlimit(RLIMIT_FSIZE, &few);
            Spool spool;
            const Spool::Place place = spool.Add(std::string(1UL << 20U, 'x'));
            try {
                (void)spool.Read(place);
                _exit(1);
            } catch (const std::runtime_error& error) {
                const std::string text = error.what();
                _exit(text.starts_with("a temporary file in ") && text.ends_with("File too large")
                          ? 0
                          : 2);
            }
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(CardSamples, AreUnpackedAsTheyWere) {
    EXPECT_THAT(Unpacked(Packed({})), IsEmpty());
    const std::vector<CardSamples> cards = {
        {",card=\"zel0\"", true, 1073741824, {{0, 8, 1.5}, {7, 0, 0.25}}}, {}, {"x", false, 0, {}}};
    const std::vector<CardSamples> unpacked = Unpacked(Packed(cards));
    ASSERT_EQ(unpacked.size(), cards.size());
    for (std::size_t i = 0; i < cards.size(); ++i) {
        EXPECT_EQ(unpacked[i].labels, cards[i].labels);
        EXPECT_EQ(unpacked[i].healthy, cards[i].healthy);
        EXPECT_EQ(unpacked[i].memoryBytes, cards[i].memoryBytes);
        ASSERT_EQ(unpacked[i].tests.size(), cards[i].tests.size());
        for (std::size_t j = 0; j < cards[i].tests.size(); ++j) {
            EXPECT_EQ(unpacked[i].tests[j].test, cards[i].tests[j].test);
            EXPECT_EQ(unpacked[i].tests[j].badness, cards[i].tests[j].badness);
            EXPECT_EQ(unpacked[i].tests[j].seconds, cards[i].tests[j].seconds);
        }
    }
}

}  // namespace
}  // namespace zelhealth
