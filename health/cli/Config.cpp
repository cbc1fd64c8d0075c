// zelhealth config check: whether the operator's files are right, before the next run finds that they are not.
#include "cli/Config.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>

#include "cli/Host.h"
#include "host/Configuration.h"
#include "host/Folders.h"
#include "host/Likely.h"
#include "host/OwnFiles.h"
#include "host/Print.h"
#include "host/SlurmSettings.h"
#include "host/TomlFile.h"
#include "host/Waivers.h"
#include "inventory/Inventory.h"
#include "plan/Plan.h"

namespace zelhealth {

namespace {

using Files = std::vector<std::string>;

// Says all that is wrong with a file, in the order in which it is found; true when nothing is. What is wrong is left
// out, and the rest read again; a table that lacks something is left out as a whole.
template <typename Read>
bool IsRight(const std::filesystem::path& name, const Read& read) {
    bool right = true;
    try {
        TomlFile file = TomlFile::Load(name);
        for (bool again = true; again;) {
            try {
                read(file);
                again = false;
            } catch (const TomlError& fault) {
                right = false;
                if (!file.HasLeftOut(fault)) {
                    Complain(fault.what());
                }
                again = file.LeaveOut(fault);
            }
        }
    } catch (const std::runtime_error& fault) {
        Complain(fault.what());
        return false;
    }
    return right;
}

void CheckConfiguration(const std::filesystem::path& name, const TomlFile& file) {
    const Configuration configuration = Configuration::Read(file);
    if (configuration.run.plan) {
        try {
            LoadPlan(*configuration.run.plan);
        } catch (const PlanError& fault) {
            throw std::runtime_error(name.string() + ": [run] plan: " + fault.what());
        }
    }
}

// The operator's file that was meant by another name; empty where none was. Plans may have any name, and copies
// that an editor keeps have other ends.
std::string MeantBy(const std::filesystem::path& name) {
    Files stems;
    for (const std::filesystem::path known : OperatorFiles()) {
        if (known == name) {
            return "";
        }
        if (known.extension() == name.extension()) {
            stems.push_back(known.stem().string());
        }
    }
    const std::string likely = Likely(name.stem().string(), stems);
    return likely.empty() ? "" : likely + name.extension().string();
}

// Names that are like those of an operator's files: what stands there counts for nothing. True when there are none.
bool HasNoOthers(const std::filesystem::path& folder) {
    bool none = true;
    std::error_code error;
    Files names;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        if (const std::string meant = MeantBy(name); !meant.empty()) {
            Complain(fmt::format("{}: nobody reads this file; probably {}",
                                 (folder / name).string(), meant));
            none = false;
        }
    }
    return none;
}

int CheckFiles() {
    const std::filesystem::path folder = Folders::FromEnvironment().configuration;
    const std::filesystem::path configuration = folder / "zelhealth.toml";
    bool right = IsRight(configuration, [&configuration](const TomlFile& file) {
        CheckConfiguration(configuration, file);
    });
    right = IsRight(folder / "waivers.toml", Waivers::Read) && right;
    right = IsRight(folder / "inventory.toml",
                    [](const TomlFile& file) { Inventory().ReadCards(file); }) &&
            right;
    right =
        IsRight(folder / "fleet.toml", [](const TomlFile& file) { Inventory().ReadFleet(file); }) &&
        right;
    for (const std::string& fault : FaultsOfSlurmSettings(folder / "slurm.conf")) {
        Complain(fault);
        right = false;
    }
    if (!HasNoOthers(folder) || !right) {
        return kUnknown;
    }
    std::string there;
    for (const char* const name :
         {"zelhealth.toml", "waivers.toml", "inventory.toml", "fleet.toml", "slurm.conf"}) {
        std::error_code error;
        if (std::filesystem::exists(folder / name, error)) {
            there += (there.empty() ? "" : ", ") + std::string(name);
        }
    }
    Print(stdout,
          fmt::format("{}: {}\n", folder.string(),
                      there.empty() ? "there is no file of an operator" : there + ": right"));
    return kGood;
}

}  // namespace

void DeclareConfig(CLI::App& app, int& status) {
    CLI::App* const config = app.add_subcommand("config", "What an operator has told");
    config->require_subcommand(1);
    CLI::App* const check =
        config->add_subcommand("check", "Say what is wrong with the operator's files");
    check->callback([&status] { status = CheckFiles(); });
}

}  // namespace zelhealth
