// libZelAccessSDK: enumerates the coprocessor cards of the host, opens one at a time and asks it.
//
// Every function but ZelGetErrorString returns a status, 0 on success (ZelStatus names those that
// the library itself produces). A function that fails leaves its outputs untouched. Output pointers
// must not be null. The library is used from one thread at a time.
//
// Order of calls: ZelInitAPI, then for each card ZelInitAdapter, any of the card operations,
// ZelCloseAdapter; at the end ZelCloseAPI.
#pragma once

#include "ZelTypes.h"

enum ZelStatus : U32 {
    ZEL_SUCCESS = 0,
    ZEL_INVALID_HANDLE = 1,         // not a handle that ZelInitAPI gave
    ZEL_INVALID_PARAMETER = 2,      // null pointer, or a value out of range
    ZEL_NO_ADAPTER_OPEN = 3,        // a card operation without an open card
    ZEL_ADAPTER_ALREADY_OPEN = 4,   // one card at a time
    ZEL_NO_SUCH_DEVICE = 5,         // the record names no card of this host
    ZEL_NO_DRIVER = 6,              // the host driver stack is not running
    ZEL_BUFFER_TOO_SMALL = 7,       // the length given in does not hold the answer
    ZEL_NOT_SUPPORTED = 8,          // the card has no such item
    ZEL_OUT_OF_MEMORY = 12,         // the host has no memory left
    ZEL_DEVICE_IO_ERROR = 13,       // the card does not answer
    ZEL_OUT_OF_RANGE = 14,          // no register or memory at this address
    ZEL_ACCESS_DENIED = 15,         // not reachable in the card's present usage mode
    ZEL_IMAGE_NOT_FOUND = 16,       // the boot image is not a readable file
    ZEL_DEVICE_IN_NORMAL_MODE = 29  // the card runs its operating system and refuses the switch
};

enum ZEL_CARD_USAGE_MODE : U32 {
    ZEL_USAGE_MODE_NORMAL = 0,
    ZEL_USAGE_MODE_MAINTENANCE = 1,
    ZEL_USAGE_MODE_ZOMBIE = 2,
    ZEL_USAGE_MODE_MEMDIAG = 3,
    ZEL_USAGE_MODE_NORMAL_RESTRICTED = 4,
    ZEL_USAGE_MODE_OFFLINE = 5,
    ZEL_USAGE_MODE_IN_TRANSITION = 6,
    ZEL_USAGE_MODE_NOP = 7,
    ZEL_USAGE_MODE_MAX = 8
};

enum _E_ZEL_VERSION_TYPE : U32 {
    ZEL_VERSION_API = 0,
    ZEL_VERSION_UOS = 1,
    ZEL_VERSION_FLASH_IMAGE = 2,
    ZEL_VERSION_FBOOT0 = 3,
    ZEL_VERSION_FBOOT1 = 4,
    ZEL_VERSION_FLASH_DESCRIPTOR = 5,
    ZEL_VERSION_FLASH_VENDOR = 6,
    ZEL_VERSION_FLASH_DRIVER_IF = 7,
    ZEL_VERSION_HSD = 8,
    ZEL_VERSION_FLASH_TIME_STAMP = 9,
    ZEL_VERSION_MFG = 10,
    ZEL_VERSION_MFG_TIME_STAMP = 11,
    ZEL_VERSION_MFG_PLYX_VER = 12,
    ZEL_VERSION_FSC = 13,
    ZEL_FSC_STRAPS = 14,
    ZEL_VERSION_MAX = 15
};

// Values that ZelGetPcieLinkSpeed reports.
enum _PCI_LINK_SPEED_ : U32 { LINK_SPEED_2_5 = 1, LINK_SPEED_5 = 2, LINK_SPEED_UNKNOWN = 3 };

// Values that ZelGetPcieLinkWidth reports, in lanes.
enum _PCI_LINK_WIDTH_ : U32 {
    LINK_WIDTH_UNKNOWN = 0,
    LINK_WIDTH_1 = 1,
    LINK_WIDTH_2 = 2,
    LINK_WIDTH_4 = 4,
    LINK_WIDTH_8 = 8,
    LINK_WIDTH_12 = 12,
    LINK_WIDTH_16 = 16,
    LINK_WIDTH_32 = 32
};

// One enumerated card.
struct ZelDeviceOnSystem {
    U32 deviceId;  // PCI device id, vendor id in the low 16 bits
    U8 busNumber;
    U8 deviceNumber;
    U8 deviceName[255];  // NUL-terminated
    U16 node;
    U32 subSystemId;
    U32 classCode;
};

// SMC firmware version.
struct ZEL_SMCFwBits {
    U32 buildno : 16;
    U32 minor : 8;
    U32 major : 8;
};

