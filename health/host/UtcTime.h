// Points in time as they stand in files and texts: "2026-11-21T20:15:04.123Z".
#pragma once

#include <chrono>
#include <string>

namespace zelhealth {

std::string UtcText(std::chrono::system_clock::time_point time);

}  // namespace zelhealth
