// Small queries of the host. They report absence, never an error, and do not throw.
#pragma once

#include <string>

namespace Utils {

// Whether the file at `path` can be opened for reading.
bool FileExists(const std::string& path);

// The installed version of the host software stack, or "NotAvailable".
std::string GetHOSKVersion();

}  // namespace Utils
