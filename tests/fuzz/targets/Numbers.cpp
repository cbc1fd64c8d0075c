// The converters of numbers and texts. The input is two texts with a line end between them.
//
// A number that is taken prints as it was written; splitting, comparing and searching give what a
// plain reading of their descriptions gives; nothing is written beyond the room that is asked for.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "SI/cm_stub0.h"
#include "support/Expect.h"
#include "support/Input.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

constexpr U32 kUntouched = 0x5A5A5A5A;
constexpr char kHexDigits[] = "0123456789abcdefABCDEF";

// A text whose memory ends with its terminator, or with the room that is asked for.
using Room = std::unique_ptr<char[]>;

Room Copy(const std::string& text) {
    Room room(new char[text.size() + 1]);
    std::memcpy(room.get(), text.c_str(), text.size() + 1);
    return room;
}

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The last digits of a number, as far as its type reaches, without leading zeros.
std::string Stripped(std::string_view digits, std::size_t most) {
    digits = digits.substr(digits.size() - std::min(digits.size(), most));
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits.empty() ? "0" : Lower(std::string(digits));
}

template <typename Number>
void CheckHex(const std::string& text, int (*convert)(const char*, Number*)) {
    auto value = static_cast<Number>(kUntouched);
    const int result = convert(Copy(text).get(), &value);
    const std::string digits = text.starts_with("0x") ? text.substr(2) : text;
    const bool isNumber = digits.find_first_not_of(kHexDigits) == digits.npos;
    ExpectEqual(result, isNumber ? 0 : 1, "whether a hexadecimal number is taken");
    if (!isNumber) {
        ExpectEqual(value, Number{kUntouched}, "the value of no number");
        return;
    }
    char printed[17];
    std::snprintf(printed, sizeof(printed), "%llx", static_cast<unsigned long long>(value));
    ExpectEqual(std::string(printed), Stripped(digits, 2 * sizeof(Number)), "the number");
}

void CheckDecimal(const std::string& text) {
    U32 value = kUntouched;
    const int result = cmConvertChar2U32(Copy(text).get(), &value);
    if (text.starts_with("0x")) {
        U32 same = 0;
        ExpectEqual(result, cmConvertChar2HexU32(text.c_str(), &same), "whether it is taken");
        ExpectEqual(value, same, "the number behind 0x");
        return;
    }
    const bool isNumber = text.find_first_not_of("0123456789") == text.npos;
    ExpectEqual(result, isNumber ? 0 : 1, "whether a decimal number is taken");
    const std::string digits = Stripped(text, text.size());
    if (!isNumber)
        ExpectEqual(value, 0U, "the value of no number");
    else if (digits.size() < 10)
        ExpectEqual(std::to_string(value), digits, "the number");

    // Whatever the value, it prints as it reads.
    const Room printed(new char[11]);
    cmConvertU32ToStr(value, printed.get());
    ExpectEqual(std::string(printed.get()), std::to_string(value), "the printed number");
}

void CheckLeadingZeros(const std::string& text) {
    U32 value = 0;
    cmConvertChar2U32(text.c_str(), &value);
    const std::string digits = std::to_string(value);
    for (std::size_t room = 1; room <= 12; ++room) {
        const Room out(new char[room]);
        const int lost = cmConvertU32ToStrLZ(value, out.get(), static_cast<U32>(room));
        const std::string padded = std::string(room, '0') + digits;
        ExpectEqual(std::string(out.get()), padded.substr(padded.size() - (room - 1)),
                    "the number with leading zeros");
        ExpectEqual(lost, value != 0 && digits.size() >= room ? 1 : 0, "whether digits are lost");
    }
}

void CheckSplit(const std::string& text) {
    const Room name(new char[text.size() + 1]);
    const Room value(new char[text.size() + 1]);
    const int result = cmSplitAndStore(Copy(text).get(), '=', name.get(), value.get());
    const std::size_t split = text.find('=');
    ExpectEqual(result, split == text.npos ? 1 : 0, "whether a text splits");
    if (result == 0)
        ExpectEqual(std::string(name.get()) + "=" + value.get(), text, "the parts");
}

void CheckCase(const std::string& text, const std::string& other) {
    const Room copy = Copy(text);
    ExpectEqual(static_cast<void*>(strlwr(copy.get())), static_cast<void*>(copy.get()),
                "what strlwr gives");
    ExpectEqual(std::string(copy.get()), Lower(text), "the lower-case text");
    const bool equal = Lower(text) == Lower(other);
    ExpectEqual(cmStringCmp(Copy(text).get(), Copy(other).get()) == 0, equal, "whether equal");
    ExpectEqual(cmStringCmp(other.c_str(), text.c_str()) == 0, equal, "whether equal in turn");
}

void CheckSearch(const std::string& text, const std::string& part) {
    const Room copy = Copy(text);
    const char* const found = cmFindFirstString(copy.get(), Copy(part).get());
    const std::size_t place = Lower(text).find(Lower(part));
    Expect((found == nullptr) == (place == text.npos), "a part is found where there is one");
    if (found != nullptr)
        ExpectEqual(static_cast<std::size_t>(found - copy.get()), place, "the place of the part");
    ExpectEqual(std::string(copy.get()), text, "the text that was searched");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> texts = fuzz::SplitWords(fuzz::Text(data, size));
    const std::string text = texts.empty() ? "" : texts[0];
    const std::string other = texts.size() < 2 ? "" : texts[1];
    CheckHex<U32>(text, cmConvertChar2HexU32);
    CheckHex<U64>(text, cmConvertChar2HexU64);
    CheckDecimal(text);
    CheckLeadingZeros(text);
    CheckSplit(text);
    CheckCase(text, other);
    CheckSearch(text, other);
    return 0;
}
