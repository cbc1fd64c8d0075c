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

// By length, which tells most names apart.
constexpr std::array kFields = std::to_array<Field>({
    {"run", &kText},
    {"card", &kText},
    {"host", &kText},
    {"mend", &kText},
    {"mode", &kText},
    {"pcie", &kText},
    {"plan", &kText},
    {"test", &kText},
    {"time", &kText},
    {"uuid", &kText},
    {"found", &kTexts},
    {"group", &kText},
    {"round", &kCount},
    {"tests", &kCount},
    {"counts", &kNamedCounts},
    {"reason", &kText},
    {"record", &kText},
    {"schema", &kCount},
    {"status", &kStatus},
    {"waived", &kText},
    {"command", &kTexts},
    {"options", &kTexts},
    {"reasons", &kReasons},
    {"seconds", &kNumber},
    {"verdict", &kText},
    {"evidence", &kNamedLists},
    {"expected", &kTexts},
    {"firmware", &kNamedTexts},
    {"messages", &kTexts},
    {"versions", &kNamedTexts},
    {"mode_left", &kText},
    {"generation", &kText},
    {"mode_found", &kText},
    {"memory_size", &kCount},
    {"waiver_expired", &kText},
    {"deadline_seconds", &kNumber},
    {"expected_seconds", &kNumber},
});

constexpr bool InOrder(const Field& one, const Field& other) {
    return one.name.size() < other.name.size();
}
static_assert(std::is_sorted(kFields.begin(), kFields.end(), InOrder));

// Where the names of each length begin.
constexpr std::size_t kLongestName = kFields.back().name.size();
constexpr auto kOfLength = [] {
    std::array<std::size_t, kLongestName + 2> places{};
    for (const Field& field : kFields) {
        for (std::size_t length = field.name.size() + 1; length < places.size(); ++length) {
            ++places[length];
        }
    }
    return places;
}();

// To call for each what compares texts takes longer than all else here.
bool IsSame(std::string_view one, std::string_view other) {
    return one.size() == other.size() && one.front() == other.front() && one == other;
}

const Json* Find(const Json& record, std::string_view name) {
    if (!record.is_object()) {
        return nullptr;
    }
    for (const auto& [key, value] : record.get_ref<const Json::object_t&>()) {
        if (IsSame(key, name)) {
            return &value;
        }
    }
    return nullptr;
}

}  // namespace

std::string_view WhyUnfit(std::string_view name, const Json& value) {
    if (name.empty() || name.size() > kLongestName) {
        return {};
    }
    for (std::size_t i = kOfLength[name.size()]; i < kOfLength[name.size() + 1]; ++i) {
        if (IsSame(kFields[i].name, name)) {
            return kFields[i].kind->fits(value) ? std::string_view() : kFields[i].kind->otherwise;
        }
    }
    return {};
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
