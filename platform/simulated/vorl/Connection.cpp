// One end of a connection: the operations of its owner.
#include "vorl/Connection.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include "vorl.h"
#include "vorl/Cancellation.h"
#include "vorl/ServiceThread.h"

namespace vorl {

Connection::Connection(int socket, std::vector<BrokenLine> lines)
    : socket_(socket),
      lines_(std::move(lines)),
      outgoing_(kHeaderBytes + kMaxPayload),
      incoming_(kMaxPayload) {
    try {
        sender_ = StartServiceThread([this] { SendLoop(); });
        receiver_ = StartServiceThread([this] { ReceiveLoop(); });
    } catch (...) {  // without a thread, or without memory for one
        Close();
        throw;
    }
}

Connection::~Connection() {
    Close();
}

void Connection::Close() {
    {
        const std::lock_guard lock(lock_);
        closed_ = true;
        transfers_.Abandon(EBADF);
        work_.notify_all();
        changed_.notify_all();
    }
    shutdown(socket_, SHUT_RDWR);
    const std::lock_guard joining(closing_);
    for (std::thread* thread : {&sender_, &receiver_}) {
        if (thread->joinable())
            thread->join();
    }
}

int Connection::LossError() const {
    return closed_ ? -EBADF : -ECONNRESET;
}

template <typename Condition>
void Connection::WaitUntil(std::unique_lock<std::mutex>& lock, Condition condition) {
    if (condition())
        return;
    const CancellationPoint cancellable;
    changed_.wait(lock, condition);
}

int Connection::Send(std::span<const std::byte> message, bool wait) {
    std::unique_lock lock(lock_);
    size_t done = 0;
    while (done < message.size()) {
        if (wait)
            WaitUntil(lock, [this] { return credit_ > 0 || ConnectionLost(); });
        if (ConnectionLost())
            return LossError();
        if (credit_ == 0)
            break;
        const size_t piece = std::min<size_t>(credit_, message.size() - done);
        outbox_.Push(message.subspan(done, piece));
        credit_ -= static_cast<U32>(piece);
        queued_ += piece;
        done += piece;
        work_.notify_one();
    }
    if (done == 0)
        return message.empty() ? 0 : -EAGAIN;
    const U64 last = queued_;
    // A peer that has closed its end may have received the message before, so this waits for the
    // sending thread's word alone.
    WaitUntil(lock, [this, last] { return sent_ >= last || sendingEnded_; });
    return sent_ >= last ? static_cast<int>(done) : LossError();
}

int Connection::Receive(std::span<std::byte> message, bool wait) {
    std::unique_lock lock(lock_);
    size_t done = 0;
    while (done < message.size()) {
        if (wait)
            WaitUntil(lock, [this] { return inbox_.Size() > 0 || receivingEnded_ || closed_; });
        const size_t piece = inbox_.Pop(message.subspan(done));
        if (piece == 0)
            break;
        done += piece;
        received_ += static_cast<U32>(piece);
        work_.notify_one();
    }
    if (done > 0 || message.empty())
        return static_cast<int>(done);
    return receivingEnded_ || closed_ ? LossError() : -EAGAIN;
}

off_t Connection::Register(void* address, size_t length, off_t offset, int protection, int flags) {
    const std::lock_guard lock(lock_);
    return windows_.Register(address, length, offset, protection, flags);
}

int Connection::Unregister(off_t offset, size_t length) {
    const std::lock_guard lock(lock_);
    return -windows_.Unregister(offset, length);
}

int Connection::TransferBytes(const Transfer& wanted) {
    const auto transfer = std::make_shared<Transfer>(wanted);
    const int protection = wanted.direction == Direction::ToPeer ? VORL_PROT_READ : VORL_PROT_WRITE;
    constexpr U64 kOffsetMax = static_cast<U64>(std::numeric_limits<I64>::max());

    std::unique_lock lock(lock_);
    WaitUntil(lock, [this] { return !transfers_.Full() || ConnectionLost(); });
    if (ConnectionLost())
        return LossError();
    if (wanted.remote > kOffsetMax || wanted.length > kOffsetMax - wanted.remote)
        return -ENXIO;
    if (const int error = windows_.Check(wanted.local, wanted.length, protection); error != 0)
        return -error;
    transfers_.Begin(transfer);
    work_.notify_one();
    if (!wanted.awaited)
        return 0;
    WaitUntil(lock, [&transfer] { return transfer->done; });
    return -transfer->error;
}

int Connection::AddMark(bool ofPeer, U64 count, int* mark) {
    if (markCount_ == marks_.size())
        return -ENOBUFS;
    lastMark_ = lastMark_ == std::numeric_limits<int>::max() ? 1 : lastMark_ + 1;
    marks_[markCount_++] = {lastMark_, ofPeer, count};
    *mark = lastMark_;
    return 0;
}

int Connection::MarkOwn(int* mark) {
    const std::lock_guard lock(lock_);
    return AddMark(false, transfers_.Begun(), mark);
}

int Connection::MarkPeer(int* mark) {
    const std::lock_guard lock(lock_);
    if (ConnectionLost())
        return LossError();
    const int result = AddMark(true, fencesMarked_ + 1, mark);
    if (result == 0) {
        ++fencesMarked_;
        work_.notify_one();
    }
    return result;
}

int Connection::WaitForMark(int mark) {
    std::unique_lock lock(lock_);
    const auto isMark = [mark](const Mark& other) { return other.id == mark; };
    const auto open = [this] { return marks_.begin() + static_cast<std::ptrdiff_t>(markCount_); };
    const auto found = std::find_if(marks_.begin(), open(), isMark);
    if (found == open())
        return -EINVAL;
    const Mark wanted = *found;
    const auto reached = [this, &wanted] {
        return wanted.count <= (wanted.ofPeer ? fencesAnswered_ : transfers_.Completed());
    };
    WaitUntil(lock, [this, &reached] { return reached() || ConnectionLost(); });
    if (std::remove_if(marks_.begin(), open(), isMark) != open())
        --markCount_;
    if (!reached())
        return LossError();
    return wanted.ofPeer ? 0 : -transfers_.TakeError();
}

}  // namespace vorl
