// What the two tests have in common that run a workload program on the card and judge what it prints.
#include "TestEngine/core/WorkloadTest.h"

#include <iostream>

#include "CommonException.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"
#include "libs/ZelCmdHelper.h"
#include "libs/ZelPutHelper.h"

namespace {

constexpr char kPassText[] = "TEST PASSED";
constexpr char kCardFolder[] = "/";

// One run: what is known of it when an exception ends it.
struct Run {
    ZelPutHelper put;
    ZelCmdHelper cmd;
    std::string workload;
    std::string output;
    bool uploaded = false;
};

void RunOnCard(Run& run, const WorkloadTest& test) {
    zelAccess->getAccessHandle();  // for its exception: without a library there is no card to reach
    const auto card = static_cast<short>(zelAccess->GetCurrentDevice());
    run.workload = zelAccess->IsCurrentDeviceEMR() ? test.er1xWorkload : test.ev1xWorkload;
    std::cout << test.banner << std::endl;
    run.put.Upload(run.workload, run.output, card, kCardFolder);
    run.uploaded = true;
    run.cmd.Execute(run.workload, run.output, "", card, "");
    if (run.output.find(kPassText) == std::string::npos)
        test.throwNotPassed(run.workload);
}

void ShowFailure(const Run& run, const char* reason) {
    std::cout << "\nAn error occurred " << (run.uploaded ? "in executing  " : "in uploading  ")
              << run.workload << " : \n"
              << reason << "\n"
              << "Output from " << run.workload << " :: \n"
              << run.output << "\n"
              << std::endl;
}

}  // namespace

I16 RunWorkloadTest(U64 tstSpecCb, const WorkloadTest& test) {
    Run run;
    TE::SUMMARY_INSTANCE.SetTestName(test.name);
    U8& eventCnt = reinterpret_cast<ifstGrpTstCb*>(tstSpecCb)->eventCnt;
    try {
        RunOnCard(run, test);
        ifstPassTest();
        eventCnt = 0;
    } catch (const CommonException& failure) {
        ShowFailure(run, failure.what());
        eventCnt = 0;
        test.fail(failure.what());
    }
    return k_TestFinished;
}
