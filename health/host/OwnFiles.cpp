#include "host/OwnFiles.h"

#include <algorithm>
#include <filesystem>

namespace zelhealth {

namespace fs = std::filesystem;

namespace {

bool IsBelow(const fs::path& file, const fs::path& folder) {
    std::error_code error;
    const fs::path place = fs::weakly_canonical(fs::absolute(file, error), error);
    fs::path root = fs::weakly_canonical(fs::absolute(folder, error), error);
    if (!root.has_filename()) {
        root = root.parent_path();  // it was written with a "/" at its end
    }
    return std::mismatch(root.begin(), root.end(), place.begin(), place.end()).first == root.end();
}

// The folder's own files may be links to others.
bool IsOneOf(const fs::path& file, const fs::path& folder) {
    std::error_code error;
    if (fs::is_regular_file(file, error)) {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
            if (fs::equivalent(entry.path(), file, error)) {
                return true;
            }
        }
    }
    return false;
}

// A plan of the operator's own may have any name.
bool IsRead(const fs::path& file, const fs::path& configuration) {
    const auto& names = OperatorFiles();
    const bool named =
        file.extension() == ".toml" ||
        std::find(names.begin(), names.end(), file.filename().string()) != names.end();
    return (named && IsBelow(file, configuration)) || IsOneOf(file, configuration);
}

bool IsKept(const fs::path& file, const Folders& folders) {
    return IsBelow(file, folders.run) || IsBelow(file, folders.state / "modes") ||
           IsBelow(file, folders.state / "last-check.jsonl");
}

}  // namespace

const std::vector<std::string>& OperatorFiles() {
    static const std::vector<std::string> names = {"zelhealth.toml", "waivers.toml",
                                                   "inventory.toml", "fleet.toml", "slurm.conf"};
    return names;
}

std::string OwnFileClash(const Folders& folders, const std::vector<std::string>& outputs) {
    for (const std::string& output : outputs) {
        if (output == "-") {
            continue;
        }
        if (IsRead(output, folders.configuration)) {
            return output + " is what zelhealth reads; give the output another file";
        }
        if (IsKept(output, folders)) {
            return output + " belongs to zelhealth itself; give the output another file";
        }
    }
    return "";
}

}  // namespace zelhealth
