// The HostToZel test: the host connects to a program on the card, which writes into and reads from
// host memory. The verdict on the exchange is given before the card's program has been heard.
#include "CommonTool/Trace.h"
#include "TestEngine/dma/Dma.h"
#include "TestEngine/dma/PeerWorker.h"
#include "TestEngine/dma/VorlConnectDma.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

constexpr char kFile[] = "TestEngine/dma/DmaHostToZel";
constexpr unsigned int kUploadPollSeconds = 3;

bool AllowCancellation() {
    if (pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr) != 0) {
        ZEL_TRACE(DLVL_ERROR,
                  "Failed to set cancel type of the thread in Host to  Ostrel(R) Vimbra(TM) "
                  "Coprocessor DMA \n");
        ifstFailTest(
            kFile, 43,
            "Failed to detach the thread in Host to Ostrel(R) Vimbra(TM) Coprocessor DMA \n");
        return false;
    }
    if (pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr) != 0) {
        ZEL_TRACE(DLVL_ERROR,
                  "Failed to set cancel state of the thread in Host to Coprocessor DMA \n");
        ifstFailTest(kFile, 53, "Failed to detach the thread in Host to  Coprocessor DMA \n");
        return false;
    }
    return true;
}

constexpr DmaPeer kPeer = {
    .er1xProgram = "vorl_accept_dma_zel_er1x",
    .ev1xProgram = "vorl_accept_dma_zel_ev1x",
    .wholeName = false,
    .successText = "ZelVorlAcceptDMA Test success",
    .missingText = "ZelVorlAcceptDMA Test success  not found in command output ",
    .allowCancellation = AllowCancellation,
};

void* threadFuncVorlAccept(void* pass) {
    return DmaRunPeer(*static_cast<DmaPass*>(pass), kPeer);
}

// The card's node on the communication library's network; the host is node 0.
U16 CardNode() {
    const int device = zelAccess->m_currentDevice;
    return device < 0 ? U16{0} : static_cast<U16>(zelAccess->m_devices[device].node + 1);
}

void VerifyDma(U16 node) {
    DmaWorker worker;
    DmaChoosePeer(worker.Pass(), kPeer);
    if (!worker.Start(threadFuncVorlAccept)) {
        ifstFailAndLog(kFile, 133, " Failed -- threadFuncVorlAccept returned error  \n",
                       "'threadFuncVorlAccept' returned error");
        return;
    }
    if (!worker.WaitForUpload(kUploadPollSeconds)) {
        ifstFailAndLog(kFile, 153, " Failed -- vorl_connect_dma returned error  \n",
                       "'vorl_connect_dma' returned error");
        return;
    }
    if (vorl_connect_dma(1, 1, 0, 0, node) != 0) {
        ifstFailAndLog(kFile, 167, " Failed -- vorl_connect_dma returned error  \n",
                       "'vorl_connect_dma' returned error");
        return;
    }
    ifstPassTest();

    void* result = nullptr;
    if (!worker.Join(&result)) {
        ifstFailAndLog(kFile, 175, "could not join the thread.\n", "Could not join the thread");
        return;
    }
    if (result != nullptr)
        ifstFailAndLog(
            kFile, 182,
            "Failed -- threadFuncVorlAccept retval threadFuncVorlAccept returned non zero value\n",
            "'threadFuncVorlAccept' returned non zero value");
}

}  // namespace

I16 Dma_DmaHostToZel(U64 tstSpecCb) {
    auto& block = *reinterpret_cast<DmaCb*>(tstSpecCb);
    HANDLE handle = zelAccess->getAccessHandle();
    TE::SUMMARY_INSTANCE.SetTestName("HostToZel");
    if (block.gen.valid == 0)
        return 0;
    if (handle == nullptr)
        ifstFailAndLog(kFile, 119, "Failed to get handle to Coprocessor device",
                       "Internal Error; NULL Handle");
    else
        VerifyDma(CardNode());
    block.gen.eventCnt = 0;
    return k_TestFinished;
}

constinit const ifstTestRow k_Row_Dma_DmaHostToZel = {
    .description = "verify DMA from Host to Coprocessor ",
    .longNm = "-verifyDMAHostToCoprocessor",
    .shortNm = "-vdh2l",
    .brief = "transfers that the host begins",
};
