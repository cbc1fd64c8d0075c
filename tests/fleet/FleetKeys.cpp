// The keys of fleet files.
#include "FleetKeys.h"

#include <toml++/toml.h>

#include <algorithm>
#include <iterator>
#include <regex>

#include "fleet/Fleet.h"

namespace {

void Collect(const toml::table& table, const std::string& prefix, std::set<std::string>& keys) {
    for (const auto& [key, node] : table) {
        const std::string name = prefix + std::string(key.str());
        keys.insert(name);
        if (const toml::table* const inner = node.as_table())
            Collect(*inner, name + ".", keys);
        const toml::array* const list = node.as_array();
        for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
            if (const toml::table* const inner = list->get(i)->as_table())
                Collect(*inner, name + ".", keys);
        }
    }
}

bool IsFleetTable(const std::string& name) {
    return std::any_of(std::begin(kFleetTables), std::end(kFleetTables),
                       [&](const FleetTable& table) { return name == table.name; });
}

}  // namespace

std::set<std::string> ReadersKeys(const std::string& fleet) {
    std::string reason;
    try {
        simulated::ParseFleet(fleet + "no_such_key_at_all = 1\n", "fleet");
    } catch (const simulated::FleetError& error) {
        reason = error.what();
    }
    static const std::regex list("unknown key \"no_such_key_at_all\"; known here: (.*)");
    std::smatch match;
    std::set<std::string> keys;
    if (!std::regex_search(reason, match, list))
        return keys;
    const std::string names = match[1];
    static const std::regex between(", ");
    for (std::sregex_token_iterator i(names.begin(), names.end(), between, -1), end; i != end; ++i)
        keys.insert(*i);
    return keys;
}

std::set<std::string> AllFleetKeys() {
    std::set<std::string> all = ReadersKeys("");
    for (const FleetTable& table : kFleetTables) {
        for (const std::string& key : ReadersKeys(table.fleet))
            all.insert(std::string(table.name) + "." + key);
    }
    std::erase_if(all, IsFleetTable);
    return all;
}

std::set<std::string> KeysUsedBy(const std::string& fleet) {
    std::set<std::string> keys;
    Collect(toml::parse(fleet), "", keys);
    return keys;
}
