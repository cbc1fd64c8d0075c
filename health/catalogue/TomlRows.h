// Reads the catalogue's rows. What is wrong with them throws std::runtime_error, with the line.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include <toml++/toml.h>

namespace zelhealth {

std::runtime_error WrongRow(const toml::node& node, const std::string& what);

// A text that is not empty.
std::string TextOf(const toml::node& node);

// Empty where there is no such key.
std::string OptionalText(const toml::table& table, std::string_view key);
std::string NeededText(const toml::table& table, std::string_view key);
std::vector<std::string> TextsOf(const toml::table& table, std::string_view key);

// The tables of an array of them.
std::vector<const toml::table*> TablesOf(const toml::table& table, std::string_view key);

// What a misspelled key says would be lost.
void RefuseOtherKeys(const toml::table& table, std::initializer_list<std::string_view> known);

}  // namespace zelhealth
