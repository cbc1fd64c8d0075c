// The names of a program's functions.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace sweep {

class Symbols {
public:
    // Of a program without debug information it knows no names.
    explicit Symbols(std::string program);
    bool KnowsNames() const { return knowsNames_; }

    // The functions in which an address lies, without their arguments, innermost first: more than one
    // where the compiler has taken one into another. Those of system headers are left out. Addresses
    // count from where the program is loaded.
    std::vector<std::string> NamesAt(std::span<const std::uint64_t> addresses);

private:
    void LookUp(std::span<const std::uint64_t> addresses);

    std::string program_;
    bool knowsNames_;
    std::map<std::uint64_t, std::vector<std::string>> names_;
};

}  // namespace sweep
