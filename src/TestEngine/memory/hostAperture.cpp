// Tests a range of a card's memory from the host.
#include "TestEngine/memory/hostAperture.h"

#include <algorithm>
#include <limits>

#include "CommonTool/Trace.h"
#include "TestEngine/memory/memoryCardMode.h"
#include "TestEngine/memory/memoryProgress.h"
#include "TestEngine/memory/transferBuffer.h"
#include "TestEngine/te_main_console.h"
#include "TestEngine/te_summary.h"
#include "ZelAccess.h"

namespace {

constexpr U64 kChunksPerLine = 64;
constexpr unsigned int kGigabyteShift = 30;
constexpr unsigned int kMegabyteShift = 20;
constexpr U64 kMegabytesMask = 0x3FF;

void Log(const char* summary) {
    TE::SUMMARY_INSTANCE.LogError(summary);
}

// One range, from its first chunk to its last.
class ApertureRun {
public:
    struct Range {
        U64 address;
        U64 length;
        U64 doneBefore;
        U64 progressTotal;  // bytes that are 100 %
        bool firstLine;     // the first chunk has a progress line
    };
    struct Failures {
        _GddrDiagErrorList** list;
        bool breakOnFail;
    };

    ApertureRun(HANDLE handle, const Range& range, const unsigned long* pattern, U32 width,
                const Failures& failures)
        : handle_(handle),
          range_(range),
          pattern_(pattern[0]),
          width_(width),
          failures_(failures),
          address_(range.address),
          buffer_(pattern, width) {}

    bool IsReady() const { return buffer_.IsAllocated(); }

    // False when a failure stopped the test.
    bool TestChunks() {
        U64 remaining = range_.length;
        for (U64 chunk = 0; remaining > 0; ++chunk) {
            ShowProgress(chunk, remaining);
            const auto bytes = static_cast<U32>(std::min<U64>(remaining, TransferBuffer::k_Bytes));
            remaining -= bytes;
            if (!WriteChunk(bytes) || !ReadChunk(bytes) || !VerifyChunk(bytes))
                return false;
            address_ += bytes;
        }
        if (range_.length > 0)
            ShowEnd();
        return true;
    }

private:
    U64 Percent(U64 done) const { return (range_.doneBefore + done) * 100 / range_.progressTotal; }

    void ShowProgress(U64 chunk, U64 remaining) {
        const bool line = chunk % kChunksPerLine == 0 && range_.firstLine;
        range_.firstLine = true;
        if (!line) {
            updateUser(false, false);
            return;
        }
        ifstPrint("\n%3ld%% completed ", static_cast<long>(Percent(range_.length - remaining)));
        ShowAddress(" ");
        updateUser(true, true);
    }

    // Without the blank behind the megabytes that the other lines have.
    void ShowEnd() const {
        ifstPrint("\n%3lu%% completed ", Percent(range_.length));
        ShowAddress("");
    }

    void ShowAddress(const char* behindGigabytes) const {
        const U64 gigabytes = address_ >> kGigabyteShift;
        const U64 megabytes = (address_ >> kMegabyteShift) & kMegabytesMask;
        ifstPrint("- currently at: ");
        if (gigabytes != 0)
            ifstPrint("%2luGB %4luMB%s", gigabytes, megabytes, behindGigabytes);
        else
            ifstPrint("     %4luMB", megabytes);
        ifstPrint(" -> 0x%-9lx\n", address_);
    }

    bool WriteChunk(U32 bytes) {
        buffer_.FillWithPattern(bytes);
        const U32 status =
            ZelWriteMemPhysical(handle_, address_, buffer_.Data(), bytes, width_, MNonCached);
        if (status == 0)
            return true;
        ZEL_TRACE(DLVL_ERROR, "%s \n", ZelGetErrorString(status));
        Record("Memory write failure", address_);
        ZEL_TRACE(DLVL_ERROR, "Memory Write failure at address %llx - for a buffer size %lx \n",
                  static_cast<unsigned long long>(address_), static_cast<unsigned long>(bytes));
        Log("Memory write failure");
        return false;
    }

    bool ReadChunk(U32 bytes) {
        buffer_.Clear();
        const U32 status =
            ZelReadMemPhysical(handle_, address_, buffer_.Data(), bytes, width_, MNonCached);
        if (status == 0)
            return true;
        ZEL_TRACE(DLVL_ERROR, "%s \n", ZelGetErrorString(status));
        Record("Memory read failure", address_);
        ZEL_TRACE(DLVL_ERROR, "Memory Read failure at address %llx - for a buffer size %lx \n",
                  static_cast<unsigned long long>(address_), static_cast<unsigned long>(bytes));
        Log("Memory read failure");
        return false;
    }

    bool VerifyChunk(U32 bytes) {
        return buffer_.Verify(
            bytes, [this](U32 offset, U8 found) { return ReportMismatch(offset, found); });
    }

