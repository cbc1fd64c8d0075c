#include "catalogue/TomlRows.h"

#include <algorithm>
#include <stdexcept>

namespace zelhealth {

std::runtime_error WrongRow(const toml::node& node, const std::string& what) {
    return std::runtime_error("line " + std::to_string(node.source().begin.line) + ": " + what);
}

std::string TextOf(const toml::node& node) {
    const auto text = node.value<std::string>();
    if (!text || text->empty()) {
        throw WrongRow(node, "this is no text");
    }
    return *text;
}

std::string OptionalText(const toml::table& table, std::string_view key) {
    const toml::node* const node = table.get(key);
    return node == nullptr ? "" : TextOf(*node);
}

std::string NeededText(const toml::table& table, std::string_view key) {
    const toml::node* const node = table.get(key);
    if (node == nullptr) {
        throw WrongRow(table, "the row has no " + std::string(key));
    }
    return TextOf(*node);
}

std::vector<std::string> TextsOf(const toml::table& table, std::string_view key) {
    std::vector<std::string> texts;
    if (const toml::node* const node = table.get(key)) {
        if (!node->is_array()) {
            throw WrongRow(*node, std::string(key) + " is a list of texts");
        }
        for (const toml::node& text : *node->as_array()) {
            texts.push_back(TextOf(text));
        }
    }
    return texts;
}

std::vector<const toml::table*> TablesOf(const toml::table& table, std::string_view key) {
    std::vector<const toml::table*> tables;
    if (const toml::node* const node = table.get(key)) {
        if (!node->is_array_of_tables()) {
            throw WrongRow(*node, std::string(key) + " is a list of tables");
        }
        for (const toml::node& row : *node->as_array()) {
            tables.push_back(row.as_table());
        }
    }
    return tables;
}

void RefuseOtherKeys(const toml::table& table, std::initializer_list<std::string_view> known) {
    for (const auto& [key, node] : table) {
        if (std::find(known.begin(), known.end(), key.str()) == known.end()) {
            throw WrongRow(node, "no key is called " + std::string(key.str()));
        }
    }
}

}  // namespace zelhealth
