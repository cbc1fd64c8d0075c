// What the host's two halves of the DMA exchange have in common.
#include "TestEngine/dma/VorlExchange.h"

#include <x86intrin.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "TestEngine/te_main_console.h"
#include "TestEngine/te_summary.h"

namespace {

constexpr off_t kFixedOffset = 0x80000;

// Surrounds an operation by readings of the time-stamp counter, for a debugger to look at; nothing
// reports them.
template <typename Operation>
auto Timed(Operation operation) {
    [[maybe_unused]] const volatile unsigned long long begin = __rdtsc();
    const auto result = operation();
    [[maybe_unused]] const volatile unsigned long long end = __rdtsc();
    return result;
}

}  // namespace

const VorlErrorSink k_VorlErrorsToSummary{
    [](void*, const char* text) { TE::SUMMARY_INSTANCE.LogError(text); }, nullptr};

VorlEndpoint& VorlEndpoint::operator=(VorlEndpoint&& other) noexcept {
    if (this != &other) {
        Close();
        epd_ = std::exchange(other.epd_, -1);
    }
    return *this;
}

void VorlEndpoint::Close() {
    if (IsValid())
        vorl_close(std::exchange(epd_, -1));
}

void VorlFree::operator()(void* memory) const {
    std::free(memory);
}

VorlExchange::VorlExchange(const VorlShape& shape, unsigned int failed, int cancelState,
                           const VorlErrorSink& logError)
    : shape_(shape), failed_(failed), cancelState_(cancelState), logError_(logError) {}

bool VorlExchange::Fail(const char* summary) {
    logError_(summary);
    result_ = failed_;
    return false;
}

bool VorlExchange::AllocateWindows() {
    windows_.reset(new (std::nothrow) window_info[shape_.numBuff]);
    if (windows_)
        return true;
    ifstPrint("buffer allocation failed ENOMEM\n");
    return Fail("buffer allocation failed");
}

bool VorlExchange::Allocate(VorlMemory& memory, size_t bytes, U8 fill) {
    void* allocated = nullptr;
    const int error = posix_memalign(&allocated, k_VorlPageBytes, bytes);
    if (error == 0) {
        memory.reset(allocated);
        std::memset(allocated, fill, bytes);
        return true;
    }
    ifstPrint("posix_memalign failed %d\n", error);
    Fail("'posix_memalign' failed");
    result_ = static_cast<unsigned int>(error);
    return false;
}

bool VorlExchange::RegisterWindows(const VorlEndpoint& endpoint, off_t first) {
    off_t suggested = shape_.mapFixed ? kFixedOffset : first;
    const int flags = shape_.mapFixed ? VORL_MAP_FIXED : 0;
    for (unsigned int i = 0; i < shape_.numBuff; ++i) {
        window_info& window = windows_[i];
        window.offset = Timed([&] {
            return vorl_register(endpoint.Get(), window.self_addr.get(), shape_.msgSize, suggested,
                                 VORL_PROT_READ | VORL_PROT_WRITE, flags);
        });
        const int error = errno;
        std::fflush(stdout);
        if (window.offset < 0) {
            ifstPrint("vorl_register failed with err %d\n", error);
            return Fail("'vorl_register' failed");
        }
        suggested += static_cast<off_t>(shape_.msgSize);
    }
    return true;
}

bool VorlExchange::UnregisterWindows(const VorlEndpoint& endpoint) {
    for (unsigned int i = 0; i < shape_.numBuff; ++i) {
        const int status = Timed(
            [&] { return vorl_unregister(endpoint.Get(), windows_[i].offset, shape_.msgSize); });
        if (status < 0) {
            ifstPrint("vorl_unregister failed with err %d\n", errno);
            Fail("'vorl_unregister' failed");
            std::fflush(stdout);
            return false;
        }
    }
    return true;
}

bool VorlExchange::Exchange(const VorlEndpoint& endpoint, const char* label) {
    I32 message = 0;  // only its arrival counts
    const int length = sizeof message;
    const int sent = VorlWait(cancelState_, vorl_send, endpoint.Get(), &message, length,
                              static_cast<int>(VORL_SEND_BLOCK));
    if (!Moved(sent, "vorl_send", label))
        return false;
    const int received = VorlWait(cancelState_, vorl_recv, endpoint.Get(), &message, length,
                                  static_cast<int>(VORL_RECV_BLOCK));
    return Moved(received, "vorl_recv", label);
}

// What the failed call returned is the half's result. A call that moved nothing therefore ends the
// exchange with 0, which is success: what is decided by then was verified.
bool VorlExchange::Moved(int moved, const char* operation, const char* label) {
    if (moved > 0)
        return true;
    ifstPrint("%s for msg -%s- failed with err %d\n", operation, label, moved);
    std::fflush(stdout);
    result_ = static_cast<unsigned int>(moved);
    return false;
}

bool VorlExchange::VerifyAndRefill(U32 expected, U8 refill) {
    const size_t numWords = shape_.msgSize / sizeof(U32);
    for (unsigned int i = 0; i < shape_.numBuff; ++i) {
        auto* const words = static_cast<U32*>(windows_[i].self_addr.get());
        for (size_t j = 0; j < numWords; ++j) {
            if (words[j] != expected) {
                ifstPrint("Msg integrity mismatch i %d j %d self_addr %x expected %x\n",
                          static_cast<int>(i), static_cast<int>(j), words[j], expected);
                return Fail("Message integrity mismatch");
            }
        }
        std::memset(words, refill, shape_.msgSize);
    }
    return true;
}

void VorlReportTooLarge(const VorlErrorSink& logError) {
    ifstPrint("Exceeded max unit test transfer size 64MB\n");
    logError("Exceeded max unit test transfer size 64MB");
}
