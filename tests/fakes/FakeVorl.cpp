// The scripted peer, and the operations of libvorl that it answers.
#include "FakeVorl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Journal.h"

namespace fakes {

namespace {

constexpr off_t kFirstOffset = 0x80000000;
constexpr U8 kWritten = 0xAD;
constexpr U8 kReply = 0xAC;
constexpr int kNoEndpoint = 1000;  // what an accept that fails leaves, which means nothing

std::string Hex(off_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%lX", static_cast<unsigned long>(value));
    return text;
}

std::string List(std::initializer_list<std::string> items) {
    std::string text;
    for (const std::string& item : items) {
        text += (text.empty() ? "" : ", ") + item;
    }
    return text;
}

std::string Text(const vorl_portID& port) {
    return std::to_string(port.node) + ":" + std::to_string(port.port);
}

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

void FakeVorl::Bring(const Window& window, unsigned index, U8 byte) {
    std::memset(window.memory, byte, window.length);
    for (const auto& [place, value] : spoiled_) {
        if (place.first == index)
            static_cast<U32*>(window.memory)[place.second] = value;
    }
}

// What every operation on an endpoint begins with; the fake's inner half of the library.
struct VorlCalls {
    static bool Ends(const std::string& name, int epd, const std::string& arguments, int* result) {
        *result = -1;
        return Vorl().Meet(name, arguments, result) || !Vorl().CheckOpen(epd, name);
    }

    static int Open() {
        int result = 0;
        return Vorl().Meet("vorl_open", "", &result) ? result : Vorl().OpenEndpoint();
    }

    static int Close(int epd) {
        int result = 0;
        const bool ends = Ends("vorl_close", epd, std::to_string(epd), &result);
        const std::lock_guard lock(Vorl().lock_);
        Vorl().open_.erase(epd);
        return ends ? result : 0;
    }

    static int Accept(int epd, vorl_portID* peer, int* newepd, int flags) {
        Vorl().WaitWhileBlocked(FakeVorl::Place::Accepting);
        int result = 0;
        if (Ends("vorl_accept", epd,
                 List({std::to_string(epd), Text(*peer), std::to_string(flags)}), &result)) {
            *newepd = kNoEndpoint;
            return result;
        }
        *newepd = Vorl().OpenEndpoint();
        *peer = {1, 1024};
        Vorl().WaitWhileBlocked(FakeVorl::Place::Accepted);
        return 0;
    }

    static off_t Register(int epd, void* addr, size_t len, off_t offset, int prot, int flags) {
        int result = 0;
        if (Ends("vorl_register", epd,
                 List({std::to_string(epd), std::to_string(len), Hex(offset), std::to_string(prot),
                       std::to_string(flags)}),
                 &result))
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

    static int Unregister(int epd, off_t offset, size_t len) {
        int result = 0;
        if (Ends("vorl_unregister", epd,
                 List({std::to_string(epd), Hex(offset), std::to_string(len)}), &result))
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

    static int Transfer(const std::string& name, int epd, off_t local, size_t len, off_t remote,
                        int flags) {
        int result = 0;
        if (Ends(name, epd,
                 List({std::to_string(epd), Hex(local), std::to_string(len), Hex(remote),
                       std::to_string(flags)}),
                 &result))
            return result;
        if (name != "vorl_readfrom")
            return 0;
        const std::lock_guard lock(Vorl().lock_);
        for (unsigned index = 0; index < Vorl().windows_.size(); ++index) {
            if (Vorl().windows_[index].offset == local)
                Vorl().Bring(Vorl().windows_[index], index, kReply);
        }
        return 0;
    }

    static int MarkFence(int epd, int flags, int* mark) {
        int result = 0;
        if (Ends("vorl_fence_mark", epd, List({std::to_string(epd), std::to_string(flags)}),
                 &result))
            return result;
        const std::lock_guard lock(Vorl().lock_);
        *mark = ++Vorl().lastMark_;
        return 0;
    }

    static int WaitForFence(int epd, int mark) {
        int result = 0;
        if (Ends("vorl_fence_wait", epd, List({std::to_string(epd), std::to_string(mark)}),
                 &result))
            return result;
        const std::lock_guard lock(Vorl().lock_);
        for (unsigned index = 0; index < Vorl().windows_.size(); ++index) {
            Vorl().Bring(Vorl().windows_[index], index, kWritten);
        }
        return 0;
    }

    // An operation of which nothing but its result is seen.
    static int Simple(const std::string& name, int epd, const std::string& arguments, int success) {
        int result = 0;
        return Ends(name, epd, arguments, &result) ? result : success;
    }
};

}  // namespace fakes

using fakes::VorlCalls;

int vorl_open(void) {
    return VorlCalls::Open();
}

int vorl_close(int epd) {
    return VorlCalls::Close(epd);
}

int vorl_bind(int epd, U16 port) {
    return VorlCalls::Simple("vorl_bind", epd,
                             fakes::List({std::to_string(epd), std::to_string(port)}), port);
}

int vorl_listen(int epd, int backlog) {
    return VorlCalls::Simple("vorl_listen", epd,
                             fakes::List({std::to_string(epd), std::to_string(backlog)}), 0);
}

int vorl_connect(int epd, vorl_portID* peer) {
    return VorlCalls::Simple("vorl_connect", epd,
                             fakes::List({std::to_string(epd), fakes::Text(*peer)}), 0);
}

int vorl_accept(int epd, vorl_portID* peer, int* newepd, int flags) {
    return VorlCalls::Accept(epd, peer, newepd, flags);
}

int vorl_send(int epd, void*, int len, int flags) {
    return VorlCalls::Simple(
        "vorl_send", epd,
        fakes::List({std::to_string(epd), std::to_string(len), std::to_string(flags)}), len);
}

int vorl_recv(int epd, void* msg, int len, int flags) {
    const int result = VorlCalls::Simple(
        "vorl_recv", epd,
        fakes::List({std::to_string(epd), std::to_string(len), std::to_string(flags)}), len);
    if (result > 0)
        std::memset(msg, 0x5A, static_cast<size_t>(result));
    return result;
}

off_t vorl_register(int epd, void* addr, size_t len, off_t offset, int prot, int flags) {
    return VorlCalls::Register(epd, addr, len, offset, prot, flags);
}

int vorl_unregister(int epd, off_t offset, size_t len) {
    return VorlCalls::Unregister(epd, offset, len);
}

int vorl_writeto(int epd, off_t local, size_t len, off_t remote, int flags) {
    return VorlCalls::Transfer("vorl_writeto", epd, local, len, remote, flags);
}

int vorl_readfrom(int epd, off_t local, size_t len, off_t remote, int flags) {
    return VorlCalls::Transfer("vorl_readfrom", epd, local, len, remote, flags);
}

int vorl_fence_mark(int epd, int flags, int* mark) {
    return VorlCalls::MarkFence(epd, flags, mark);
}

int vorl_fence_wait(int epd, int mark) {
    return VorlCalls::WaitForFence(epd, mark);
}
