// The functions of libZelAccessSDK, answered by the fake. As in the library, a call that fails leaves
// its outputs untouched.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>

#include "FakeZelAccess.h"
#include "Journal.h"

namespace fakes {

namespace {

int handleTarget = 0;

HANDLE TheHandle() {
    return &handleTarget;
}

std::string Hex(U64 value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%" PRIX64, value);
    return text;
}

std::string List(std::initializer_list<std::string> arguments) {
    std::string list;
    for (const std::string& argument : arguments) {
        list += (list.empty() ? "" : ", ") + argument;
    }
    return list;
}

std::string Text(const char* text) {
    return text == nullptr ? "null" : Quote(text);
}

template <typename Number>
void PutNumber(Number* output, const Answer& answer, U64 cardValue) {
    *output = static_cast<Number>(answer.value.value_or(cardValue));
}

// Copies a text with its terminator, cut to `room`.
template <typename Char>
void PutText(Char* output, std::size_t room, const std::string& text) {
    const std::size_t length = std::min(text.size(), room - 1);
    std::memcpy(output, text.data(), length);
    output[length] = 0;
}

void DescribeCard(const Card& card, ZelDeviceOnSystem& record) {
    record = {};
    record.deviceId = card.deviceId;
    record.busNumber = card.busNumber;
    record.deviceNumber = card.deviceNumber;
    record.node = card.node;
    record.subSystemId = card.subsystemId;
    record.classCode = card.classCode;
    PutText(record.deviceName, sizeof record.deviceName, card.name);
}

}  // namespace

struct ZelAccessCalls {
    // Notes a call that belongs to no card and takes its answer.
    static Answer Note(const char* name, const std::string& arguments) {
        return ZelAccess().NextAnswer(name, std::string(name) + "(" + arguments + ")");
    }

    // A call on the open card: notes it and, unless the script or the library's state refuses it,
    // lets `action(card, answer)` fill the outputs and give the status.
    template <typename Action>
    static U32 OnCard(const char* name, HANDLE handle, const std::string& arguments,
                      Action action) {
        FakeZelAccess& fake = ZelAccess();
        const bool valid = fake.open_ && handle == TheHandle();
        const Answer answer = Note(
            name, valid ? arguments : "bad handle" + (arguments.empty() ? "" : ", " + arguments));
        if (answer.status != ZEL_SUCCESS) {
            return answer.status;
        }
        if (!valid) {
            return ZEL_INVALID_HANDLE;
        }
        if (fake.openCard_ < 0) {
            return ZEL_NO_ADAPTER_OPEN;
        }
        return action(fake.cards[static_cast<std::size_t>(fake.openCard_)], answer);
    }

    template <typename Number>
    static U32 GetNumber(const char* name, HANDLE handle, Number* output,
                         U64 (*read)(const Card&)) {
        return OnCard(name, handle, "", [&](const Card& card, const Answer& answer) {
            PutNumber(output, answer, read(card));
            return U32{ZEL_SUCCESS};
        });
    }

    static U32 OpenLibrary(HANDLE* handle, U32 target, ZelDeviceOnSystem* devices, U32* count) {
        FakeZelAccess& fake = ZelAccess();
        const Answer answer =
            Note("ZelInitAPI", List({std::to_string(target), std::to_string(*count)}));
        if (answer.status != ZEL_SUCCESS) {
            return answer.status;
        }
        const std::size_t filled = std::min<std::size_t>(*count, fake.cards.size());
        for (std::size_t i = 0; i < filled; ++i) {
            DescribeCard(fake.cards[i], devices[i]);
        }
        PutNumber(count, answer, filled);
        *handle = TheHandle();
        fake.open_ = true;
        fake.openCard_ = -1;
        fake.devices_ = devices;
        return ZEL_SUCCESS;
    }

