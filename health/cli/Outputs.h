// Where commands may write.
#pragma once

#include <string>
#include <vector>

namespace zelhealth {

// Why outputs cannot all be written while inputs are read: two of them go to one place, or one would take the place
// of an input, of the history, or of another file that zelhealth reads or keeps. Empty when they can.
std::string OutputClash(const std::vector<std::string>& outputs,
                        const std::vector<std::string>& inputs = {});

}  // namespace zelhealth
