// One mapping: a guard page stands before, between and behind the windows.
#include "GuardedWindows.h"

#include <sys/mman.h>

#include <algorithm>

#include "Expect.h"

namespace fuzz {

namespace {

constexpr std::size_t kPage = VORL_PAGE_BYTES;
constexpr std::size_t kMappedPages = 10;

void Protect(std::span<std::byte> pages, int protection) {
    ExpectEqual(mprotect(pages.data(), pages.size(), protection), 0, "the result of mprotect");
}

off_t RegisterWindow(vorl::Connection& connection, std::span<std::byte> memory, int protection) {
    return connection.Register(memory.data(), memory.size(), 0, protection, 0);
}

}  // namespace

GuardedWindows::GuardedWindows() {
    void* const mapped =
        mmap(nullptr, kMappedPages * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    Expect(mapped != MAP_FAILED, "there is memory for the windows");
    memory_ = static_cast<std::byte*>(mapped);
    open_ = {memory_ + kPage, 2 * kPage};
    readable_ = {memory_ + 4 * kPage, kPage};
    writable_ = {memory_ + 6 * kPage, kPage};
    forgotten_ = {memory_ + 8 * kPage, kPage};
    Protect(open_, PROT_READ | PROT_WRITE);
    Protect(writable_, PROT_READ | PROT_WRITE);
    Protect(readable_, PROT_READ | PROT_WRITE);
    std::fill(readable_.begin(), readable_.end(), kReadableFill);
    Protect(readable_, PROT_READ);
}

GuardedWindows::~GuardedWindows() {
    munmap(memory_, kMappedPages * kPage);
}

void GuardedWindows::Register(vorl::Connection& connection) {
    std::fill(open_.begin(), open_.end(), kOpenFill);
    for (std::size_t i = 0; i < writable_.size(); ++i)
        writable_[i] = kSecret[i % sizeof(kSecret)];

    constexpr int kBoth = VORL_PROT_READ | VORL_PROT_WRITE;
    ExpectEqual(RegisterWindow(connection, open_, kBoth), off_t{kOpen}, "the first window");
    ExpectEqual(RegisterWindow(connection, readable_, VORL_PROT_READ), off_t{kReadable},
                "the second window");
    ExpectEqual(RegisterWindow(connection, writable_, VORL_PROT_WRITE), off_t{kWritable},
                "the third window");
    ExpectEqual(RegisterWindow(connection, forgotten_, kBoth), off_t{kForgotten},
                "the fourth window");
    ExpectEqual(connection.Unregister(kForgotten, forgotten_.size()), 0, "the end of a window");
}

}  // namespace fuzz
