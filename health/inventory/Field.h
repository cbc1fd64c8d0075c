// What an inventory says of a card, field by field: one row a field, from which files are read and
// written, and cards compared.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>

namespace zelhealth {

// What it means when a card differs from what stands in a file.
enum class Policy { ignore, warn, fail };

// As an exit status: 0, 1, 2.
int StatusOf(Policy policy);

struct Field {
    enum class Kind { text, number, id, bytes };

    const char* key;   // in the files: "link_width"
    const char* fact;  // where zelcard tells it, as a JSON pointer: "/link/width"
    Kind kind;
    std::optional<Policy> policy;  // where the file has none; the mode has none, see ModeOf
    bool ofOneCard;                // and not of all cards of a generation
    const char* what;              // for people: "number of lanes"
};

// In the order of the files.
std::span<const Field> Fields();

// What a card tells, as the files have it: numbers in decimal. Nothing when it does not tell.
std::optional<std::string> ValueOf(const Field& field, const nlohmann::json& facts);

// For people: "8 GiB", "0x501f1a".
std::string Show(const Field& field, const std::string& value);

// As a value of a file: quoted, or a number.
std::string InToml(const Field& field, const std::string& value);

}  // namespace zelhealth
