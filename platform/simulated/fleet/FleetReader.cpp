// Reads the tables of a fleet file.
#include "fleet/FleetReader.h"

#include <vector>

#include "fleet/Fleet.h"
#include "fleet/FleetTables.h"
#include "fleet/Suggestion.h"

namespace simulated {

namespace {

// A name in quotes may hold line ends; a reason is one line.
std::string OneLine(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ')
            c = '?';
    }
    return text;
}

std::string Listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

}  // namespace

void Reader::Fail(const toml::node& where, const std::string& reason) const {
    FailAt(where.source().begin.line, reason);
}

void Reader::FailAt(std::size_t line, const std::string& reason) const {
    throw FleetError(path_ + ":" + std::to_string(line) + ": " + OneLine(reason));
}

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

Written WrittenAt(const toml::node& node) {
    if (const auto text = node.value_exact<std::string>())
        return *text;
    if (const auto number = node.value_exact<std::int64_t>())
        return *number;
    if (const auto flag = node.value_exact<bool>())
        return *flag;
    return {};
}

void TableReader::ForEachTable(const std::string& key,
                               const std::function<void(const toml::table&)>& visit) const {
    const toml::node* node = source_.get(key);
    if (node == nullptr)
        return;
    const toml::array* array = node->as_array();
    if (array == nullptr || !array->is_array_of_tables())
        reader_.Fail(*node, key + " is a list of tables: [[" + NameOf(key) + "]]");
    for (const toml::node& element : *array)
        visit(*element.as_table());
}

const toml::table* TableReader::SubTable(const std::string& key) const {
    const toml::node* node = source_.get(key);
    if (node != nullptr && !node->is_table())
        reader_.Fail(*node, key + " is a table: [" + NameOf(key) + "]");
    return node == nullptr ? nullptr : node->as_table();
}

void TableReader::RefuseUnknownKeys() const {
    const std::vector<std::string> known = NamesIn(name_);
    for (const auto& [key, node] : source_) {
        const std::string_view text = key.str();
        if (std::find(known.begin(), known.end(), text) == known.end())
            reader_.FailAt(key.source().begin.line,
                           "unknown key " + Quoted(text) +
                               Suggestion(text, known, "; known here: " + Listed(known)));
    }
}

}  // namespace simulated
