// Reads the symbol table with nm.
#include "Symbols.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace sweep {

namespace {

void Erase(std::string& text, std::string_view part) {
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part))
        text.erase(at, part.size());
}

// "void (anonymous namespace)::Fail<int>(char const*) [clone .cold]" is "Fail".
std::string WithoutArguments(std::string name) {
    Erase(name, "(anonymous namespace)::");
    name.resize(std::min(name.size(), name.find_first_of("(<[")));
    while (name.ends_with(' '))
        name.pop_back();
    return name.substr(name.rfind(' ') + 1);
}

}  // namespace

Symbols::Symbols(const std::string& program) {
    const std::string command = "nm -C --defined-only '" + program + "'";
    const std::unique_ptr<FILE, int (*)(FILE*)> list(popen(command.c_str(), "r"), pclose);
    unsigned long address = 0;
    char type = 0;
    char name[4096];
    while (list && std::fscanf(list.get(), "%lx %c %4095[^\n]", &address, &type, name) == 3) {
        if (std::string_view("tTwW").find(type) != std::string_view::npos)
            names_[address] = WithoutArguments(name);
    }
    if (names_.empty())
        throw std::runtime_error(program + ": no symbols");
}

std::string Symbols::NameAt(std::uint64_t address) const {
    const auto after = names_.upper_bound(address);
    return after == names_.begin() ? "?" : std::prev(after)->second;
}

}  // namespace sweep
