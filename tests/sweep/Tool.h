// One run of the tool with something in it that fails.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Injection.h"
#include "Outcome.h"
#include "Symbols.h"
#include "host/HostState.h"

namespace sweep {

class Tool {
public:
    // `words` begins with the path of the tool; `preload` are the libraries to load into it. Throws
    // std::runtime_error.
    Tool(std::vector<std::string> words, std::string preload);
    ~Tool();
    Tool(const Tool&) = delete;
    Tool& operator=(const Tool&) = delete;

    // Whether outcomes name the functions that led to a failure.
    bool NamesFunctions() const { return symbols_.KnowsNames(); }

    // Runs the tool with the `at`th thing of this kind failing, 0: none. Cards are in `mode` before it.
    Outcome Run(Kind kind, std::uint64_t at, ZEL_CARD_USAGE_MODE mode);

private:
    // The tool's functions that hold the addresses.
    std::vector<std::string> NamesOf(const std::array<std::uint64_t, kDepth>& site);

    std::vector<std::string> words_;
    std::unique_ptr<simulated::HostState> host_;
    std::string environment_;  // with the name of the file in it
    std::string preload_;
    Symbols symbols_;
    int file_ = -1;
    Injection* injection_ = nullptr;
};

}  // namespace sweep