union ZEL_SMCFwRevType {
    U32 value;
    ZEL_SMCFwBits revbits;
};

// SMC hardware revision.
struct ZEL_SMCHwBits {
    U32 mem_cfg : 1;     // 1 = clamshell memory configuration
    U32 power : 1;       // power configuration selector
    U32 hsink_type : 1;  // 1 = passive heat sink, 0 = active
    U32 reserved1 : 5;
    U32 fab_version : 3;  // 0 = FAB A
    U32 reserved2 : 5;
    U32 board_type : 2;  // 0 = MPI, 1 = CRB, 2 = DFF, 3 = Product
    U32 reserved3 : 14;
};

union ZEL_SMCHwRevType {
    U32 value;
    ZEL_SMCHwBits revbits;
};

static_assert(sizeof(ZEL_SMCFwRevType) == 4 && sizeof(ZEL_SMCHwRevType) == 4);

// GDDR memory of a card.
struct ZelDevMemInfo {
    char vendorName[33];
    U16 revision;
    U32 density;  // MB
    U32 size;     // KB
    U32 speed;    // kT/s
    char memoryType[33];
};

extern "C" {

// Opens the library. `target` is 3 (all cards of the local host). `*count` is the capacity of
// `devices` on entry and the number of records filled on return; cards beyond the capacity are left
// out. No card at all is a success with 0.
U32 ZelInitAPI(HANDLE* handle, U32 target, ZelDeviceOnSystem* devices, U32* count);

// Closes the library and sets `*handle` to null, also when it reports a failure. An open card is closed
// first.
U32 ZelCloseAPI(HANDLE* handle);

// Opens the card that `device` describes, a record that ZelInitAPI filled.
U32 ZelInitAdapter(HANDLE* handle, ZelDeviceOnSystem* device);

// The card is closed also when this reports a failure: the next one can be opened.
U32 ZelCloseAdapter(HANDLE handle);

// Text of a status, never null; owned by the library, valid for ever.
const char* ZelGetErrorString(U32 status);

// Version texts, NUL-terminated. `*length` is the size of `text` on entry and the text's length,
// without its terminator, on return.
U32 ZelGetZelVersion(HANDLE handle, _E_ZEL_VERSION_TYPE type, char* text, U32* length);

U32 ZelGetSMCFWVersion(HANDLE handle, ZEL_SMCFwRevType* revision);
U32 ZelGetSMCHWRevision(HANDLE handle, ZEL_SMCHwRevType* revision);

// `*length` is the size of `uuid` on entry, at least 16, and 16 on return.
U32 ZelGetUUID(HANDLE handle, U8* uuid, U32* length);

U32 ZelGetUsageMode(HANDLE handle, ZEL_CARD_USAGE_MODE* mode);
U32 ZelSetUsageMode(HANDLE handle, ZEL_CARD_USAGE_MODE mode);

// Moves the card into a mode that needs a boot image (a file of the host) or a size. Refused with
// ZEL_DEVICE_IN_NORMAL_MODE when memory-diagnostic mode is asked for while the card runs its
// operating system.
U32 ZelSetUsageModeExtn(HANDLE handle, ZEL_CARD_USAGE_MODE mode, U32 size, const char* image,
                        const char* extra);

// POST code as text; `code` has room for 16 characters, terminator included.
U32 ZelGetPostCode(HANDLE handle, char* code);

U32 ZelGetPcieLinkSpeed(HANDLE handle, U32* speed);
U32 ZelGetPcieLinkWidth(HANDLE handle, U32* width);
U32 ZelGetRevisionID(HANDLE handle, U32* revision);

// Subsystem id in the high 16 bits, subsystem vendor id in the low 16.
U32 ZelGetSubSystemID(HANDLE handle, U32* subsystem);

// Reads a 32-bit register at a byte offset, a multiple of 4, in the card's MMIO space.
U32 ZelReadMMIOReg(HANDLE handle, U32 offset, U32* value);

U32 ZelGetNumCores(HANDLE handle, U32* count);
U32 ZelGetGDDRMemSize(HANDLE handle, U64* bytes);
U32 ZelGetDevMemInfo(HANDLE handle, ZelDevMemInfo* info);

// Copies `bytes` bytes between `buffer` and the card's memory at a physical address, in accesses of
// `width` bytes (1, 2, 4 or 8). `caching` is 0: not cached. Possible only in memory-diagnostic mode.
U32 ZelReadMemPhysical(HANDLE handle, U64 address, void* buffer, U32 bytes, U32 width, U32 caching);
U32 ZelWriteMemPhysical(HANDLE handle, U64 address, void* buffer, U32 bytes, U32 width,
                        U32 caching);

}  // extern "C"
