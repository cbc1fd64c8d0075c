// The Memory group's tests: one row each, with its declared arguments and its entry.
#include "TestEngine/memory/memory.h"

namespace {

const TaskArg Args_memory_memoryfullRange[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_memory_memorywrite[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
const TaskArg Args_memory_memorygddrInfo[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};

// Declared for tests that have no row.
[[maybe_unused]] const TaskArg Args_memory_memoryaddressSensitivity[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_memory_memorydancingBit[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_memory_memorydataSensitivity[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_memory_memoryrandon[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_memory_memoryread[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_memory_memoryreadWrite[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_memory_memorywalkingBit[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};
[[maybe_unused]] const TaskArg Args_memory_memorywedge[] = {
    {ARGTYPE_U64, "0"}, {ARGTYPE_INT, "-1"}, {ARGTYPE_END, nullptr}};

}  // namespace

I16 Marshal_memory_memoryfullRange(ActualArg* list) {
    return memory_memoryfullRange(Get_U64(*list));
}

I16 Marshal_memory_memorywrite(ActualArg* list) {
    return memory_memorywrite(Get_U64(*list));
}

I16 Marshal_memory_memorygddrInfo(ActualArg* list) {
    return memory_memorygddrInfo(Get_U64(*list));
}

ifstTstCb memoryTests[k_memoryTestCount] = {
    ifstTestRow("Full range test", "-fullRange", "-full", Marshal_memory_memoryfullRange,
                Args_memory_memoryfullRange),
    ifstTestRow("Write test", "-write", "-wr", Marshal_memory_memorywrite, Args_memory_memorywrite),
    ifstTestRow("Coprocessor memory info", "-gddrInfo", "-info", Marshal_memory_memorygddrInfo,
                Args_memory_memorygddrInfo),
};
