// Stands in for libZelAccessSDK: a host with the cards that the test describes.
//
// Every call is noted in the journal as NAME(ARGUMENTS), without the handle and without pure outputs:
//
//     ZelInitAPI(3, 256)    ZelInitAdapter(0)    ZelGetZelVersion(2, 255)    ZelReadMMIOReg(0x1AB54)
//     ZelSetUsageModeExtn(4, 512, "", "")        ZelReadMemPhysical(0x1000, 4096, 8, 0)
//
// with "bad handle" as the first argument when the handle is not the one that ZelInitAPI gave.
// Without a script every call answers like the library on a healthy host with one card. Scripted
// answers that were never asked for fail the test, and so does a call out of place once Expect was
// used. Used from one thread at a time, like the library.
#pragma once

#include <array>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "MmioRegisters.h"
#include "ZelAccessApi.h"
#include "host/SparseMemory.h"

namespace fakes {

// One card. The defaults are a healthy card of the current generation.
struct Card {
    U32 deviceId = 0x00501F5A;
    U8 busNumber = 2;
    U8 deviceNumber = 0;
    U16 node = 0;
    U32 classCode = 0x0B4000;
    std::string name = "Ostrel(R) Vimbra(TM) Coprocessor";
    U32 subsystemId = 0x00021F5A;
    U32 revisionId = 0x20;
    U32 linkSpeed = LINK_SPEED_5;
    U32 linkWidth = LINK_WIDTH_16;
    std::string postCode = "12";
    ZEL_CARD_USAGE_MODE usageMode = ZEL_USAGE_MODE_NORMAL;
    U32 cores = 60;
    std::map<U32, U32> registers = {{ZEL_MMIO_CPUID, 0x0000B000},
                                    {ZEL_MMIO_THREAD_ENABLE, 0xF}};  // all others read as 0
    U32 smcFirmware = 0x0110002A;                                    // 1.16.42
    U32 smcHardware = 0x00030002;
    std::array<U8, 16> uuid = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                               0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
    std::map<_E_ZEL_VERSION_TYPE, std::string> versions = {
        {ZEL_VERSION_API, "1.0.0"}, {ZEL_VERSION_FLASH_IMAGE, "2.1.02.0390"}};
    U64 memoryBytes = U64{8} << 30;
    std::string memoryVendor = "Elmwood";
    std::string memoryType = "GDDR5";
    U16 memoryRevision = 1;
    U32 memoryDensityMegabytes = 8192;
    U32 memorySpeed = 5000000;

    // The older generation, healthy.
    static Card OlderGeneration();
};

// A broken memory cell: bit `bit` of the byte at `address` reads as `value`, whatever was written.
struct StuckBit {
    U64 address;
    unsigned bit;
    bool value;
};

// What a call answers. With a status other than 0 the outputs stay untouched. A value or text takes
// the place of the card's own; `value` also fits counts, modes, speeds, revisions and lengths.
struct Answer {
    U32 status = ZEL_SUCCESS;
    std::optional<U64> value = std::nullopt;
    std::optional<std::string> text = std::nullopt;
};

class FakeZelAccess {
public:
    std::vector<Card> cards;
    std::vector<StuckBit> stuckBits;

    // A read of card memory succeeds and leaves the caller's buffer as it was.
    bool readsTouchNothing = false;

    // Changes what is read from card memory, if set; comes behind the stuck bits.
    std::function<void(U64 address, U8* data, U32 bytes)> corruptRead;

    // The next calls of function `name` answer so, one answer a call; later ones as usual.
    void AnswerNext(const std::string& name, Answer answer);
    void AnswerNext(const std::string& name, std::initializer_list<Answer> answers);

    // Every call of `name` answers so once the answers of AnswerNext are used up.
    void AnswerAlways(const std::string& name, Answer answer);

    // `name` fails with `status`, after `skip` more calls that succeed, `times` times; 0: for ever.
    void Fail(const std::string& name, U32 status, unsigned skip = 0, unsigned times = 1);

    // Strict: from the first Expect on, calls must come exactly as expected, in this order.
    void Expect(const std::string& call, Answer answer = {});

    // All calls so far, as in the journal.
    std::vector<std::string> Calls() const { return calls_; }
    unsigned CountOf(std::string_view name) const;

    // Index of the open card, -1 when none; whether the library is open.
    int OpenCard() const { return openCard_; }
    bool IsOpen() const { return open_; }

    // Which of the records that ZelInitAPI filled last this one is.
    long IndexOf(const ZelDeviceOnSystem* device) const { return device - devices_; }

    void Reset();
    void Verify();

private:
    friend struct ZelAccessCall;

    struct Failure {
        U32 status;
        unsigned skip;
        unsigned times;
        unsigned met;
    };
    struct Expectation {
        std::string call;
        Answer answer;
    };
    struct StandingAnswer {
        Answer answer;
        bool used;
    };

    Answer NextAnswer(const std::string& name, const std::string& call);
    std::optional<Answer> ExpectedAnswer(const std::string& call);
    std::optional<U32> FailureOf(const std::string& name);
    void SpoilRead(U64 address, U8* data, U32 bytes) const;

    bool open_ = false;
    int openCard_ = -1;
    const ZelDeviceOnSystem* devices_ = nullptr;
    std::map<int, SparseMemory> memories_;  // by card

    std::vector<std::string> calls_;
    std::map<std::string, std::deque<Answer>> next_;
    std::map<std::string, StandingAnswer> always_;
    std::map<std::string, Failure> failures_;
    std::deque<Expectation> expected_;
    bool strict_ = false;
};

FakeZelAccess& ZelAccess();

}  // namespace fakes
