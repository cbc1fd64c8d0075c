// One end of a connection: a stream socket and two service threads. One takes in what the peer sends
// and never waits for anything else, so that two ends cannot block each other; the other sends
// answers, messages and requests from queues of fixed size. All state is under one lock.
//
// Operations return a value of 0 or above, or a negative errno value; vorl.h describes them. They
// wait as cancellation points, see Cancellation.h.
#pragma once

#include <sys/types.h>

#include <array>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "vorl/BrokenLine.h"
#include "vorl/Ring.h"
#include "vorl/Transfers.h"
#include "vorl/WindowTable.h"
#include "vorl/Wire.h"

namespace vorl {

class Connection {
public:
    // Over a connected stream socket, which the caller closes afterwards; transfers pass over `lines`.
    // Throws std::bad_alloc or std::system_error.
    explicit Connection(int socket, std::vector<BrokenLine> lines = {});
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Ends the connection and the service threads, and makes every operation fail.
    void Close();

    int Send(std::span<const std::byte> message, bool wait);
    int Receive(std::span<std::byte> message, bool wait);

    off_t Register(void* address, size_t length, off_t offset, int protection, int flags);
    int Unregister(off_t offset, size_t length);

    int TransferBytes(const Transfer& wanted);

    int MarkOwn(int* mark);
    int MarkPeer(int* mark);
    int WaitForMark(int mark);

private:
    // A fence that the peer waits for: it is told when so many transfers have completed.
    struct PeerFence {
        U32 id = 0;
        U64 transfers = 0;
    };
    struct Mark {
        int id = 0;
        bool ofPeer = false;
        U64 count = 0;  // transfers completed here, or fences answered by the peer
    };

    bool ConnectionLost() const { return closed_ || receivingEnded_ || sendingEnded_; }
    int LossError() const;
    template <typename Condition>
    void WaitUntil(std::unique_lock<std::mutex>& lock, Condition condition);
    int AddMark(bool ofPeer, U64 count, int* mark);

    void SendLoop();
    size_t NextFrame();
    size_t PutFrame(const Header& header);
    std::span<std::byte> OutgoingPayload(size_t length);
    size_t NextAnswer();
    size_t NextFenceDone();
    size_t NextCredit();
    size_t NextFence();
    size_t NextMessage();
    size_t NextRequest();

    void ReceiveLoop();
    bool ReceiveFrame();
    bool Take(const Header& header, std::span<const std::byte> payload);
    bool TakeMessage(std::span<const std::byte> payload);
    bool TakeCredit(U32 length);
    bool TakeRequest(const Header& header, std::span<const std::byte> payload);
    bool TakeAnswer(const Header& header, std::span<const std::byte> payload);
    bool TakeFence(U32 id);
    bool TakeFenceDone(U32 id);

    const int socket_;
    const std::vector<BrokenLine> lines_;
    std::vector<std::byte> outgoing_;  // the frame that is being sent; the sending thread's
    std::vector<std::byte> incoming_;  // the payload that is being received; the receiving thread's

    std::mutex lock_;
    std::condition_variable work_;     // for the sending thread
    std::condition_variable changed_;  // for the operations

    bool closed_ = false;
    bool sendingEnded_ = false;
    bool receivingEnded_ = false;

    WindowTable windows_;
    TransferQueue transfers_;
    Ring<Header, kMaxRequests> answers_;  // that the peer waits for; a read's without its bytes
    Ring<PeerFence, kMaxFences> peerFences_;
    bool answeredLast_ = false;  // answers and own requests take turns

    ByteRing inbox_{kMessageWindow};
    U32 received_ = 0;  // taken out of the inbox and not yet credited to the peer

    ByteRing outbox_{kMessageWindow};
    U32 credit_ = kMessageWindow;  // message bytes that the peer has room for
    U64 queued_ = 0;               // message bytes put into the outbox, ever
    U64 sent_ = 0;                 // message bytes handed to the socket, ever
    U32 messageInFlight_ = 0;

    std::array<Mark, kMaxFences> marks_{};
    size_t markCount_ = 0;
    int lastMark_ = 0;
    U64 fencesMarked_ = 0;
    U64 fencesSent_ = 0;
    U64 fencesAnswered_ = 0;

    std::mutex closing_;  // held while the threads are joined
    std::thread sender_;
    std::thread receiver_;
};

}  // namespace vorl
