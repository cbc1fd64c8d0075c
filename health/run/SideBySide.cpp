#include "run/SideBySide.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace zelhealth {

void SideBySide(std::size_t count, std::size_t jobs, const std::function<void(std::size_t)>& work) {
    std::atomic<std::size_t> next{0};
    std::mutex mutex;
    std::exception_ptr fault;
    const auto doSome = [&] {
        try {
            for (std::size_t i = next++; i < count; i = next++) {
                work(i);
            }
        } catch (...) {
            const std::lock_guard lock(mutex);
            fault = std::current_exception();
            next = count;
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
    if (fault) {
        std::rethrow_exception(fault);
    }
}

}  // namespace zelhealth
