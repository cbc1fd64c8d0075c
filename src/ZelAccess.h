// The one way to the coprocessor cards: opens the card-access library, holds the list of cards and
// opens one card at a time. Used from the main thread; DMA workers only read the card's record.
//
// Order of calls: setAccessHandle once; for each card InitAdapterforDiag, the card's tests,
// CloseAdapter; at the end CloseAccessHandle.
#pragma once

#include "ZelAccessApi.h"

// Brand text of the current card generation, and of the older one.
inline constexpr char k_EmrDeviceName[] = "Ostrel(R) Vimbra(TM) Coprocessor";
inline constexpr char k_EvDeviceName[] =
    "Ostrel(R) Vimbra(TM) Software Development Vehicle (formerly known as \"Ember Vale\")";

// Boot parameters of a card for performance mode.
inline constexpr char k_PerfFlags[] = "icache_snoop_off zelpm=etc_on";

class _ZelAccess {
public:
    static constexpr U32 k_MaxDevices = 256;

    _ZelAccess();

    // Opens the library and enumerates the cards; at once true when that is already done. False when
    // the library refuses or finds no card.
    bool setAccessHandle();

    // The library's handle. Throws CommonException when the library is not open.
    HANDLE getAccessHandle() const;

    // Opens card `device` and, with `showVersion`, prints the library's version. Throws
    // CommonException on every failure. Only the capacity bounds `device`, not the number of cards.
    void InitAdapterforDiag(unsigned int device, bool showVersion);

    // Closes the open card, which is forgotten even when that fails.
    bool CloseAdapter();

    // Closes the library, which is forgotten even when that fails.
    bool CloseAccessHandle();

    // Index of the open card, -1 when there is none.
    int GetCurrentDevice() const { return m_currentDevice; }

    // Name of the open card; the empty fallback name when there is none.
    const char* CurrentDeviceName() const;

    // PCI device id of the open card; 0 when there is none.
    U32 CurrentDeviceId() const;

    // Whether the open card's name is exactly the current generation's.
    bool IsCurrentDeviceEMR() const;

    // Whether the card is in normal usage mode; neither ever changes the mode.
    bool isDeviceinNormalMode();
    bool checknSetNormalMode() { return isDeviceinNormalMode(); }

    // Sets the offline mode, without waiting for the card to arrive there.
    bool settoNormalMode();

    // Declared only: nothing in a run calls them. The first sets a mode as settoNormalMode does; the
    // others have no body.
    bool setNormalModewithSize();
    bool setCurDevicetoNormalMode();
    int FindDeviceIdinList(DWORD deviceId);
    DWORD getZelDevId();
    U16 getZelNode();
    unsigned int gettotalDevices();
    const U8* getZelDevName();

    HANDLE m_accessHandle;
    bool m_pciScanned;                 // declared only
    DWORD deviceidList[k_MaxDevices];  // declared only
    ZelDeviceOnSystem m_devices[k_MaxDevices];
    unsigned int m_totalDevices;
    int m_currentDevice;
    U8 def_devName[10];

private:
    void ShowVersion();
};

extern _ZelAccess g_ZelAccess;

// What everything else reaches the wrapper through; always the address of g_ZelAccess in a run.
extern _ZelAccess* zelAccess;
