#include "inventory/Inventory.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>

#include "host/TomlFile.h"

namespace zelhealth {

namespace {

constexpr char kMissing[] = "missing";
constexpr char kUnexpected[] = "unexpected";

Policy ReadPolicy(const TomlTable& table, std::string_view key) {
    const std::string text = table.Text(key);
    for (const auto& [name, policy] :
         {std::pair("fail", Policy::fail), {"warn", Policy::warn}, {"ignore", Policy::ignore}}) {
        if (text == name) {
            return policy;
        }
    }
    table.Fail(key, "takes \"fail\", \"warn\" or \"ignore\"");
}

std::vector<std::string> Keys(bool ofOneCard, std::initializer_list<const char*> others) {
    std::vector<std::string> keys(others.begin(), others.end());
    for (const Field& field : Fields()) {
        if (ofOneCard || !field.ofOneCard) {
            keys.emplace_back(field.key);
        }
    }
    return keys;
}

// `policies` are those that count where the file has none, beside those of the fields.
std::map<std::string, Policy> ReadPolicies(const TomlTable& root,
                                           std::map<std::string, Policy> policies) {
    for (const Field& field : Fields()) {
        if (field.policy) {
            policies[field.key] = *field.policy;
        }
    }
    if (const auto table = root.Table("policy")) {
        std::vector<std::string> known;
        for (const auto& [key, policy] : policies) {
            known.push_back(key);
        }
        table->Expect(known);
        for (const std::string& key : table->Keys()) {
            policies[key] = ReadPolicy(*table, key);
        }
    }
    return policies;
}

std::vector<std::string> ReadValues(const TomlTable& table, const Field& field) {
    return field.kind == Field::Kind::text ? table.Texts(field.key) : table.Numbers(field.key);
}

std::map<std::string, std::vector<std::string>> ReadFields(const TomlTable& table) {
    std::map<std::string, std::vector<std::string>> fields;
    for (const Field& field : Fields()) {
        if (table.Has(field.key)) {
            fields[field.key] = ReadValues(table, field);
        }
    }
    return fields;
}

bool IsPcieAddress(const std::string& text) {
    constexpr std::string_view kForm = "hhhh:hh:hh.h";
    return text.size() == kForm.size() &&
           std::equal(text.begin(), text.end(), kForm.begin(), [](char c, char form) {
               return form == 'h'
                          ? std::string_view("0123456789abcdef").find(c) != std::string_view::npos
                          : c == form;
           });
}

std::string UuidOf(const nlohmann::json& facts) {
    return ValueOf(Fields().front(), facts).value_or("");
}

void CheckMode(const TomlTable& table) {
    constexpr std::array<std::string_view, 4> kModes = {"normal", "offline", "memdiag",
                                                        "maintenance"};
    if (table.Has("mode") &&
        std::find(kModes.begin(), kModes.end(), table.Text("mode")) == kModes.end()) {
        table.Fail("mode", fmt::format("takes one of {}", fmt::join(kModes, ", ")));
    }
}

// A uuid of zeros is none.
bool IsBlank(const std::string& uuid) {
    return uuid.find_first_not_of("0-") == std::string::npos;
}

}  // namespace

Inventory Inventory::Load(const std::filesystem::path& folder) {
    Inventory inventory;
    inventory.ReadCards(TomlFile::Load(folder / "inventory.toml"));
    inventory.ReadFleet(TomlFile::Load(folder / "fleet.toml"));
    return inventory;
}

void Inventory::ReadCards(const TomlFile& text) {
    hasCards_ = text.IsThere();
    text.Root().Expect({"policy", "card"});
    policies_ = ReadPolicies(text.Root(), {{kMissing, Policy::fail}, {kUnexpected, Policy::warn}});
    for (const TomlTable& table : text.Root().Tables("card")) {
        table.Expect(Keys(true, {"pcie"}));
        const std::string pcie = table.Text("pcie");
        if (!IsPcieAddress(pcie)) {
            table.Fail("pcie", "is written as \"0000:02:00.0\"");
        }
        CheckMode(table);
        const bool isNew =
            cards_.emplace(pcie, Expected{ReadFields(table), policies_, "the inventory"}).second;
        if (!isNew) {
            table.Fail("pcie", "stands in front of another card already");
        }
    }
}

void Inventory::ReadFleet(const TomlFile& text) {
    text.Root().Expect({"policy", "generation"});
    const auto policies = ReadPolicies(text.Root(), {});
    const auto generations = text.Root().Table("generation");
    if (!generations) {
        return;
    }
    for (const std::string& name : generations->Keys()) {
        const auto table = generations->Table(name);
        table->Expect(Keys(false, {}));
        generations_[name] = {ReadFields(*table), policies, "fleet.toml"};
    }
}

std::map<std::string, int> Inventory::Missing(const std::vector<std::string>& found) const {
    std::map<std::string, int> missing;
    for (const auto& [pcie, card] : cards_) {
        if (std::find(found.begin(), found.end(), pcie) == found.end()) {
            missing[pcie] = StatusOf(policies_.at(kMissing));
        }
    }
    return missing;
}

std::string Inventory::PlaceOf(const std::string& uuid) const {
    for (const auto& [pcie, card] : cards_) {
        const auto expected = card.fields.find("uuid");
        if (expected != card.fields.end() &&
            std::find(expected->second.begin(), expected->second.end(), uuid) !=
                expected->second.end()) {
            return pcie;
        }
    }
    return "";
}

void Inventory::CompareWith(const Expected& expected, const FoundCard& card,
                            std::vector<Difference>& differences) const {
    for (const Field& field : Fields()) {
        const auto values = expected.fields.find(field.key);
        const int status = field.policy ? StatusOf(expected.policies.at(field.key)) : 0;
        const auto found = ValueOf(field, card.facts);
        // That a card does not tell something is a reason by itself.
        if (values == expected.fields.end() || status == 0 || !found ||
            std::find(values->second.begin(), values->second.end(), *found) !=
                values->second.end()) {
            continue;
        }
        std::vector<std::string> shown;
        for (const std::string& value : values->second) {
            shown.push_back(Show(field, value));
        }
        std::string text = fmt::format("{} {}, not {} as {} says", field.what, Show(field, *found),
                                       fmt::join(shown, " or "), expected.source);
        if (const std::string place = std::string_view(field.key) == "uuid" ? PlaceOf(*found) : "";
            !place.empty()) {
            text += "; that card's place is " + place;
        }
        differences.push_back({text, status});
    }
}

void Inventory::CompareIdentity(const FoundCard& card, const std::vector<FoundCard>& all,
                                std::vector<Difference>& differences) const {
    const int status = StatusOf(policies_.at("uuid"));
    const std::string uuid = UuidOf(card.facts);
    if (uuid.empty() || status == 0) {
        return;
    }
    if (IsBlank(uuid)) {
        differences.push_back({"uuid of zeros: no card can be told from others by it", status});
        return;
    }
    for (const FoundCard& other : all) {
        if (other.pcie != card.pcie && UuidOf(other.facts) == uuid) {
            differences.push_back(
                {fmt::format("uuid {} is also that of the card at {}", uuid, other.pcie), status});
        }
    }
}

std::vector<Difference> Inventory::Compare(const FoundCard& card,
                                           const std::vector<FoundCard>& all) const {
    std::vector<Difference> differences;
    if (hasCards_) {
        const auto expected = cards_.find(card.pcie);
        if (expected != cards_.end()) {
            CompareWith(expected->second, card, differences);
        } else if (const int status = StatusOf(policies_.at(kUnexpected)); status != 0) {
            differences.push_back({"it is not in the inventory", status});
        }
    }
    CompareIdentity(card, all, differences);
    const auto generation = generations_.find(card.facts.value("generation", ""));
    if (generation != generations_.end()) {
        CompareWith(generation->second, card, differences);
    }
    return differences;
}

std::string Inventory::ModeOf(const std::string& pcie) const {
    const auto card = cards_.find(pcie);
    if (card == cards_.end()) {
        return "normal";
    }
    const auto mode = card->second.fields.find("mode");
    return mode == card->second.fields.end() || mode->second.empty() ? "normal"
                                                                     : mode->second.front();
}

}  // namespace zelhealth
