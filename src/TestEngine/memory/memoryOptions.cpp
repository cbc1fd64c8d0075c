// The Memory group's own options: range, data width, channels and pattern of the memory tests.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "SI/cm_stub0.h"
#include "SI/si_main.h"
#include "TestEngine/memory/memory.h"

namespace {

constexpr U32 kChannelMask = 0xFFF;

GDDRDiagCb& Params() {
    return m_memoryCb.gddrDiagCb;
}

bool TakeAddress(const char* value, U64& address, U32 given) {
    if (cmConvertChar2HexU64(value, &address) != 0)
        return false;
    Params().userDefinedAddress = true;
    Params().usrInput |= given;
    return true;
}

bool TakeStartAddress(const char* value) {
    return TakeAddress(value, Params().startAddress, k_GivenStartAddress);
}

bool TakeEndAddress(const char* value) {
    return TakeAddress(value, Params().endAddress, k_GivenEndAddress);
}

bool TakeSize(const char* value) {
    U32 size = 0;
    if (cmConvertChar2U32(value, &size) != 0)
        return false;
    Params().memSize = size;
    Params().userDefinedAddress = true;
    Params().usrInput |= k_GivenMemSize;
    return true;
}

constexpr MemoryWidth kWidths[] = {
    {"BYTE", "B", 1}, {"WORD", "W", 2}, {"DWORD", "DW", 4}, {"QWORD", "QW", 8}};

bool TakeDataWidth(const char* value) {
    for (const MemoryWidth& width : kWidths) {
        if (std::strcmp(value, width.name) != 0 && std::strcmp(value, width.shortName) != 0)
            continue;
        Params().dataWidth = width.bytes;
        Params().usrInput |= k_GivenDataWidth;
        return true;
    }
    return false;
}

bool TakeChannels(const char* value) {
    U32 channels = 0;
    if (cmConvertChar2HexU32(value, &channels) != 0)
        return false;
    Params().chnlBitMask = channels & kChannelMask;
    Params().usrInput |= k_GivenTestChannel;
    return true;
}

// What is no number names a file, which must open for reading, of whatever kind: a FIFO is not waited
// for, and a terminal does not become the tool's. The name is recorded as far as there is room; no test
// reads the file.
bool TakePatternFile(const char* name) {
    const int file = open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (file < 0)
        return false;
    close(file);
    std::snprintf(m_memoryCb.fileName, sizeof(m_memoryCb.fileName), "%s", name);
    return true;
}

bool TakeDataPattern(const char* value) {
    U64 pattern = 0;
    if (cmConvertChar2HexU64(value, &pattern) != 0)
        return TakePatternFile(value);
    std::memcpy(Params().dataPattern, &pattern, sizeof(pattern));
    Params().userDefinedData = true;
    Params().usrInput |= k_GivenDataPattern;
    m_memoryCb.fileName[0] = '\0';
    return true;
}

constexpr MemoryOption kOptions[] = {
    {"-startaddress", TakeStartAddress},
    {"-endaddress", TakeEndAddress},
    {"-memsize", TakeSize},
    {"-datawidth", TakeDataWidth},
    {"-dw", TakeDataWidth},
    {"-testchannel", TakeChannels},
    {"-tc", TakeChannels},
    {"-datapattern", TakeDataPattern},
    {"-dp", TakeDataPattern},
    {"-data", TakeDataPattern},
};

bool TakeOption(const char* key, const char* value) {
    for (const MemoryOption& option : kOptions) {
        if (std::strcmp(key, option.key) == 0)
            return option.take(value);
    }
    return false;
}

}  // namespace

std::span<const MemoryOption> memory_Options() {
    return kOptions;
}

std::span<const MemoryWidth> memory_Widths() {
    return kWidths;
}

int memory_TGParseUserCustom(const char* word) {
    const int size = static_cast<int>(cmFindStrLength(word)) + 1;
    const ssText key = ssTextAlloc(size);
    const ssText value = ssTextAlloc(size);
    const ssText lowKey = ssTextAlloc(size);
    if (!key || !value || !lowKey)
        return 0;
    if (cmSplitAndStore(word, '=', key.get(), value.get()) != 0)
        return 0;
    cmStringCopy(lowKey.get(), key.get());
    cmConvertStrToLower(lowKey.get());
    return TakeOption(lowKey.get(), value.get()) ? 1 : 0;
}

void memory_ResetOptions() {
    _GddrDiagErrorList* const errors = Params().errorList;
    Params() = {};
    Params().memTestMode = k_MemTestModeNormal;
    Params().errorList = errors;
}

void memory_TakeAll() {
    Params().usrInput |= k_GivenAll;
    Params().memTestMode = k_MemTestModeAll;
    m_memoryCb.gen.onFailCb.onFailMask |= k_BreakOnFail;
    m_memoryCb.fileName[0] = '\0';
}
