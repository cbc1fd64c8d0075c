// One end of a connection: what its two service threads do. Neither allocates memory. The receiving
// thread takes in every frame at once; a peer that breaks a limit or sends what makes no sense loses
// the connection.
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "vorl/Connection.h"

namespace vorl {
namespace {

// Credit goes back in larger pieces; the peer's room never falls below the rest of the window.
constexpr U32 kCreditBytes = kMessageWindow / 4;

bool SendAll(int socket, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        bytes = bytes.subspan(static_cast<size_t>(sent));
    }
    return true;
}

// Frames whose payload goes from memory to memory.
bool CarriesTransfer(FrameType type) {
    return type == FrameType::Write || type == FrameType::ReadDone;
}

bool ReceiveAll(int socket, std::span<std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t received = recv(socket, bytes.data(), bytes.size(), 0);
        if (received < 0 && errno == EINTR)
            continue;
        if (received <= 0)
            return false;
        bytes = bytes.subspan(static_cast<size_t>(received));
    }
    return true;
}

}  // namespace

void Connection::SendLoop() {
    std::unique_lock lock(lock_);
    while (!closed_) {
        const size_t bytes = NextFrame();
        if (bytes == 0) {
            work_.wait(lock);
            continue;
        }
        lock.unlock();
        const bool sent = SendAll(socket_, std::span(outgoing_).first(bytes));
        lock.lock();
        if (!sent)
            break;
        if (messageInFlight_ > 0) {
            sent_ += std::exchange(messageInFlight_, 0);
            changed_.notify_all();
        }
    }
    sendingEnded_ = true;
    transfers_.Abandon(ECONNRESET);
    changed_.notify_all();
}

// Puts the next frame together and returns its size; 0 when there is nothing to send.
size_t Connection::NextFrame() {
    for (const auto next : {&Connection::NextFenceDone, &Connection::NextCredit,
                            &Connection::NextFence, &Connection::NextMessage}) {
        if (const size_t bytes = (this->*next)(); bytes > 0)
            return bytes;
    }
    // A peer that asks without end does not keep this end's own requests back.
    if (!answeredLast_) {
        if (const size_t bytes = NextAnswer(); bytes > 0)
            return bytes;
    }
    if (const size_t bytes = NextRequest(); bytes > 0)
        return bytes;
    if (const size_t bytes = NextAnswer(); bytes > 0)
        return bytes;
    // A request that could not be made may have been the last that a fence of the peer waited for.
    return NextFenceDone();
}

size_t Connection::PutFrame(const Header& header) {
    if (CarriesTransfer(header.type))
        PassOver(lines_, true, OutgoingPayload(PayloadBytes(header)));
    const HeaderBytes bytes = EncodeHeader(header);
    std::copy(bytes.begin(), bytes.end(), outgoing_.begin());
    return kHeaderBytes + PayloadBytes(header);
}

std::span<std::byte> Connection::OutgoingPayload(size_t length) {
    return std::span(outgoing_).subspan(kHeaderBytes, length);
}

size_t Connection::NextAnswer() {
    if (answers_.Empty())
        return 0;
    Header header = answers_.Pop();
    if (header.type == FrameType::ReadDone) {
        header.status =
            static_cast<U32>(windows_.Load(header.offset, OutgoingPayload(header.length)));
        header.offset = 0;
        if (header.status != 0)
            header.length = 0;
    }
    answeredLast_ = true;
    return PutFrame(header);
}

size_t Connection::NextFenceDone() {
    if (peerFences_.Empty() || peerFences_.Front().transfers > transfers_.Completed())
        return 0;
    return PutFrame({.type = FrameType::FenceDone, .id = peerFences_.Pop().id});
}

size_t Connection::NextCredit() {
    if (received_ < kCreditBytes)
        return 0;
    return PutFrame({.type = FrameType::Credit, .length = std::exchange(received_, 0)});
}

size_t Connection::NextFence() {
    if (fencesSent_ == fencesMarked_)
        return 0;
    return PutFrame({.type = FrameType::Fence, .id = static_cast<U32>(++fencesSent_)});
}

size_t Connection::NextMessage() {
    if (outbox_.Size() == 0)
        return 0;
    const size_t length = outbox_.Pop(OutgoingPayload(kMaxPayload));
    messageInFlight_ = static_cast<U32>(length);
    return PutFrame({.type = FrameType::Message, .length = messageInFlight_});
}

