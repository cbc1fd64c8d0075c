// The Core group's tests: one row each, with its declared arguments and its entry.
#include "TestEngine/core/CoreDiag.h"

namespace {

const TaskArg Args_CoreDiag_CoreDiagGetEnabledCores[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_CoreDiag_CoreDiagGetNumThreads[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_CoreDiag_CoreDiagGetCPUID[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_CoreDiag_CoreDiagCacheTest[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_CoreDiag_CoreDiagVpuTest[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};

}  // namespace

I16 Marshal_CoreDiag_CoreDiagGetEnabledCores(ActualArg* list) {
    return CoreDiag_CoreDiagGetEnabledCores(Get_U64(*list));
}

I16 Marshal_CoreDiag_CoreDiagGetNumThreads(ActualArg* list) {
    return CoreDiag_CoreDiagGetNumThreads(Get_U64(*list));
}

I16 Marshal_CoreDiag_CoreDiagGetCPUID(ActualArg* list) {
    return CoreDiag_CoreDiagGetCPUID(Get_U64(*list));
}

I16 Marshal_CoreDiag_CoreDiagCacheTest(ActualArg* list) {
    return CoreDiag_CoreDiagCacheTest(Get_U64(*list));
}

I16 Marshal_CoreDiag_CoreDiagVpuTest(ActualArg* list) {
    return CoreDiag_CoreDiagVpuTest(Get_U64(*list));
}

ifstTstCb CoreDiagTests[k_CoreDiagTestCount] = {
    ifstTestRow(
        "Get list of enabled cores", "-GetEnabledCores", "-gec",
        Marshal_CoreDiag_CoreDiagGetEnabledCores, Args_CoreDiag_CoreDiagGetEnabledCores,
        "ZelDiag -CoreDiag -GetEnabledCores\n| or ZelDiag -cd -gec\n| Gets the list of current "
        "enabled cores.\n"),
    ifstTestRow(
        "Get number of threads", "-GetNumThreads", "-gnt", Marshal_CoreDiag_CoreDiagGetNumThreads,
        Args_CoreDiag_CoreDiagGetNumThreads,
        "ZelDiag -CoreDiag -GetNumThreads\n| or ZelDiag -cd -gec\n| Gets the number of threads.\n"),
    ifstTestRow(
        "Get CPU ID", "-GetCPUID", "-gid", Marshal_CoreDiag_CoreDiagGetCPUID,
        Args_CoreDiag_CoreDiagGetCPUID,
        "ZelDiag -CoreDiag -GetCPUID\n| or ZelDiag -cd -gid\n|  Gets the Information about CPU "
        "id.\n"),
    ifstTestRow(
        "Cache test", "-Cache", "-c", Marshal_CoreDiag_CoreDiagCacheTest,
        Args_CoreDiag_CoreDiagCacheTest,
        "ZelDiag -CoreDiag -Cache\n| or ZelDiag -cd -c\n| Executes cache tests on the device.\n"),
    ifstTestRow(
        "VPU test", "-Vpu", "-v", Marshal_CoreDiag_CoreDiagVpuTest, Args_CoreDiag_CoreDiagVpuTest,
        "ZelDiag -CoreDiag -Vpu\n| or ZelDiag -cd -v\n| Executes vpu tests on the device.\n"),
};
