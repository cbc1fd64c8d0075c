#include "run/Stop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace zelhealth {

Stop::Stop(Stop* stronger) : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), stronger_(stronger) {
    if (event_ < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    if (stronger_ != nullptr) {
        stronger_->weaker_ = this;
    }
}

Stop::~Stop() {
    if (stronger_ != nullptr) {
        stronger_->weaker_ = nullptr;
    }
    close(event_);
}

void Stop::Request() {
    const std::uint64_t one = 1;
    (void)!write(event_, &one, sizeof one);
    if (weaker_ != nullptr) {
        weaker_->Request();
    }
}

bool Stop::Requested() const {
    return WaitFor(0);
}

bool Stop::WaitFor(int milliseconds) const {
    pollfd event{event_, POLLIN, 0};
    return poll(&event, 1, milliseconds) > 0;
}

}  // namespace zelhealth
