#include "cli/Usage.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "host/Likely.h"
#include "host/Printable.h"

namespace zelhealth {

namespace {

// The command that was reached: options that it does not know are its own.
const CLI::App* Deepest(const CLI::App* app) {
    const std::vector<CLI::App*> given = app->get_subcommands();
    return given.empty() ? app : Deepest(given.front());
}

std::vector<std::string> WordsOf(const CLI::App* app) {
    std::vector<std::string> words;
    for (const CLI::Option* const option : app->get_options()) {
        for (const std::string& name : option->get_lnames()) {
            words.push_back("--" + name);
        }
    }
    for (const CLI::App* const command : app->get_subcommands(nullptr)) {
        words.push_back(command->get_name());
    }
    return words;
}

std::string FullName(const CLI::App* app) {
    const CLI::App* const parent = app->get_parent();
    return parent == nullptr ? app->get_name() : FullName(parent) + " " + app->get_name();
}

}  // namespace

void DeclareVersion(CLI::App& app) {
    app.set_version_flag("--version", "zelhealth " ZELHEALTH_VERSION, "Print the version and exit");
}

std::string UsageError(const CLI::App* app, const CLI::Error& error) {
    const CLI::App* const command = Deepest(app);
    const std::string help = fmt::format("{} --help tells", FullName(command));
    // A command that is not known is missed before it is found to be too much.
    const std::vector<std::string> unknown = command->remaining(true);
    const bool missesCommand = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr &&
                               command->get_require_subcommand_min() > 0;
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr ||
        (missesCommand && !unknown.empty())) {
        const std::string word = unknown.empty() ? "" : unknown.front();
        const std::string likely = Likely(word, WordsOf(command));
        return Printable(fmt::format("{} does not know {}; ", FullName(command), word)) +
               (likely.empty() ? help : "did you mean " + likely + "?") + "\n";
    }
    return Printable(fmt::format("{}: {}; {}", FullName(command), error.what(), help)) + "\n";
}

}  // namespace zelhealth
