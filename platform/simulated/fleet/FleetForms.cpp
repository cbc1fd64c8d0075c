// How the values of a fleet file are written.
#include "fleet/FleetForms.h"

namespace simulated {

std::string TakeNumber(const Written& written, const Limits& limits, U64& number) {
    const auto* value = std::get_if<std::int64_t>(&written);
    if (value == nullptr)
        return " takes a whole number";
    if (*value < 0 || static_cast<U64>(*value) < limits.least ||
        static_cast<U64>(*value) > limits.most)
        return " takes " + std::to_string(limits.least) + " to " + std::to_string(limits.most) +
               ", this is " + std::to_string(*value);
    number = static_cast<U64>(*value);
    return "";
}

std::string TakeText(const Written& written, std::size_t most, std::string_view& text) {
    const auto* value = std::get_if<std::string>(&written);
    if (value == nullptr)
        return " takes a text in quotes";
    if (value->size() > most)
        return " takes at most " + std::to_string(most) + " bytes, this has " +
               std::to_string(value->size());
    if (value->find('\0') != std::string::npos)
        return " holds a NUL character";
    text = *value;
    return "";
}

std::string NumberWords(const Limits& limits) {
    if (limits.least == 0 && limits.most == std::numeric_limits<U32>::max())
        return "32 bits";
    if (limits.least == 0 && limits.most == std::numeric_limits<U16>::max())
        return "16 bits";
    return std::to_string(limits.least) + (limits.most == limits.least + 1 ? " or " : " to ") +
           std::to_string(limits.most);
}

std::string TimeWords(const Limits& limits) {
    return limits.least == 0
               ? "a time, at most 24h"
               : "a time from " + TimeText(static_cast<U32>(limits.least)) + " to 24h";
}

std::string Alternatives(const std::vector<std::string>& words, const std::string& begin,
                         const std::string& end) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const char* const between = i + 1 == words.size() ? " or " : ", ";
        text.append(i == 0 ? "" : between).append(begin).append(words[i]).append(end);
    }
    return text;
}

std::string TimeForm::Take(const Written& written, const Limits& limits, U32& milliseconds) {
    const auto* text = std::get_if<std::string>(&written);
    const auto time = text == nullptr ? std::nullopt : ParseTime(*text);
    if (!time || *time < limits.least)
        return std::string(" takes a time such as \"3s\" or \"250ms\", ") +
               (limits.least == 0 ? "at most 24h"
                                  : "from " + TimeText(static_cast<U32>(limits.least)) + " to 24h");
    milliseconds = *time;
    return "";
}

std::string MemorySizeForm::Take(const Written& written, const Limits& limits, U64& bytes) {
    if (std::holds_alternative<std::int64_t>(written))
        return TakeNumber(written, limits, bytes);
    const auto* text = std::get_if<std::string>(&written);
    const auto size = text == nullptr ? std::nullopt : ParseMemorySize(*text);
    bytes = size.value_or(bytes);
    return size ? "" : " takes bytes, or a text such as \"8GiB\", at most 64GiB";
}

}  // namespace simulated
