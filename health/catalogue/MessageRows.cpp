#include "catalogue/MessageRows.h"

#include <algorithm>
#include <stdexcept>

#include "catalogue/TomlRows.h"

namespace zelhealth {

namespace {

std::vector<MessageText> MessageTexts(const toml::table& table) {
    std::vector<MessageText> texts;
    if (const toml::array* const array = table["texts"].as_array()) {
        for (const toml::node& node : *array) {
            const toml::array* const pair = node.as_array();
            if (pair == nullptr || pair->size() != 2) {
                throw WrongRow(node, "a text is a pair: its kind, and what is shown");
            }
            texts.push_back({TextOf((*pair)[0]), TextOf((*pair)[1])});
        }
    }
    if (texts.empty()) {
        throw WrongRow(table, "the row has no texts");
    }
    return texts;
}

MessageRow Row(const toml::table& table) {
    RefuseOtherKeys(
        table, {"texts", "tests", "means", "detail", "causes", "next", "zelhealth", "follows"});
    MessageRow row;
    row.texts = MessageTexts(table);
    row.tests = TextsOf(table, "tests");
    row.means = NeededText(table, "means");
    row.detail = OptionalText(table, "detail");
    row.causes = TextsOf(table, "causes");
    row.next = OptionalText(table, "next");
    row.zelhealth = OptionalText(table, "zelhealth");
    row.follows = table["follows"].value_or(false);
    return row;
}

MessageSection Section(const toml::table& table) {
    RefuseOtherKeys(table, {"name", "part", "about", "row"});
    MessageSection section{
        NeededText(table, "name"), OptionalText(table, "part"), OptionalText(table, "about"), {}};
    for (const toml::table* const row : TablesOf(table, "row")) {
        section.rows.push_back(Row(*row));
    }
    return section;
}

}  // namespace

const MessageKind& MessageBook::KindOf(std::string_view kind) const {
    const std::string_view name = kind.substr(0, kind.find(' '));
    const auto found = std::find_if(kinds.begin(), kinds.end(),
                                    [name](const MessageKind& row) { return row.name == name; });
    if (found == kinds.end()) {
        throw std::runtime_error("no kind is called " + std::string(name));
    }
    return *found;
}

MessageBook ReadMessageBook(std::string_view toml) {
    const toml::table document = toml::parse(toml);
    RefuseOtherKeys(document, {"kind", "section"});
    MessageBook book;
    for (const toml::table* const kind : TablesOf(document, "kind")) {
        RefuseOtherKeys(*kind, {"name", "shown"});
        book.kinds.push_back({NeededText(*kind, "name"), NeededText(*kind, "shown")});
    }
    for (const toml::table* const section : TablesOf(document, "section")) {
        book.sections.push_back(Section(*section));
        for (const MessageRow& row : book.sections.back().rows) {
            for (const MessageText& text : row.texts) {
                book.KindOf(text.kind);
            }
        }
    }
    return book;
}

}  // namespace zelhealth
