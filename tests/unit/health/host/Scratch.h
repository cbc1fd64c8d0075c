// A folder of a test's own, which goes with it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace zelhealth {

class Scratch {
public:
    Scratch() {
        std::string name = std::filesystem::temp_directory_path() / "zelhealth-unit.XXXXXX";
        path_ = mkdtemp(name.data());
    }
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    const std::filesystem::path& Path() const { return path_; }

    // Writes a file and the folders above it.
    std::filesystem::path Write(
        const std::string& name, const std::string& text,
        std::filesystem::perms permissions = std::filesystem::perms(0644)) const {
        std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
        std::filesystem::permissions(file, permissions);
        return file;
    }

    std::filesystem::path Script(const std::string& name, const std::string& text) const {
        return Write(name, "#!/bin/sh\n" + text, std::filesystem::perms(0755));
    }

private:
    std::filesystem::path path_;
};

inline std::string ReadText(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

}  // namespace zelhealth