    static U32 CloseLibrary(HANDLE* handle) {
        FakeZelAccess& fake = ZelAccess();
        const bool valid = fake.open_ && *handle == TheHandle();
        const Answer answer = Note("ZelCloseAPI", valid ? "" : "bad handle");
        if (answer.status != ZEL_SUCCESS) {
            return answer.status;
        }
        if (!valid) {
            return ZEL_INVALID_HANDLE;
        }
        *handle = nullptr;
        fake.open_ = false;
        fake.openCard_ = -1;
        return ZEL_SUCCESS;
    }

    static U32 OpenCard(HANDLE* handle, const ZelDeviceOnSystem* device) {
        FakeZelAccess& fake = ZelAccess();
        const bool valid = fake.open_ && *handle == TheHandle();
        const std::string index =
            valid ? std::to_string(device - fake.devices_) : std::string("bad handle");
        const Answer answer = Note("ZelInitAdapter", index);
        if (answer.status != ZEL_SUCCESS) {
            return answer.status;
        }
        if (!valid) {
            return ZEL_INVALID_HANDLE;
        }
        if (fake.openCard_ >= 0) {
            return ZEL_ADAPTER_ALREADY_OPEN;
        }
        if (device < fake.devices_ || device >= fake.devices_ + fake.cards.size()) {
            return ZEL_NO_SUCH_DEVICE;
        }
        fake.openCard_ = static_cast<int>(device - fake.devices_);
        return ZEL_SUCCESS;
    }

    static U32 CloseCard(HANDLE handle) {
        return OnCard("ZelCloseAdapter", handle, "", [](const Card&, const Answer&) {
            ZelAccess().openCard_ = -1;
            return U32{ZEL_SUCCESS};
        });
    }

    static U32 SetMode(Card& card, ZEL_CARD_USAGE_MODE mode) {
        if (mode >= ZEL_USAGE_MODE_NOP) {
            return ZEL_INVALID_PARAMETER;
        }
        card.usageMode = mode;
        return ZEL_SUCCESS;
    }

    // Copies card memory to (`write` false) or from `buffer`.
    static U32 AccessMemory(const Card& card, U64 address, U8* buffer, U32 bytes, bool write) {
        if (card.usageMode != ZEL_USAGE_MODE_MEMDIAG) {
            return ZEL_ACCESS_DENIED;
        }
        if (bytes > card.memoryBytes || address > card.memoryBytes - bytes) {
            return ZEL_OUT_OF_RANGE;
        }
        FakeZelAccess& fake = ZelAccess();
        SparseMemory& memory =
            fake.memories_.try_emplace(fake.openCard_, card.memoryBytes).first->second;
        if (write) {
            memory.Write(address, buffer, bytes);
            return ZEL_SUCCESS;
        }
        if (fake.readsTouchNothing) {
            return ZEL_SUCCESS;
        }
        memory.Read(address, buffer, bytes);
        ApplyStuckBits(address, buffer, bytes);
        if (fake.corruptRead) {
            fake.corruptRead(address, buffer, bytes);
        }
        return ZEL_SUCCESS;
    }

    static void ApplyStuckBits(U64 address, U8* buffer, U32 bytes) {
        for (const StuckBit& stuck : ZelAccess().stuckBits) {
            if (stuck.address < address || stuck.address - address >= bytes) {
                continue;
            }
            U8& cell = buffer[stuck.address - address];
            const U8 mask = static_cast<U8>(1U << stuck.bit);
            cell = static_cast<U8>(stuck.value ? cell | mask : cell & ~mask);
        }
    }

    static std::string MemoryArguments(U64 address, U32 bytes, U32 width, U32 caching) {
        return List(
            {Hex(address), std::to_string(bytes), std::to_string(width), std::to_string(caching)});
    }
};

}  // namespace fakes

using fakes::Answer;
using fakes::Card;
using Calls = fakes::ZelAccessCalls;

