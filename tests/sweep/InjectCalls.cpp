// The operations of the platform libraries, in the place of which these stand.
#include <dlfcn.h>

#include <cerrno>
#include <cstring>

#include "Inject.h"
#include "Settings.h"
#include "ZelAccessApi.h"
#include "vorl.h"

// In a program without the settings library there is no such object.
// NOLINTNEXTLINE(readability-redundant-declaration): the interface's is not weak
extern __attribute__((weak)) Settings* settings;

namespace {

// The library's own operation of this name.
template <typename Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

constexpr U32 kStatus = 13;

U32 FailedAccess() {
    return kStatus;
}

int FailedVorl() {
    errno = ENOTCONN;
    return -1;
}

// Passes everything on to the library's object.
class FailingSettings final : public Settings {
public:
    explicit FailingSettings(Settings* real) : real_(real) {}

    int Load(const char* directory) override {
        return sweep::Fails(sweep::Kind::Call, "Settings::Load") ? 1 : real_->Load(directory);
    }
    int GetWords(const char* section, const char* key, int* count, U32* values) override {
        return sweep::Fails(sweep::Kind::Call, "Settings::GetWords")
                   ? 1
                   : real_->GetWords(section, key, count, values);
    }
    int GetStrings(const char* section, const char* key, int* count, const char** texts) override {
        return sweep::Fails(sweep::Kind::Call, "Settings::GetStrings")
                   ? 1
                   : real_->GetStrings(section, key, count, texts);
    }

private:
    Settings* const real_;
};

__attribute__((constructor)) void StandInForSettings() {
    if (sweep::Run() == nullptr)
        return;
    static FailingSettings standIn(settings);
    settings = &standIn;
}

}  // namespace

#define ZEL_SWEPT(result, failure, name, parameters, arguments)                     \
    result name parameters {                                                        \
        static const auto real = Real<result parameters>(#name);                    \
        return sweep::Fails(sweep::Kind::Call, #name) ? failure() : real arguments; \
    }
// What is to be closed is closed, also when that reports a failure.
#define ZEL_CLOSED(result, failure, name, parameters, arguments)            \
    result name parameters {                                                \
        static const auto real = Real<result parameters>(#name);            \
        const result status = real arguments;                               \
        return sweep::Fails(sweep::Kind::Call, #name) ? failure() : status; \
    }
#define ZEL_ACCESS(name, parameters, arguments) \
    ZEL_SWEPT(U32, FailedAccess, name, parameters, arguments)
#define ZEL_VORL(name, parameters, arguments) \
    ZEL_SWEPT(int, FailedVorl, name, parameters, arguments)

extern "C" {

ZEL_ACCESS(ZelInitAPI, (HANDLE * handle, U32 target, ZelDeviceOnSystem* devices, U32* count),
           (handle, target, devices, count))
ZEL_CLOSED(U32, FailedAccess, ZelCloseAPI, (HANDLE * handle), (handle))
ZEL_ACCESS(ZelInitAdapter, (HANDLE * handle, ZelDeviceOnSystem* device), (handle, device))
ZEL_CLOSED(U32, FailedAccess, ZelCloseAdapter, (HANDLE handle), (handle))
ZEL_ACCESS(ZelGetZelVersion, (HANDLE handle, _E_ZEL_VERSION_TYPE type, char* text, U32* length),
           (handle, type, text, length))
ZEL_ACCESS(ZelGetSMCFWVersion, (HANDLE handle, ZEL_SMCFwRevType* revision), (handle, revision))
ZEL_ACCESS(ZelGetSMCHWRevision, (HANDLE handle, ZEL_SMCHwRevType* revision), (handle, revision))
ZEL_ACCESS(ZelGetUUID, (HANDLE handle, U8* uuid, U32* length), (handle, uuid, length))
ZEL_ACCESS(ZelGetUsageMode, (HANDLE handle, ZEL_CARD_USAGE_MODE* mode), (handle, mode))
ZEL_ACCESS(ZelSetUsageMode, (HANDLE handle, ZEL_CARD_USAGE_MODE mode), (handle, mode))
ZEL_ACCESS(ZelSetUsageModeExtn,
           (HANDLE handle, ZEL_CARD_USAGE_MODE mode, U32 size, const char* image,
            const char* extra),
           (handle, mode, size, image, extra))
ZEL_ACCESS(ZelGetPostCode, (HANDLE handle, char* code), (handle, code))
ZEL_ACCESS(ZelGetPcieLinkSpeed, (HANDLE handle, U32* speed), (handle, speed))
ZEL_ACCESS(ZelGetPcieLinkWidth, (HANDLE handle, U32* width), (handle, width))
ZEL_ACCESS(ZelGetRevisionID, (HANDLE handle, U32* revision), (handle, revision))
ZEL_ACCESS(ZelGetSubSystemID, (HANDLE handle, U32* subsystem), (handle, subsystem))
ZEL_ACCESS(ZelReadMMIOReg, (HANDLE handle, U32 offset, U32* value), (handle, offset, value))
ZEL_ACCESS(ZelGetNumCores, (HANDLE handle, U32* count), (handle, count))
ZEL_ACCESS(ZelGetGDDRMemSize, (HANDLE handle, U64* bytes), (handle, bytes))
ZEL_ACCESS(ZelGetDevMemInfo, (HANDLE handle, ZelDevMemInfo* info), (handle, info))
ZEL_ACCESS(ZelReadMemPhysical,
           (HANDLE handle, U64 address, void* buffer, U32 bytes, U32 width, U32 caching),
           (handle, address, buffer, bytes, width, caching))
ZEL_ACCESS(ZelWriteMemPhysical,
           (HANDLE handle, U64 address, void* buffer, U32 bytes, U32 width, U32 caching),
           (handle, address, buffer, bytes, width, caching))

ZEL_VORL(vorl_open, (), ())
ZEL_CLOSED(int, FailedVorl, vorl_close, (int epd), (epd))
ZEL_VORL(vorl_bind, (int epd, U16 port), (epd, port))
ZEL_VORL(vorl_listen, (int epd, int backlog), (epd, backlog))
ZEL_VORL(vorl_connect, (int epd, vorl_portID* peer), (epd, peer))
ZEL_VORL(vorl_accept, (int epd, vorl_portID* peer, int* newepd, int flags),
         (epd, peer, newepd, flags))
ZEL_VORL(vorl_send, (int epd, void* msg, int len, int flags), (epd, msg, len, flags))
ZEL_VORL(vorl_recv, (int epd, void* msg, int len, int flags), (epd, msg, len, flags))
ZEL_SWEPT(off_t, FailedVorl, vorl_register,
          (int epd, void* addr, size_t len, off_t offset, int prot, int flags),
          (epd, addr, len, offset, prot, flags))
ZEL_VORL(vorl_unregister, (int epd, off_t offset, size_t len), (epd, offset, len))
ZEL_VORL(vorl_writeto, (int epd, off_t local, size_t len, off_t remote, int flags),
         (epd, local, len, remote, flags))
ZEL_VORL(vorl_readfrom, (int epd, off_t local, size_t len, off_t remote, int flags),
         (epd, local, len, remote, flags))
ZEL_VORL(vorl_fence_mark, (int epd, int flags, int* mark), (epd, flags, mark))
ZEL_VORL(vorl_fence_wait, (int epd, int mark), (epd, mark))

}  // extern "C"
