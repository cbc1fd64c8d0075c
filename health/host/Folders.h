// Where zelhealth keeps what outlives one run of it, and where an operator tells it what to do.
#pragma once

#include <filesystem>
#include <string>

namespace zelhealth {

struct Folders {
    // Locks and notes, which mean nothing after the next boot: they speak of processes.
    std::filesystem::path run = "/run/zeldiag";

    // What must survive a power cut: the modes in which cards were found.
    std::filesystem::path state = "/var/lib/zeldiag";

    // zelhealth.toml and waivers.toml.
    std::filesystem::path configuration = "/etc/zeldiag";

    // The folders above, each replaced by ZELHEALTH_RUN_FOLDER, ZELHEALTH_STATE_FOLDER and
    // ZELHEALTH_CONFIGURATION_FOLDER where those are set.
    static Folders FromEnvironment();
};

// The folder that a file's name names, "." where it names none.
std::filesystem::path FolderOf(const std::filesystem::path& file);

// Makes a folder and those above it. Gives what went wrong, empty when nothing did.
std::string MakeFolder(const std::filesystem::path& folder);

}  // namespace zelhealth
