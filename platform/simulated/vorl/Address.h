// Where a port of a node is reached: a stream socket in the abstract name space of the simulated
// host's network, which host processes and programs in a card's root folder share, and which keeps
// no file when its owner dies.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <optional>

#include "vorl.h"

namespace vorl {

struct SocketAddress {
    sockaddr_un address;
    socklen_t length;

    const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&address); }
};

SocketAddress ToSocketAddress(const vorl_portID& port);

// Empty when the name is not one of ToSocketAddress.
std::optional<vorl_portID> FromSocketAddress(const SocketAddress& address);

// The node of this machine: the decimal number in the file /etc/zelsim-node, which a card's root
// folder has; the host, node 0, has none. A process outside such a folder stands for a card by the
// number in its environment variable ZELSIM_NODE. Read once. Empty when there is something else.
std::optional<U16> LocalNode();

// The number of a text that is nothing else; one line end may follow it.
std::optional<U16> ParseNode(const char* text);

}  // namespace vorl
