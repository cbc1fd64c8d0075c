// Argument tables of tests that no group lists: declared only. Others that nothing in a run calls stand
// with what they belong to, marked alike: operations of _ZelAccess and ZelTool, and ZelExecHelper.
#pragma once

#include "TestEngine/te_main_tests.h"

inline constexpr auto& Args_memory_memoryaddressSensitivity = k_TestArgs;
inline constexpr auto& Args_memory_memorydancingBit = k_TestArgs;
inline constexpr auto& Args_memory_memorydataSensitivity = k_TestArgs;
inline constexpr auto& Args_memory_memoryrandon = k_TestArgs;
inline constexpr auto& Args_memory_memoryread = k_TestArgs;
inline constexpr auto& Args_memory_memoryreadWrite = k_TestArgs;
inline constexpr auto& Args_memory_memorywalkingBit = k_TestArgs;
inline constexpr auto& Args_memory_memorywedge = k_TestArgs;

inline constexpr auto& Args_PCIExpress_PCIExpressDmaHostToZel = k_TestArgs;
inline constexpr auto& Args_PCIExpress_PCIExpressDmaZelToHost = k_TestArgs;
inline constexpr auto& Args_PCIExpress_PCIExpressverifyMMIOWrite = k_TestArgs;
inline constexpr TaskArg Args_PCIExpress_BurstDmaHostToZel[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_INT, "100"}, {ARGTYPE_END, nullptr}};
inline constexpr TaskArg Args_PCIExpress_PCIExpressDBOXDefaultValues[] = {{ARGTYPE_U64, "0"},
                                                                          {ARGTYPE_END, nullptr}};
