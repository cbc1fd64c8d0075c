#include "run/SideBySide.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace zelhealth {

void SideBySide(std::size_t count, std::size_t jobs, const std::function<void(std::size_t)>& work) {
    std::atomic<std::size_t> next{0};
    const auto doSome = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            work(i);
        }
    };
    const std::size_t wanted = std::min(jobs, count);
    std::vector<std::thread> helpers;
    helpers.reserve(wanted);
    try {
        while (helpers.size() + 1 < wanted) {
            helpers.emplace_back(doSome);
        }
    } catch (const std::system_error&) {
        // This thread does what is left to do.
    }
    doSome();
    for (std::thread& helper : helpers) {
        helper.join();
    }
}

}  // namespace zelhealth
