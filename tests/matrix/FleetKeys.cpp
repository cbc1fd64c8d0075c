// The keys of fleet files.
#include "FleetKeys.h"

#include <toml++/toml.h>

#include "fleet/FleetTables.h"

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

}  // namespace

std::set<std::string> AllFleetKeys() {
    std::set<std::string> all;
    for (const simulated::FleetTable& table : simulated::FleetTables()) {
        for (const simulated::KeyLine& key : table.keys)
            all.insert(table.name + "." + key.name);
        if (table.keys.empty())
            all.insert(table.name);
    }
    return all;
}

std::set<std::string> KeysUsedBy(const std::string& fleet) {
    std::set<std::string> keys;
    Collect(toml::parse(fleet), "", keys);
    return keys;
}
