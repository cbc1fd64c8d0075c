// What is said about a command line that is wrong.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Error.hpp>
#include <string>

namespace zelhealth {

// One line, with the word that was probably meant, or where help is.
std::string UsageError(const CLI::App* app, const CLI::Error& error);

// Declares the option that tells the version.
void DeclareVersion(CLI::App& app);

}  // namespace zelhealth
