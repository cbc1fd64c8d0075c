// The pages of the files that zelhealth reads and writes, compared with what reads them and with the schema.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <stdexcept>

#include "Pages.h"
#include "history/HistoryLimits.h"
#include "host/Configuration.h"
#include "host/Waivers.h"
#include "plan/Plan.h"

namespace {

using nlohmann::json;
using Names = std::set<std::string>;

const std::string& Page(const std::string& name) {
    static std::map<std::string, std::string> pages;
    return pages.try_emplace(name, ReadProjectFile("docs/man/" + name)).first->second;
}

// A subsection as it is written, up to the next one.
std::string Part(const std::string& page, const std::string& heading) {
    const std::string& text = Page(page);
    const std::size_t begin = text.find("\n.Ss " + heading + "\n");
    if (begin == text.npos)
        throw std::runtime_error(page + " says nothing of " + heading);
    return text.substr(begin, text.find("\n.S", begin + 1) - begin + 1);
}

// The words at the heads of its lists.
Names Heads(const std::string& part, const std::string& macro) {
    Names names;
    static const std::regex word("[a-z_]+");
    const std::regex head("\n\\.It " + macro + " ([^\n]*)");
    for (std::sregex_iterator i(part.begin(), part.end(), head), end; i != end; ++i) {
        const std::string line = (*i)[1];
        for (std::sregex_iterator j(line.begin(), line.end(), word); j != end; ++j)
            names.insert(j->str());
    }
    return names;
}

// What a source expects in its tables.
Names KeysIn(const std::string& file, const std::regex& use) {
    static const std::regex literal("\"([a-z_]+)\"");
    const std::string source = ReadProjectFile(file);
    Names keys;
    for (std::sregex_iterator i(source.begin(), source.end(), use), end; i != end; ++i) {
        const std::string words = i->str();
        for (std::sregex_iterator j(words.begin(), words.end(), literal); j != end; ++j)
            keys.insert((*j)[1]);
    }
    return keys;
}

const std::regex& Expectations() {
    static const std::regex use("(Expect\\(\\{|Has\\()[^;]*;|ReadDefaults\\(\\*[^;]*;");
    return use;
}

constexpr char kToml[] = "zelhealth.toml.5";
constexpr char kStream[] = "zelhealth-stream.5";

TEST(PageOfConfiguration, HasEachKeyAndNoOther) {
    const Names keys = KeysIn("health/host/Configuration.cpp", Expectations());
    EXPECT_GT(keys.size(), 15U);
    const std::string part = Part(kToml, "zelhealth.toml");
    Names ofPage = Heads(part, "Ic");
    static const std::regex table("\\.Li \\[([a-z]+)\\]");
    for (std::sregex_iterator i(part.begin(), part.end(), table), end; i != end; ++i)
        ofPage.insert((*i)[1]);
    EXPECT_EQ(ofPage, keys);
}

TEST(PageOfConfiguration, HasTheDefaultsOfTheHistory) {
    const std::string part = Part(kToml, "zelhealth.toml");
    const zelhealth::HistoryLimits limits;
    const auto days = std::chrono::duration_cast<std::chrono::days>(limits.age).count();
    EXPECT_THAT(part,
                testing::HasSubstr("1 to 36500.\nDefault:\n.Li " + std::to_string(days) + " ."));
    EXPECT_THAT(part, testing::HasSubstr("1 to 1000000.\nDefault:\n.Li " +
                                         std::to_string(limits.bytes / 1000000) + " ."));
}

TEST(PageOfConfiguration, HasTheKeysOfWaiversAndPlans) {
    Names waiver = KeysIn("health/host/Waivers.cpp", Expectations());
    waiver.erase("waiver");
    EXPECT_EQ(Heads(Part(kToml, "waivers.toml"), "Ic"), waiver);
    for (const std::string key :
         {"about", "tests", "memory", "card_deadline", "deadline", "test", "options", "repeat"})
        EXPECT_THAT(Heads(Part(kToml, "Plans"), "Ic"), testing::Contains(key));
}

// The n-th example of a page.
std::string Example(const std::string& page, int number) {
    const std::string& text = Page(page);
    std::size_t at = text.find("\n.Sh EXAMPLES\n");
    for (int i = 0; i < number; ++i)
        at = text.find("\n.Bd ", at + 1);
    at = text.find('\n', at + 1) + 1;
    return text.substr(at, text.find("\n.Ed", at) - at + 1);
}

class ExampleFile : public testing::Test {
protected:
    std::filesystem::path Write(const std::string& text) const {
        std::ofstream(path_) << text;
        return path_;
    }
    void TearDown() override { std::filesystem::remove(path_); }

private:
    std::filesystem::path path_ =
        testing::TempDir() + "zelhealth-example-" + std::to_string(getpid()) + ".toml";
};

TEST_F(ExampleFile, OfTheConfigurationIsUnderstood) {
    const auto configuration = zelhealth::Configuration::Load(Write(Example(kToml, 1)));
    EXPECT_EQ(configuration.expectedCards, 4);
    EXPECT_FALSE(configuration.sendsToJournal);
}

TEST_F(ExampleFile, OfWaiversIsUnderstood) {
    EXPECT_EQ(zelhealth::Waivers::Load(Write(Example(kToml, 3))).All().size(), 1U);
}

TEST_F(ExampleFile, OfAPlanIsUnderstood) {
    EXPECT_EQ(zelhealth::ReadPlan("plan", Example(kToml, 4)).tests.size(), 3U);
}

Names Properties(const json& schema, const std::string& kind) {
    Names names;
    const json& definition = schema["definitions"][kind];
    for (const auto& [name, unused] : definition.at("properties").items())
        names.insert(name);
    if (definition.contains("allOf"))
        names.merge(Properties(schema, "test"));
    return names;
}

TEST(PageOfTheStream, HasEachKindAndFieldOfTheSchemaAndNoOther) {
    const json schema = json::parse(ReadProjectFile("docs/zelhealth-stream.schema.json"));
    Names common;
    for (const auto& [name, unused] : schema["properties"].items())
        common.insert(name);
    EXPECT_EQ(Heads(Part(kStream, "Fields of every record"), "Li"), common);
    const json& kinds = schema["properties"]["record"]["enum"];
    EXPECT_GE(kinds.size(), 7U);
    for (const std::string kind : kinds)
        EXPECT_EQ(Heads(Part(kStream, kind), "Li"), Properties(schema, kind)) << kind;
}

TEST(PageOfTheStream, HasTheVersionAndTheBoundsOfTheSchema) {
    const json schema = json::parse(ReadProjectFile("docs/zelhealth-stream.schema.json"));
    const std::string text = PlainPage(kStream);
    const auto number = [](const json& value) { return std::to_string(value.get<int>()); };
    EXPECT_THAT(text, testing::HasSubstr("The version of this form: " +
                                         number(schema["properties"]["schema"]["const"]) + "."));
    for (const char* const kind : {"text", "line"})
        EXPECT_TRUE(HoldsWord(text, number(schema["definitions"][kind]["maxLength"]))) << kind;
}

}  // namespace
