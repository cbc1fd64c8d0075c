// The SMC group's tests: one row each, with its declared arguments and its entry.
#include "TestEngine/smc/Smc.h"

namespace {

const TaskArg Args_Smc_FwVersion[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_Smc_HwRevision[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_Smc_Uuid[] = {{ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};

}  // namespace

I16 Marshal_Smc_FwVersion(ActualArg* list) {
    return Smc_FwVersion(Get_U64(*list));
}

I16 Marshal_Smc_HwRevision(ActualArg* list) {
    return Smc_HwRevision(Get_U64(*list));
}

I16 Marshal_Smc_Uuid(ActualArg* list) {
    return Smc_Uuid(Get_U64(*list));
}

ifstTstCb SmcTests[k_SmcTestCount] = {
    ifstTestRow("SMC get firmware version", "-fwversion", "-fwv", Marshal_Smc_FwVersion,
                Args_Smc_FwVersion),
    ifstTestRow("SMC get hardware revision", "-hwrevision", "-hwr", Marshal_Smc_HwRevision,
                Args_Smc_HwRevision),
    ifstTestRow("SMC get UUID", "-uuid", "-uniqueid", Marshal_Smc_Uuid, Args_Smc_Uuid),
};
