// Symbolic links as a test wants them: readlink() of the test program answers for the links that are
// set or broken here, and asks the system for all others.
#pragma once

#include <cstddef>
#include <string>

namespace fakes {

void SetLink(const std::string& path, const std::string& target);

// The link cannot be read.
void BreakLink(const std::string& path);

// Forgets every link that was set.
void ClearLinks();

}  // namespace fakes
