// The rows of messages: how they are read, what is refused, and what the closing report makes of them.
#include "catalogue/MessageRows.h"

#include <gmock/gmock.h>

#include "catalogue/Markup.h"
#include "catalogue/Messages.h"

namespace zelhealth {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr char kKind[] = "[[kind]]\nname = \"failure\"\nshown = \"at the end\"\n";

std::string Book(const std::string& row) {
    return std::string(kKind) + "[[section]]\nname = \"S\"\n[[section.row]]\n" + row;
}

TEST(MessageRows, AreReadAsTheyStand) {
    const MessageBook book = ReadMessageBook(
        Book("texts = [[\"failure\", \"It is <n>\"], [\"failure diag1\", \"More\"]]\n"
             "tests = [\"pcie.vlw\"]\nmeans = \"m\"\ndetail = \"d\"\n"
             "causes = [\"a\", \"b\"]\nnext = \"n\"\nzelhealth = \"z\"\n"));
    ASSERT_EQ(book.sections.size(), 1U);
    ASSERT_EQ(book.sections[0].rows.size(), 1U);
    const MessageRow& row = book.sections[0].rows[0];
    ASSERT_EQ(row.texts.size(), 2U);
    EXPECT_EQ(row.texts[0].text, "It is <n>");
    EXPECT_EQ(row.texts[1].kind, "failure diag1");
    EXPECT_THAT(row.tests, ElementsAre("pcie.vlw"));
    EXPECT_EQ(row.means + row.detail + row.next, "mdn");
    EXPECT_THAT(row.causes, ElementsAre("a", "b"));
    EXPECT_EQ(row.Advice(), "z");
    EXPECT_EQ(book.KindOf("failure diag1").shown, "at the end");
}

TEST(MessageRows, OfTheToolsManualAreSaidWhereZelhealthKnowsNoBetter) {
    const MessageBook book =
        ReadMessageBook(Book("texts = [[\"failure\", \"x\"]]\nmeans = \"m\"\nnext = \"n\"\n"));
    EXPECT_EQ(book.sections[0].rows[0].Advice(), "n");
}

TEST(MessageRows, ThatAreWrongAreRefusedWithTheirLine) {
    const std::pair<const char*, const char*> rows[] = {
        {"means = \"m\"\n", "line 6: the row has no texts"},
        {"texts = []\nmeans = \"m\"\n", "line 6: the row has no texts"},
        {"texts = [[\"failure\", \"x\"]]\n", "line 6: the row has no means"},
        {"texts = [[\"failure\", \"x\"]]\nmeans = \"\"\n", "line 8: this is no text"},
        {"texts = [\"x\"]\nmeans = \"m\"\n", "line 7: a text is a pair"},
        {"texts = [[\"failure\", \"x\", \"y\"]]\nmeans = \"m\"\n", "line 7: a text is a pair"},
        {"texts = [[\"failure\", 1]]\nmeans = \"m\"\n", "line 7: this is no text"},
        {"texts = [[\"nowhere\", \"x\"]]\nmeans = \"m\"\n", "no kind is called nowhere"},
        {"texts = [[\"failure\", \"x\"]]\nmeans = \"m\"\ncause = [\"c\"]\n",
         "line 9: no key is called cause"},
        {"texts = [[\"failure\", \"x\"]]\nmeans = \"m\"\ncauses = \"c\"\n",
         "line 9: causes is a list of texts"},
    };
    for (const auto& [row, complaint] : rows) {
        try {
            ReadMessageBook(Book(row));
            ADD_FAILURE() << "accepts " << row;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), HasSubstr(complaint));
        }
    }
}

TEST(MessageRows, ThatAreBuiltInCanBeShown) {
    int shown = 0;
    for (const Messages* messages : {&Messages::BuiltIn(), &Messages::OfZelhealth()}) {
        for (const MessageKind& kind : messages->Book().kinds)
            EXPECT_FALSE(Plain(kind.shown).empty());
        for (const MessageSection& section : messages->Book().sections) {
            for (const MessageRow& row : section.rows) {
                for (const std::string& text : {row.means, row.detail, row.next, row.zelhealth})
                    EXPECT_EQ(Plain(text).find('{'), std::string::npos);
                // They stand between semicolons on the page.
                for (const std::string& cause : row.causes)
                    EXPECT_FALSE(Plain(cause).ends_with('.')) << cause;
                ++shown;
            }
        }
    }
    EXPECT_GT(shown, 140);
}

