// The operator's files: zelhealth.toml, inventory.toml and fleet.toml in turn, by the input's first byte.
//
// Each is taken, or refused with a text that names it; what is taken is taken again alike.
#include <filesystem>
#include <stdexcept>
#include <string>

#include "host/Configuration.h"
#include "inventory/Inventory.h"
#include "support/Expect.h"
#include "support/Input.h"
#include "support/MemoryFile.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

// A folder whose two inventories are links to files in memory.
class Folder {
public:
    Folder() {
        std::string name = std::filesystem::temp_directory_path() / "zeldiag-fuzz.XXXXXX";
        Expect(mkdtemp(name.data()) != nullptr, "a folder can be made");
        path_ = name;
        std::filesystem::create_symlink(inventory.Name(), path_ / "inventory.toml");
        std::filesystem::create_symlink(fleet.Name(), path_ / "fleet.toml");
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

    fuzz::MemoryFile inventory;
    fuzz::MemoryFile fleet;

private:
    std::filesystem::path path_;
};

// What an inventory says of a card and of none.
std::string Said(const zelhealth::Inventory& inventory) {
    std::string said = inventory.HasCards() ? "cards " : "";
    for (const auto& [name, status] : inventory.Missing({})) {
        said += name + " " + std::to_string(status) + "\n";
    }
    const zelhealth::FoundCard card{
        "0000:02:00.0",
        {{"uuid", "u"}, {"generation", "er1x"}, {"cores", 60U}, {"firmware", {{"flash", "2.1"}}}}};
    for (const zelhealth::Difference& difference : inventory.Compare(card, {card}))
        said += difference.text + " " + std::to_string(difference.status) + "\n";
    return said + inventory.ModeOf(card.pcie);
}

template <typename Load>
std::string Told(const std::string& name, const Load& load) {
    try {
        return load();
    } catch (const std::runtime_error& error) {
        const std::string text = error.what();
        Expect(text.find(name) != std::string::npos, "an error without the file: " + text);
        return text;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    static const fuzz::MemoryFile configuration;
    if (size == 0)
        return 0;
    const std::string_view text = fuzz::Text(data + 1, size - 1);
    const bool ofFleet = data[0] % 3 == 2;
    folder.inventory.Set(data[0] % 3 == 1 ? text : "");
    folder.fleet.Set(ofFleet ? text : "");
    configuration.Set(data[0] % 3 == 0 ? text : "");
    for (int i = 0; i < 2; ++i) {
        static std::string before;
        const std::string told =
            data[0] % 3 == 0
                ? Told(configuration.Name(),
                       [] {
                           const auto loaded = zelhealth::Configuration::Load(configuration.Name());
                           return loaded.run.plan.value_or("") + loaded.check.plan.value_or("");
                       })
                : Told(ofFleet ? "fleet.toml" : "inventory.toml",
                       [] { return Said(zelhealth::Inventory::Load(folder.Path())); });
        if (i > 0)
            ExpectEqual(told, before, "what is told again");
        before = told;
    }
    return 0;
}
