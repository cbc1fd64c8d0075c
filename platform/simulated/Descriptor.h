// Owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace simulated {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            Close();
            descriptor_ = std::exchange(other.descriptor_, -1);
        }
        return *this;
    }

    int Get() const { return descriptor_; }
    bool IsOpen() const { return descriptor_ >= 0; }
    void Close() {
        if (IsOpen())
            close(std::exchange(descriptor_, -1));
    }

private:
    int descriptor_ = -1;
};

}  // namespace simulated