size_t Connection::NextRequest() {
    while (const std::optional<Request> request = transfers_.Next()) {
        const bool isWrite = request->direction == Direction::ToPeer;
        const int error =
            isWrite ? windows_.Load(request->local, OutgoingPayload(request->length)) : 0;
        if (error != 0) {
            transfers_.Failed(*request, error);
            changed_.notify_all();
            continue;
        }
        transfers_.Made(*request);
        answeredLast_ = false;
        return PutFrame({.type = isWrite ? FrameType::Write : FrameType::Read,
                         .id = request->id,
                         .offset = request->remote,
                         .length = request->length});
    }
    return 0;
}

void Connection::ReceiveLoop() {
    while (ReceiveFrame()) {
    }
    // The peer learns of it, whichever end is at fault.
    shutdown(socket_, SHUT_RDWR);
    const std::lock_guard lock(lock_);
    receivingEnded_ = true;
    transfers_.Abandon(ECONNRESET);
    changed_.notify_all();
}

bool Connection::ReceiveFrame() {
    HeaderBytes bytes;
    if (!ReceiveAll(socket_, bytes))
        return false;
    const std::optional<Header> header = DecodeHeader(bytes);
    if (!header)
        return false;
    const std::span payload = std::span(incoming_).first(PayloadBytes(*header));
    if (!ReceiveAll(socket_, payload))
        return false;
    if (CarriesTransfer(header->type))
        PassOver(lines_, false, payload);
    const std::lock_guard lock(lock_);
    return Take(*header, payload);
}

// False when the peer does not keep to the protocol.
bool Connection::Take(const Header& header, std::span<const std::byte> payload) {
    switch (header.type) {
        case FrameType::Message:
            return TakeMessage(payload);
        case FrameType::Credit:
            return TakeCredit(header.length);
        case FrameType::Write:
        case FrameType::Read:
            return TakeRequest(header, payload);
        case FrameType::WriteDone:
        case FrameType::ReadDone:
            return TakeAnswer(header, payload);
        case FrameType::Fence:
            return TakeFence(header.id);
        case FrameType::FenceDone:
            return TakeFenceDone(header.id);
    }
    return false;
}

bool Connection::TakeMessage(std::span<const std::byte> payload) {
    if (payload.size() > inbox_.Room())
        return false;
    inbox_.Push(payload);
    changed_.notify_all();
    return true;
}

bool Connection::TakeCredit(U32 length) {
    if (length > kMessageWindow - credit_)
        return false;
    credit_ += length;
    changed_.notify_all();
    return true;
}

bool Connection::TakeRequest(const Header& header, std::span<const std::byte> payload) {
    if (answers_.Full())
        return false;
    if (header.type == FrameType::Read) {
        answers_.Push({.type = FrameType::ReadDone,
                       .id = header.id,
                       .offset = header.offset,
                       .length = header.length});
    } else {
        const int error = windows_.Store(header.offset, payload);
        answers_.Push(
            {.type = FrameType::WriteDone, .status = static_cast<U32>(error), .id = header.id});
    }
    work_.notify_one();
    return true;
}

bool Connection::TakeAnswer(const Header& header, std::span<const std::byte> payload) {
    const bool isRead = header.type == FrameType::ReadDone;
    const std::optional<Request> request =
        transfers_.Awaited(isRead ? Direction::FromPeer : Direction::ToPeer, header.id);
    if (!request)
        return false;
    int error = static_cast<int>(header.status);
    if (isRead && error == 0) {
        if (payload.size() != request->length)
            return false;
        error = windows_.Store(request->local, payload);
    }
    const U64 completed = transfers_.Completed();
    transfers_.Answered(error);
    if (transfers_.Completed() != completed)
        changed_.notify_all();
    work_.notify_one();
    return true;
}

bool Connection::TakeFence(U32 id) {
    if (peerFences_.Full())
        return false;
    peerFences_.Push({id, transfers_.Begun()});
    work_.notify_one();
    return true;
}

bool Connection::TakeFenceDone(U32 id) {
    if (fencesAnswered_ == fencesSent_ || id != static_cast<U32>(fencesAnswered_ + 1))
        return false;
    ++fencesAnswered_;
    changed_.notify_all();
    return true;
}

}  // namespace vorl
