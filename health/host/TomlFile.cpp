// Reads TOML files of an operator.
#include "host/TomlFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace zelhealth {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Refuse(const std::string& file, const toml::source_region& where,
                         const std::string& reason) {
    throw std::runtime_error(fmt::format("{}:{}: {}", file, where.begin.line, reason));
}

}  // namespace

void TomlTable::Expect(std::initializer_list<std::string_view> keys) const {
    for (const auto& [key, value] : *table_) {
        if (std::find(keys.begin(), keys.end(), key.str()) == keys.end())
            Refuse(
                *file_, key.source(),
                fmt::format("unknown key \"{}\"; there are {}", key.str(), fmt::join(keys, ", ")));
    }
}

void TomlTable::Fail(std::string_view key, const std::string& reason) const {
    const toml::node* const value = table_->get(key);
    Refuse(*file_, value == nullptr ? table_->source() : value->source(),
           fmt::format("\"{}\" {}", key, reason));
}

template <typename Value>
Value TomlTable::Read(std::string_view key, const char* kind) const {
    const toml::node* const node = table_->get(key);
    if (node == nullptr)
        Fail(key, "is missing");
    const auto* const value = node->as<Value>();
    if (value == nullptr)
        Fail(key, fmt::format("takes {}", kind));
    return value->get();
}

std::string TomlTable::Text(std::string_view key) const {
    return Read<std::string>(key, "a text");
}

toml::date TomlTable::Date(std::string_view key) const {
    return Read<toml::date>(key, "a date such as 2026-12-31");
}

std::vector<TomlTable> TomlTable::Tables(std::string_view key) const {
    std::vector<TomlTable> tables;
    if (!Has(key))
        return tables;
    const toml::array* const array = table_->get(key)->as_array();
    if (array == nullptr || !array->is_homogeneous(toml::node_type::table))
        Fail(key, fmt::format("is written as [[{}]]", key));
    for (const toml::node& node : *array)
        tables.emplace_back(*node.as_table(), *file_);
    return tables;
}

TomlFile TomlFile::Load(const fs::path& file) {
    TomlFile loaded;
    loaded.name_ = file.string();
    std::error_code error;
    if (!fs::exists(file, error) && !error)
        return loaded;
    std::ifstream text(file);
    if (!text || fs::is_directory(file, error))
        throw std::runtime_error(loaded.name_ + ": cannot be read");
    try {
        loaded.root_ = toml::parse(text);
    } catch (const toml::parse_error& fault) {
        Refuse(loaded.name_, fault.source(), std::string(fault.description()));
    }
    return loaded;
}

}  // namespace zelhealth
