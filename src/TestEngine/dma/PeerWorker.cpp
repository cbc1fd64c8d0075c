// The worker threads of the DMA tests: their records, and the uploading workers' work.
#include "TestEngine/dma/PeerWorker.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>

#include "CommonException.h"
#include "ZelAccess.h"
#include "libs/ZelCmdHelper.h"
#include "libs/ZelPutHelper.h"

namespace {

constexpr char kArguments[] = "1 1 0 0 0";
constexpr char kCardFolder[] = "/";

DmaPass* abandonedPasses = nullptr;

// A report that could not be written is dealt with where the process looks at its output.
void EndWithoutDestruction(int status, void*) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        _exit(status & 0xFF);
}

// Keeps the record of a worker that runs on.
void Abandon(std::unique_ptr<DmaPass> pass) {
    if (abandonedPasses == nullptr)
        on_exit(EndWithoutDestruction, nullptr);
    pass->nextAbandoned = abandonedPasses;
    abandonedPasses = pass.release();
}

// One write, so that the lines stay together while the main thread prints.
void ShowFailure(const DmaPass& pass, const char* reason, const std::string& output) {
    std::ostringstream text;
    text << "\nAn error occurred " << (pass.scpComplete ? "in executing  " : "in uploading  ")
         << pass.program << " : \n"
         << reason << "\n"
         << "Output from " << pass.program << " :: \n"
         << output << "\n\n";
    std::cout << text.str() << std::flush;
}

void* RunPeer(DmaPass& pass, const DmaPeer& peer) {
    std::string output;
    try {
        ZelPutHelper put;
        ZelCmdHelper cmd;
        if (!peer.allowCancellation())
            return DmaWorkerResult(1);
        put.Upload(pass.program, output, pass.card, kCardFolder);
        pass.scpComplete = true;
        cmd.Execute(pass.program, output, kArguments, pass.card, "");
        if (output.find(peer.successText) == std::string::npos)
            throw CommonException(peer.missingText);
        return DmaWorkerResult(0);
    } catch (const CommonException& failure) {
        ShowFailure(pass, failure.what(), output);
        return DmaWorkerResult(1);
    }
}

}  // namespace

DmaWorker::DmaWorker() : pass_(std::make_unique<DmaPass>()) {}

DmaWorker::~DmaWorker() {
    if (!started_)
        return;
    pthread_detach(thread_);
    Abandon(std::move(pass_));
}

bool DmaWorker::Start(void* (*function)(void* pass)) {
    started_ = pthread_create(&thread_, nullptr, function, pass_.get()) == 0;
    return started_;
}

bool DmaWorker::WaitForUpload(unsigned int pauseSeconds) const {
    for (int check = 0; check < k_DmaUploadChecks; ++check) {
        if (pass_->scpComplete)
            return true;
        sleep(pauseSeconds);
    }
    return pass_->scpComplete;
}

bool DmaWorker::Join(void** result) {
    if (pthread_join(thread_, result) != 0)
        return false;
    started_ = false;
    return true;
}

// A cancellation request succeeds for a thread that has ended and was not joined yet, so the worker's
// own word comes first.
bool DmaWorker::CancelUnfinished() {
    return !pass_->finished && pthread_cancel(thread_) == 0;
}

void DmaChoosePeer(DmaPass& pass, const DmaPeer& peer) {
    const size_t compared = std::strlen(k_EmrDeviceName) + (peer.wholeName ? 1 : 0);
    const bool isEmr = std::strncmp(zelAccess->CurrentDeviceName(), k_EmrDeviceName, compared) == 0;
    pass.program = isEmr ? peer.er1xProgram : peer.ev1xProgram;
    pass.card = static_cast<short>(zelAccess->GetCurrentDevice());
}

void* DmaRunPeer(DmaPass& pass, const DmaPeer& peer) {
    try {
        return RunPeer(pass, peer);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "ZelDiag: %s: %s\n", pass.program, failure.what());
        return DmaWorkerResult(1);
    }
}
