// Reads TOML files of an operator.
#include "host/TomlFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <type_traits>

#include "host/Likely.h"

namespace zelhealth {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Refuse(const std::string& file, const toml::source_region& where,
                         const std::string& reason, std::string_view key) {
    throw TomlError(fmt::format("{}:{}: {}", file, where.begin.line, reason), where.begin, key);
}

// Finds the innermost table or array that holds what begins there, and has it taken out: a list of tables begins
// where its first one does.
template <typename Take>
bool FindHolder(toml::node& node, const Take& take) {
    bool found = false;
    if (toml::table* const table = node.as_table()) {
        for (auto entry = table->begin(); !found && entry != table->end(); ++entry) {
            found = FindHolder(entry->second, take);
        }
        return found || take(*table);
    }
    if (toml::array* const array = node.as_array()) {
        for (auto element = array->begin(); !found && element != array->end(); ++element) {
            found = FindHolder(*element, take);
        }
        return found || take(*array);
    }
    return false;
}

}  // namespace

void TomlTable::Expect(const std::vector<std::string>& keys) const {
    for (const auto& [key, value] : *table_) {
        if (std::find(keys.begin(), keys.end(), key.str()) != keys.end())
            continue;
        const std::string likely = Likely(std::string(key.str()), keys);
        const std::string help = likely.empty() ? fmt::format("there are {}", fmt::join(keys, ", "))
                                                : fmt::format("did you mean \"{}\"?", likely);
        Refuse(*file_, key.source(), fmt::format("unknown key \"{}\"; {}", key.str(), help),
               key.str());
    }
}

void TomlTable::Fail(std::string_view key, const std::string& reason) const {
    const toml::node* const value = table_->get(key);
    Refuse(*file_, value == nullptr ? table_->source() : value->source(),
           fmt::format("\"{}\" {}", key, reason), key);
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

bool TomlTable::Flag(std::string_view key) const {
    return Read<bool>(key, "true or false");
}

double TomlTable::Number(std::string_view key, double least, double most) const {
    const toml::node* const node = table_->get(key);
    const auto number =
        node == nullptr || !node->is_number() ? std::nullopt : node->value<double>();
    if (!number || !(*number >= least && *number <= most))
        Fail(key, fmt::format("takes a number from {:g} to {:g}", least, most));
    return *number;
}

int TomlTable::Count(std::string_view key, int least, int most) const {
    const toml::node* const node = table_->get(key);
    const auto number = node == nullptr ? std::nullopt : node->value_exact<std::int64_t>();
    if (!number || *number < least || *number > most)
        Fail(key, fmt::format("takes a whole number from {} to {}", least, most));
    return static_cast<int>(*number);
}

std::vector<std::string> TomlTable::Keys() const {
    std::vector<std::string> keys;
    for (const auto& [key, value] : *table_)
        keys.emplace_back(key.str());
    return keys;
}

template <typename Convert>
std::vector<std::string> TomlTable::OneOrMore(std::string_view key, const char* kind,
                                              const Convert& convert) const {
    const toml::node* const node = table_->get(key);
    if (node == nullptr)
        Fail(key, "is missing");
    std::vector<const toml::node*> nodes = {node};
    if (const toml::array* const array = node->as_array()) {
        nodes.clear();
        for (const toml::node& element : *array)
            nodes.push_back(&element);
    }
    std::vector<std::string> values;
    for (const toml::node* const element : nodes) {
        if (const std::optional<std::string> value = convert(*element))
            values.push_back(*value);
    }
    if (values.empty() || values.size() != nodes.size())
        Fail(key, fmt::format("takes {}, or several in brackets", kind));
    return values;
}

std::vector<std::string> TomlTable::Texts(std::string_view key) const {
    return OneOrMore(key, "a text",
                     [](const toml::node& node) { return node.value_exact<std::string>(); });
}

std::vector<std::string> TomlTable::Numbers(std::string_view key) const {
    return OneOrMore(key, "a number", [](const toml::node& node) -> std::optional<std::string> {
        const auto number = node.value_exact<std::int64_t>();
        return number && *number >= 0 ? std::optional(std::to_string(*number)) : std::nullopt;
    });
}

std::optional<TomlTable> TomlTable::Table(std::string_view key) const {
    if (!Has(key))
        return std::nullopt;
    const toml::table* const table = table_->get(key)->as_table();
    if (table == nullptr)
        Fail(key, fmt::format("is written as [{}]", key));
    return TomlTable(*table, *file_);
}

std::vector<TomlTable> TomlTable::Tables(std::string_view key) const {
    std::vector<TomlTable> tables;
    if (!Has(key))
        return tables;
    const toml::array* const array = table_->get(key)->as_array();
    if (array == nullptr || !(array->empty() || array->is_homogeneous(toml::node_type::table)))
        Fail(key, fmt::format("is written as [[{}]]", key));
    for (const toml::node& node : *array)
        tables.emplace_back(*node.as_table(), *file_);
    return tables;
}

bool TomlFile::LeaveOut(const TomlError& fault) {
    const toml::source_position where = fault.Where();
    return FindHolder(root_, [this, &where](auto& holder) {
        for (auto entry = holder.begin(); entry != holder.end(); ++entry) {
            if constexpr (std::is_same_v<decltype(holder), toml::table&>) {
                const auto& [key, value] = *entry;
                if (key.source().begin == where || value.source().begin == where) {
                    leftOut_.emplace_back(holder.source().begin, key.str());
                    holder.erase(entry);
                    return true;
                }
            } else if (entry->source().begin == where) {
                holder.erase(entry);
                return true;
            }
        }
        return false;
    });
}

bool TomlFile::HasLeftOut(const TomlError& fault) const {
    const std::pair place(fault.Where(), fault.Key());
    return std::find(leftOut_.begin(), leftOut_.end(), place) != leftOut_.end();
}

TomlFile TomlFile::Load(const fs::path& file) {
    TomlFile loaded;
    loaded.name_ = file.string();
    std::error_code error;
    // A link that leads nowhere, such as to a share that is not mounted, is a file that cannot be read.
    if (fs::symlink_status(file, error).type() == fs::file_type::not_found &&
        error != std::errc::not_a_directory)
        return loaded;
    std::ifstream text(file);
    if (!text || fs::is_directory(file, error))
        throw std::runtime_error(loaded.name_ + ": cannot be read");
    loaded.isThere_ = true;
    try {
        loaded.root_ = toml::parse(text);
    } catch (const toml::parse_error& fault) {
        Refuse(loaded.name_, fault.source(), std::string(fault.description()), "");
    }
    return loaded;
}

}  // namespace zelhealth
