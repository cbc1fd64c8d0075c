// One run of the tool with something in it that fails.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "HostState.h"
#include "Injection.h"

namespace sweep {

struct Outcome {
    bool hung = false;
    int signal = 0;
    int status = -1;
    std::string out;
    std::string err;
    std::array<std::uint64_t, kKinds> counts{};
    bool struck = false;
    std::string what;                  // that failed
    bool tidied = false;               // it ended with all its static objects destroyed
    std::int64_t blocks = 0;           // allocated and not freed at the end
    std::vector<std::uint32_t> modes;  // of the cards, afterwards

    std::uint64_t CountOf(Kind kind) const { return counts[static_cast<std::size_t>(kind)]; }

    bool operator==(const Outcome&) const = default;
};

class Tool {
public:
    // `preload` are the libraries to load into the tool. Throws std::runtime_error.
    Tool(std::vector<std::string> words, std::string preload);
    ~Tool();
    Tool(const Tool&) = delete;
    Tool& operator=(const Tool&) = delete;

    // Runs the tool with the `at`th thing of this kind failing, 0: none. Cards are in `mode` before it.
    Outcome Run(Kind kind, std::uint64_t at, ZEL_CARD_USAGE_MODE mode);

private:
    std::vector<std::string> words_;
    std::unique_ptr<simulated::HostState> host_;
    std::string environment_;  // with the name of the file in it
    std::string preload_;
    int file_ = -1;
    Injection* injection_ = nullptr;
};

}  // namespace sweep
