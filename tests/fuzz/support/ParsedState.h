// The tool's process-wide state: put back to that of a fresh process, and shown.
#pragma once

#include <string>

namespace fuzz {

// Everything that a command line can set is as at the start of the process again.
void BeginProcess();

// What a parse has selected and set, one item a line.
std::string ShowParsed();

// Whether everything that a parse has set is within its bounds.
void CheckParsed();

// Whether the Memory group's options are.
void CheckMemoryOptions();

}  // namespace fuzz
