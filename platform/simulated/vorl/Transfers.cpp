// Begun transfers: cutting into requests, matching of answers, completion in order.
#include "vorl/Transfers.h"

#include <algorithm>
#include <utility>

namespace vorl {

void TransferQueue::Begin(std::shared_ptr<Transfer> transfer) {
    transfers_.Push(std::move(transfer));
    ++begun_;
}

std::optional<Request> TransferQueue::Next() {
    if (requests_.Full())
        return std::nullopt;
    size_t index = 0;
    while (index < transfers_.Size() && transfers_.At(index)->Requested()) {
        ++index;
    }
    if (index == transfers_.Size())
        return std::nullopt;
    Transfer& transfer = *transfers_.At(index);
    if (transfer.direction == Direction::ToPeer && unansweredReads_ > 0)
        return std::nullopt;
    const U64 left = transfer.length - transfer.requested;
    return Request{.id = nextId_,
                   .direction = transfer.direction,
                   .local = transfer.local + transfer.requested,
                   .remote = transfer.remote + transfer.requested,
                   .length = static_cast<U32>(std::min<U64>(left, kMaxPayload)),
                   .transfer = &transfer};
}

void TransferQueue::Made(const Request& request) {
    requests_.Push(request);
    ++nextId_;
    request.transfer->requested += request.length;
    ++request.transfer->unanswered;
    if (request.direction == Direction::FromPeer)
        ++unansweredReads_;
}

void TransferQueue::Failed(const Request& request, int error) {
    Fail(*request.transfer, error);
    Retire();
}

std::optional<Request> TransferQueue::Awaited(Direction direction, U32 id) {
    if (requests_.Empty() || requests_.Front().direction != direction || requests_.Front().id != id)
        return std::nullopt;
    return requests_.Front();
}

void TransferQueue::Answered(int error) {
    const Request request = requests_.Pop();
    if (request.direction == Direction::FromPeer)
        --unansweredReads_;
    --request.transfer->unanswered;
    if (error != 0)
        Fail(*request.transfer, error);
    Retire();
}

void TransferQueue::Abandon(int error) {
    while (!requests_.Empty()) {
        requests_.Pop();
    }
    unansweredReads_ = 0;
    for (size_t index = 0; index < transfers_.Size(); ++index) {
        Fail(*transfers_.At(index), error);
        transfers_.At(index)->unanswered = 0;
    }
    Retire();
}

int TransferQueue::TakeError() {
    return std::exchange(error_, 0);
}

// The first error counts; what has not been requested yet is left out.
void TransferQueue::Fail(Transfer& transfer, int error) {
    if (transfer.error == 0)
        transfer.error = error;
    transfer.requested = transfer.length;
}

void TransferQueue::Retire() {
    while (!transfers_.Empty() && transfers_.Front()->Requested() &&
           transfers_.Front()->unanswered == 0) {
        const std::shared_ptr<Transfer> transfer = transfers_.Pop();
        transfer->done = true;
        ++completed_;
        if (!transfer->awaited && error_ == 0)
            error_ = transfer->error;
    }
}

}  // namespace vorl
