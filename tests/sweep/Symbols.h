// The names of a program's functions.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace sweep {

class Symbols {
public:
    // Throws std::runtime_error when the program's symbols cannot be read.
    explicit Symbols(const std::string& program);

    // The function in which the address lies, without its arguments; counted from where the program
    // is loaded.
    std::string NameAt(std::uint64_t address) const;

private:
    std::map<std::uint64_t, std::string> names_;
};

}  // namespace sweep
