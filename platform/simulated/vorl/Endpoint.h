// An endpoint: a socket that is open, bound or listening, or a connection. The table knows the open
// endpoints by their descriptors, which are those of their sockets.
//
// Operations return a value of 0 or above, or a negative errno value; vorl.h describes them.
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "common/UniqueFd.h"
#include "vorl.h"
#include "vorl/Connection.h"

namespace vorl {

class Endpoint {
public:
    // An endpoint of `node` without a port. Throws std::system_error without a descriptor for it.
    explicit Endpoint(U16 node);
    // The accepting end of a connection from node `peer`.
    Endpoint(U16 node, U16 peer, platform::UniqueFd connected);

    int Descriptor() const { return socket_.Get(); }

    void Close();

    int Bind(U16 port);
    int Listen(int backlog);
    int Connect(const vorl_portID& peer);
    // `*accepted` is the new endpoint.
    int Accept(vorl_portID* peer, std::shared_ptr<Endpoint>* accepted, bool wait);

    // Null while there is none; from then on the same until the endpoint is destroyed.
    Connection* Connected();

private:
    enum class State { Open, Bound, Listening, Connected };

    int BindTo(U16 port);
    int BindToAnyPort();
    int ConnectNow(const vorl_portID& peer);
    // The next connection that comes from an endpoint; invalid, with errno set, when there is none.
    platform::UniqueFd TakeConnection(vorl_portID* peer);
    int WaitForConnection();

    const U16 node_;
    std::mutex lock_;
    State state_ = State::Open;
    bool closed_ = false;
    const platform::UniqueFd socket_;
    std::unique_ptr<Connection> connection_;  // over the socket
};

class EndpointTable {
public:
    // The table of the process. It is never destroyed: threads may still use it when the process ends.
    static EndpointTable& Instance();

    void Add(std::shared_ptr<Endpoint> endpoint);
    // Null when the descriptor is not open.
    std::shared_ptr<Endpoint> Find(int descriptor);
    std::shared_ptr<Endpoint> Remove(int descriptor);

private:
    std::mutex lock_;
    std::map<int, std::shared_ptr<Endpoint>> endpoints_;
};

}  // namespace vorl
