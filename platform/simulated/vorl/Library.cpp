// The exported operations of libvorl: arguments, descriptors and errno.
//
// Each has two halves. The outer one holds cancellation off and owns nothing, see Cancellation.h; the
// inner one, kept out of line for that reason, does the work and returns a negative errno value for
// a failure.
#include <cerrno>
#include <limits>
#include <new>
#include <system_error>

#include "vorl.h"
#include "vorl/Address.h"
#include "vorl/Cancellation.h"
#include "vorl/Endpoint.h"
#include "vorl/Fault.h"

namespace vorl {
namespace {

template <typename Result>
Result SetErrno(Result result) {
    if (result >= 0)
        return result;
    errno = static_cast<int>(-result);
    return -1;
}

// Runs the body of the operation named `call`. Only these exceptions: the unwinding of a cancelled
// thread must go on.
template <typename Body>
auto Guarded(const char* call, Body body) -> decltype(body()) {
    int error = 0;
    if (InjectFault(call, &error))
        return -error;
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return -ENOMEM;
    } catch (const std::system_error& failure) {
        return -failure.code().value();
    }
}

template <typename Body>
int WithEndpoint(const char* call, int epd, Body body) {
    return Guarded(call, [&]() -> int {
        const std::shared_ptr<Endpoint> endpoint = EndpointTable::Instance().Find(epd);
        return endpoint ? body(*endpoint) : -EBADF;
    });
}

template <typename Body>
int WithConnection(const char* call, int epd, Body body) {
    return WithEndpoint(call, epd, [&](Endpoint& endpoint) -> int {
        Connection* const connection = endpoint.Connected();
        return connection != nullptr ? body(*connection) : -ENOTCONN;
    });
}

// The inner halves, under the names of the operations that they are.
namespace operation {

#define VORL_CALL(fault, failed, result, name, parameters, arguments, told) \
    __attribute__((noinline)) result name parameters;
#include "Calls.def"

int vorl_open() {
    return Guarded(__func__, [] {
        const std::optional<U16> node = LocalNode();
        if (!node)
            return -ENODEV;
        const auto endpoint = std::make_shared<Endpoint>(*node);
        EndpointTable::Instance().Add(endpoint);
        return endpoint->Descriptor();
    });
}

// The endpoint goes whatever happens, an injected failure included.
int vorl_close(int epd) {
    const std::shared_ptr<Endpoint> endpoint = EndpointTable::Instance().Remove(epd);
    if (endpoint)
        endpoint->Close();
    return Guarded(__func__, [&endpoint] { return endpoint ? 0 : -EBADF; });
}

int vorl_bind(int epd, U16 port) {
    return WithEndpoint(__func__, epd, [=](Endpoint& endpoint) { return endpoint.Bind(port); });
}

int vorl_listen(int epd, int backlog) {
    return WithEndpoint(__func__, epd,
                        [=](Endpoint& endpoint) { return endpoint.Listen(backlog); });
}

int vorl_connect(int epd, vorl_portID* peer) {
    return WithEndpoint(__func__, epd, [=](Endpoint& endpoint) {
        return peer != nullptr ? endpoint.Connect(*peer) : -EFAULT;
    });
}

int vorl_accept(int epd, vorl_portID* peer, int* newepd, int flags) {
    return WithEndpoint(__func__, epd, [=](Endpoint& endpoint) {
        if (peer == nullptr || newepd == nullptr)
            return -EFAULT;
        if ((flags & ~VORL_ACCEPT_SYNC) != 0)
            return -EINVAL;
        std::shared_ptr<Endpoint> accepted;
        vorl_portID from{};
        const int result = endpoint.Accept(&from, &accepted, flags == VORL_ACCEPT_SYNC);
        if (result < 0)
            return result;
        EndpointTable::Instance().Add(accepted);
        *peer = from;
        *newepd = accepted->Descriptor();
        return 0;
    });
}

// The common limits of sending and receiving.
int CheckMessage(const void* msg, int len, int flags, int blockFlag) {
    if ((flags & ~blockFlag) != 0 || len < 0)
        return -EINVAL;
    return msg == nullptr && len > 0 ? -EFAULT : 0;
}

int vorl_send(int epd, void* msg, int len, int flags) {
    return WithConnection(__func__, epd, [=](Connection& connection) {
        if (const int error = CheckMessage(msg, len, flags, VORL_SEND_BLOCK); error != 0)
            return error;
        return connection.Send({static_cast<const std::byte*>(msg), static_cast<size_t>(len)},
                               flags == VORL_SEND_BLOCK);
    });
}

int vorl_recv(int epd, void* msg, int len, int flags) {
    return WithConnection(__func__, epd, [=](Connection& connection) {
        if (const int error = CheckMessage(msg, len, flags, VORL_RECV_BLOCK); error != 0)
            return error;
        return connection.Receive({static_cast<std::byte*>(msg), static_cast<size_t>(len)},
                                  flags == VORL_RECV_BLOCK);
    });
}

off_t vorl_register(int epd, void* addr, size_t len, off_t offset, int prot, int flags) {
    return Guarded(__func__, [=]() -> off_t {
        const std::shared_ptr<Endpoint> endpoint = EndpointTable::Instance().Find(epd);
        if (!endpoint)
            return -EBADF;
        Connection* const connection = endpoint->Connected();
        if (connection == nullptr)
            return -ENOTCONN;
        return connection->Register(addr, len, offset, prot, flags);
    });
}

int vorl_unregister(int epd, off_t offset, size_t len) {
    return WithConnection(
        __func__, epd, [=](Connection& connection) { return connection.Unregister(offset, len); });
}

int TransferBytes(const char* call, int epd, Direction direction, off_t local, size_t len,
                  off_t remote, int flags) {
    return WithConnection(call, epd, [=](Connection& connection) {
        if ((flags & ~VORL_RMA_SYNC) != 0 || len == 0)
            return -EINVAL;
        if (local < 0 || remote < 0)
            return -ENXIO;
        return connection.TransferBytes({.direction = direction,
                                         .local = static_cast<U64>(local),
                                         .remote = static_cast<U64>(remote),
                                         .length = len,
                                         .awaited = flags == VORL_RMA_SYNC});
    });
}

int vorl_writeto(int epd, off_t local, size_t len, off_t remote, int flags) {
    return TransferBytes(__func__, epd, Direction::ToPeer, local, len, remote, flags);
}

int vorl_readfrom(int epd, off_t local, size_t len, off_t remote, int flags) {
    return TransferBytes(__func__, epd, Direction::FromPeer, local, len, remote, flags);
}

int vorl_fence_mark(int epd, int flags, int* mark) {
    return WithConnection(__func__, epd, [=](Connection& connection) {
        if (mark == nullptr)
            return -EFAULT;
        if (flags == VORL_FENCE_INIT_SELF)
            return connection.MarkOwn(mark);
        return flags == VORL_FENCE_INIT_PEER ? connection.MarkPeer(mark) : -EINVAL;
    });
}

int vorl_fence_wait(int epd, int mark) {
    return WithConnection(__func__, epd,
                          [=](Connection& connection) { return connection.WaitForMark(mark); });
}

}  // namespace operation
}  // namespace
}  // namespace vorl

// The outer halves.
#define ARGUMENTS(...) __VA_OPT__(, ) __VA_ARGS__
#define VORL_CALL(fault, failed, result, name, parameters, arguments, told)                    \
    result name parameters {                                                                   \
        using vorl::WithoutCancellation;                                                       \
        return vorl::SetErrno(WithoutCancellation(vorl::operation::name ARGUMENTS arguments)); \
    }
#include "Calls.def"
