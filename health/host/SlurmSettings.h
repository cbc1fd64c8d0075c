// slurm.conf of the configuration folder, which Slurm's programs of this system read on each node: lines of
// KEY=VALUE without blanks around the "=", empty lines, and lines that begin with "#". The programs are scripts and
// read it for themselves, so that nothing that hangs is asked first; what is right here is right for them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zelhealth {

// What is wrong with the file, each with file, line and reason. One that is not there is right.
std::vector<std::string> FaultsOfSlurmSettings(const std::filesystem::path& file);

}  // namespace zelhealth
