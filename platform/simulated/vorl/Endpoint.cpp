// Endpoints: their states, and how connections come about.
#include "vorl/Endpoint.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include "vorl/Address.h"
#include "vorl/Cancellation.h"
#include "vorl/Fault.h"

namespace vorl {
namespace {

constexpr U16 kFirstFreePort = 1024;
constexpr U16 kLastPort = 65535;

// A peer program is started by a command whose beginning nobody sees.
constexpr std::chrono::seconds kConnectPatience{3};
constexpr int kConnectPollMilliseconds = 10;

platform::UniqueFd OpenSocket() {
    platform::UniqueFd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd.IsValid())
        throw std::system_error(errno, std::generic_category());
    return fd;
}

void MakeBlocking(int fd) {
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
}

}  // namespace

Endpoint::Endpoint(U16 node) : node_(node), socket_(OpenSocket()) {}

Endpoint::Endpoint(U16 node, U16 peer, platform::UniqueFd connected)
    : node_(node),
      state_(State::Connected),
      socket_(std::move(connected)),
      connection_(std::make_unique<Connection>(socket_.Get(), BrokenLinesTo(peer))) {}

void Endpoint::Close() {
    const std::lock_guard lock(lock_);
    closed_ = true;
    if (connection_)
        connection_->Close();
    else
        shutdown(socket_.Get(), SHUT_RDWR);
}

int Endpoint::BindTo(U16 port) {
    const SocketAddress address = ToSocketAddress({node_, port});
    if (bind(socket_.Get(), address.Get(), address.length) != 0)
        return -errno;
    state_ = State::Bound;
    return port;
}

int Endpoint::BindToAnyPort() {
    for (int port = kFirstFreePort; port <= kLastPort; ++port) {
        const int result = BindTo(static_cast<U16>(port));
        if (result != -EADDRINUSE)
            return result;
    }
    return -ENOSPC;
}

int Endpoint::Bind(U16 port) {
    const std::lock_guard lock(lock_);
    if (state_ != State::Open)
        return -EINVAL;
    return port == 0 ? BindToAnyPort() : BindTo(port);
}

int Endpoint::Listen(int backlog) {
    const std::lock_guard lock(lock_);
    if (state_ != State::Bound || backlog < 1)
        return -EINVAL;
    // The kernel lets one more wait than it is told.
    if (listen(socket_.Get(), backlog - 1) != 0)
        return -errno;
    state_ = State::Listening;
    return 0;
}

int Endpoint::Connect(const vorl_portID& peer) {
    const auto patience = std::chrono::steady_clock::now() + kConnectPatience;
    for (;;) {
        const int result = ConnectNow(peer);
        if (result != -ECONNREFUSED || std::chrono::steady_clock::now() >= patience)
            return result;
        const CancellationPoint cancellable;
        poll(nullptr, 0, kConnectPollMilliseconds);
    }
}

int Endpoint::ConnectNow(const vorl_portID& peer) {
    const std::lock_guard lock(lock_);
    if (closed_)
        return -EBADF;
    if (state_ == State::Connected)
        return -EISCONN;
    if (state_ == State::Listening)
        return -EOPNOTSUPP;
    if (state_ == State::Open) {
        if (const int port = BindToAnyPort(); port < 0)
            return port;
    }
    const SocketAddress address = ToSocketAddress(peer);
    if (connect(socket_.Get(), address.Get(), address.length) != 0)
        return errno == EAGAIN ? -ECONNREFUSED : -errno;  // EAGAIN: too many wait
    MakeBlocking(socket_.Get());
    connection_ = std::make_unique<Connection>(socket_.Get(), BrokenLinesTo(peer.node));
    state_ = State::Connected;
    return 0;
}

platform::UniqueFd Endpoint::TakeConnection(vorl_portID* peer) {
    for (;;) {
        SocketAddress from{};
        from.length = sizeof from.address;
        platform::UniqueFd taken(accept4(socket_.Get(), reinterpret_cast<sockaddr*>(&from.address),
                                         &from.length, SOCK_CLOEXEC));
        if (!taken.IsValid())
            return taken;
        // A socket without a port is not an endpoint's; it is sent away.
        if (const std::optional<vorl_portID> port = FromSocketAddress(from)) {
            *peer = *port;
            return taken;
        }
    }
}

// The listening socket stays this endpoint's while its operations run, so it is used unlocked.
int Endpoint::WaitForConnection() {
    pollfd waiting{.fd = socket_.Get(), .events = POLLIN, .revents = 0};
    const CancellationPoint cancellable;
    if (poll(&waiting, 1, -1) < 0 && errno != EINTR)
        return -errno;
    return 0;
}

int Endpoint::Accept(vorl_portID* peer, std::shared_ptr<Endpoint>* accepted, bool wait) {
    for (;;) {
        {
            const std::lock_guard lock(lock_);
            if (closed_)
                return -EBADF;
            if (state_ != State::Listening)
                return -EINVAL;
            vorl_portID from{};
            platform::UniqueFd taken = TakeConnection(&from);
            if (taken.IsValid()) {
                *accepted = std::make_shared<Endpoint>(node_, from.node, std::move(taken));
                *peer = from;
                return 0;
            }
            if (errno != EAGAIN && errno != ECONNABORTED && errno != EINTR)
                return -errno;
        }
        if (!wait)
            return -EAGAIN;
        if (const int error = WaitForConnection(); error != 0)
            return error;
    }
}

Connection* Endpoint::Connected() {
    const std::lock_guard lock(lock_);
    return connection_.get();
}

EndpointTable& EndpointTable::Instance() {
    static EndpointTable& table = *new EndpointTable;
    return table;
}

void EndpointTable::Add(std::shared_ptr<Endpoint> endpoint) {
    const std::lock_guard lock(lock_);
    const int descriptor = endpoint->Descriptor();
    endpoints_.insert_or_assign(descriptor, std::move(endpoint));
}

std::shared_ptr<Endpoint> EndpointTable::Find(int descriptor) {
    const std::lock_guard lock(lock_);
    const auto found = endpoints_.find(descriptor);
    return found == endpoints_.end() ? nullptr : found->second;
}

std::shared_ptr<Endpoint> EndpointTable::Remove(int descriptor) {
    const std::lock_guard lock(lock_);
    auto node = endpoints_.extract(descriptor);
    return node.empty() ? nullptr : std::move(node.mapped());
}

}  // namespace vorl
