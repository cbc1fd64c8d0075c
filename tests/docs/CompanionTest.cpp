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

// Each command with its own options, all of them and no others.
TEST(CompanionManual, HasASynopsisThatIsTheCommandLine) {
    const std::string page = ReadProjectFile(std::string("docs/man/") + kPage);
    const std::size_t begin = page.find(".Sh SYNOPSIS");
    const std::string synopsis = page.substr(begin, page.find(".Sh DESCRIPTION") - begin);
    static const std::regex inHelp("\n  --([a-z-]+)");
    static const std::regex inPage("Fl -([a-z-]+)");
    const auto options = [](const std::string& text, const std::regex& form) {
        std::set<std::string> names;
        for (std::sregex_iterator i(text.begin(), text.end(), form), end; i != end; ++i)
            names.insert((*i)[1]);
        return names;
    };
    for (const std::string name : {"run", "check", "list", "cards", "mode", "recover"}) {
        const std::size_t at = synopsis.find(".Nm zelhealth " + name + "\n");
        ASSERT_NE(at, synopsis.npos) << name;
        const std::string part = synopsis.substr(at, synopsis.find(".Nm", at + 1) - at);
        const std::string help = RunProgram({BIN_FOLDER "/zelhealth", name, "--help"}).text;
        EXPECT_EQ(options(part, inPage), options(help, inHelp)) << name;
    }
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
