#include "record/LineParser.h"

#include <simdjson.h>

#include "record/LineSource.h"

namespace zelhealth {

namespace {

namespace dom = simdjson::dom;

static_assert(LineSource::kPadding >= simdjson::SIMDJSON_PADDING);

// No field of a record is deeper than four.
constexpr int kDeepest = 16;

// What is written has a quarter of that at most.
constexpr std::size_t kLongestText = 4096;

Json Convert(dom::element element, int depth);

Json ConvertList(dom::array array, int depth) {
    Json list = Json::array();
    for (const dom::element element : array) {
        list.push_back(Convert(element, depth + 1));
    }
    return list;
}

// Of fields of one name the first counts; to look for them takes longer than to read them.
Json ConvertObject(dom::object object, int depth) {
    Json::object_t fields;
    for (const auto& [key, value] : object) {
        fields.emplace_back(std::string(key), Convert(value, depth + 1));
    }
    return fields;
}

// What is too deep to be a field's is null, which no field is.
Json Convert(dom::element element, int depth) {
    if (depth > kDeepest) {
        return nullptr;
    }
    switch (element.type()) {
        case dom::element_type::ARRAY:
            return ConvertList(element.get_array().value_unsafe(), depth);
        case dom::element_type::OBJECT:
            return ConvertObject(element.get_object().value_unsafe(), depth);
        case dom::element_type::INT64: {
            // Numbers from 0 are unsigned, as nlohmann-json has them.
            const std::int64_t number = element.get_int64().value_unsafe();
            return number < 0 ? Json(number) : Json(static_cast<std::uint64_t>(number));
        }
        case dom::element_type::UINT64:
            return element.get_uint64().value_unsafe();
        case dom::element_type::DOUBLE:
            return element.get_double().value_unsafe();
        case dom::element_type::STRING:
            return Bounded(element.get_string().value_unsafe(), kLongestText);
        case dom::element_type::BOOL:
            return element.get_bool().value_unsafe();
        case dom::element_type::NULL_VALUE:
            break;
    }
    return nullptr;
}

bool IsPassed(dom::object object) {
    std::string_view verdict;
    return object["verdict"].get(verdict) == simdjson::SUCCESS &&
           (verdict == "passed" || verdict == "unsupported");
}

}  // namespace

struct LineParser::Inner {
    dom::parser parser;
};

LineParser::LineParser() : inner_(std::make_unique<Inner>()) {}
LineParser::~LineParser() = default;

std::string LineParser::Parse(std::string_view line, bool evidenceOfPassed, Json& record) {
    dom::element element;
    // A copy is not needed: there is padding behind the line.
    if (const auto error = inner_->parser.parse(line.data(), line.size(), false).get(element)) {
        return simdjson::error_message(error);
    }
    dom::object object;
    if (element.get(object) != simdjson::SUCCESS) {
        return "it is no object";
    }
    const bool withEvidence = evidenceOfPassed || !IsPassed(object);
    Json::object_t fields;
    fields.reserve(object.size());
    for (const auto& [key, value] : object) {
        if (withEvidence || key != "evidence") {
            fields.emplace_back(std::string(key), Convert(value, 1));
        }
    }
    record = std::move(fields);
    return "";
}

}  // namespace zelhealth
