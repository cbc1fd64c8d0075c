// The worker threads of the DMA tests. One kind copies the card's program to the card and runs it
// there, the other is the host's half of an exchange; a test starts them, looks at how far they
// are, and joins or abandons them.
//
// An abandoned worker runs on, beyond its test and perhaps to the end of the process. Each therefore
// has a record of its own, which is never freed once the worker is abandoned, and reads everything
// else that it needs from it; and the process then ends without destroying what the worker may use.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>

#include "ZelTypes.h"

struct DmaPass {
    // Set before the worker starts.
    short card = 0;
    const char* program = nullptr;

    std::atomic<bool> scpComplete{false};  // the program is on the card

    const char* error = nullptr;        // for the run summary; to be read when finished
    std::atomic<bool> finished{false};  // the host's half has ended

    DmaPass* nextAbandoned = nullptr;
};

// Which programs a test uploads, what they print, and what the worker does and says of its own.
struct DmaPeer {
    const char* er1xProgram;
    const char* ev1xProgram;
    bool wholeName;  // the card's name must be the brand text; else it need only begin with it
    const char* successText;
    const char* missingText;
    bool (*allowCancellation)();  // of the worker, at any time; reports what fails
};

class DmaWorker {
public:
    DmaWorker();
    ~DmaWorker();
    DmaWorker(const DmaWorker&) = delete;
    DmaWorker& operator=(const DmaWorker&) = delete;

    DmaPass& Pass() { return *pass_; }

    // Starts the thread, which gets the record as its argument.
    bool Start(void* (*function)(void* pass));

    // Whether the upload has ended: `k_DmaUploadChecks` checks with a pause after each, and a last.
    bool WaitForUpload(unsigned int pauseSeconds) const;

    bool Join(void** result);

    // Cancels a worker that has not finished; false when there is none to cancel any more.
    bool CancelUnfinished();

private:
    std::unique_ptr<DmaPass> pass_;
    pthread_t thread_{};
    bool started_ = false;
};

inline constexpr int k_DmaUploadChecks = 12;

// What a worker returns.
inline void* DmaWorkerResult(int value) {
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(value));
}

// Fills the record of an uploading worker for the open card.
void DmaChoosePeer(DmaPass& pass, const DmaPeer& peer);

// An uploading worker's work: looks for the clients, allows cancellation, copies the program, runs it
// to its end, looks for the success text. Failures are printed. Returns the worker's result.
void* DmaRunPeer(DmaPass& pass, const DmaPeer& peer);
