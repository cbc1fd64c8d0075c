// The rows of messages, compared with the page that is made from them and with the reports of the tool; and
// the companion's own manual, with its help and its rows.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>

#include "Literals.h"
#include "Messages.h"
#include "Pages.h"
#include "catalogue/Catalogue.h"
#include "catalogue/Markup.h"
#include "catalogue/MessagePattern.h"
#include "catalogue/Messages.h"
#include "catalogue/Verdicts.h"
#include "plan/Plan.h"

namespace {

using zelhealth::MessageRow;
using zelhealth::OneLine;

constexpr char kPage[] = "zelhealth.8";

std::vector<const MessageRow*> Rows() {
    std::vector<const MessageRow*> rows;
    for (const zelhealth::MessageSection& section :
         zelhealth::Messages::BuiltIn().Book().sections) {
        for (const MessageRow& row : section.rows)
            rows.push_back(&row);
    }
    return rows;
}

const std::vector<std::string>& OwnTexts() {
    static const std::vector<std::string> texts = [] {
        std::vector<std::string> all;
        for (const auto& section : zelhealth::Messages::OfZelhealth().Book().sections) {
            for (const MessageRow& row : section.rows) {
                for (const zelhealth::MessageText& text : row.texts)
                    all.push_back(text.text);
            }
        }
        return all;
    }();
    return texts;
}

TEST(PageOfMessages, HasTheTextsOfTheRowsAndNoOthers) {
    std::multiset<std::pair<std::string, std::string>> ofRows;
    for (const MessageRow* row : Rows()) {
        for (const zelhealth::MessageText& text : row->texts)
            ofRows.emplace(text.text, text.kind);
    }
    std::multiset<std::pair<std::string, std::string>> ofPage;
    for (const Message& message : Messages())
        ofPage.emplace(message.text, message.mark);
    EXPECT_EQ(ofPage, ofRows);
}

TEST(PageOfMessages, HasWhatEachRowSays) {
    const std::string page = OneLine(PlainPage("ZelDiag-messages.7"));
    std::size_t at = 0;
    const auto expect = [&](const std::string& marked) {
        for (const zelhealth::MarkedPiece& piece : zelhealth::MarkedPieces(marked)) {
            const std::string text = piece.macro == "Xr"
                                         ? zelhealth::Plain("{Xr " + piece.text + "}")
                                         : Trimmed(piece.text);
            const std::size_t found = page.find(text, at);
            EXPECT_NE(found, page.npos) << text << " is not behind " << page.substr(at, 100);
            at = found == page.npos ? at : found + text.size();
        }
    };
    for (const MessageRow* row : Rows()) {
        const zelhealth::MessageText& last = row->texts.back();
        expect("{Li " + OneLine(last.text) + " (" + last.kind + ")}");
        expect(row->means);
        expect(row->detail);
        for (const std::string& cause : row->causes)
            expect(cause);
        expect(row->next);
    }
}

// By the reports that end-to-end cases expect: a failure's row names the test that has reported it.
TEST(Messages, HaveTheTestsThatReportThem) {
    static const std::regex line(" +(\\w+)\\.(\\w+): (.*)");
    int found = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(PROJECT_FOLDER "/tests/e2e/cases")) {
        const std::string file = "tests/e2e/cases/" + entry.path().filename().string() + "/stdout";
        if (!std::filesystem::exists(PROJECT_FOLDER "/" + file))
            continue;
        for (const std::string& text : SplitLines(ReadProjectFile(file))) {
            std::smatch match;
            if (!std::regex_match(text, match, line))
                continue;
            const MessageRow* const row = zelhealth::Messages::BuiltIn().Failure(match[3].str());
            const auto& tests = zelhealth::Catalogue::BuiltIn().Tests();
            const auto test = std::find_if(tests.begin(), tests.end(), [&](const auto& known) {
                return known.groupSummary == match[1] && known.summary == match[2];
            });
            if (row == nullptr || test == tests.end() || row->tests.empty())
                continue;
            ++found;
            EXPECT_THAT(row->tests, testing::AnyOf(testing::Contains(test->Id()),
                                                   testing::Contains(test->group)))
                << file << ": " << text;
        }
    }
    EXPECT_GT(found, 50);
}

TEST(Messages, NameTestsThatThereAre) {
    const auto& tests = zelhealth::Catalogue::BuiltIn().Tests();
    for (const MessageRow* row : Rows()) {
        for (const std::string& name : row->tests)
            EXPECT_TRUE(std::any_of(tests.begin(), tests.end(), [&name](const auto& test) {
                return name == test.Id() || name == test.group;
            })) << name;
    }
}

