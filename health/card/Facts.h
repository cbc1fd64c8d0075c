// What a card is, as one JSON object.
#pragma once

#include <nlohmann/json.hpp>

#include "Library.h"

namespace zelcard {

// What the enumeration tells of a card, without opening it: "card", "pcie", "name", "generation",
// "device_id", "subsystem_id", "node".
nlohmann::ordered_json Identity(const Library& library, std::size_t card);

// The identity and what the opened card tells: "uuid", "firmware" ("flash", "smc"), "mode",
// "memory_size" in bytes, "cores", "threads" (of all cores), "revision_id", "link" ("width" in lanes,
// "speed"). What it does not tell is null, and stands in "errors" with the call,
// its status and the library's text.
nlohmann::ordered_json Facts(Library& library, std::size_t card);

nlohmann::ordered_json Describe(const CallFailure& failure);

}  // namespace zelcard
