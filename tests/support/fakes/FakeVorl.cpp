// The scripted peer, and the operations of libvorl that it answers.
#include "FakeVorl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "CallText.h"
#include "Journal.h"

namespace fakes {

namespace {

constexpr off_t kFirstOffset = 0x80000000;
constexpr U8 kWritten = 0xAD;
constexpr U8 kReply = 0xAC;
constexpr U8 kMessage = 0x5A;
constexpr int kNoEndpoint = 1000;  // what an accept that fails leaves, which means nothing

}  // namespace

FakeVorl& Vorl() {
    static FakeVorl* const fake = new FakeVorl;  // outlives every static object of the program
    return *fake;
}

void FakeVorl::Fail(const std::string& name, int error, unsigned skip, unsigned times) {
    const std::lock_guard lock(lock_);
    failures_.insert_or_assign(name, Failure{-1, error, skip, times, 0});
}

void FakeVorl::Return(const std::string& name, int result, int error, unsigned skip) {
    const std::lock_guard lock(lock_);
    failures_.insert_or_assign(name, Failure{result, error, skip, 1, 0});
}

void FakeVorl::Spoil(unsigned buffer, size_t word, U32 value) {
    const std::lock_guard lock(lock_);
    spoiled_[{buffer, word}] = value;
}

void FakeVorl::Block(Place place) {
    const std::lock_guard lock(blockLock_);
    blocked_ = place;
}

void FakeVorl::BlockAccept() {
    Block(Place::Accepting);
}

void FakeVorl::BlockAccepted() {
    Block(Place::Accepted);
}

void FakeVorl::AwaitBlocked() {
    std::unique_lock lock(blockLock_);
    unblocked_.wait(lock, [this] { return waiting_ > 0; });
}

void FakeVorl::Unblock() {
    const std::lock_guard lock(blockLock_);
    blocked_ = Place::Nowhere;
    unblocked_.notify_all();
}

namespace {

// Counts a waiting thread, also when it is cancelled.
class Waiting {
public:
    explicit Waiting(unsigned& count) : count_(count) { ++count_; }
    ~Waiting() { --count_; }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

private:
    unsigned& count_;
};

}  // namespace

// Asynchronous cancellation would leave the lock held; here the thread waits as the library does.
void FakeVorl::WaitWhileBlocked(Place place) {
    {
        const std::lock_guard lock(blockLock_);
        if (blocked_ != place)
            return;
    }
    int type = PTHREAD_CANCEL_DEFERRED;
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &type);
    {
        std::unique_lock lock(blockLock_);
        const Waiting waiting(waiting_);
        unblocked_.notify_all();
        unblocked_.wait(lock, [this] { return blocked_ == Place::Nowhere; });
    }
    pthread_setcanceltype(type, nullptr);
}

void FakeVorl::On(const std::string& name, std::function<void()> action) {
    const std::lock_guard lock(lock_);
    actions_[name] = std::move(action);
}

std::set<int> FakeVorl::OpenEndpoints() {
    const std::lock_guard lock(lock_);
    return open_;
}

unsigned FakeVorl::CountOf(const std::string& name) {
    const std::lock_guard lock(lock_);
    return counts_[name];
}

std::vector<FakeVorl::Window> FakeVorl::Windows() {
    const std::lock_guard lock(lock_);
    return windows_;
}

void FakeVorl::Reset() {
    Unblock();
    const std::lock_guard lock(lock_);
    failures_.clear();
    actions_.clear();
    counts_.clear();
    spoiled_.clear();
    open_.clear();
    windows_.clear();
    nextDescriptor_ = 3;
    lastMark_ = 0;
}

void FakeVorl::Verify() {
    const std::lock_guard lock(lock_);
    for (const auto& [name, failure] : failures_) {
        EXPECT_TRUE(failure.met > 0 && failure.met >= failure.times)
            << name << " was to fail " << failure.times << " times and failed " << failure.met;
    }
}

bool FakeVorl::Meet(const std::string& name, const std::string& arguments, int* result) {
    TheJournal().Add(name + "(" + arguments + ")");
    std::function<void()> action;
    {
        const std::lock_guard lock(lock_);
        ++counts_[name];
        if (const auto found = actions_.find(name); found != actions_.end())
            action = found->second;
    }
    if (action)
        action();
    const std::lock_guard lock(lock_);
    const auto found = failures_.find(name);
    if (found == failures_.end())
        return false;
    Failure& failure = found->second;
    if (failure.skip > 0) {
        --failure.skip;
        return false;
    }
    if (failure.times != 0 && failure.met >= failure.times)
        return false;
    ++failure.met;
    *result = failure.result;
    errno = failure.error;
    return true;
}

