// The PCIe group's tests: one row each, with its declared arguments and its entry.
#include "TestEngine/PCIExpress/PCIExpress.h"

namespace {

const TaskArg Args_PCIExpress_PCIExpressverifyLinkSpeed[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_PCIExpress_PCIExpressverifyLinkWidth[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_PCIExpress_PCIExpressverifyDeviceId[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_PCIExpress_vRevSubSystemID[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_PCIExpress_PCIExpressverifyBootstrap[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_PCIExpress_PCIExpressSBOXDefaultValues[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};

// Declared for tests that have no row.
[[maybe_unused]] const TaskArg Args_PCIExpress_BurstDmaHostToZel[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_INT, "100"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_PCIExpress_PCIExpressDBOXDefaultValues[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_PCIExpress_PCIExpressDmaHostToZel[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_PCIExpress_PCIExpressDmaZelToHost[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_PCIExpress_PCIExpressverifyMMIOWrite[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};

}  // namespace

I16 Marshal_PCIExpress_PCIExpressverifyLinkSpeed(ActualArg* list) {
    return PCIExpress_PCIExpressverifyLinkSpeed(Get_U64(*list));
}

I16 Marshal_PCIExpress_PCIExpressverifyLinkWidth(ActualArg* list) {
    return PCIExpress_PCIExpressverifyLinkWidth(Get_U64(*list));
}

I16 Marshal_PCIExpress_PCIExpressverifyDeviceId(ActualArg* list) {
    return PCIExpress_PCIExpressverifyDeviceId(Get_U64(*list));
}

I16 Marshal_PCIExpress_vRevSubSystemID(ActualArg* list) {
    return PCIExpress_vRevSubSystemID(Get_U64(*list));
}

I16 Marshal_PCIExpress_PCIExpressverifyBootstrap(ActualArg* list) {
    return PCIExpress_PCIExpressverifyBootstrap(Get_U64(*list));
}

I16 Marshal_PCIExpress_PCIExpressSBOXDefaultValues(ActualArg* list) {
    return PCIExpress_PCIExpressSBOXDefaultValues(Get_U64(*list));
}

ifstTstCb PCIExpressTests[k_PCIExpressTestCount] = {
    ifstTestRow("Verify PCIe Gen 2 Link Speed", "-verifyLinkSpeed", "-vls",
                Marshal_PCIExpress_PCIExpressverifyLinkSpeed,
                Args_PCIExpress_PCIExpressverifyLinkSpeed),
    ifstTestRow("Verify Link Width", "-verifyLinkWidth", "-vlw",
                Marshal_PCIExpress_PCIExpressverifyLinkWidth,
                Args_PCIExpress_PCIExpressverifyLinkWidth),
    ifstTestRow("Verify Coprocessor Device ID", "-verifyDeviceId", "-vdi",
                Marshal_PCIExpress_PCIExpressverifyDeviceId,
                Args_PCIExpress_PCIExpressverifyDeviceId),
    ifstTestRow("Verify Coprocessor Revision, Subsystem and Vendor ID", "-verifyRevSubSysID",
                "-vrs", Marshal_PCIExpress_vRevSubSystemID, Args_PCIExpress_vRevSubSystemID),
    ifstTestRow("Verify Coprocessor Bootstrap status", "-verifyBootStrap", "-vbs",
                Marshal_PCIExpress_PCIExpressverifyBootstrap,
                Args_PCIExpress_PCIExpressverifyBootstrap),
    ifstTestRow("Verify SBOX registers after reset", "-verifySBoxRegDefaultValues", "-vsrdv",
                Marshal_PCIExpress_PCIExpressSBOXDefaultValues,
                Args_PCIExpress_PCIExpressSBOXDefaultValues),
};
