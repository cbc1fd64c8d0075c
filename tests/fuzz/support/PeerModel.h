// What one end of a connection does with each frame of its peer, when the peer waits for every answer
// before it goes on: the protocol as Wire.h and vorl.h have it, in plain steps.
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "vorl/Wire.h"

namespace fuzz {

using Bytes = std::vector<std::byte>;

struct Frame {
    vorl::Header header;
    Bytes payload;

    bool operator==(const Frame&) const = default;
};

class PeerModel {
public:
    // What the end that is modelled has begun before the peer sends anything; the peer knows the
    // frames. Each at most once, the write before the read, and over windows that exist.
    Frame BeginWrite(U64 local, U32 length, U64 remote);
    Frame BeginRead(U64 local, U32 length, U64 remote);
    Frame SendMessage(std::span<const std::byte> message);
    Frame MarkPeer();

    // The answers to a frame; nothing when it ends the connection.
    std::optional<std::vector<Frame>> Take(const Frame& frame);

    // What the owner of the end receives, and what the windows hold.
    const Bytes& Messages() const { return messages_; }
    const Bytes& Open() const { return open_; }
    const Bytes& Writable() const { return writable_; }

    PeerModel();

private:
    struct Request {
        vorl::Header header;
        U64 local;
    };

    std::optional<std::vector<Frame>> TakeMessage(const Bytes& payload);
    std::optional<std::vector<Frame>> TakeCredit(U32 length);
    std::optional<std::vector<Frame>> TakeWrite(const Frame& frame);
    std::optional<std::vector<Frame>> TakeRead(const Frame& frame);
    std::optional<std::vector<Frame>> TakeAnswer(const Frame& frame);
    std::optional<std::vector<Frame>> TakeFence(U32 id);
    std::optional<std::vector<Frame>> TakeFenceDone(U32 id);
    std::vector<Frame> AnswerFences();

    // The bytes behind a range of one window; `*error` is the errno value of a range without them.
    std::span<std::byte> Find(U64 offset, U64 length, int protection, U32* error);

    Bytes open_;
    Bytes readable_;
    Bytes writable_;
    Bytes messages_;
    std::size_t uncredited_ = 0;
    std::deque<Request> requests_;
    std::vector<U32> fences_;
    bool ownFence_ = false;
};

}  // namespace fuzz
