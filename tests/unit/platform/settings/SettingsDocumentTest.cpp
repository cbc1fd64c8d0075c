#include "SettingsDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::NotNull;

SettingsDocument ParseGood(std::string_view text) {
    auto parsed = SettingsDocument::Parse(text);
    if (const auto* fault = std::get_if<SettingsFault>(&parsed)) {
        ADD_FAILURE() << "line " << fault->line << ": " << fault->text;
        return {};
    }
    return std::get<SettingsDocument>(std::move(parsed));
}

std::vector<std::string> Values(const SettingsDocument& document, std::string_view section,
                                std::string_view key) {
    const auto* const entry = document.Find(section, key);
    EXPECT_THAT(entry, NotNull()) << section << "/" << key;
    return entry == nullptr ? std::vector<std::string>{"<missing>"} : entry->values;
}

TEST(SettingsDocument, KeepsValuesAndLines) {
    const auto document = ParseGood(
        "; identities\n"
        "[pcieConfigReg]\n"
        "deviceID = 0x00501F5A, 0x00401F5A\n"
        "\n"
        "[gddr]\n"
        "vendor=Elmwood ,Ash Grove,\tOak\n");
    EXPECT_THAT(Values(document, "pcieConfigReg", "deviceID"),
                ElementsAre("0x00501F5A", "0x00401F5A"));
    EXPECT_THAT(Values(document, "gddr", "vendor"), ElementsAre("Elmwood", "Ash Grove", "Oak"));
    EXPECT_EQ(document.Find("pcieConfigReg", "deviceID")->line, 3);
    EXPECT_EQ(document.Find("gddr", "vendor")->line, 6);
}

TEST(SettingsDocument, NamesCompareWithCase) {
    const auto document = ParseGood("[gddr]\nvendor = a\n[GDDR]\nvendor = b\nVendor = c\n");
    EXPECT_THAT(Values(document, "gddr", "vendor"), ElementsAre("a"));
    EXPECT_THAT(Values(document, "GDDR", "vendor"), ElementsAre("b"));
    EXPECT_THAT(Values(document, "GDDR", "Vendor"), ElementsAre("c"));
    EXPECT_EQ(document.Find("gddr", "Vendor"), nullptr);
    EXPECT_EQ(document.Find("Gddr", "vendor"), nullptr);
}

TEST(SettingsDocument, AKeyWithoutValuesIsThere) {
    const auto document = ParseGood("[s]\na =\nb = ; nothing yet\nc = \"\"\n");
    EXPECT_THAT(Values(document, "s", "a"), IsEmpty());
    EXPECT_THAT(Values(document, "s", "b"), IsEmpty());
    EXPECT_THAT(Values(document, "s", "c"), ElementsAre(""));
}

TEST(SettingsDocument, CommentsBeginAtALineOrAfterABlank) {
    const auto document = ParseGood(
        "# first\n"
        "[s] # section\n"
        "  ; indented\n"
        "a = 1 ; one\n"
        "b = 2 # two\n"
        "c = x;y#z\n");
    EXPECT_THAT(Values(document, "s", "a"), ElementsAre("1"));
    EXPECT_THAT(Values(document, "s", "b"), ElementsAre("2"));
    EXPECT_THAT(Values(document, "s", "c"), ElementsAre("x;y#z"));
}

TEST(SettingsDocument, QuotesHoldCommasAndBlanks) {
    const auto document = ParseGood("[s]\na = \"Ash, Oak\" , \" x \",plain\n");
    EXPECT_THAT(Values(document, "s", "a"), ElementsAre("Ash, Oak", " x ", "plain"));
}

TEST(SettingsDocument, ASectionMayBeContinued) {
    const auto document = ParseGood("[s]\na = 1\n[t]\na = 2\n[s]\nb = 3\n");
    EXPECT_THAT(Values(document, "s", "a"), ElementsAre("1"));
    EXPECT_THAT(Values(document, "s", "b"), ElementsAre("3"));
}

TEST(SettingsDocument, AnIndentedLineIsALineOfItsOwn) {
    const auto document = ParseGood("[s]\na = 1\n    b = 2\n");
    EXPECT_THAT(Values(document, "s", "a"), ElementsAre("1"));
    EXPECT_THAT(Values(document, "s", "b"), ElementsAre("2"));
}

TEST(SettingsDocument, AcceptsForeignLineEndsAndNone) {
    const auto document = ParseGood("\xEF\xBB\xBF[s]\r\na = 1, 2\r\nb = 3");
    EXPECT_THAT(Values(document, "s", "a"), ElementsAre("1", "2"));
    EXPECT_THAT(Values(document, "s", "b"), ElementsAre("3"));
}

TEST(SettingsDocument, AnEmptyFileHasNoSections) {
    EXPECT_EQ(ParseGood("").Find("s", "a"), nullptr);
    EXPECT_EQ(ParseGood("\n\n").Find("", ""), nullptr);
}

TEST(SettingsDocument, AcceptsManyValuesOnOneLine) {
    std::string text = "[s]\na = 0x00000000";
    for (int i = 1; i < 600; ++i) {
        text += ", 0x00000000";
    }
    EXPECT_EQ(Values(ParseGood(text), "s", "a").size(), 600U);
}