// Texts that its sources give as reasons, with "{}" where they vary.
std::vector<std::string> ReasonsIn(const std::string& file) {
    static const std::regex call(
        R"((?:Make\(Verdict::\w+,|AddReason\("\w+",|Note\("\w+",|DropSteps\(|NotRun\(|Setup\(|Kind::\w+,))"
        R"(\s*(?:fmt::format\(\s*)?((?:"(?:[^"\\]|\\.)*"\s*)+))");
    std::vector<std::string> reasons;
    const std::string source = ReadProjectFile(file);
    for (std::sregex_iterator i(source.begin(), source.end(), call), end; i != end; ++i)
        reasons.push_back(ReadLiterals((*i)[1]).front());
    return reasons;
}

std::vector<std::string> SourcesOfReasons() {
    std::vector<std::string> files = {"health/run/Verdict.cpp", "health/host/Preflight.cpp"};
    for (const auto& entry :
         std::filesystem::directory_iterator(PROJECT_FOLDER "/health/schedule")) {
        if (entry.path().extension() == ".cpp")
            files.push_back("health/schedule/" + entry.path().filename().string());
    }
    return files;
}

TEST(CompanionMessages, OfTheSourcesHaveARow) {
    static const std::regex words("[a-z]+ [a-z]+");
    static const std::regex varying("\\{[^}]*\\}");
    int found = 0;
    for (const std::string& file : SourcesOfReasons()) {
        for (const std::string& reason : ReasonsIn(file)) {
            if (!std::regex_search(reason, words))
                continue;
            std::string pattern;
            auto plain = reason.begin();
            for (std::sregex_iterator i(reason.begin(), reason.end(), varying), end; i != end;
                 ++i) {
                pattern += Escaped(std::string(plain, (*i)[0].first)) + ".+";
                plain = (*i)[0].second;
            }
            const std::regex text(pattern + Escaped(std::string(plain, reason.end())));
            ++found;
            EXPECT_TRUE(std::any_of(
                OwnTexts().begin(), OwnTexts().end(),
                [&text](const std::string& known) { return std::regex_search(known, text); }))
                << file << ": \"" << reason << "\" has no row in health/catalogue/zelhealth.toml";
        }
    }
    EXPECT_GT(found, 50);
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
        names.erase("help");
        return names;
    };
    for (const std::string name :
         {"run", "check", "list", "explain", "cards", "mode", "recover", "baseline", "report"}) {
        const std::size_t at = synopsis.find(".Nm zelhealth " + name + "\n");
        ASSERT_NE(at, synopsis.npos) << name;
        const std::string part = synopsis.substr(at, synopsis.find(".Nm", at + 1) - at);
        const std::string help = RunProgram({BIN_FOLDER "/zelhealth", name, "--help"}).text;
        EXPECT_EQ(options(part, inPage), options(help, inHelp)) << name;
    }
}

TEST(CompanionManual, HasEachPlan) {
    const std::string page = ReadProjectFile(std::string("docs/man/") + kPage);
    for (const std::string& plan : zelhealth::BuiltInPlans())
        EXPECT_NE(page.find("\n.It Cm " + plan + "\n"), page.npos) << plan;
}

// A page's section as one line, with a blank in front of each word.
std::string SectionOf(const std::string& page, const std::string& heading) {
    const std::string text = PlainPage(page);
    const std::size_t begin = text.find("\n" + heading + "\n");
    if (begin == text.npos)
        throw std::runtime_error(page + " has no section " + heading);
    static const std::regex next("\n[A-Z]");
    std::smatch end;
    const std::string rest = text.substr(begin + heading.size() + 2);
    return " " + OneLine(std::regex_search(rest, end, next) ? end.prefix().str() : rest);
}

TEST(CompanionManual, SaysOfVerdictsWhatTheirRowsSay) {
    const std::string section = SectionOf(kPage, "VERDICTS");
    for (const zelhealth::VerdictRow& row : zelhealth::Verdicts::BuiltIn().All())
        EXPECT_THAT(section, testing::HasSubstr(" " + row.name + " " + zelhealth::Plain(row.when)));
}

TEST(CompanionManual, SaysOfExitStatusesWhatTheirRowsSay) {
    const std::map<std::string, std::string> pages = {{"zelhealth", kPage},
                                                      {"ZelDiag", "ZelDiag.8"}};
    std::map<std::string, int> found;
    for (const zelhealth::StatusRow& row : zelhealth::Verdicts::BuiltIn().Statuses()) {
        const std::string section = SectionOf(pages.at(row.of), "EXIT STATUS");
        const std::string number = std::to_string(row.number);
        EXPECT_THAT(section, testing::HasSubstr(" " + number + " " + zelhealth::Plain(row.when)));
        ++found[row.of];
        if (row.of != "zelhealth")
            continue;
        EXPECT_THAT(section, testing::HasSubstr("Example: " + zelhealth::Plain(row.example) + "."));
        EXPECT_THAT(section + " ", testing::HasSubstr(" " + number + " " + row.healthCheck + " " +
                                                      row.prolog + " " + row.monitor + " "));
    }
    EXPECT_EQ(found, (std::map<std::string, int>{{"zelhealth", 4}, {"ZelDiag", 4}}));
}

}  // namespace
