// The functions that libZelAccessSDK.so exports: each checks handle, card and pointers, lets a fault of
// the fleet file take its place, and else answers for the open card.
#include "ZelAccessApi.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "access/AccessLibrary.h"

using simulated::AccessLibrary;
using simulated::CardState;
using simulated::HostState;

#define ZEL_EXPORT __attribute__((visibility("default")))

namespace {

constexpr U32 kLocalCards = 3;  // the one target of ZelInitAPI

// The library as ZelInitAPI opened it; its address is the handle.
std::unique_ptr<AccessLibrary>& Library() {
    static std::unique_ptr<AccessLibrary> library;
    return library;
}

bool IsHandle(HANDLE handle) {
    return handle != nullptr && handle == Library().get();
}

// Runs an operation on the open card unless something stands in its way. No exception leaves the
// library: its callers may be C.
template <typename Operation>
U32 OnCard(const char* call, HANDLE handle, std::initializer_list<const void*> outputs,
           Operation operation) {
    if (!IsHandle(handle))
        return ZEL_INVALID_HANDLE;
    AccessLibrary& library = *Library();
    if (library.Card() == nullptr)
        return ZEL_NO_ADAPTER_OPEN;
    for (const void* const output : outputs) {
        if (output == nullptr)
            return ZEL_INVALID_PARAMETER;
    }
    if (const U32 status = library.Host().FailCardCall(*library.Card(), call))
        return status;
    try {
        return operation(library, *library.Card());
    } catch (const std::bad_alloc&) {
        return ZEL_OUT_OF_MEMORY;
    }
}

// An operation that reports one 32-bit field of the card.
U32 ReportField(const char* call, HANDLE handle, U32* out, U32 CardState::*field) {
    return OnCard(call, handle, {out}, [&](AccessLibrary&, const CardState& card) -> U32 {
        *out = card.*field;
        return ZEL_SUCCESS;
    });
}

// An operation on the open card's memory. When the host has no room left to keep it in, the card does
// not answer.
template <typename Operation>
U32 OnMemory(const char* call, HANDLE handle, const void* buffer, Operation operation) {
    return OnCard(call, handle, {buffer}, [&](AccessLibrary& library, const CardState&) -> U32 {
        try {
            return operation(library);
        } catch (const std::bad_alloc&) {
            return ZEL_DEVICE_IO_ERROR;
        }
    });
}

U32 OpenLibrary(HANDLE* handle, ZelDeviceOnSystem* devices, U32* count) {
    std::unique_ptr<HostState> host;
    try {
        host = HostState::Open();
    } catch (const simulated::HostStateError&) {
        return ZEL_NO_DRIVER;
    }
    if (!host)
        return ZEL_NO_DRIVER;
    if (const U32 status = host->FailHostCall("ZelInitAPI"))
        return status;
    Library() = std::make_unique<AccessLibrary>(std::move(host));
    *count = Library()->Enumerate(devices, *count);
    *handle = Library().get();
    return ZEL_SUCCESS;
}

template <std::size_t Size>
void CopyText(char (&out)[Size], std::string_view text) {
    const std::size_t length = std::min(text.size(), Size - 1);
    std::memcpy(out, text.data(), length);
    out[length] = '\0';
}

}  // namespace

