// Plans that are accepted, and what is said of those that are not.
#include "plan/Plan.h"

#include <gmock/gmock.h>

namespace zelhealth {
namespace {

using ::testing::ElementsAre;

std::string ErrorOf(const std::string& text) {
    try {
        (void)ReadPlan("my.toml", text);
    } catch (const PlanError& error) {
        return error.what();
    }
    return "";
}

// A plan that writes memory, with these options.
std::string Write(const std::string& one, const std::string& other) {
    return "memory = true\n[[test]]\ntest = \"mem.wr\"\noptions = [\"" + one + "\", \"" + other +
           "\"]";
}

TEST(Plan, HoldsItsTestsInOrderWithWhatIsSaidOfThem) {
    const Plan plan = ReadPlan("my.toml", R"(
about = "mine"
tests = ["core.gec", "pcie.vlw"]
memory = true
card_deadline = 60
deadline = 90.5
[[test]]
test = "mem.wr"
options = ["-memSize=0x1000", "-dp=0x55"]
repeat = 3
deadline = 10
)");
    ASSERT_EQ(plan.tests.size(), 3U);
    EXPECT_EQ(plan.tests[0].row->Id(), "core.gec");
    EXPECT_EQ(plan.tests[1].row->Id(), "pcie.vlw");
    EXPECT_EQ(plan.tests[2].row->Id(), "mem.wr");
    EXPECT_THAT(plan.tests[2].options, ElementsAre("-memSize=0x1000", "-dp=0x55"));
    EXPECT_EQ(plan.tests[2].repeat, 3);
    EXPECT_EQ(plan.tests[2].deadline, std::chrono::seconds(10));
    EXPECT_EQ(plan.cardDeadline, std::chrono::seconds(60));
    EXPECT_EQ(plan.deadline, std::chrono::milliseconds(90500));
    EXPECT_TRUE(plan.Disturbs());
}

TEST(Plan, ThatIsBuiltInHoldsNoTestOfAProvisionalTable) {
    for (const std::string& name : BuiltInPlans()) {
        for (const PlannedTest& test : LoadPlan(name).tests) {
            EXPECT_NE(test.row->Id(), "pcie.vsrdv") << name;
        }
    }
    EXPECT_THAT(BuiltInPlans(), ElementsAre("prolog", "check", "standard", "thorough"));
}

TEST(Plan, ForAPrologOrACheckDisturbsNobody) {
    EXPECT_FALSE(LoadPlan("prolog").Disturbs());
    EXPECT_FALSE(LoadPlan("check").Disturbs());
    EXPECT_TRUE(LoadPlan("standard").Disturbs());
    for (const PlannedTest& test : LoadPlan("prolog").tests) {
        EXPECT_FALSE(test.row->waits) << test.row->Id();
    }
}

TEST(Plan, ThatIsWrongIsRefusedWithItsLine) {
    const std::pair<std::string, std::string> rows[] = {
        {"tests = [\"pcie.vlx\"]",
         "my.toml:1: no test is called \"pcie.vlx\"; zelhealth list shows them"},
        {"", "my.toml: the plan holds no tests"},
        {"tests = []", "my.toml: the plan holds no tests"},
        {"tests = [1]", "my.toml:1: a test is named by a text such as \"pcie.vlw\""},
        {"tests = \"pcie.vlw\"", "my.toml:1: tests takes a list"},
        {"\nteste = []", "my.toml:2: \"teste\" is not known here"},
        {"tests = [\"mem.full\"]",
         "my.toml:1: mem.full takes the card from normal mode: a plan that may do so says memory = "
         "true"},
        {"memory = 1", "my.toml:1: memory takes true or false"},
        {"about = 1", "my.toml:1: about takes a text"},
        {"deadline = 0", "my.toml:1: deadline takes seconds, more than 0 and no more than 30 days"},
        {"deadline = nan",
         "my.toml:1: deadline takes seconds, more than 0 and no more than 30 days"},
        {"card_deadline = \"x\"",
         "my.toml:1: card_deadline takes seconds, more than 0 and no more than 30 days"},
        {"test = [1]", "my.toml:1: test takes tables, [[test]]; a list of names is called tests"},
        {"[[test]]\nrepeat = 1", "my.toml:1: a test needs its name: test = \"pcie.vlw\""},
        {"[[test]]\ntest = \"pcie.vlw\"\nrepeat = 0",
         "my.toml:3: repeat takes a number from 1 to 100000"},
        {"[[test]]\ntest = \"pcie.vlw\"\noptions = [\"-all\"]",
         "my.toml:3: options takes texts such as \"-memSize=0x1000000\""},
        {"[[test]]\ntest = \"pcie.vlw\"\noptions = [\"-dbgLvl=8\"]",
         "my.toml:3: pcie.vlw has no option -dbgLvl; it takes none"},
        {"memory = true\n[[test]]\ntest = \"mem.wr\"\noptions = [\"-help=1\"]",
         "my.toml:4: mem.wr has no option -help; it takes -startAddress, -endAddress, -memSize, "
         "-datawidth, -dw, -datapattern, -dp, -data, -testchannel, -tc"},
        {Write("-startAddress=0x2000", "-EndAddress=0x2000"),
         "my.toml:4: -endAddress must be greater than -startAddress, or than 0 without it"},
        {Write("-dw=B", "-endAddress=0"),
         "my.toml:4: -endAddress must be greater than -startAddress, or than 0 without it"},
        {Write("-dw=B", "-memSize=0x0"), "my.toml:4: -memSize=0x0 is no size"},
        {Write("-dw=B", "-memsize=x"), "my.toml:4: -memsize=x is no size"},
        {Write("-startAddress=1000", "-endAddress=1001"), ""},
        {Write("-startAddress=0x2000", "-memSize=4096"), ""},
    };
    for (const auto& [text, error] : rows) {
        EXPECT_EQ(ErrorOf(text), error) << text;
    }
    EXPECT_THAT(ErrorOf("tests = ["), ::testing::StartsWith("my.toml:1: "));
}

TEST(Plan, ThatIsNoFileIsSaidToBeNone) {
    EXPECT_THROW((void)LoadPlan("/does/not/exist"), PlanError);
    EXPECT_THROW((void)LoadPlan("/"), PlanError);
    EXPECT_THROW((void)LoadPlan("/dev/zero"), PlanError);
}

}  // namespace
}  // namespace zelhealth
