// Symbolic links as a test wants them.
#include "FakeLinks.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <optional>

namespace {
// Each with its target, or with none when it cannot be read.
std::map<std::string, std::optional<std::string>>& Links() {
    static std::map<std::string, std::optional<std::string>> links;
    return links;
}
}  // namespace

void fakes::SetLink(const std::string& path, const std::string& target) {
    Links()[path] = target;
}

void fakes::BreakLink(const std::string& path) {
    Links()[path] = std::nullopt;
}

void fakes::ClearLinks() {
    Links().clear();
}

// libc declares its parameters with reserved names, and a link's text has no terminator.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name,bugprone-not-null-terminated-result)
extern "C" ssize_t readlink(const char* path, char* buffer, size_t size) noexcept {
    const auto link = Links().find(path);
    if (link == Links().end())
        return syscall(SYS_readlinkat, AT_FDCWD, path, buffer, size);
    if (!link->second) {
        errno = EACCES;
        return -1;
    }
    const size_t length = std::min(size, link->second->size());
    std::memcpy(buffer, link->second->data(), length);
    return static_cast<ssize_t>(length);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name,bugprone-not-null-terminated-result)
