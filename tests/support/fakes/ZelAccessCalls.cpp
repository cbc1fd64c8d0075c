// The functions of libZelAccessSDK, answered by the fake. As in the library, a call that fails leaves
// its outputs untouched.
#include <algorithm>
#include <cstring>
#include <string>

#include "CallText.h"
#include "FakeZelAccess.h"

namespace fakes {

namespace {

int handleTarget = 0;

HANDLE TheHandle() {
    return &handleTarget;
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

// One call: its name and what it was told, and what the library's function of that name does.
struct ZelAccessCall {
    std::string name;
    std::string told;

    Answer Note(const std::string& arguments) const {
        return ZelAccess().NextAnswer(name, name + "(" + arguments + ")");
    }

    // Notes the call and, unless the script or the handle stands in its way, lets `action(answer)` fill
    // the outputs and give the status.
    template <typename Action>
    U32 WithHandle(HANDLE handle, Action action) const {
        const bool valid = ZelAccess().open_ && handle == TheHandle();
        const Answer answer = Note(valid ? told : "bad handle" + (told.empty() ? "" : ", " + told));
        if (answer.status != ZEL_SUCCESS) {
            return answer.status;
        }
        return valid ? action(answer) : U32{ZEL_INVALID_HANDLE};
    }

    // The same for a call on the open card, with `action(card, answer)`.
    template <typename Action>
    U32 OnCard(HANDLE handle, Action action) const {
        return WithHandle(handle, [&](const Answer& answer) {
            FakeZelAccess& fake = ZelAccess();
            if (fake.openCard_ < 0) {
                return U32{ZEL_NO_ADAPTER_OPEN};
            }
            return action(fake.cards[static_cast<std::size_t>(fake.openCard_)], answer);
        });
    }

    template <typename Number, typename Field>
    U32 Report(HANDLE handle, Number* output, Field Card::*field) const {
        return OnCard(handle, [&](const Card& card, const Answer& answer) {
            PutNumber(output, answer, card.*field);
            return U32{ZEL_SUCCESS};
        });
    }

    U32 ZelInitAPI(HANDLE* handle, U32, ZelDeviceOnSystem* devices, U32* count) const {
        FakeZelAccess& fake = ZelAccess();
        const Answer answer = Note(told);
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

    U32 ZelCloseAPI(HANDLE* handle) const {
        return WithHandle(*handle, [&](const Answer&) {
            *handle = nullptr;
            ZelAccess().open_ = false;
            ZelAccess().openCard_ = -1;
            return U32{ZEL_SUCCESS};
        });
    }

    U32 ZelInitAdapter(HANDLE* handle, const ZelDeviceOnSystem* device) const {
        return WithHandle(*handle, [&](const Answer&) {
            FakeZelAccess& fake = ZelAccess();
            if (fake.openCard_ >= 0) {
                return U32{ZEL_ADAPTER_ALREADY_OPEN};
            }
            if (device < fake.devices_ || device >= fake.devices_ + fake.cards.size()) {
                return U32{ZEL_NO_SUCH_DEVICE};
            }
            fake.openCard_ = static_cast<int>(device - fake.devices_);
            return U32{ZEL_SUCCESS};
        });
    }

    U32 ZelCloseAdapter(HANDLE handle) const {
        return OnCard(handle, [](const Card&, const Answer&) {
            ZelAccess().openCard_ = -1;
            return U32{ZEL_SUCCESS};
        });
    }

    const char* ZelGetErrorString(U32 status) const {
        static std::map<U32, std::string> texts;
        std::string& text = texts[status];
        text = Note(told).text.value_or("text of status " + std::to_string(status));
        return text.c_str();
    }

    U32 ZelGetZelVersion(HANDLE handle, _E_ZEL_VERSION_TYPE type, char* text, U32* length) const {
        return OnCard(handle, [&](const Card& card, const Answer& answer) {
            const auto version = card.versions.find(type);
            if (!answer.text && version == card.versions.end()) {
                return U32{ZEL_NOT_SUPPORTED};
            }
            const std::string found = answer.text ? *answer.text : version->second;
            if (found.size() >= *length) {
                return U32{ZEL_BUFFER_TOO_SMALL};
            }
            PutText(text, *length, found);
            PutNumber(length, answer, found.size());
            return U32{ZEL_SUCCESS};
        });
    }

    U32 ZelGetSMCFWVersion(HANDLE handle, ZEL_SMCFwRevType* revision) const {
        return Report(handle, &revision->value, &Card::smcFirmware);
    }

    U32 ZelGetSMCHWRevision(HANDLE handle, ZEL_SMCHwRevType* revision) const {
        return Report(handle, &revision->value, &Card::smcHardware);
    }

    U32 ZelGetUUID(HANDLE handle, U8* uuid, U32* length) const {
        return OnCard(handle, [&](const Card& card, const Answer& answer) {
            if (*length < card.uuid.size()) {
                return U32{ZEL_BUFFER_TOO_SMALL};
            }
            std::copy(card.uuid.begin(), card.uuid.end(), uuid);
            PutNumber(length, answer, card.uuid.size());
            return U32{ZEL_SUCCESS};
        });
    }

    U32 ZelGetUsageMode(HANDLE handle, ZEL_CARD_USAGE_MODE* mode) const {
        return Report(handle, mode, &Card::usageMode);
    }

    static U32 SetMode(Card& card, ZEL_CARD_USAGE_MODE mode) {
        if (mode >= ZEL_USAGE_MODE_NOP) {
            return ZEL_INVALID_PARAMETER;
        }
        card.usageMode = mode;
        return ZEL_SUCCESS;
    }

    U32 ZelSetUsageMode(HANDLE handle, ZEL_CARD_USAGE_MODE mode) const {
        return OnCard(handle, [&](Card& card, const Answer&) { return SetMode(card, mode); });
    }

    U32 ZelSetUsageModeExtn(HANDLE handle, ZEL_CARD_USAGE_MODE mode, U32, const char*,
                            const char*) const {
        return OnCard(handle, [&](Card& card, const Answer&) {
            if (mode == ZEL_USAGE_MODE_MEMDIAG && card.usageMode == ZEL_USAGE_MODE_NORMAL) {
                return U32{ZEL_DEVICE_IN_NORMAL_MODE};
            }
            return SetMode(card, mode);
        });
    }

    U32 ZelGetPostCode(HANDLE handle, char* code) const {
        constexpr std::size_t kCodeBytes = 16;
        return OnCard(handle, [&](const Card& card, const Answer& answer) {
            PutText(code, kCodeBytes, answer.text.value_or(card.postCode));
            return U32{ZEL_SUCCESS};
        });
    }

    U32 ZelGetPcieLinkSpeed(HANDLE handle, U32* speed) const {
        return Report(handle, speed, &Card::linkSpeed);
    }

    U32 ZelGetPcieLinkWidth(HANDLE handle, U32* width) const {
        return Report(handle, width, &Card::linkWidth);
    }

    U32 ZelGetRevisionID(HANDLE handle, U32* revision) const {
        return Report(handle, revision, &Card::revisionId);
    }

    U32 ZelGetSubSystemID(HANDLE handle, U32* subsystem) const {
        return Report(handle, subsystem, &Card::subsystemId);
    }

    U32 ZelReadMMIOReg(HANDLE handle, U32 offset, U32* value) const {
        return OnCard(handle, [&](const Card& card, const Answer& answer) {
            const auto found = card.registers.find(offset);
            PutNumber(value, answer, found == card.registers.end() ? 0 : found->second);
            return U32{ZEL_SUCCESS};
        });
    }

    U32 ZelGetNumCores(HANDLE handle, U32* count) const {
        return Report(handle, count, &Card::cores);
    }

    U32 ZelGetGDDRMemSize(HANDLE handle, U64* bytes) const {
        return Report(handle, bytes, &Card::memoryBytes);
    }

    U32 ZelGetDevMemInfo(HANDLE handle, ZelDevMemInfo* info) const {
        return OnCard(handle, [&](const Card& card, const Answer&) {
            *info = {};
            PutText(info->vendorName, sizeof info->vendorName, card.memoryVendor);
            PutText(info->memoryType, sizeof info->memoryType, card.memoryType);
            info->revision = card.memoryRevision;
            info->density = card.memoryDensityMegabytes;
            info->size = static_cast<U32>(card.memoryBytes / 1024);
            info->speed = card.memorySpeed;
            return U32{ZEL_SUCCESS};
        });
    }

    // The cells of the open card that an access reaches, and the memory that holds them.
    template <typename Action>
    U32 OnMemory(HANDLE handle, U64 address, U32 bytes, Action action) const {
        return OnCard(handle, [&](const Card& card, const Answer&) {
            if (card.usageMode != ZEL_USAGE_MODE_MEMDIAG) {
                return U32{ZEL_ACCESS_DENIED};
            }
            if (bytes > card.memoryBytes || address > card.memoryBytes - bytes) {
                return U32{ZEL_OUT_OF_RANGE};
            }
            FakeZelAccess& fake = ZelAccess();
            action(fake.memories_.try_emplace(fake.openCard_, card.memoryBytes).first->second);
            return U32{ZEL_SUCCESS};
        });
    }

    U32 ZelReadMemPhysical(HANDLE handle, U64 address, void* buffer, U32 bytes, U32, U32) const {
        return OnMemory(handle, address, bytes, [&](const SparseMemory& memory) {
            if (ZelAccess().readsTouchNothing) {
                return;
            }
            memory.Read(address, buffer, bytes);
            ZelAccess().SpoilRead(address, static_cast<U8*>(buffer), bytes);
        });
    }

    U32 ZelWriteMemPhysical(HANDLE handle, U64 address, const void* buffer, U32 bytes, U32,
                            U32) const {
        return OnMemory(handle, address, bytes,
                        [&](SparseMemory& memory) { memory.Write(address, buffer, bytes); });
    }
};

}  // namespace fakes

using fakes::at;

#define ACCESS_CALL(fault, failed, result, name, parameters, arguments, told) \
    result name parameters {                                                  \
        return fakes::ZelAccessCall{#name, fakes::Told told}.name arguments;  \
    }
extern "C" {
#include "Calls.def"
}
