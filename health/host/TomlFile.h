// An operator's TOML file, read strictly: what is unknown, missing or of another type is refused with
// file, line and reason, as a std::runtime_error.
#pragma once

#include <toml++/toml.h>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

// A table of a file; it must not live longer than the file.
class TomlTable {
public:
    TomlTable(const toml::table& table, const std::string& file) : table_(&table), file_(&file) {}

    // Refuses keys that are not among these.
    void Expect(std::initializer_list<std::string_view> keys) const;

    bool Has(std::string_view key) const { return table_->contains(key); }
    std::string Text(std::string_view key) const;
    toml::date Date(std::string_view key) const;

    // The tables of an array, [[key]]; none when there is no such key.
    std::vector<TomlTable> Tables(std::string_view key) const;

    // Refuses the value of a key, or the table where it is missing.
    [[noreturn]] void Fail(std::string_view key, const std::string& reason) const;

private:
    template <typename Value>
    Value Read(std::string_view key, const char* kind) const;

    const toml::table* table_;
    const std::string* file_;
};

class TomlFile {
public:
    // A file that is not there is an empty one.
    static TomlFile Load(const std::filesystem::path& file);

    TomlTable Root() const { return {root_, name_}; }

private:
    std::string name_;
    toml::table root_;
};

}  // namespace zelhealth
