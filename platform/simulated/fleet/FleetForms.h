// How the values of a fleet file are written. A row of a key names one of the functions at the end, with the
// member that it fills: Number<&CardFacts::cores>().
#pragma once

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fleet/BoundedText.h"
#include "fleet/FleetKey.h"
#include "fleet/FleetValues.h"

namespace simulated {

// What the forms below have in common, whatever the type of the member.
std::string TakeNumber(const Written& written, const Limits& limits, U64& number);
std::string TakeText(const Written& written, std::size_t most, std::string_view& text);
std::string NumberWords(const Limits& limits);
std::string TimeWords(const Limits& limits);

// "a", "b" or "c", where each stands between `begin` and `end`.
std::string Alternatives(const std::vector<std::string>& words, const std::string& begin,
                         const std::string& end);

struct NumberForm {
    template <typename Value>
    static std::string Take(const Written& written, const Limits& limits, Value& value) {
        U64 number = value;
        std::string refusal = TakeNumber(written, limits, number);
        value = static_cast<Value>(number);
        return refusal;
    }
    // What is less than a file can give was left out there.
    static Written Give(U64 value, const Limits& limits) {
        return value < limits.least ? Written() : static_cast<std::int64_t>(value);
    }
    static Damage DamageOf(U64 value, const Limits& limits) {
        return value > limits.most ? Damage::NoValue : Damage::None;
    }
    static std::string Words(const Limits& limits) { return NumberWords(limits); }
};

struct FlagForm {
    static std::string Take(const Written& written, const Limits&, bool& value) {
        const bool* flag = std::get_if<bool>(&written);
        value = flag == nullptr ? value : *flag;
        return flag == nullptr ? " takes true or false" : "";
    }
    static Written Give(bool value, const Limits&) { return value; }
    static Damage DamageOf(const bool& value, const Limits&) {
        U8 byte = 0;
        std::memcpy(&byte, &value, sizeof(byte));
        return byte > 1 ? Damage::NoValue : Damage::None;
    }
    static std::string Words(const Limits&) { return "`true` or `false`"; }
};

template <std::size_t Most>
struct TextForm {
    static std::string Take(const Written& written, const Limits&, BoundedText<Most>& value) {
        std::string_view text;
        std::string refusal = TakeText(written, Most, text);
        if (refusal.empty())
            value = text;
        return refusal;
    }
    static Written Give(const BoundedText<Most>& value, const Limits&) {
        return std::string(value);
    }
    static Damage DamageOf(const BoundedText<Most>& value, const Limits&) {
        return value.HasEnd() ? Damage::None : Damage::NoEnd;
    }
    static std::string Words(const Limits&) {
        return "text, at most " + std::to_string(Most) + " bytes";
    }
};

struct TimeForm {
    static std::string Take(const Written& written, const Limits& limits, U32& milliseconds);
    static Written Give(U32 milliseconds, const Limits& limits) {
        return milliseconds < limits.least ? Written() : TimeText(milliseconds);
    }
    static Damage DamageOf(U32 milliseconds, const Limits& limits) {
        return NumberForm::DamageOf(milliseconds, limits);
    }
    static std::string Words(const Limits& limits) { return TimeWords(limits); }
};

struct MemorySizeForm : NumberForm {
    static std::string Take(const Written& written, const Limits& limits, U64& bytes);
    static std::string Words(const Limits&) {
        return "bytes, or a text such as `\"512KiB\"`, `\"64MiB\"`, `\"8GiB\"`; at most 64 GiB";
    }
};

// A value that is a text of a certain shape. Any number of its type is one.
template <typename Value>
struct Notation {
    std::optional<Value> (*read)(std::string_view);
    std::string (*write)(Value);
    const char* expected;
    const char* words;
};

inline constexpr Notation<PcieAddress> kAddress = {ParsePcieAddress, ToText,
                                                   "an address such as \"0000:02:00.0\"",
                                                   "`\"DDDD:BB:DD.F\"`, hexadecimal"};
inline constexpr Notation<U32> kFirmware = {ParseFirmware, FirmwareText,
                                            "a version such as \"1.16.42\"",
                                            "`\"MAJOR.MINOR.BUILD\"`, 8, 8 and 16 bits"};
inline constexpr Notation<Uuid> kUuid = {
    ParseUuid, UuidText, "16 bytes such as \"00112233-4455-6677-8899-aabbccddeeff\"",
    "16 bytes, hexadecimal, with hyphens"};

template <const auto& notation>
struct NotedForm {
    template <typename Value>
    static std::string Take(const Written& written, const Limits&, Value& value) {
        const auto* text = std::get_if<std::string>(&written);
        const auto read = text == nullptr ? std::nullopt : notation.read(*text);
        value = read.value_or(value);
        return read ? "" : std::string(" takes ") + notation.expected;
    }
    template <typename Value>
    static Written Give(const Value& value, const Limits&) {
        return notation.write(value);
    }
    template <typename Value>
    static Damage DamageOf(const Value&, const Limits&) {
        return Damage::None;
    }
    static std::string Words(const Limits&) { return notation.words; }
};

// One of a few values, by its name.
template <const auto& choices>
struct ChoiceForm {
    template <typename Value>
    static std::string Take(const Written& written, const Limits&, Value& value) {
        const auto* text = std::get_if<std::string>(&written);
        for (const auto& choice : choices) {
            if (text != nullptr && *text == choice.name) {
                value = choice.value;
                return "";
            }
        }
        return " takes " + Alternatives(Names(), "\"", "\"");
    }
    template <typename Value>
    static Written Give(const Value& value, const Limits&) {
        for (const auto& choice : choices) {
            if (value == choice.value)
                return std::string(choice.name);
        }
        return {};
    }
    // What somebody else wrote may be no value of the type, and is looked at as bytes.
    template <typename Value>
    static Damage DamageOf(const Value& value, const Limits&) {
        for (const auto& choice : choices) {
            const Value known = choice.value;
            if (std::memcmp(&value, &known, sizeof(value)) == 0)
                return Damage::None;
        }
        return Damage::NoValue;
    }
    static std::string Words(const Limits&) { return Alternatives(Names(), "`\"", "\"`"); }

private:
    static std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (const auto& choice : choices)
            names.emplace_back(choice.name);
        return names;
    }
};

