// libvorl: messages and remote memory access between the host and its coprocessor cards.
//
// Every party is a node: 0 is the host, N is card N-1. An endpoint is one end of a connection, or a
// place where connections arrive. It is known by its descriptor, is opened by vorl_open and exists
// until vorl_close.
//
//   connecting end:  vorl_open  [vorl_bind]  vorl_connect                    ...  vorl_close
//   accepting end:   vorl_open   vorl_bind   vorl_listen  vorl_accept (new endpoint)  ...  vorl_close
//
// Results: an operation that fails returns -1 and sets errno, and then has changed nothing unless it
// says otherwise. Besides the errors that stand with an operation there are, for all of them,
//
//   EBADF       no open endpoint, or another thread closed it meanwhile
//   EINVAL      a flag, a length or an order of calls that this page does not have
//   EFAULT      a null pointer
//   ENOMEM, EMFILE, ENFILE, EAGAIN   the process has run out of memory, descriptors or threads
//
// and for those that need a connection
//
//   ENOTCONN    the endpoint has none
//   ECONNRESET  the peer has closed its end, has died or does not keep to the protocol
//
// Threads: every operation may be called from any thread. A descriptor is free for reuse as soon as
// vorl_close has returned. An operation is left by cancellation only where it waits for the peer,
// and then holds nothing; what it has begun is not undone.
//
// Windows: memory becomes reachable for the peer by vorl_register. The memory stays the caller's: it
// must live until the window has been unregistered or its endpoint closed, and from then on the
// library does not touch it. A peer reaches nothing but registered windows, whatever it asks for.
//
// Order: the transfers that one endpoint has begun take effect in the order in which they were begun,
// and so do the bytes of its messages. Messages do not wait for transfers: a message that follows a
// transfer without VORL_RMA_SYNC may arrive before it, and a fence is what puts them in order.
#pragma once

#include <sys/types.h>

#include <cstddef>

#include "ZelTypes.h"

struct vorl_portID {
    U16 node;
    U16 port;
};

// Protection of a window: what may be done with its memory, by the peer and by transfers of its own
// endpoint.
enum { VORL_PROT_READ = 1, VORL_PROT_WRITE = 2 };

// vorl_register
enum { VORL_MAP_FIXED = 16 };

// vorl_send, vorl_recv, vorl_accept: wait until it is done.
enum { VORL_SEND_BLOCK = 1, VORL_RECV_BLOCK = 1, VORL_ACCEPT_SYNC = 1 };

// vorl_writeto, vorl_readfrom: return when the transfer has completed.
enum { VORL_RMA_SYNC = 4 };

// vorl_fence_mark: whose transfers.
enum { VORL_FENCE_INIT_SELF = 1, VORL_FENCE_INIT_PEER = 2 };

// Windows lie on page boundaries in memory and in the offset space, and are whole pages long.
inline constexpr size_t VORL_PAGE_BYTES = 4096;

extern "C" {

// Opens an endpoint and returns its descriptor, 0 or above. The caller closes it.
//   ENODEV      the node of this machine is not known
int vorl_open(void);

// Ends the endpoint: its connection, its windows, its port. Operations that wait on it fail. A
// message that vorl_send has returned for still arrives; a transfer that has not completed may or
// may not. The descriptor is gone also when this fails.
int vorl_close(int epd);

// Gives the endpoint a port of this node, once; port 0 stands for any free one. Returns the port.
//   EADDRINUSE  another endpoint has the port; ENOSPC for port 0 when there is none left
int vorl_bind(int epd, U16 port);

// Lets peers connect to the bound endpoint; up to `backlog` (1 at least) wait to be accepted.
int vorl_listen(int epd, int backlog);

// Connects the endpoint to a listening one, and binds it first when it has no port. Returns 0 when
// the connection waits there to be accepted: the first message or transfer waits until it is. A peer
// that is only beginning is waited for: vorl_connect tries for up to 3 seconds before it fails with
// ECONNREFUSED, and fails with any other error at once. May be called again after a failure.
//   ECONNREFUSED  nobody listens there, or too many wait already
//   EISCONN, EOPNOTSUPP  the endpoint is connected or listening
int vorl_connect(int epd, vorl_portID* peer);

// Takes the next connection: a new endpoint goes to `newepd`, which the caller closes, and the
// peer's address to `peer`. The listening endpoint goes on listening. Both outputs are left alone
// on failure. Waits for a peer with VORL_ACCEPT_SYNC.
//   EAGAIN      without VORL_ACCEPT_SYNC: nobody waits
int vorl_accept(int epd, vorl_portID* peer, int* newepd, int flags);

// Sends `len` bytes. With VORL_SEND_BLOCK waits until all are on their way and returns `len`;
// without, sends what there is room for and returns how much that was. At most 64 KiB are under way
// before the peer receives them. Receiving does not follow the borders of sending: messages are one
// stream of bytes. One thread at a time sends on an endpoint.
//   EAGAIN      without VORL_SEND_BLOCK: no room
int vorl_send(int epd, void* msg, int len, int flags);

// Receives up to `len` bytes and returns their number, never 0 unless `len` is. With VORL_RECV_BLOCK
// waits for all `len`; fewer come only when the connection ends behind them. What arrived before
// the connection ended is still received. One thread at a time receives on an endpoint.
//   EAGAIN      without VORL_RECV_BLOCK: nothing there
int vorl_recv(int epd, void* msg, int len, int flags);

// Makes `len` bytes at `addr` a window of the connected endpoint and returns its offset. With
// VORL_MAP_FIXED the window lies at `offset`; without, `offset` is ignored and the window lies at the
// lowest free offset from 0x80000000 on, so that two ends which register the same sizes in the same
// order get the same offsets. Windows never overlap.
//   EINVAL      `addr`, `len` or a fixed `offset` is not in whole pages, or the window would end
//               beyond the offset space
//   EADDRINUSE  another window lies at the fixed offset
//   ENOSPC      the endpoint has 1024 windows already, or no offset is free
off_t vorl_register(int epd, void* addr, size_t len, off_t offset, int prot, int flags);

// Ends the window that vorl_register made of exactly this place and length. Never waits for the
// peer: what is left of a transfer into or out of the window fails with ENXIO.
int vorl_unregister(int epd, off_t offset, size_t len);

// Copies `len` bytes from this endpoint's windows at `local` to the peer's windows at `remote`. Each
// range lies within one window. With VORL_RMA_SYNC returns when the bytes are in the peer's memory;
// without, at once (unless 64 transfers are under way): the memory must then be left alone, and a
// failure is reported, by vorl_fence_wait. A failed transfer may have copied a part.
//   ENXIO       a range that is not within one window
//   EACCES      a window whose protection does not allow it
int vorl_writeto(int epd, off_t local, size_t len, off_t remote, int flags);

// The same in the other direction: from the peer's windows at `remote` to `local`.
int vorl_readfrom(int epd, off_t local, size_t len, off_t remote, int flags);

// Marks the transfers that this endpoint (VORL_FENCE_INIT_SELF) or its peer (VORL_FENCE_INIT_PEER)
// has begun up to now and returns 0; never waits. The mark is good for one vorl_fence_wait.
//   ENOBUFS     16 marks of the endpoint have not been waited for
int vorl_fence_mark(int epd, int flags, int* mark);

// Waits until the marked transfers have completed, returns 0 and forgets the mark. Fails with the
// first error of this endpoint's transfers without VORL_RMA_SYNC that no wait has reported yet, when
// the mark is for them.
int vorl_fence_wait(int epd, int mark);
}
