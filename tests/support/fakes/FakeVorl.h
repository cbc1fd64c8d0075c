// Stands in for libvorl: a peer that plays its half of the DMA exchange at once.
//
// Every call is noted in the journal as NAME(ARGUMENTS), without pure outputs and message contents:
//
//     vorl_open()    vorl_bind(3, 130)    vorl_connect(3, 1:130)    vorl_accept(3, 1:130, 1)
//     vorl_register(4, 4096, 0x80000000, 3, 0)    vorl_send(4, 4, 1)    vorl_writeto(4, 0x80000000,
//     4096, 0x80000000, 4)    vorl_fence_mark(4, 2)    vorl_fence_wait(4, 1)
//
// Descriptors count from 3 and are not used again. The peer fills all windows with 0xAD in
// vorl_fence_wait, and vorl_readfrom brings 0xAC. A failure that no call meets, and a call with a
// descriptor that is not open, fail the test. May be used from any thread.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "vorl.h"

namespace fakes {

class FakeVorl {
public:
    // `name` returns -1 with errno `error`, or `result` and errno `error`, after `skip` more calls that
    // succeed, `times` times; 0: for ever.
    void Fail(const std::string& name, int error, unsigned skip = 0, unsigned times = 1);
    void Return(const std::string& name, int result, int error = 0, unsigned skip = 0);

    // What the peer brings has `value` in this word of buffer `buffer` (in the order of registration).
    void Spoil(unsigned buffer, size_t word, U32 value);

    // vorl_accept waits until the test lets it go on, or until its thread is cancelled. With
    // `AwaitBlocked` the test waits for a thread to be there.
    void BlockAccept();
    // The same where it has given the new endpoint and is about to return.
    void BlockAccepted();
    void AwaitBlocked();
    void Unblock();

    // Called within every call of `name`, in its thread.
    void On(const std::string& name, std::function<void()> action);

    std::set<int> OpenEndpoints();
    unsigned CountOf(const std::string& name);

    void Reset();
    void Verify();

    // A window as it was registered last, with its memory; for tests that look into it.
    struct Window {
        void* memory;
        size_t length;
        off_t offset;
    };
    std::vector<Window> Windows();

private:
    friend struct VorlCall;

    struct Failure {
        int result;
        int error;
        unsigned skip;
        unsigned times;
        unsigned met;
    };

    // Notes the call; true when it fails, with its result and errno.
    bool Meet(const std::string& name, const std::string& arguments, int* result);
    bool CheckOpen(int epd, const std::string& name);
    int OpenEndpoint();
    void BringToWindows(U8 byte, const std::function<bool(const Window&)>& chosen);
    enum class Place { Nowhere, Accepting, Accepted };
    void Block(Place place);
    void WaitWhileBlocked(Place place);

    std::mutex lock_;
    std::map<std::string, Failure> failures_;
    std::map<std::string, std::function<void()>> actions_;
    std::map<std::string, unsigned> counts_;
    std::map<std::pair<unsigned, size_t>, U32> spoiled_;
    std::set<int> open_;
    std::vector<Window> windows_;
    int nextDescriptor_ = 3;
    int lastMark_ = 0;

    // Not part of what Reset begins anew, but for the flags: a thread may still wait here.
    std::mutex blockLock_;
    std::condition_variable unblocked_;
    Place blocked_ = Place::Nowhere;
    unsigned waiting_ = 0;
};

FakeVorl& Vorl();

}  // namespace fakes
