// What the three tests have in common that read what a card says of its cores.
#include "TestEngine/core/CoreInfoTest.h"

#include "CommonException.h"
#include "TestEngine/te_main.h"
#include "TestEngine/te_main_cardtest.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

I16 RunCoreInfoTest(U64 tstSpecCb, const CoreInfoTest& test) {
    TE::SUMMARY_INSTANCE.SetTestName(test.name);
    try {
        test.body(zelAccess->getAccessHandle());
    } catch (const CommonException& failure) {
        ifstFailAndLog(test.file, test.exceptionLine, failure.what(),
                       "Test execution failed for unknown reason");
    }
    reinterpret_cast<ifstGrpTstCb*>(tstSpecCb)->eventCnt = 0;
    return k_TestFinished;
}
