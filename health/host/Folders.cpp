// Finds and makes the folders that zelhealth writes to.
#include "host/Folders.h"

#include <cstdlib>
#include <system_error>

namespace zelhealth {

namespace fs = std::filesystem;

namespace {

void Replace(fs::path& folder, const char* variable) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0')
        folder = value;
}

}  // namespace

Folders Folders::FromEnvironment() {
    Folders folders;
    Replace(folders.run, "ZELHEALTH_RUN_FOLDER");
    Replace(folders.state, "ZELHEALTH_STATE_FOLDER");
    Replace(folders.configuration, "ZELHEALTH_CONFIGURATION_FOLDER");
    return folders;
}

fs::path FolderOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : ".";
}

std::string MakeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    return error ? "cannot make the folder " + folder.string() + ": " + error.message() : "";
}

}  // namespace zelhealth
