// How an explanation is written, for people and for machines.
#include <fmt/format.h>

#include "explain/Explanation.h"
#include "readers/Colours.h"
#include "readers/Wrap.h"

namespace zelhealth {

namespace {

// As in the closing report.
constexpr std::size_t kIndent = 9;

std::string FieldText(const Explanation::Field& field, std::size_t columns) {
    const bool joined = field.form == Explanation::Form::words;
    const std::vector<std::string> lines =
        joined ? std::vector{fmt::format("{}", fmt::join(field.values, ", "))} : field.values;
    std::string text;
    int number = 0;
    for (const std::string& line : lines) {
        const bool ranked = field.form == Explanation::Form::ranked;
        const std::string rank = ranked ? fmt::format("{}. ", ++number) : "";
        text += fmt::format("  {:<6} {}\n", text.empty() ? field.label : "",
                            rank + Wrap(line, columns, kIndent + rank.size()));
    }
    return text;
}

}  // namespace

std::string TextOf(const Explanation& explanation, std::size_t columns, bool colours) {
    const std::string& name = explanation.name;
    const std::string about = explanation.about.empty() ? "" : "  " + explanation.about;
    std::string text = Wrap(name + about, columns, kIndent) + "\n";
    if (text.starts_with(name) && !explanation.verdict.empty()) {
        text.replace(0, name.size(), Coloured(name, explanation.verdict, colours));
    }
    for (const Explanation::Field& field : explanation.fields) {
        text += FieldText(field, columns);
    }
    return text;
}

Json JsonOf(const Explanation& explanation) {
    Json json = {{"kind", explanation.kind}, {"name", explanation.name}};
    if (!explanation.about.empty()) {
        json["about"] = explanation.about;
    }
    for (const Explanation::Field& field : explanation.fields) {
        const bool isText = field.form == Explanation::Form::text;
        json[field.key] = isText ? Json(field.values.front()) : Json(field.values);
    }
    return json;
}

}  // namespace zelhealth
