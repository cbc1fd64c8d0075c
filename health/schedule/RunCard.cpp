#include "schedule/RunCard.h"

namespace zelhealth {

std::string RunCard::Fact(const char* name) const {
    const auto fact = entry.facts.find(name);
    return fact != entry.facts.end() && fact->is_string() ? fact->get<std::string>() : "";
}

std::uint64_t RunCard::MemorySize() const {
    const auto size = entry.facts.find("memory_size");
    return size != entry.facts.end() && size->is_number_unsigned() ? size->get<std::uint64_t>() : 0;
}

}  // namespace zelhealth
