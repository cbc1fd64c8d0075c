// The ZelToHost test: a program on the card connects to the host, which writes into and reads from
// card memory. Passes when both halves say so; a host half that still runs when the card's program
// has ended is a failure.
#include <unistd.h>

#include "CommonTool/Trace.h"
#include "TestEngine/dma/Dma.h"
#include "TestEngine/dma/PeerWorker.h"
#include "TestEngine/dma/VorlAcceptDma.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

constexpr char kFile[] = "TestEngine/dma/DmaZelToHost";
constexpr unsigned int kListenSeconds = 3;
constexpr unsigned int kUploadPollSeconds = 5;
constexpr U32 kNotAccepted = 0xFFFFFFFF;
constexpr U32 kAccepted = 1;

// The host's half. Cancellation reaches it in vorl_accept_dma only where that lets it in, but these
// frames at any instruction until it has returned: they own nothing.
void* AcceptFromPeer(DmaPass& pass) {
    if (pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr) != 0) {
        ZEL_TRACE(DLVL_ERROR,
                  "Failed to set cancel type of the thread in Host to Ostrel(R) Vimbra(TM) "
                  "Coprocessor DMA \n");
        return DmaWorkerResult(-1);
    }
    if (pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr) != 0) {
        ZEL_TRACE(DLVL_ERROR,
                  "Failed to set cancel state of the thread in Host to Coprocessor DMA \n");
        return DmaWorkerResult(-1);
    }
    const VorlErrorSink keepError{
        [](void* taker, const char* text) { static_cast<DmaPass*>(taker)->error = text; }, &pass};
    U32 success = kNotAccepted;
    const unsigned int retval = vorl_accept_dma(1, 1, 0, 0, &success, keepError);
    // The trace below owns a lock and memory, which a cancellation in the middle of it would leave.
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    if (retval == 0 && success == kAccepted)
        return DmaWorkerResult(0);
    ZEL_TRACE(DLVL_ERROR,
              "Failed -- vorl_accept_dma returned error in DMA Host to  Coprocessor \n");
    return DmaWorkerResult(-1);
}

void* threadFuncVorlAccept(void* argument) {
    auto& pass = *static_cast<DmaPass*>(argument);
    void* const result = AcceptFromPeer(pass);
    pass.finished = true;
    return result;
}

bool AllowCancellation() {
    if (pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr) != 0) {
        ZEL_TRACE(DLVL_ERROR,
                  "Failed to set cancel type of the thread in Host to Ostrel(R) Vimbra(TM) "
                  "Coprocessor DMA \n");
        return false;
    }
    if (pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr) != 0) {
        ZEL_TRACE(DLVL_ERROR,
                  "Failed to set cancel state of the thread in Host to Ostrel(R) Vimbra(TM) "
                  "Coprocessor DMA \n");
        return false;
    }
    return true;
}

constexpr DmaPeer kPeer = {
    .er1xProgram = "vorl_connect_dma_zel_er1x",
    .ev1xProgram = "vorl_connect_dma_zel_ev1x",
    .wholeName = true,
    .successText = "ZelVorlConnectDMA Test success",
    .missingText = "ZelVorlConnectDMA Test success  not found in command output",
    .allowCancellation = AllowCancellation,
};

void* threadFuncVorlConnect(void* pass) {
    return DmaRunPeer(*static_cast<DmaPass*>(pass), kPeer);
}

// The error of the host's half comes before what the test itself has to say. The summary is not
// locked, so the worker leaves its text to this thread.
void LogWorkerError(DmaWorker& worker) {
    if (!worker.Pass().finished || worker.Pass().error == nullptr)
        return;
    TE::SUMMARY_INSTANCE.LogError(worker.Pass().error);
    worker.Pass().error = nullptr;
}

void Fail(DmaWorker& acceptWorker, U32 line, const char* reason, const char* summary) {
    LogWorkerError(acceptWorker);
    ifstFailAndLog(kFile, line, reason, summary);
}

void VerifyDma() {
    DmaWorker acceptWorker;
    DmaWorker connectWorker;
    DmaChoosePeer(connectWorker.Pass(), kPeer);
    if (!acceptWorker.Start(threadFuncVorlAccept)) {
        Fail(acceptWorker, 157, " Failed -- threadFuncVorlAccept returned error\n",
             "'threadFuncVorlAccept' returned error");
        return;
    }
    sleep(kListenSeconds);  // the host listens before the card's program connects
    if (!connectWorker.Start(threadFuncVorlConnect)) {
        Fail(acceptWorker, 166, " Failed -- threadFuncVorlConnect returned error\n",
             "'threadFuncVorlConnect' returned error");
        return;
    }
    if (!connectWorker.WaitForUpload(kUploadPollSeconds)) {
        Fail(acceptWorker, 183, " Failed -- vorl_connect_dma returned error  \n",
             "'vorl_connect_dma' returned error");
        return;
    }
    void* vorlConnectReturn = nullptr;
    if (!connectWorker.Join(&vorlConnectReturn)) {
        Fail(acceptWorker, 192, "could not join the thread.\n", "Could not join the thread");
        return;
    }
    if (acceptWorker.CancelUnfinished()) {
        Fail(acceptWorker, 200, "Thread canceled.\n", "Thread canceled");
        return;
    }
    void* vorlAcceptReturn = nullptr;
    if (!acceptWorker.Join(&vorlAcceptReturn)) {
        Fail(acceptWorker, 207, "Could not join Accept thread.\n",
             "Could not join 'Accept' thread");
        return;
    }
    if (vorlConnectReturn != nullptr || vorlAcceptReturn != nullptr) {
        Fail(acceptWorker, 214, "Test failed. Threads did not succeed.\n",
             "Threads did not succeed");
        return;
    }
    ifstPassTest();
}

}  // namespace

I16 Dma_DmaZelToHost(U64 tstSpecCb) {
    auto& block = *reinterpret_cast<DmaCb*>(tstSpecCb);
    HANDLE handle = zelAccess->getAccessHandle();
    TE::SUMMARY_INSTANCE.SetTestName("ZelToHost");
    if (block.gen.valid == 0)
        return 0;
    if (handle == nullptr)
        ifstFailAndLog(kFile, 144, "Failed to get handle to Coprocessor device",
                       "Internal Error; NULL Handle");
    else
        VerifyDma();
    block.gen.eventCnt = 0;
    return k_TestFinished;
}

constinit const ifstTestRow k_Row_Dma_DmaZelToHost = {
    .description = "verify DMA from Coprocessor to Host",
    .longNm = "-verifyDMACoprocessorToHost",
    .shortNm = "-vdl2h",
    .brief = "transfers that the card begins",
};
