// Tells the simulated host of usage modes that have changed. The socket's name is of the abstract kind:
// it belongs to the host's network and leaves no file.
#include "host/ModeChange.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace simulated {

namespace {

constexpr std::string_view kName = "zelsim-mode-change";
constexpr int kBacklog = 64;
constexpr timeval kPatience{.tv_sec = 5, .tv_usec = 0};

struct Address {
    sockaddr_un name{};
    socklen_t length = 0;
    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&name); }
};

Address MakeAddress() {
    Address address;
    address.name.sun_family = AF_UNIX;
    static_assert(kName.size() + 1 < sizeof(address.name.sun_path));
    std::memcpy(address.name.sun_path + 1, kName.data(), kName.size());
    address.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + kName.size());
    return address;
}

}  // namespace

void TellModeChange() {
    const platform::UniqueFd told(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!told.IsValid())
        return;
    setsockopt(told.Get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof(kPatience));
    setsockopt(told.Get(), SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof(kPatience));
    const Address address = MakeAddress();
    if (connect(told.Get(), address.Get(), address.length) != 0)
        return;
    char end = 0;
    while (read(told.Get(), &end, sizeof(end)) < 0 && errno == EINTR) {
    }
}

platform::UniqueFd ListenForModeChanges() {
    platform::UniqueFd listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const Address address = MakeAddress();
    if (!listener.IsValid() || bind(listener.Get(), address.Get(), address.length) != 0 ||
        listen(listener.Get(), kBacklog) != 0)
        return platform::UniqueFd();
    return listener;
}

}  // namespace simulated
