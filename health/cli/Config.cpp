// zelhealth config check: whether the operator's files are right, before the next run finds that they are not.
#include "cli/Config.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <filesystem>

#include "cli/Host.h"
#include "host/Configuration.h"
#include "host/Folders.h"
#include "host/Print.h"
#include "host/SlurmSettings.h"
#include "host/Waivers.h"
#include "inventory/Inventory.h"
#include "plan/Plan.h"

namespace zelhealth {

namespace {

// Says what is wrong; true when nothing is.
template <typename Read>
bool IsRight(const Read& read) {
    try {
        read();
        return true;
    } catch (const std::runtime_error& fault) {
        Complain(fault.what());
        return false;
    }
}

void CheckConfiguration(const std::filesystem::path& file) {
    const Configuration configuration = Configuration::Load(file);
    if (configuration.run.plan) {
        try {
            LoadPlan(*configuration.run.plan);
        } catch (const PlanError& fault) {
            throw std::runtime_error(file.string() + ": [run] plan: " + fault.what());
        }
    }
}

int CheckFiles() {
    const std::filesystem::path folder = Folders::FromEnvironment().configuration;
    const bool configuration = IsRight([&] { CheckConfiguration(folder / "zelhealth.toml"); });
    const bool waivers = IsRight([&] { Waivers::Load(folder / "waivers.toml"); });
    const bool inventory = IsRight([&] { Inventory::Load(folder); });
    const bool slurm = IsRight([&] { CheckSlurmSettings(folder / "slurm.conf"); });
    if (!configuration || !waivers || !inventory || !slurm) {
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
