// The host's half of the card-to-host DMA check.
#include "TestEngine/dma/VorlAcceptDma.h"

#include <sys/time.h>

#include <cerrno>
#include <cstdio>

#include "TestEngine/te_main_console.h"

namespace {

constexpr unsigned int kFailed = 1;
constexpr U32 kAccepted = 1;
constexpr off_t kFirstOffset = 0;
constexpr int kBacklog = 16;

class AcceptingHalf : private VorlExchange {
public:
    AcceptingHalf(const VorlShape& shape, int cancelState, const VorlErrorSink& logError)
        : VorlExchange(shape, kFailed, cancelState, logError) {}

    unsigned int Run(U32* threadAcceptState) {
        if (Listen() && Accept(threadAcceptState) && Prepare() && Write() && Read() &&
            !shape_.noUnregister)
            End();
        connected_.Close();
        std::fflush(stdout);
        listening_.Close();
        return result_;
    }

private:
    bool Listen() {
        if (shape_.msgSize * shape_.numBuff > static_cast<U64>(k_VorlMaxBytes)) {
            VorlReportTooLarge(logError_);
            result_ = kFailed;
            return false;
        }
        listening_ = VorlEndpoint(vorl_open());
        if (!listening_.IsValid()) {
            ifstPrint("vorl_open failed with error %d\n", errno);
            return Fail("'vorl_open' failed");
        }
        if (vorl_bind(listening_.Get(), k_VorlPort) < 0) {
            ifstPrint("vorl_bind failed with error %d\n", errno);
            return Fail("'vorl_bind' failed");
        }
        if (vorl_listen(listening_.Get(), kBacklog) < 0) {
            ifstPrint("Listen ioctl failed with error %d\n", errno);
            return Fail("'vorl_listen' failed");
        }
        return true;
    }

    // EAGAIN counts as a connection; the registration on the invalid endpoint then fails.
    bool Accept(U32* threadAcceptState) {
        vorl_portID peer{1, k_VorlPort};
        if (VorlWait(cancelState_, vorl_accept, listening_.Get(), &peer, connected_.Receive(),
                     static_cast<int>(VORL_ACCEPT_SYNC)) < 0) {
            connected_.Forget();
            if (errno != EAGAIN) {
                ifstPrint("vorl_accept failed with errno %d\n", errno);
                return Fail("'vorl_accept' failed");
            }
        }
        *threadAcceptState = kAccepted;
        return true;
    }

    bool Prepare() {
        if (!AllocateWindows())
            return false;
        for (unsigned int i = 0; i < shape_.numBuff; ++i) {
            window_info& window = windows_[i];
            if (!Allocate(window.self_addr, shape_.msgSize, k_VorlWrittenByte) ||
                !Allocate(window.vself_addr, shape_.msgSize, k_VorlWrittenByte))
                return false;
        }
        return Allocate(vmultiple_, shape_.numBuff * shape_.msgSize, k_VorlWrittenByte) &&
               RegisterWindows(connected_, kFirstOffset) &&
               Exchange(connected_, "vorl_register done");
    }

    // The peer verifies during the second exchange.
    bool Write() {
        for (unsigned int i = 0; i < shape_.numBuff; ++i) {
            if (!Transfer(vorl_writeto, windows_[i].offset, "vorl_writeto",
                          "'vorl_writeto' failed"))
                return false;
        }
        return Exchange(connected_, "vorl_writeto done") &&
               Exchange(connected_, "vorl_writeto peer content verification wait");
    }

    bool Read() {
        for (unsigned int i = 0; i < shape_.numBuff; ++i) {
            if (!Transfer(vorl_readfrom, windows_[i].offset, "vorl_readfrom",
                          "'vorl_readfrom' failed"))
                return false;
        }
        return VerifyAndRefill(k_VorlReplyWord, k_VorlWrittenByte) &&
               Exchange(connected_, "vorl_readfrom done");
    }

    using Operation = int (*)(int, off_t, size_t, off_t, int);

    // The same offset at both ends. Nothing uses the times.
    bool Transfer(Operation operation, off_t offset, const char* name, const char* summary) {
        timeval begin{};
        timeval end{};
        if (!ReadClock(&begin))
            return false;
        if (VorlWait(cancelState_, operation, connected_.Get(), offset, shape_.msgSize, offset,
                     static_cast<int>(VORL_RMA_SYNC)) != 0) {
            ifstPrint("%s failed with err %d\n", name, errno);
            return Fail(summary);
        }
        return ReadClock(&end);
    }

    bool ReadClock(timeval* now) {
        if (gettimeofday(now, nullptr) == 0)
            return true;
        ifstPrint("gettimeofday failed with err %d\n", errno);
        return Fail("'gettimeofday' failed");
    }

    bool End() { return UnregisterWindows(connected_) && Exchange(connected_, "Unregister done"); }

    VorlMemory vmultiple_;  // filled, never transferred
    VorlEndpoint listening_;
    VorlEndpoint connected_;
};

// Kept out of line: the function below owns nothing, see there.
__attribute__((noinline)) unsigned int RunAcceptingHalf(const VorlShape& shape, int cancelState,
                                                        U32* threadAcceptState,
                                                        const VorlErrorSink& logError) {
    const unsigned int result = AcceptingHalf(shape, cancelState, logError).Run(threadAcceptState);
    ifstPrint(result == 0 ? "ZelToHostDMA::VorlAccept Test success\n\n"
                          : "ZelToHostDMA::VorlAccept Test failed\n\n");
    return result;
}

}  // namespace

// A thread with asynchronous cancellation may leave this frame at any instruction up to where
// cancellation is held off, which only a frame without destructors survives.
unsigned int vorl_accept_dma(unsigned int num_pages, unsigned int num_buff, unsigned int map_Fixed,
                             unsigned int no_unregister, U32* threadAcceptState,
                             const VorlErrorSink& logError) {
    int cancelState = PTHREAD_CANCEL_ENABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState);
    const VorlShape shape{.msgSize = size_t{num_pages} * k_VorlPageBytes,
                          .numBuff = num_buff,
                          .mapFixed = map_Fixed != 0,
                          .noUnregister = no_unregister != 0};
    const unsigned int result = RunAcceptingHalf(shape, cancelState, threadAcceptState, logError);
    pthread_setcancelstate(cancelState, nullptr);
    return result;
}
