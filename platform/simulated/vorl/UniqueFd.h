// Owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace vorl {

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

private:
    void Reset() {
        if (fd_ >= 0)
            close(fd_);
    }

    int fd_ = -1;
};

}  // namespace vorl