TEST(Advice, IsThatOfTheLastMessageThatIsKnown) {
    EXPECT_EQ(
        AdviceFor({"Found invalid Vendor ID", "Link trained down", "no such text"}, "", "failed")
            .next,
        "Reseat the card; try a slot of 16 lanes.");
    EXPECT_THAT(AdviceFor({"Memory write verify failure", "'hostApertureMemTest' failed",
                           "Failed full range test"},
                          "", "failed")
                    .means,
                HasSubstr("what was written"));
    EXPECT_THAT(AdviceFor({"Failed full range test"}, "", "failed").means, HasSubstr("its end"));
    // As a reason the text has another form, which no summary has.
    EXPECT_EQ(AdviceFor({"FAILED: Link trained down"}, "", "failed").next,
              "Look at its evidence: run it again with --output FILE.");
}

// What else there is to be known is asked for by the text; where the advice is all, there is nothing to ask.
TEST(Advice, TellsWhetherThereIsMore) {
    int more = 0;
    int all = 0;
    for (const MessageSection& section : Messages::BuiltIn().Book().sections) {
        for (const MessageRow& row : section.rows) {
            for (const MessageText& text : row.texts) {
                // Another row may have the same text, and come first.
                if (text.kind != "failure" || Messages::BuiltIn().Failure(text.text) != &row) {
                    continue;
                }
                const bool hasMore = !row.causes.empty() || !row.detail.empty();
                EXPECT_EQ(AdviceFor({text.text}, "", "failed").more, hasMore ? text.text : "");
                ++(hasMore ? more : all);
            }
        }
    }
    EXPECT_GT(more, 0);
    EXPECT_GT(all, 0);
}

TEST(Advice, IsThatOfZelhealthWhereItKnowsBetter) {
    EXPECT_EQ(AdviceFor({"The Coprocessor is not in normal mode"}, "", "skipped").next,
              "Set the card to normal mode: zelhealth mode CARD normal");
}

TEST(Advice, IsThatOfTheVerdictWhereNoMessageIsKnown) {
    EXPECT_EQ(AdviceFor({}, "", "setup").next, "Mend it and run again.");
    EXPECT_EQ(AdviceFor({"?"}, "", "no verdict").next,
              "Look at its evidence: run it again with --output FILE.");
}

// Where no message of the tool is known, what the companion itself says is.
TEST(Advice, IsThatOfTheReasonWhereItIsOneOfZelhealth) {
    EXPECT_THAT(AdviceFor({}, "the cards' driver is not loaded", "setup").means,
                HasSubstr("does not run"));
    EXPECT_THAT(AdviceFor({"Link trained down"}, "the cards' driver is not loaded", "failed").means,
                HasSubstr("16 lanes"));
    const Advice mode = AdviceForText("it is in mode \"; rm -r /\n, in which no job can use it");
    EXPECT_THAT(mode.next, HasSubstr("zelhealth mode CARD normal"));
    EXPECT_EQ(mode.more, "it is in mode <mode>, in which no job can use it");
    EXPECT_EQ(AdviceForText("no such text").means, "");
    EXPECT_EQ(AdviceForText("").means, "");
}

// It is put into quotes, which is enough for the shell.
TEST(Advice, NamesNoTextThatTheShellTakesForMore) {
    int shown = 0;
    for (const MessageSection& section : Messages::OfZelhealth().Book().sections) {
        for (const MessageRow& row : section.rows) {
            for (const MessageText& text : row.texts) {
                const std::string more = AdviceForText(text.text).more;
                EXPECT_EQ(more.find_first_of("\"$`\\"), std::string::npos) << more;
                shown += more.empty() ? 0 : 1;
            }
        }
    }
    EXPECT_GT(shown, 10);
}

}  // namespace
}  // namespace zelhealth
