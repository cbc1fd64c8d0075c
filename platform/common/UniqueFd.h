// Owner of a file descriptor: closed once, at the end of its owner's life.
#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() { Reset(); }
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            Reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }

    int Get() const { return fd_; }
    bool IsValid() const { return fd_ >= 0; }
    void Reset() {
        if (IsValid())
            close(std::exchange(fd_, -1));
    }

private:
    int fd_ = -1;
};

}  // namespace platform
