// What the tests that ask an open card have in common.
#include "TestEngine/te_main_cardtest.h"

#include "TestEngine/te_main.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

I16 ifstRunCardTest(U64 tstSpecCb, const ifstCardTest& test) {
    auto& gen = *reinterpret_cast<ifstGrpTstCb*>(tstSpecCb);
    HANDLE handle = zelAccess->getAccessHandle();
    TE::SUMMARY_INSTANCE.SetTestName(test.name);
    if (gen.valid == 0)
        return 0;
    if (handle == nullptr)
        ifstFailAndLog(test.file, test.noHandleLine, "Failed to get handle to Zel device",
                       "Internal Error; NULL Handle");
    else
        test.body(handle);
    gen.eventCnt = 0;
    return k_TestFinished;
}

void ifstFailAndLog(const char* file, U32 line, const char* reason, const char* summary) {
    ifstFailTest(file, line, reason);
    TE::SUMMARY_INSTANCE.LogError(summary);
}
