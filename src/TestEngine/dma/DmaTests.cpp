// The DMA group's tests: one row each, with its declared arguments and its entry.
#include "TestEngine/dma/Dma.h"

namespace {

const TaskArg Args_Dma_DmaHostToZel[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_Dma_DmaZelToHost[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};

}  // namespace

I16 Marshal_Dma_DmaHostToZel(ActualArg* list) {
    return Dma_DmaHostToZel(Get_U64(*list));
}

I16 Marshal_Dma_DmaZelToHost(ActualArg* list) {
    return Dma_DmaZelToHost(Get_U64(*list));
}

ifstTstCb DmaTests[k_DmaTestCount] = {
    ifstTestRow("verify DMA from Host to Coprocessor ", "-verifyDMAHostToCoprocessor", "-vdh2l",
                Marshal_Dma_DmaHostToZel, Args_Dma_DmaHostToZel),
    ifstTestRow("verify DMA from Coprocessor to Host", "-verifyDMACoprocessorToHost", "-vdl2h",
                Marshal_Dma_DmaZelToHost, Args_Dma_DmaZelToHost),
};
