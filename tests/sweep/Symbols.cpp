// Asks llvm-addr2line: that of binutils names an inlined function without linkage by the symbol around it.
#include "Symbols.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <sstream>
#include <string_view>

namespace sweep {

namespace {

void Erase(std::string& text, std::string_view part) {
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part))
        text.erase(at, part.size());
}

// "void TE::Fail<int>(char const*) [clone .cold]" is "TE::Fail". What has no linkage goes by its last name,
// as it does where it was taken into another function.
std::string WithoutArguments(std::string name) {
    constexpr std::string_view kNoLinkage = "(anonymous namespace)::";
    const size_t hidden = name.find(kNoLinkage);
    Erase(name, kNoLinkage);
    name.resize(std::min(name.size(), name.find_first_of("(<[")));
    while (name.ends_with(' '))
        name.pop_back();
    name.erase(0, name.rfind(' ') + 1);
    return hidden == name.npos ? name : name.substr(name.rfind(':') + 1);
}

std::string Output(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(popen(command.c_str(), "r"), pclose);
    std::string text;
    char piece[4096];
    while (const size_t length = stream ? std::fread(piece, 1, sizeof piece, stream.get()) : 0)
        text.append(piece, length);
    return text;
}

}  // namespace

Symbols::Symbols(std::string program)
    : program_(std::move(program)),
      knowsNames_(Output("readelf --sections --wide '" + program_ + "'").find(" .debug_info ") !=
                  std::string::npos) {}

// "0x1067", then for each function its name and its place on a line each.
void Symbols::LookUp(std::span<const std::uint64_t> addresses) {
    std::ostringstream command;
    command << "/usr/bin/llvm-addr2line --addresses --functions --inlines --demangle --exe='"
            << program_ << "'" << std::hex;
    for (const std::uint64_t address : addresses)
        command << " 0x" << address;
    std::istringstream lines(Output(command.str()));
    std::vector<std::string>* names = nullptr;
    for (std::string line, place; std::getline(lines, line);) {
        if (line.starts_with("0x"))
            names = &names_[std::stoull(line, nullptr, 16)];
        else if (names != nullptr && std::getline(lines, place) &&
                 !place.starts_with("/usr/include/"))
            names->push_back(WithoutArguments(line));
    }
}

std::vector<std::string> Symbols::NamesAt(std::span<const std::uint64_t> addresses) {
    std::vector<std::uint64_t> unknown;
    std::ranges::copy_if(addresses, std::back_inserter(unknown),
                         [&](std::uint64_t address) { return !names_.contains(address); });
    if (!unknown.empty() && knowsNames_)
        LookUp(unknown);
    std::vector<std::string> names;
    for (const std::uint64_t address : addresses)
        names.insert(names.end(), names_[address].begin(), names_[address].end());
    return names;
}

}  // namespace sweep