TEST(SettingsDocument, AcceptsNamesOfTheGreatestLength) {
    const std::string name(48, 'n');
    EXPECT_THAT(Values(ParseGood("[" + name + "]\n" + name + " = 1\n"), name, name),
                ElementsAre("1"));
}

struct BadText {
    std::string text;
    int line;
    const char* fault;
};

TEST(SettingsDocument, RefusesWithLineAndFault) {
    const std::string longName(49, 'n');
    const BadText table[] = {
        {"[s]\nrubbish\n", 2, "\"rubbish\" is neither a [section]"},
        {"[s]\na = 1\n    2\n", 3, "\"2\" is neither"},
        {"[s\na = 1\n", 1, "is not closed"},
        {"[]\na = 1\n", 1, "a section without a name"},
        {"[ ]\na = 1\n", 1, "a section without a name"},
        {"[s] a = 1\n", 1, "\"a = 1\" follows a section name"},
        {"a = 1\n", 1, "the key \"a\" stands before any section"},
        {"[s]\n = 1\n", 2, "a value without a key"},
        {"[s]\na = 1\n\na = 2\n", 4, "the key \"a\" is given twice, first in line 2"},
        {"[s]\na = 1\n[t]\n[s]\na = 1\n", 5, "first in line 2"},
        {"[s]\na = 1,,2\n", 2, "an empty value between commas"},
        {"[s]\na = ,\n", 2, "an empty value"},
        {"[s]\na = 1,\n", 2, "a comma at the end"},
        {"[s]\na = \"x\n", 2, "\"\"x\" is not closed"},
        {"[s]\na = \"x ; y\"\n", 2, "is not closed"},
        {"[s]\na = \"x\" y\n", 2, "\"y\" follows a quoted value"},
        {"[" + longName + "]\n", 1, "the section name is longer than 48 bytes"},
        {"\xEF\xBB\xBF[" + longName + "]\n", 1, "the section name is longer than 48 bytes"},
        {"\xEF\xBB\xBF[s] a = 1\n", 1, "\"a = 1\" follows a section name"},
        {"\xEF\xBB\xBF[ ]\n", 1, "a section without a name"},
        {"[s]\n" + longName + " = 1\n", 2, "the key is longer than 48 bytes"},
        {"[s]\na = " + std::string(8193, '1') + "\n", 2, "longer than 8192 bytes"},
        {std::string(1000000, 'x'), 1, "longer than 8192 bytes"},
        {std::string("[s]\na = 1\0, 2\n", 14), 2, "bytes that are not text"},
        {"[s]\na = \x1b[31m\n", 2, "bytes that are not text"},
        {"\x7f"
         "ELF\x02\x01",
         1, "bytes that are not text"},
        {"[s]\n\xff\xfe"
         "a\n",
         2, "\"??a\" is neither"},
    };
    for (const BadText& bad : table) {
        SCOPED_TRACE(::testing::PrintToString(bad.text.substr(0, 60)));
        const auto parsed = SettingsDocument::Parse(bad.text);
        const auto* const fault = std::get_if<SettingsFault>(&parsed);
        ASSERT_THAT(fault, NotNull()) << "was accepted";
        EXPECT_EQ(fault->line, bad.line);
        EXPECT_THAT(fault->text, HasSubstr(bad.fault));
        EXPECT_EQ(fault->text.find_first_of("\n\r\x1b"), std::string::npos);
    }
}

TEST(SettingsDocument, EveryPrefixOfAFileIsParsedOrRefused) {
    const std::string text = "[s]\na = 1, \"b, c\" ; d\n# e\n[t]\nf : 0x2\n";
    for (std::size_t length = 0; length <= text.size(); ++length) {
        const auto parsed = SettingsDocument::Parse(std::string_view(text).substr(0, length));
        if (const auto* fault = std::get_if<SettingsFault>(&parsed)) {
            EXPECT_GT(fault->line, 0) << length;
            EXPECT_FALSE(fault->text.empty()) << length;
        }
    }
}

TEST(ParseWord, AcceptsDecimalAndHexadecimal) {
    const std::pair<const char*, U32> table[] = {
        {"0", 0},
        {"7", 7},
        {"010", 10},
        {"4294967295", 0xFFFFFFFF},
        {"0x0", 0},
        {"0X1f", 0x1F},
        {"0xFFFFFFFF", 0xFFFFFFFF},
        {"0x00000000000000012", 0x12},
    };
    for (const auto& [text, word] : table) {
        EXPECT_EQ(ParseWord(text), word) << text;
    }
}

TEST(ParseWord, RefusesEverythingElse) {
    for (const char* text : {"",        " ",          "-1",          "+1",
                             "0x",      "0x-1",       "0x+1",        "0x0x1",
                             "1x",      "0xG",        "1 2",         "1.0",
                             "1e3",     "4294967296", "0x100000000", "99999999999999999999",
                             "FF",      " 1",         "1 ",          "0x 1",
                             "\xC2\xB2"}) {
        EXPECT_EQ(ParseWord(text), std::nullopt) << '"' << text << '"';
    }
}

}  // namespace
