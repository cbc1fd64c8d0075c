// What the host's two halves of the DMA exchange have in common: buffers and their windows, the
// messages that keep both ends in step, and how failures are told.
//
// A half may run on a worker thread that is cancelled at any time. It holds cancellation off while
// it holds memory and locks, and lets it in where it waits for the peer; what unwinds then closes
// and frees everything.
#pragma once

#include <pthread.h>
#include <sys/types.h>

#include <memory>
#include <utility>

#include "vorl.h"

inline constexpr U16 k_VorlPort = 130;
inline constexpr unsigned int k_VorlPageBytes = 4096;
inline constexpr I64 k_VorlMaxBytes = 64 * 1024 * 1024;

// What the side that writes puts into the other's windows, and the reply to it.
inline constexpr U8 k_VorlWrittenByte = 0xAD;
inline constexpr U32 k_VorlWrittenWord = 0xADADADAD;
inline constexpr U8 k_VorlReplyByte = 0xAC;
inline constexpr U32 k_VorlReplyWord = 0xACACACAC;

// Takes the texts that are for the run summary. Nothing in it needs to be destroyed, so it may stand
// in a frame that a cancelled thread leaves.
struct VorlErrorSink {
    void (*take)(void* taker, const char* text);
    void* taker;

    void operator()(const char* text) const { take(taker, text); }
};

// The run summary itself; for the main thread.
extern const VorlErrorSink k_VorlErrorsToSummary;

// Calls a library operation that waits for the peer, with cancellation as `cancelState` allows it.
// This frame owns nothing, because asynchronous cancellation unwinds it at any instruction.
template <typename... Parameters, typename... Arguments>
__attribute__((noinline)) int VorlWait(int cancelState, int (*operation)(Parameters...),
                                       Arguments... arguments) {
    pthread_setcancelstate(cancelState, nullptr);
    const int result = operation(arguments...);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    return result;
}

// An endpoint that is closed at the end.
class VorlEndpoint {
public:
    VorlEndpoint() = default;
    explicit VorlEndpoint(int epd) : epd_(epd) {}
    VorlEndpoint(VorlEndpoint&& other) noexcept : epd_(std::exchange(other.epd_, -1)) {}
    VorlEndpoint& operator=(VorlEndpoint&& other) noexcept;
    ~VorlEndpoint() { Close(); }

    int Get() const { return epd_; }

    // Where a library operation leaves the endpoint that it opens, which is owned from that moment on.
    int* Receive() {
        Close();
        return &epd_;
    }

    // Forgets what an operation that failed may have left.
    void Forget() { epd_ = -1; }

    bool IsValid() const { return epd_ >= 0; }
    void Close();

private:
    int epd_ = -1;
};

// Memory from posix_memalign.
struct VorlFree {
    void operator()(void* memory) const;
};
using VorlMemory = std::unique_ptr<void, VorlFree>;

struct window_info {
    VorlMemory self_addr;   // registered and transferred
    VorlMemory vself_addr;  // filled, never transferred; the accepting half's only
    off_t offset = 0;
};

struct VorlShape {
    size_t msgSize;
    unsigned int numBuff;
    bool mapFixed;
    bool noUnregister;
};

// A half of the exchange. Each step returns false after a failure, which it has reported, and then
// `result_` is the half's result. Windows are freed last, so a half closes its endpoints before.
class VorlExchange {
protected:
    // `failed` is the half's result for failures that have no result of their own.
    VorlExchange(const VorlShape& shape, unsigned int failed, int cancelState,
                 const VorlErrorSink& logError);
    ~VorlExchange() = default;

    bool Fail(const char* summary);

    bool AllocateWindows();
    bool Allocate(VorlMemory& memory, size_t bytes, U8 fill);

    // Registers the windows in order. Without fixed mapping the first suggested offset is `first`.
    bool RegisterWindows(const VorlEndpoint& endpoint, off_t first);
    bool UnregisterWindows(const VorlEndpoint& endpoint);

    // Sends one control message and receives one.
    bool Exchange(const VorlEndpoint& endpoint, const char* label);

    // Checks every word; buffers that agreed are filled with `refill`.
    bool VerifyAndRefill(U32 expected, U8 refill);

    const VorlShape shape_;
    const unsigned int failed_;
    const int cancelState_;
    const VorlErrorSink logError_;
    std::unique_ptr<window_info[]> windows_;
    unsigned int result_ = 0;

private:
    bool Moved(int moved, const char* operation, const char* label);
};

// Reports a transfer that is too large.
void VorlReportTooLarge(const VorlErrorSink& logError);