extern "C" {

ZEL_EXPORT U32 ZelInitAPI(HANDLE* handle, U32 target, ZelDeviceOnSystem* devices, U32* count) {
    if (handle == nullptr || target != kLocalCards || devices == nullptr || count == nullptr)
        return ZEL_INVALID_PARAMETER;
    try {
        return OpenLibrary(handle, devices, count);
    } catch (const std::bad_alloc&) {
        return ZEL_OUT_OF_MEMORY;
    }
}

ZEL_EXPORT U32 ZelCloseAPI(HANDLE* handle) {
    if (handle == nullptr || !IsHandle(*handle))
        return ZEL_INVALID_HANDLE;
    const U32 status = Library()->Host().FailHostCall("ZelCloseAPI");
    Library().reset();
    *handle = nullptr;
    return status;
}

ZEL_EXPORT U32 ZelInitAdapter(HANDLE* handle, ZelDeviceOnSystem* device) {
    if (handle == nullptr || !IsHandle(*handle))
        return ZEL_INVALID_HANDLE;
    if (device == nullptr)
        return ZEL_INVALID_PARAMETER;
    try {
        return Library()->OpenCard(*device);
    } catch (const std::bad_alloc&) {
        return ZEL_OUT_OF_MEMORY;
    }
}

ZEL_EXPORT U32 ZelCloseAdapter(HANDLE handle) {
    return IsHandle(handle) ? Library()->CloseCard() : U32{ZEL_INVALID_HANDLE};
}

ZEL_EXPORT const char* ZelGetErrorString(U32 status) {
    switch (status) {
        case ZEL_SUCCESS:
            return "Success";
        case ZEL_INVALID_HANDLE:
            return "Invalid handle";
        case ZEL_INVALID_PARAMETER:
            return "Invalid parameter";
        case ZEL_NO_ADAPTER_OPEN:
            return "No card is open";
        case ZEL_ADAPTER_ALREADY_OPEN:
            return "A card is already open";
        case ZEL_NO_SUCH_DEVICE:
            return "No such card";
        case ZEL_NO_DRIVER:
            return "The host driver stack is not running";
        case ZEL_BUFFER_TOO_SMALL:
            return "Buffer too small";
        case ZEL_NOT_SUPPORTED:
            return "Not supported by this card";
        case ZEL_OUT_OF_MEMORY:
            return "The host has no memory left";
        case ZEL_DEVICE_IO_ERROR:
            return "The card does not answer";
        case ZEL_OUT_OF_RANGE:
            return "Address out of range";
        case ZEL_ACCESS_DENIED:
            return "Not reachable in the card's usage mode";
        case ZEL_IMAGE_NOT_FOUND:
            return "Boot image not found";
        case ZEL_DEVICE_IN_NORMAL_MODE:
            return "The card is in normal mode";
        default:
            return "Unknown error";
    }
}

ZEL_EXPORT U32 ZelGetZelVersion(HANDLE handle, _E_ZEL_VERSION_TYPE type, char* text, U32* length) {
    return OnCard(__func__, handle, {text, length},
                  [&](const AccessLibrary& library, const CardState&) {
                      return library.Version(type, text, length);
                  });
}

ZEL_EXPORT U32 ZelGetSMCFWVersion(HANDLE handle, ZEL_SMCFwRevType* revision) {
    return ReportField(__func__, handle, revision == nullptr ? nullptr : &revision->value,
                       &CardState::smcFirmware);
}

ZEL_EXPORT U32 ZelGetSMCHWRevision(HANDLE handle, ZEL_SMCHwRevType* revision) {
    return ReportField(__func__, handle, revision == nullptr ? nullptr : &revision->value,
                       &CardState::smcHardware);
}

ZEL_EXPORT U32 ZelGetUUID(HANDLE handle, U8* uuid, U32* length) {
    return OnCard(__func__, handle, {uuid, length},
                  [&](AccessLibrary&, const CardState& card) -> U32 {
                      if (*length < card.uuid.size())
                          return ZEL_BUFFER_TOO_SMALL;
                      std::copy(card.uuid.begin(), card.uuid.end(), uuid);
                      *length = static_cast<U32>(card.uuid.size());
                      return ZEL_SUCCESS;
                  });
}

ZEL_EXPORT U32 ZelGetUsageMode(HANDLE handle, ZEL_CARD_USAGE_MODE* mode) {
    return OnCard(__func__, handle, {mode}, [&](AccessLibrary&, const CardState& card) -> U32 {
        *mode = HostState::UsageModeOf(card);
        return ZEL_SUCCESS;
    });
}

ZEL_EXPORT U32 ZelSetUsageMode(HANDLE handle, ZEL_CARD_USAGE_MODE mode) {
    return OnCard(__func__, handle, {},
                  [&](AccessLibrary& library, const CardState&) { return library.SetMode(mode); });
}

ZEL_EXPORT U32 ZelSetUsageModeExtn(HANDLE handle, ZEL_CARD_USAGE_MODE mode, U32, const char* image,
                                   const char* extra) {
    return OnCard(__func__, handle, {image, extra}, [&](AccessLibrary& library, const CardState&) {
        return library.SetModeWithImage(mode, image);
    });
}

ZEL_EXPORT U32 ZelGetPostCode(HANDLE handle, char* code) {
    return OnCard(__func__, handle, {code}, [&](AccessLibrary&, const CardState& card) -> U32 {
        const auto& text = card.postCode.Bytes();
        std::copy(text.begin(), text.end(), code);
        return ZEL_SUCCESS;
    });
}

ZEL_EXPORT U32 ZelGetPcieLinkSpeed(HANDLE handle, U32* speed) {
    return ReportField(__func__, handle, speed, &CardState::linkSpeed);
}

ZEL_EXPORT U32 ZelGetPcieLinkWidth(HANDLE handle, U32* width) {
    return ReportField(__func__, handle, width, &CardState::linkWidth);
}

ZEL_EXPORT U32 ZelGetRevisionID(HANDLE handle, U32* revision) {
    return ReportField(__func__, handle, revision, &CardState::revisionId);
}

ZEL_EXPORT U32 ZelGetSubSystemID(HANDLE handle, U32* subsystem) {
    return ReportField(__func__, handle, subsystem, &CardState::subsystemId);
}

ZEL_EXPORT U32 ZelReadMMIOReg(HANDLE handle, U32 offset, U32* value) {
    return OnCard(__func__, handle, {value}, [&](const AccessLibrary& library, const CardState&) {
        return library.ReadRegister(offset, value);
    });
}

ZEL_EXPORT U32 ZelGetNumCores(HANDLE handle, U32* count) {
    return ReportField(__func__, handle, count, &CardState::cores);
}

ZEL_EXPORT U32 ZelGetGDDRMemSize(HANDLE handle, U64* bytes) {
    return OnCard(__func__, handle, {bytes}, [&](AccessLibrary&, const CardState& card) -> U32 {
        *bytes = card.memoryBytes;
        return ZEL_SUCCESS;
    });
}

ZEL_EXPORT U32 ZelGetDevMemInfo(HANDLE handle, ZelDevMemInfo* info) {
    return OnCard(__func__, handle, {info}, [&](AccessLibrary&, const CardState& card) -> U32 {
        *info = {};
        CopyText(info->vendorName, card.memoryVendor.View());
        CopyText(info->memoryType, card.memoryType.View());
        info->revision = card.memoryRevision;
        info->density = card.memoryDensity;
        info->size = static_cast<U32>(card.memoryBytes >> 10);
        info->speed = card.memorySpeed;
        return ZEL_SUCCESS;
    });
}

ZEL_EXPORT U32 ZelReadMemPhysical(HANDLE handle, U64 address, void* buffer, U32 bytes, U32 width,
                                  U32 caching) {
    return OnMemory(__func__, handle, buffer, [&](AccessLibrary& library) {
        return library.ReadMemory(address, buffer, bytes, width, caching);
    });
}

ZEL_EXPORT U32 ZelWriteMemPhysical(HANDLE handle, U64 address, void* buffer, U32 bytes, U32 width,
                                   U32 caching) {
    return OnMemory(__func__, handle, buffer, [&](AccessLibrary& library) {
        return library.WriteMemory(address, buffer, bytes, width, caching);
    });
}

}  // extern "C"