    // False when the test is to stop.
    bool ReportMismatch(U32 offset, U8 found) {
        const U64 address = address_ + offset;
        Record("Memory write verify failure", address);
        ZEL_TRACE(DLVL_ERROR, "Memory write verify failure at address %llx - %llx \n",
                  static_cast<unsigned long long>(address), static_cast<unsigned long long>(found));
        Log("Memory write verify failure");
        if (failures_.breakOnFail)
            ZEL_TRACE(DLVL_ERROR, "Breaking on fail in hostApertureMemTest \n");
        return !failures_.breakOnFail;
    }

    // No failure of this test is told apart as one of reading or of writing.
    void Record(const char* reason, U64 address) {
        addError(failures_.list, reason, address, width_, MemErrorTypeUnknown, pattern_);
    }

    HANDLE handle_;
    Range range_;
    const unsigned long pattern_;
    const U32 width_;
    const Failures failures_;
    U64 address_;  // of the present chunk; behind the last one, the end of the range
    TransferBuffer buffer_;
};

bool PrepareCard(HANDLE handle, bool& modeSet) {
    ZEL_CARD_USAGE_MODE mode = ZEL_USAGE_MODE_NOP;
    if (!memory_ReadUsageMode(handle, mode))
        return false;
    if (modeSet)
        return true;
    modeSet = true;
    return memory_RequireReadyState(mode) && setMemDiagUsageMode(ZEL_USAGE_MODE_MEMDIAG) != 0;
}

bool ReadMemorySize(HANDLE handle, U64& bytes) {
    if (ZelGetGDDRMemSize(handle, &bytes) == 0)
        return true;
    ZEL_TRACE(DLVL_ERROR,
              "unable to get GDDR size, ZelGetGDDRMemSize returned false, hostApertureMemTest "
              "failed");
    Log("Failed to get GDDR size");
    return false;
}

// An end that no number can show is shown as the highest one, which no memory reaches.
bool FitsMemory(U64 start, U64 length, U64 memoryBytes) {
    if (start <= memoryBytes && length <= memoryBytes - start)
        return true;
    constexpr U64 kHighest = std::numeric_limits<U64>::max();
    ZEL_TRACE(DLVL_ERROR,
              "test range 0x%lx is greater than available memory on Ostrel(R) Vimbra(TM) "
              "Coprocessor 0x%lx \n",
              length > kHighest - start ? kHighest : start + length, memoryBytes);
    Log("Test range if greater than available memory");
    return false;
}

// The first testable address at or behind `start`.
U64 FirstAddress(U64 start) {
    if (zelAccess->IsCurrentDeviceEMR() || start >= k_OlderLowestAddress)
        return start;
    ifstPrint("start address changed: 0x%lx\n", k_OlderLowestAddress);
    return k_OlderLowestAddress;
}

void ShowTotal(U64 memoryBytes) {
    ifstPrint("Total memory available on the Coprocessor: 0x%lx (%ldGB %ldMB)\n", memoryBytes,
              static_cast<long>(memoryBytes >> kGigabyteShift),
              static_cast<long>((memoryBytes >> kMegabyteShift) & kMegabytesMask));
}

}  // namespace

int hostApertureMemTest(unsigned long start, unsigned long length, unsigned int dataWidth,
                        unsigned long* pattern, _GddrDiagErrorList** errors, bool breakOnFail,
                        bool& modeSet, bool fullRange, unsigned long doneBefore, bool showTotals) {
    if (!memory_RequireCardAccess())
        return 0;
    HANDLE handle = zelAccess->getAccessHandle();
    U64 memoryBytes = 0;
    if (!PrepareCard(handle, modeSet) || !ReadMemorySize(handle, memoryBytes))
        return 0;

    // The high pass goes on where the low one ended: it has no totals and no first line of its own.
    const bool firstLine = !showTotals || start != k_HighPassStart;
    const U64 address = FirstAddress(start);
    if (!zelAccess->IsCurrentDeviceEMR())
        memoryBytes -= std::min(memoryBytes, k_OlderBytesHeldBack);
    if (showTotals && firstLine)
        ShowTotal(memoryBytes);
    // Judged from the start that was asked for, even where testing begins higher.
    if (!FitsMemory(start, length, memoryBytes))
        return 0;

    timeval begin{};
    const bool timed = markTime(begin) != 0;
    if (!timed)
        ifstPrint("failed to get zelstart_startmark \n");
    {
        ApertureRun run(handle,
                        {.address = address,
                         .length = length,
                         .doneBefore = doneBefore,
                         .progressTotal = fullRange ? memoryBytes : length,
                         .firstLine = firstLine},
                        pattern, dataWidth, {.list = errors, .breakOnFail = breakOnFail});
        if (!run.IsReady()) {
            ZEL_TRACE(DLVL_ERROR, "fail buffer allocation in hostApertureMemTest \n");
            Log("Out of heap memory");
            return 0;
        }
        if (!run.TestChunks())
            return 0;
    }

    timeval end{};
    if (markTime(end) == 0) {
        ifstPrint("failed to get MemTestfromHost_endmark \n");
        return 1;
    }
    if (timed)
        diffTime(begin, end, k_ElapsedLabel, !showTotals);
    return 1;
}
