// An operator's TOML file, read strictly: what is unknown, missing or of another type is refused with
// file, line and reason, as a TomlError; what cannot be read at all, as another std::runtime_error.
#pragma once

#include <toml++/toml.h>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zelhealth {

// What is wrong at one place of a file.
class TomlError : public std::runtime_error {
public:
    TomlError(const std::string& text, const toml::source_position& where, std::string_view key)
        : std::runtime_error(text), where_(where), key_(key) {}

    // Where the key or its value begins, or the table that lacks it.
    const toml::source_position& Where() const { return where_; }

    // Empty where the file is no TOML.
    const std::string& Key() const { return key_; }

private:
    toml::source_position where_;
    std::string key_;
};

// A table of a file; it must not live longer than the file.
class TomlTable {
public:
    TomlTable(const toml::table& table, const std::string& file) : table_(&table), file_(&file) {}

    // Refuses keys that are not among these.
    void Expect(const std::vector<std::string>& keys) const;

    bool Has(std::string_view key) const { return table_->contains(key); }
    std::vector<std::string> Keys() const;
    std::string Text(std::string_view key) const;
    toml::date Date(std::string_view key) const;
    bool Flag(std::string_view key) const;

    // A number with or without a fraction, and one without.
    double Number(std::string_view key, double least, double most) const;
    int Count(std::string_view key, int least, int most) const;

    // One text or several, [...], but not none.
    std::vector<std::string> Texts(std::string_view key) const;

    // The same of numbers that are not negative, in decimal.
    std::vector<std::string> Numbers(std::string_view key) const;

    // The table [key]; none when there is no such key.
    std::optional<TomlTable> Table(std::string_view key) const;

    // The tables of an array, [[key]]; none when there is no such key.
    std::vector<TomlTable> Tables(std::string_view key) const;

    // Refuses the value of a key, or the table where it is missing.
    [[noreturn]] void Fail(std::string_view key, const std::string& reason) const;

private:
    template <typename Convert>
    std::vector<std::string> OneOrMore(std::string_view key, const char* kind,
                                       const Convert& convert) const;

    template <typename Value>
    Value Read(std::string_view key, const char* kind) const;

    const toml::table* table_;
    const std::string* file_;
};

class TomlFile {
public:
    // A file that is not there is an empty one.
    static TomlFile Load(const std::filesystem::path& file);

    bool IsThere() const { return isThere_; }

    TomlTable Root() const { return {root_, name_}; }

    // Takes out what is wrong, so that what else is can be found. False where that is the whole file.
    bool LeaveOut(const TomlError& fault);

    // Whether what lacks has been left out.
    bool HasLeftOut(const TomlError& fault) const;

private:
    std::string name_;
    bool isThere_ = false;
    toml::table root_;
    std::vector<std::pair<toml::source_position, std::string>>
        leftOut_;  // of which table, which key
};

}  // namespace zelhealth
