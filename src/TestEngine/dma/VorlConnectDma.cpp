// The host's half of the host-to-card DMA check.
#include "TestEngine/dma/VorlConnectDma.h"

#include <unistd.h>

#include <cerrno>

#include "TestEngine/dma/VorlExchange.h"
#include "TestEngine/te_main_console.h"

namespace {

enum Result : unsigned int { kNoEndpoint = 1, kNoPort = 2, kNoConnection = 3 };

constexpr unsigned int kFailed = 0xFFFFFFFF;
constexpr off_t kFirstOffset = 0x80000000;
constexpr int kConnectAttempts = 2;
constexpr unsigned int kConnectPauseSeconds = 30;

const VorlErrorSink& logError = k_VorlErrorsToSummary;

// Pauses after the last attempt as well.
bool Connect(const VorlEndpoint& endpoint, U16 node) {
    vorl_portID peer{node, k_VorlPort};
    int error = 0;
    for (int attempt = 0; attempt < kConnectAttempts; ++attempt) {
        if (vorl_connect(endpoint.Get(), &peer) >= 0)
            return true;
        error = errno;
        if (error == ECONNREFUSED)
            ifstPrint("vorl_connect failed with error %d retrying\n", error);
        sleep(kConnectPauseSeconds);
    }
    ifstPrint("vorl_connect failed with error %d\n", error);
    logError("'vorl_connect' failed");
    return false;
}

class ConnectedHalf : private VorlExchange {
public:
    ConnectedHalf(const VorlShape& shape, VorlEndpoint endpoint)
        : VorlExchange(shape, kFailed, PTHREAD_CANCEL_DISABLE, logError),
          endpoint_(std::move(endpoint)) {}

    unsigned int Run() {
        if (Prepare() && TakePattern() && GiveReply() && !shape_.noUnregister)
            End();
        return result_;
    }

private:
    bool Prepare() {
        if (!AllocateWindows())
            return false;
        for (unsigned int i = 0; i < shape_.numBuff; ++i) {
            if (!Allocate(windows_[i].self_addr, shape_.msgSize, 0))
                return false;
        }
        return RegisterWindows(endpoint_, kFirstOffset) &&
               Exchange(endpoint_, "vorl_register done");
    }

    // The peer writes during the exchange; the fence waits for what it has begun.
    bool TakePattern() {
        return Exchange(endpoint_, "peer vorl_writeto wait") && Fence() &&
               VerifyAndRefill(k_VorlWrittenWord, k_VorlReplyByte);
    }

    // The peer reads, and verifies, during the second exchange.
    bool GiveReply() {
        return Exchange(endpoint_, "peer vorl_writeto content verification done") &&
               Exchange(endpoint_, "peer vorl_readfrom and content verification wait");
    }

    bool End() { return UnregisterWindows(endpoint_) && Exchange(endpoint_, "Unregister Done"); }

    bool Fence() {
        int mark = 0;
        if (vorl_fence_mark(endpoint_.Get(), VORL_FENCE_INIT_PEER, &mark) != 0) {
            ifstPrint("ZelApp::vorl_fence failed with err %d\n", errno);
            return Fail("'vorl_fence' failed");
        }
        if (vorl_fence_wait(endpoint_.Get(), mark) != 0) {
            ifstPrint("ZelApp::vorl_fence_wait failed with err %d\n", errno);
            return Fail("'vorl_fence' failed");
        }
        return true;
    }

    VorlEndpoint endpoint_;
};

}  // namespace

unsigned int vorl_connect_dma(unsigned int num_pages, unsigned int num_buff, unsigned int map_Fixed,
                              unsigned int no_unregister, U16 node) {
    if (static_cast<I32>(num_buff * num_pages * k_VorlPageBytes) > k_VorlMaxBytes) {
        VorlReportTooLarge(logError);
        return kNoEndpoint;
    }
    VorlEndpoint endpoint(vorl_open());
    if (!endpoint.IsValid()) {
        ifstPrint("vorl_open failed with error %d\n", errno);
        logError("'vorl_open' failed");
        return kNoEndpoint;
    }
    if (vorl_bind(endpoint.Get(), k_VorlPort) < 0) {
        ifstPrint("vorl_bind failed with error %d\n", errno);
        logError("'vorl_bind' failed");
        return kNoPort;
    }
    if (!Connect(endpoint, node))
        return kNoConnection;

    const VorlShape shape{.msgSize = size_t{num_pages} * k_VorlPageBytes,
                          .numBuff = num_buff,
                          .mapFixed = map_Fixed != 0,
                          .noUnregister = no_unregister != 0};
    const unsigned int result = ConnectedHalf(shape, std::move(endpoint)).Run();
    ifstPrint(result == 0 ? "HostToZelDMA::VorlConnect Test success\n\n"
                          : "HostToZelDMA::VorlConnect Test failed\n\n");
    return result;
}
