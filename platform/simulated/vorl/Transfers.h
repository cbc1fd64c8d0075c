// The transfers that one end of a connection has begun. Each is cut into requests of at most
// kMaxPayload bytes, of which kMaxRequests may be unanswered; requests go out, are answered and
// complete in the order in which their transfers were begun. Not locked.
#pragma once

#include <memory>
#include <optional>

#include "ZelTypes.h"
#include "vorl/Ring.h"
#include "vorl/Wire.h"

namespace vorl {

inline constexpr size_t kMaxTransfers = 64;

enum class Direction { ToPeer, FromPeer };

struct Transfer {
    Direction direction = Direction::ToPeer;
    U64 local = 0;
    U64 remote = 0;
    U64 length = 0;
    bool awaited = false;  // its caller takes the error from here

    U64 requested = 0;
    size_t unanswered = 0;
    int error = 0;
    bool done = false;

    // Nothing is left to be requested.
    bool Requested() const { return requested == length; }
};

// One piece of a transfer.
struct Request {
    U32 id = 0;
    Direction direction = Direction::ToPeer;
    U64 local = 0;
    U64 remote = 0;
    U32 length = 0;
    Transfer* transfer = nullptr;  // owned by the queue while the request is unanswered
};

class TransferQueue {
public:
    bool Full() const { return transfers_.Full(); }

    // Only while not Full().
    void Begin(std::shared_ptr<Transfer> transfer);

    // The request to be made next; empty when none may be made now. A write waits until all reads
    // are answered, because the peer answers a read after it has taken in what follows it.
    std::optional<Request> Next();

    // The request that Next gave is made, or fails here without being made.
    void Made(const Request& request);
    void Failed(const Request& request, int error);

    // The request that an answer must be for; empty when it is for another one.
    std::optional<Request> Awaited(Direction direction, U32 id);
    void Answered(int error);

    // Everything that has not completed fails.
    void Abandon(int error);

    U64 Begun() const { return begun_; }
    U64 Completed() const { return completed_; }

    // The first error of a transfer that nobody awaited; 0 when there is none since the last call.
    int TakeError();

private:
    void Fail(Transfer& transfer, int error);
    void Retire();

    Ring<std::shared_ptr<Transfer>, kMaxTransfers> transfers_;  // not completed
    Ring<Request, kMaxRequests> requests_;                      // not answered
    size_t unansweredReads_ = 0;
    U32 nextId_ = 1;
    U64 begun_ = 0;
    U64 completed_ = 0;
    int error_ = 0;
};

}  // namespace vorl