bool FakeVorl::CheckOpen(int epd, const std::string& name) {
    const std::lock_guard lock(lock_);
    if (open_.contains(epd))
        return true;
    // What follows an accept that gave no endpoint is meant to come here.
    EXPECT_EQ(epd, -1) << name << " with a descriptor that is not open";
    errno = EBADF;
    return false;
}

int FakeVorl::OpenEndpoint() {
    const std::lock_guard lock(lock_);
    open_.insert(nextDescriptor_);
    return nextDescriptor_++;
}

void FakeVorl::BringToWindows(U8 byte, const std::function<bool(const Window&)>& chosen) {
    const std::lock_guard lock(lock_);
    for (unsigned index = 0; index < windows_.size(); ++index) {
        const Window& window = windows_[index];
        if (!chosen(window))
            continue;
        std::memset(window.memory, byte, window.length);
        for (const auto& [place, value] : spoiled_) {
            if (place.first == index)
                static_cast<U32*>(window.memory)[place.second] = value;
        }
    }
}

// One call: its name and what it was told, and what the library's operation of that name does.
struct VorlCall {
    std::string name;
    std::string told;
    int result = -1;  // of a call that fails

    // Notes the call; true when it fails.
    bool Fails() { return Vorl().Meet(name, told, &result); }
    bool FailsOn(int epd) { return Fails() || !Vorl().CheckOpen(epd, name); }

    int vorl_open() { return Fails() ? result : Vorl().OpenEndpoint(); }

    int vorl_close(int epd) {
        const bool fails = FailsOn(epd);
        const std::lock_guard lock(Vorl().lock_);
        Vorl().open_.erase(epd);
        return fails ? result : 0;
    }

    int vorl_bind(int epd, U16 port) { return FailsOn(epd) ? result : port; }

    int vorl_listen(int epd, int) { return FailsOn(epd) ? result : 0; }

    int vorl_connect(int epd, const vorl_portID*) { return FailsOn(epd) ? result : 0; }

    int vorl_accept(int epd, vorl_portID* peer, int* newepd, int) {
        Vorl().WaitWhileBlocked(FakeVorl::Place::Accepting);
        if (FailsOn(epd)) {
            *newepd = kNoEndpoint;
            return result;
        }
        *newepd = Vorl().OpenEndpoint();
        *peer = {1, 1024};
        Vorl().WaitWhileBlocked(FakeVorl::Place::Accepted);
        return 0;
    }

    int vorl_send(int epd, const void*, int len, int) { return FailsOn(epd) ? result : len; }

    int vorl_recv(int epd, void* msg, int len, int) {
        const int received = FailsOn(epd) ? result : len;
        if (received > 0)
            std::memset(msg, kMessage, static_cast<size_t>(received));
        return received;
    }

    off_t vorl_register(int epd, void* addr, size_t len, off_t offset, int, int flags) {
        if (FailsOn(epd))
            return result;
        const std::lock_guard lock(Vorl().lock_);
        auto& windows = Vorl().windows_;
        if (flags != VORL_MAP_FIXED)
            offset = windows.empty()
                         ? kFirstOffset
                         : windows.back().offset + static_cast<off_t>(windows.back().length);
        windows.push_back({addr, len, offset});
        return offset;
    }

    int vorl_unregister(int epd, off_t offset, size_t len) {
        if (FailsOn(epd))
            return result;
        const std::lock_guard lock(Vorl().lock_);
        auto& windows = Vorl().windows_;
        const auto gone =
            std::remove_if(windows.begin(), windows.end(), [=](const FakeVorl::Window& window) {
                return window.offset == offset && window.length == len;
            });
        EXPECT_NE(gone, windows.end()) << "no such window";
        windows.erase(gone, windows.end());
        return 0;
    }

    int vorl_writeto(int epd, off_t, size_t, off_t, int) { return FailsOn(epd) ? result : 0; }

    int vorl_readfrom(int epd, off_t local, size_t, off_t, int) {
        if (FailsOn(epd))
            return result;
        Vorl().BringToWindows(
            kReply, [=](const FakeVorl::Window& window) { return window.offset == local; });
        return 0;
    }

    int vorl_fence_mark(int epd, int, int* mark) {
        if (FailsOn(epd))
            return result;
        const std::lock_guard lock(Vorl().lock_);
        *mark = ++Vorl().lastMark_;
        return 0;
    }

    int vorl_fence_wait(int epd, int) {
        if (FailsOn(epd))
            return result;
        Vorl().BringToWindows(kWritten, [](const FakeVorl::Window&) { return true; });
        return 0;
    }
};

}  // namespace fakes

using fakes::at;

#define VORL_CALL(fault, failed, result, name, parameters, arguments, told) \
    result name parameters {                                                \
        return fakes::VorlCall{#name, fakes::Told told}.name arguments;     \
    }
#include "Calls.def"
