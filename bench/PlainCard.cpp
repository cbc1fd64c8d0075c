// The platform, as far as the aperture test uses it.
#include "PlainCard.h"

#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "PlyxDebug.h"
#include "TestEngine/te_main.h"
#include "ZelAccess.h"

namespace {

struct {
    U8* memory = nullptr;
    std::size_t bytes = 0;
    bool spoil = false;
    ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_OFFLINE;
} card;

class SilentTrace final : public PlyxDebug {
public:
    void SetLevel(DebugLevel) override {}
    void SetPrintCallback(void (*)(const char*, ...)) override {}
    void Print(PlyxDebugInfo&, DebugLevel, const char*, ...) override {}
};

SilentTrace silentTrace;

}  // namespace

PlyxDebug* plyxDbg = &silentTrace;

PlainCard::PlainCard(std::size_t bytes) {
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (memory == MAP_FAILED) {
        std::perror("no memory for the card");
        std::exit(1);
    }
    card.memory = static_cast<U8*>(memory);
    card.bytes = bytes;
    zelAccess->setAccessHandle();
    zelAccess->InitAdapterforDiag(0, false);
}

PlainCard::~PlainCard() {
    munmap(card.memory, card.bytes);
}

U8* PlainCard::Memory() {
    return card.memory;
}

std::size_t PlainCard::Bytes() const {
    return card.bytes;
}

void PlainCard::SpoilReads(bool spoil) {
    card.spoil = spoil;
}

void PlainCard::MakeReady() {
    card.mode = ZEL_USAGE_MODE_OFFLINE;
}

// The engine, which no failure of a measurement reaches.
void ifstFailTest(const char*, U32, const char*) {
    std::abort();
}

extern "C" {

U32 ZelInitAPI(HANDLE* handle, U32, ZelDeviceOnSystem* devices, U32* count) {
    std::memcpy(devices[0].deviceName, k_EmrDeviceName, sizeof(k_EmrDeviceName));
    *handle = &card;
    *count = 1;
    return ZEL_SUCCESS;
}

U32 ZelCloseAPI(HANDLE*) {
    return ZEL_SUCCESS;
}

U32 ZelInitAdapter(HANDLE*, ZelDeviceOnSystem*) {
    return ZEL_SUCCESS;
}

U32 ZelCloseAdapter(HANDLE) {
    return ZEL_SUCCESS;
}

const char* ZelGetErrorString(U32) {
    return "error";
}

U32 ZelGetZelVersion(HANDLE, _E_ZEL_VERSION_TYPE, char*, U32*) {
    return ZEL_NOT_SUPPORTED;
}

U32 ZelGetUsageMode(HANDLE, ZEL_CARD_USAGE_MODE* mode) {
    *mode = card.mode;
    return ZEL_SUCCESS;
}

U32 ZelSetUsageMode(HANDLE, ZEL_CARD_USAGE_MODE mode) {
    card.mode = mode;
    return ZEL_SUCCESS;
}

U32 ZelSetUsageModeExtn(HANDLE, ZEL_CARD_USAGE_MODE mode, U32, const char*, const char*) {
    card.mode = mode;
    return ZEL_SUCCESS;
}

U32 ZelGetPostCode(HANDLE, char* code) {
    std::strcpy(code, "12");
    return ZEL_SUCCESS;
}

U32 ZelGetGDDRMemSize(HANDLE, U64* bytes) {
    *bytes = card.bytes;
    return ZEL_SUCCESS;
}

U32 ZelWriteMemPhysical(HANDLE, U64 address, void* buffer, U32 bytes, U32, U32) {
    std::memcpy(card.memory + address, buffer, bytes);
    return ZEL_SUCCESS;
}

U32 ZelReadMemPhysical(HANDLE, U64 address, void* buffer, U32 bytes, U32, U32) {
    std::memcpy(buffer, card.memory + address, bytes);
    if (card.spoil)
        static_cast<U8*>(buffer)[bytes / 2] ^= 0xFF;
    return ZEL_SUCCESS;
}

}  // extern "C"
