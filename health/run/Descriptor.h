// A file descriptor that is closed with its owner.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace zelhealth {

class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            Close();
            descriptor_ = std::exchange(other.descriptor_, -1);
        }
        return *this;
    }
    ~Descriptor() { Close(); }

    int Get() const { return descriptor_; }
    bool IsOpen() const { return descriptor_ >= 0; }

    void Close() {
        if (IsOpen()) {
            close(std::exchange(descriptor_, -1));
        }
    }

    // Makes its number larger than `number`; errno says why it cannot.
    bool MoveAbove(int number) {
        if (descriptor_ > number) {
            return true;
        }
        const int moved = fcntl(descriptor_, F_DUPFD_CLOEXEC, number + 1);
        Close();
        descriptor_ = moved;
        return IsOpen();
    }

private:
    int descriptor_;
};

}  // namespace zelhealth