extern "C" {

U32 ZelInitAPI(HANDLE* handle, U32 target, ZelDeviceOnSystem* devices, U32* count) {
    return Calls::OpenLibrary(handle, target, devices, count);
}

U32 ZelCloseAPI(HANDLE* handle) {
    return Calls::CloseLibrary(handle);
}

U32 ZelInitAdapter(HANDLE* handle, ZelDeviceOnSystem* device) {
    return Calls::OpenCard(handle, device);
}

U32 ZelCloseAdapter(HANDLE handle) {
    return Calls::CloseCard(handle);
}

const char* ZelGetErrorString(U32 status) {
    static std::map<U32, std::string> texts;
    const Answer answer = Calls::Note("ZelGetErrorString", std::to_string(status));
    std::string& text = texts[status];
    text = answer.text.value_or("text of status " + std::to_string(status));
    return text.c_str();
}

U32 ZelGetZelVersion(HANDLE handle, _E_ZEL_VERSION_TYPE type, char* text, U32* length) {
    return Calls::OnCard("ZelGetZelVersion", handle,
                         fakes::List({std::to_string(type), std::to_string(*length)}),
                         [&](const Card& card, const Answer& answer) {
                             const auto version = card.versions.find(type);
                             if (!answer.text && version == card.versions.end()) {
                                 return U32{ZEL_NOT_SUPPORTED};
                             }
                             const std::string found = answer.text ? *answer.text : version->second;
                             if (found.size() >= *length) {
                                 return U32{ZEL_BUFFER_TOO_SMALL};
                             }
                             fakes::PutText(text, *length, found);
                             fakes::PutNumber(length, answer, found.size());
                             return U32{ZEL_SUCCESS};
                         });
}

U32 ZelGetSMCFWVersion(HANDLE handle, ZEL_SMCFwRevType* revision) {
    return Calls::GetNumber("ZelGetSMCFWVersion", handle, &revision->value,
                            [](const Card& card) { return U64{card.smcFirmware}; });
}

U32 ZelGetSMCHWRevision(HANDLE handle, ZEL_SMCHwRevType* revision) {
    return Calls::GetNumber("ZelGetSMCHWRevision", handle, &revision->value,
                            [](const Card& card) { return U64{card.smcHardware}; });
}

U32 ZelGetUUID(HANDLE handle, U8* uuid, U32* length) {
    return Calls::OnCard("ZelGetUUID", handle, std::to_string(*length),
                         [&](const Card& card, const Answer& answer) {
                             if (*length < card.uuid.size()) {
                                 return U32{ZEL_BUFFER_TOO_SMALL};
                             }
                             std::copy(card.uuid.begin(), card.uuid.end(), uuid);
                             fakes::PutNumber(length, answer, card.uuid.size());
                             return U32{ZEL_SUCCESS};
                         });
}

U32 ZelGetUsageMode(HANDLE handle, ZEL_CARD_USAGE_MODE* mode) {
    return Calls::GetNumber("ZelGetUsageMode", handle, mode,
                            [](const Card& card) { return U64{card.usageMode}; });
}

U32 ZelSetUsageMode(HANDLE handle, ZEL_CARD_USAGE_MODE mode) {
    return Calls::OnCard("ZelSetUsageMode", handle, std::to_string(mode),
                         [&](Card& card, const Answer&) { return Calls::SetMode(card, mode); });
}

U32 ZelSetUsageModeExtn(HANDLE handle, ZEL_CARD_USAGE_MODE mode, U32 size, const char* image,
                        const char* extra) {
    return Calls::OnCard(
        "ZelSetUsageModeExtn", handle,
        fakes::List(
            {std::to_string(mode), std::to_string(size), fakes::Text(image), fakes::Text(extra)}),
        [&](Card& card, const Answer&) {
            if (mode == ZEL_USAGE_MODE_MEMDIAG && card.usageMode == ZEL_USAGE_MODE_NORMAL) {
                return U32{ZEL_DEVICE_IN_NORMAL_MODE};
            }
            return Calls::SetMode(card, mode);
        });
}

U32 ZelGetPostCode(HANDLE handle, char* code) {
    constexpr std::size_t kCodeBytes = 16;
    return Calls::OnCard("ZelGetPostCode", handle, "", [&](const Card& card, const Answer& answer) {
        fakes::PutText(code, kCodeBytes, answer.text.value_or(card.postCode));
        return U32{ZEL_SUCCESS};
    });
}

U32 ZelGetPcieLinkSpeed(HANDLE handle, U32* speed) {
    return Calls::GetNumber("ZelGetPcieLinkSpeed", handle, speed,
                            [](const Card& card) { return U64{card.linkSpeed}; });
}

U32 ZelGetPcieLinkWidth(HANDLE handle, U32* width) {
    return Calls::GetNumber("ZelGetPcieLinkWidth", handle, width,
                            [](const Card& card) { return U64{card.linkWidth}; });
}

U32 ZelGetRevisionID(HANDLE handle, U32* revision) {
    return Calls::GetNumber("ZelGetRevisionID", handle, revision,
                            [](const Card& card) { return U64{card.revisionId}; });
}

U32 ZelGetSubSystemID(HANDLE handle, U32* subsystem) {
    return Calls::GetNumber("ZelGetSubSystemID", handle, subsystem,
                            [](const Card& card) { return U64{card.subsystemId}; });
}

U32 ZelReadMMIOReg(HANDLE handle, U32 offset, U32* value) {
    return Calls::OnCard("ZelReadMMIOReg", handle, fakes::Hex(offset),
                         [&](const Card& card, const Answer& answer) {
                             const auto found = card.registers.find(offset);
                             const U32 content = found == card.registers.end() ? 0 : found->second;
                             fakes::PutNumber(value, answer, content);
                             return U32{ZEL_SUCCESS};
                         });
}

U32 ZelGetNumCores(HANDLE handle, U32* count) {
    return Calls::GetNumber("ZelGetNumCores", handle, count,
                            [](const Card& card) { return U64{card.cores}; });
}

U32 ZelGetGDDRMemSize(HANDLE handle, U64* bytes) {
    return Calls::GetNumber("ZelGetGDDRMemSize", handle, bytes,
                            [](const Card& card) { return card.memoryBytes; });
}

U32 ZelGetDevMemInfo(HANDLE handle, ZelDevMemInfo* info) {
    return Calls::OnCard("ZelGetDevMemInfo", handle, "", [&](const Card& card, const Answer&) {
        *info = {};
        fakes::PutText(info->vendorName, sizeof info->vendorName, card.memoryVendor);
        fakes::PutText(info->memoryType, sizeof info->memoryType, card.memoryType);
        info->revision = card.memoryRevision;
        info->density = card.memoryDensityMegabytes;
        info->size = static_cast<U32>(card.memoryBytes / 1024);
        info->speed = card.memorySpeed;
        return U32{ZEL_SUCCESS};
    });
}

U32 ZelReadMemPhysical(HANDLE handle, U64 address, void* buffer, U32 bytes, U32 width,
                       U32 caching) {
    return Calls::OnCard(
        "ZelReadMemPhysical", handle, Calls::MemoryArguments(address, bytes, width, caching),
        [&](const Card& card, const Answer&) {
            return Calls::AccessMemory(card, address, static_cast<U8*>(buffer), bytes, false);
        });
}

U32 ZelWriteMemPhysical(HANDLE handle, U64 address, void* buffer, U32 bytes, U32 width,
                        U32 caching) {
    return Calls::OnCard(
        "ZelWriteMemPhysical", handle, Calls::MemoryArguments(address, bytes, width, caching),
        [&](const Card& card, const Answer&) {
            return Calls::AccessMemory(card, address, static_cast<U8*>(buffer), bytes, true);
        });
}

}  // extern "C"
