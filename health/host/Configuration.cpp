// Reads zelhealth.toml.
#include "host/Configuration.h"

#include "host/TomlFile.h"

namespace zelhealth {

Configuration Configuration::Load(const std::filesystem::path& file) {
    Configuration configuration;
    const TomlFile text = TomlFile::Load(file);
    text.Root().Expect({"busy"});
    if (text.Root().Has("busy"))
        configuration.busy = text.Root().Text("busy");
    return configuration;
}

}  // namespace zelhealth
