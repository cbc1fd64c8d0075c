// The readers of task arguments, on nodes of their own type and of another, whose text is the input.
//
// A reader gives a value or throws a plain std::exception with a trace; the value is the one that the
// text stands for, and a node of another type is refused by all but Get_U64.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "CommonTool/ToolData.h"
#include "FakeTrace.h"
#include "Journal.h"
#include "SI/cm_stub0.h"
#include "support/Expect.h"
#include "support/Input.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

constexpr char kDigits[] = "0123456789";
constexpr char kHexDigits[] = "0123456789abcdefABCDEF";

// A text of this length holds no number beyond 63 bits in decimal, or 64 in hexadecimal digits.
constexpr std::size_t kFittingLength = 18;

bool IsHex(const std::string& text) {
    return text.starts_with("0x") || text.starts_with("0X");
}

bool ConsistsOf(const std::string& text, std::size_t from, const char* characters) {
    return text.find_first_not_of(characters, from) == text.npos;
}

// What a reader gives; nothing when it refuses, which it must say in a trace.
template <typename Reader>
auto Read(Reader reader, ArgType type, const std::string& text)
    -> std::optional<std::invoke_result_t<Reader, ActualArg&>> {
    fakes::Trace().Reset();
    fakes::TheJournal().Clear();
    ActualArg node{type, text.c_str(), nullptr};
    try {
        return reader(node);
    } catch (const std::exception& refusal) {
        Expect(typeid(refusal) == typeid(std::exception), "a refusal is a plain exception");
        ExpectEqual(fakes::Trace().TextsAt(DLVL_ERROR).size(), 1U, "traces of a refusal");
    }
    return std::nullopt;
}

// One of the other types, which the text chooses.
template <typename Reader>
void CheckOtherType(Reader reader, ArgType own, const std::string& text) {
    const auto type =
        static_cast<ArgType>((own + 1 + text.size() % ARGTYPE_END) % (ARGTYPE_END + 1));
    Expect(!Read(reader, type, text), "another type is refused");
}

void CheckBool(const std::string& text) {
    const auto value = Read(Get_bool, ARGTYPE_BOOL, text);
    const bool isTrue = cmStringCmp(text.c_str(), "true") == 0;
    const bool isFalse = cmStringCmp(text.c_str(), "false") == 0;
    ExpectEqual(value.has_value(), isTrue || isFalse, "whether a truth value is taken");
    ExpectEqual(value.value_or(false), isTrue, "the truth value");
    CheckOtherType(Get_bool, ARGTYPE_BOOL, text);
}

void CheckString(const std::string& text) {
    const auto value = Read(Get_string, ARGTYPE_STRING, text);
    Expect(value && *value == text.c_str(), "a text is given as it is");
    CheckOtherType(Get_string, ARGTYPE_STRING, text);
}

void CheckFloat(const std::string& text) {
    Expect(Read(Get_float, ARGTYPE_FLOAT, text).has_value(), "every text is a float, or 0");
    CheckOtherType(Get_float, ARGTYPE_FLOAT, text);
}

void CheckInt(const std::string& text) {
    const auto value = Read(Get_int, ARGTYPE_INT, text);
    CheckOtherType(Get_int, ARGTYPE_INT, text);
    if (IsHex(text)) {
        ExpectEqual(value.has_value(), text.size() > 2 && ConsistsOf(text, 2, kHexDigits),
                    "whether a hexadecimal number is taken");
        if (value && text.size() <= 10)
            ExpectEqual(static_cast<unsigned>(*value), std::strtoul(text.c_str(), nullptr, 16),
                        "the number");
        return;
    }
    // As strtol reads it, of which sscanf is a copy.
    char* end = nullptr;
    errno = 0;
    const long expected = std::strtol(text.c_str(), &end, 10);
    ExpectEqual(value.has_value(), end != text.c_str(), "whether a decimal number is taken");
    if (value && errno == 0 && expected >= std::numeric_limits<int>::min() &&
        expected <= std::numeric_limits<int>::max())
        ExpectEqual(*value, expected, "the number");
}

void CheckU64(const std::string& text) {
    const auto value = Read(Get_U64, ARGTYPE_U64, text);
    const auto type = static_cast<ArgType>(text.size() % ARGTYPE_U64);
    ExpectEqual(Read(Get_U64, type, text).value_or(1), 0U, "a node of another type");
    if (text.starts_with("0") && !IsHex(text)) {
        ExpectEqual(value.value_or(1), 0U, "a number with a leading zero");
        return;
    }
    const bool isNumber =
        IsHex(text) ? ConsistsOf(text, 2, kHexDigits) : ConsistsOf(text, 0, kDigits);
    ExpectEqual(value.has_value(), isNumber, "whether a number is taken");
    if (value && text.size() <= kFittingLength)
        ExpectEqual(*value, std::strtoull(text.c_str(), nullptr, IsHex(text) ? 16 : 10),
                    "the number");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::TextToNul(data, size);
    CheckBool(text);
    CheckString(text);
    CheckFloat(text);
    CheckInt(text);
    CheckU64(text);
    return 0;
}
