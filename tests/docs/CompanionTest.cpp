// What the companion says of the tool's failures, compared with the manual's; and its own manual, with its
// help.
#include <gmock/gmock.h>

#include <regex>
#include <set>

#include "Messages.h"
#include "Pages.h"
#include "catalogue/Catalogue.h"
#include "catalogue/Messages.h"
#include "plan/Plan.h"
#include "run/Verdict.h"

namespace {

constexpr char kPage[] = "zelhealth.8";

std::set<std::string> DocumentedFailures() {
    std::set<std::string> failures;
    for (const Message& message : Messages()) {
        if (message.mark.find("failure") != std::string::npos)
            failures.insert(message.text);
    }
    return failures;
}

TEST(CompanionMessages, AreTheFailuresOfTheManual) {
    std::set<std::string> known;
    for (const auto& [text, advice] : zelhealth::Messages::BuiltIn().All())
        known.insert(text);
    EXPECT_EQ(known, DocumentedFailures());
}

TEST(CompanionManual, HasEachCommandAndOptionOfTheHelp) {
    const std::string page = ReadProjectFile(std::string("docs/man/") + kPage);
    static const std::regex option("--([a-z-]+)");
    static const std::regex command("\n  ([a-z]+) ");
    const std::string program = BIN_FOLDER "/zelhealth";
    const std::string overview = RunProgram({program, "--help"}).text;
    int found = 0;
    for (std::sregex_iterator i(overview.begin(), overview.end(), command), end; i != end; ++i) {
        const std::string name = (*i)[1];
        EXPECT_NE(page.find("zelhealth " + name), page.npos) << name;
        const std::string help = RunProgram({program, name, "--help"}).text;
        for (std::sregex_iterator o(help.begin(), help.end(), option); o != end; ++o) {
            const std::string word = (*o)[1];
            EXPECT_TRUE(word == "help" || page.find("Fl -" + word) != page.npos) << word;
            ++found;
        }
    }
    EXPECT_GT(found, 15);
}

TEST(CompanionManual, HasEachPlanAndVerdict) {
    const std::string page = ReadProjectFile(std::string("docs/man/") + kPage);
    for (const std::string& plan : zelhealth::BuiltInPlans())
        EXPECT_NE(page.find("\n.It Cm " + plan + "\n"), page.npos) << plan;
    for (int verdict = 0; verdict <= static_cast<int>(zelhealth::Verdict::setup); ++verdict) {
        const std::string name(NameOf(static_cast<zelhealth::Verdict>(verdict)));
        EXPECT_NE(page.find("\n.It Cm " + name + "\n"), page.npos) << name;
    }
}

}  // namespace