template <typename Object_, typename Value_>
struct MemberParts {
    using Object = Object_;
    using Value = Value_;
};
template <typename Object, typename Value>
MemberParts<Object, Value> PartsOf(Value Object::*);
template <auto member>
using ObjectOf = typename decltype(PartsOf(member))::Object;
template <auto member>
using ValueOf = typename decltype(PartsOf(member))::Value;

template <typename Form, auto member>
constexpr Field<ObjectOf<member>> FieldOf(const Limits& limits = {}) {
    using Object = ObjectOf<member>;
    return {
        .take = [](const Written& written, const Limits& range,
                   Object& object) { return Form::Take(written, range, object.*member); },
        .give = [](const Object& object,
                   const Limits& range) { return Form::Give(object.*member, range); },
        .damage = [](const Object& object,
                     const Limits& range) { return Form::DamageOf(object.*member, range); },
        .form = Form::Words,
        .limits = limits,
    };
}

template <auto member>
constexpr auto Number(U64 most = std::numeric_limits<ValueOf<member>>::max(), U64 least = 0) {
    return FieldOf<NumberForm, member>({.least = least, .most = most});
}

template <auto member>
constexpr auto Flag() {
    return FieldOf<FlagForm, member>();
}

template <auto member>
constexpr auto Text() {
    return FieldOf<TextForm<ValueOf<member>::kMost>, member>();
}

// In milliseconds.
template <auto member>
constexpr auto Time(U64 least = 0) {
    return FieldOf<TimeForm, member>({.least = least, .most = kMaxMilliseconds});
}

template <auto member>
constexpr auto MemorySize() {
    return FieldOf<MemorySizeForm, member>({.most = kMaxMemoryBytes});
}

template <auto member, const auto& notation>
constexpr auto Noted() {
    return FieldOf<NotedForm<notation>, member>();
}

template <auto member, const auto& choices>
constexpr auto Choice() {
    return FieldOf<ChoiceForm<choices>, member>();
}

}  // namespace simulated
