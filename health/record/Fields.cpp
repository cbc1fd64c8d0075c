#include "record/Fields.h"

#include <algorithm>
#include <array>

namespace zelhealth {

namespace {

using Fits = bool (*)(const Json&);

bool IsText(const Json& value) {
    return value.is_string();
}

bool IsNumber(const Json& value) {
    return value.is_number() && value.get<double>() >= 0;
}

bool IsCount(const Json& value) {
    return value.is_number_unsigned();
}

bool IsStatus(const Json& value) {
    constexpr unsigned kLargest = 3;
    return IsCount(value) && value.get<std::uint64_t>() <= kLargest;
}

template <Fits kFits>
bool IsListOf(const Json& value) {
    return value.is_array() && std::all_of(value.begin(), value.end(), kFits);
}

template <Fits kFits>
bool IsObjectOf(const Json& value) {
    return value.is_object() && std::all_of(value.begin(), value.end(), kFits);
}

bool IsReason(const Json& value) {
    return value.is_object() && value.contains("text") && value["text"].is_string() &&
           value.contains("status") && IsStatus(value["status"]) &&
           (!value.contains("reason") || value["reason"].is_string());
}

struct Kind {
    Fits fits;
    std::string_view otherwise;
};

constexpr Kind kText = {IsText, "is no text"};
constexpr Kind kNumber = {IsNumber, "is no number from 0"};
constexpr Kind kCount = {IsCount, "is no count"};
constexpr Kind kStatus = {IsStatus, "is no exit status"};
constexpr Kind kTexts = {IsListOf<IsText>, "is no list of texts"};
constexpr Kind kNamedTexts = {IsObjectOf<IsText>, "is no object of texts"};
constexpr Kind kNamedCounts = {IsObjectOf<IsCount>, "is no object of counts"};
constexpr Kind kNamedLists = {IsObjectOf<IsListOf<IsText>>, "is no object of lists of texts"};
constexpr Kind kReasons = {IsListOf<IsReason>, "is no list of reasons"};

struct Field {
    std::string_view name;
    const Kind* kind;
};

// Sorted.
constexpr std::array kFields = std::to_array<Field>({
    {"card", &kText},
    {"command", &kTexts},
    {"counts", &kNamedCounts},
    {"deadline_seconds", &kNumber},
    {"evidence", &kNamedLists},
    {"expected", &kTexts},
    {"expected_seconds", &kNumber},
    {"firmware", &kNamedTexts},
    {"found", &kTexts},
    {"generation", &kText},
    {"group", &kText},
    {"host", &kText},
    {"memory_size", &kCount},
    {"mend", &kText},
    {"messages", &kTexts},
    {"mode", &kText},
    {"mode_found", &kText},
    {"mode_left", &kText},
    {"options", &kTexts},
    {"pcie", &kText},
    {"plan", &kText},
    {"reason", &kText},
    {"reasons", &kReasons},
    {"record", &kText},
    {"round", &kCount},
    {"run", &kText},
    {"schema", &kCount},
    {"seconds", &kNumber},
    {"status", &kStatus},
    {"test", &kText},
    {"tests", &kCount},
    {"time", &kText},
    {"uuid", &kText},
    {"verdict", &kText},
    {"versions", &kNamedTexts},
    {"waived", &kText},
    {"waiver_expired", &kText},
});

constexpr bool InOrder(const Field& one, const Field& other) {
    return one.name < other.name;
}
static_assert(std::is_sorted(kFields.begin(), kFields.end(), InOrder));

const Json* Find(const Json& record, std::string_view name) {
    if (!record.is_object()) {
        return nullptr;
    }
    for (const auto& [key, value] : record.get_ref<const Json::object_t&>()) {
        if (key == name) {
            return &value;
        }
    }
    return nullptr;
}

}  // namespace

std::string_view WhyUnfit(std::string_view name, const Json& value) {
    const auto* const field =
        std::lower_bound(kFields.begin(), kFields.end(), Field{name, nullptr}, InOrder);
    const bool fits = field == kFields.end() || field->name != name || field->kind->fits(value);
    return fits ? std::string_view() : field->kind->otherwise;
}

void LeaveOutUnfit(Json& record,
                   const std::function<void(const std::string& name, std::string_view why)>& tell) {
    auto& fields = record.get_ref<Json::object_t&>();
    for (auto field = fields.begin(); field != fields.end();) {
        const std::string_view why = WhyUnfit(field->first, field->second);
        if (why.empty()) {
            ++field;
        } else {
            tell(field->first, why);
            field = fields.erase(field);
        }
    }
}

const std::string& TextOf(const Json& record, std::string_view name) {
    static const std::string kNone;
    const Json* const value = Find(record, name);
    return value != nullptr && value->is_string() ? value->get_ref<const std::string&>() : kNone;
}

double NumberOf(const Json& record, std::string_view name) {
    const Json* const value = Find(record, name);
    return value != nullptr && value->is_number() ? value->get<double>() : 0;
}

std::vector<std::string> TextsOf(const Json& record, std::string_view name) {
    std::vector<std::string> texts;
    for (const Json& value : ListOf(record, name)) {
        if (value.is_string()) {
            texts.push_back(value.get<std::string>());
        }
    }
    return texts;
}

const Json& ListOf(const Json& record, std::string_view name) {
    static const Json kNone = Json::array();
    const Json* const value = Find(record, name);
    return value != nullptr && value->is_array() ? *value : kNone;
}

}  // namespace zelhealth
