// The Memory group's own options, one a line, up to the range and pattern that are tested.
//
// A word that is refused changes nothing; a number that is taken is the one that was written; what is
// configured can be tested or is refused, and is the same on a second card of the same kind.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "FakeZelAccess.h"
#include "Rows.h"
#include "TestEngine/TestGroups.h"
#include "TestEngine/memory/memory.h"
#include "ZelAccess.h"
#include "support/Expect.h"
#include "support/Input.h"
#include "support/ParsedState.h"
#include "support/StandIns.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using Words = std::vector<std::string>;

GDDRDiagCb& Params() {
    return m_memoryCb.gddrDiagCb;
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

std::string Hex(U64 number) {
    char text[17];
    std::snprintf(text, sizeof(text), "%llx", static_cast<unsigned long long>(number));
    return text;
}

// The digits of a hexadecimal number as `Hex` prints them; a number that is too long wraps.
std::string WrittenHex(std::string text, std::size_t digits) {
    if (text.starts_with("0x"))
        text.erase(0, 2);
    text = Lower(text);
    if (text.size() > digits)
        text.erase(0, text.size() - digits);
    text.erase(0, std::min(text.find_first_not_of('0'), text.size()));
    return text.empty() ? "0" : text;
}

U64 FirstPattern() {
    U64 pattern = 0;
    std::memcpy(&pattern, Params().dataPattern, sizeof(pattern));
    return pattern;
}

// Without its leading zeros; only where it has not wrapped.
void ExpectWrittenSize(const std::string& value) {
    if (value.starts_with("0x")) {
        ExpectEqual(Hex(Params().memSize), WrittenHex(value, 8), "the size");
        return;
    }
    const std::string digits = value.substr(std::min(value.find_first_not_of('0'), value.size()));
    if (digits.size() < 10)
        ExpectEqual(std::to_string(Params().memSize), digits.empty() ? "0" : digits, "the size");
}

void ExpectPattern(const std::string& value, U32 inputBefore) {
    const std::size_t prefix = value.starts_with("0x") ? 2 : 0;
    if (value.find_first_not_of("0123456789abcdefABCDEF", prefix) == value.npos) {
        Expect((Params().usrInput & k_GivenDataPattern) != 0, "a pattern is noted");
        ExpectEqual(Hex(FirstPattern()), WrittenHex(value, 16), "the pattern");
        ExpectEqual(std::string(m_memoryCb.fileName), "", "the file of a pattern in digits");
        return;
    }
    Expect(fuzz::IsReadable(value.c_str()), "a file of patterns can be read");
    ExpectEqual(std::string(m_memoryCb.fileName), value.substr(0, k_GroupFileNameSize - 1),
                "the name of the file");
    ExpectEqual(Params().usrInput, inputBefore, "what a file name is noted as");
}

void CheckTaken(const std::string& word, U32 inputBefore) {
    const std::size_t split = word.find('=');
    Expect(split != word.npos, "an option has a value");
    const std::string key = Lower(word.substr(0, split));
    const std::string value = word.substr(split + 1);
    if (key == "-startaddress")
        ExpectEqual(Hex(Params().startAddress), WrittenHex(value, 16), "the start");
    else if (key == "-endaddress")
        ExpectEqual(Hex(Params().endAddress), WrittenHex(value, 16), "the end");
    else if (key == "-memsize")
        ExpectWrittenSize(value);
    else if (key == "-testchannel" || key == "-tc")
        ExpectEqual(Hex(Params().chnlBitMask), WrittenHex(value, 3), "the channels");
    else if (key == "-datawidth" || key == "-dw")
        Expect(Params().dataWidth != 0, "a width");
    else if (key == "-datapattern" || key == "-dp" || key == "-data")
        ExpectPattern(value, inputBefore);
    else
        fuzz::Fail("an unknown option is taken");
}

// Everything that the options can change, padding and all.
std::string ControlBlock() {
    return {reinterpret_cast<const char*>(&m_memoryCb), sizeof(m_memoryCb)};
}

void TakeWord(const std::string& word) {
    const std::string before = ControlBlock();
    const U32 inputBefore = Params().usrInput;
    fuzz::Arguments argument({word});
    const int taken = memory_TGParseUserCustom(argument.Vector()[0]);
    fuzz::CheckMemoryOptions();
    if (taken == 0) {
        Expect(ControlBlock() == before, "a refused word changes nothing");
        return;
    }
    ExpectEqual(taken, 1, "what a word that is taken gives");
    CheckTaken(word, inputBefore);
}

void OpenCard(const fakes::Card& card) {
    zelAccess->CloseAccessHandle();
    fakes::ZelAccess().cards.assign(1, card);
    Expect(zelAccess->setAccessHandle(), "the library opens");
    zelAccess->InitAdapterforDiag(0, false);
}

void CheckConfigured(U64 lowest) {
    const GDDRDiagCb& params = Params();
    fuzz::CheckMemoryOptions();
    Expect(params.dataWidth != 0, "a width is chosen");
    Expect(params.startAddress >= lowest, "the test begins where the card allows it");
    const auto* const pattern = reinterpret_cast<const U8*>(params.dataPattern);
    for (std::size_t i = params.dataWidth; i < sizeof(params.dataPattern); ++i)
        ExpectEqual(+pattern[i], +pattern[i - params.dataWidth], "a byte of the repeated pattern");
    if (!params.userDefinedData)
        ExpectEqual(+pattern[0], 0xAA, "a byte of the default pattern");
    if (Validate_MemTest_Param(&m_memoryCb) != 0) {
        Expect(params.memSize != 0 && params.memSize < fakes::Card().memoryBytes,
               "a tested range fits the memory");
        ExpectEqual(params.memSize % params.dataWidth, 0U, "what is left of the last access");
    }
}

// As the run driver does before each card, and the group before its tests.
std::string ConfigureCard(const Words& words, const fakes::Card& card, U64 lowest) {
    OpenCard(card);
    memory_ResetOptions();
    for (const std::string& word : words)
        TakeWord(word);
    memory_TGCfg(&GroupRow("-mem"));
    CheckConfigured(lowest);
    return fuzz::ShowParsed();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr U64 kLowestOfOlder = 0x100000;
    const Words words = fuzz::SplitWords(fuzz::Text(data, size));
    fuzz::BeginProcess();
    ConfigureCard(words, fakes::Card::OlderGeneration(), kLowestOfOlder);
    const std::string first = ConfigureCard(words, fakes::Card(), 0);
    ExpectEqual(ConfigureCard(words, fakes::Card(), 0), first, "what is set for a second card");
    zelAccess->CloseAccessHandle();
    return 0;
}
