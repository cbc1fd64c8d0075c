// The run summary: which card was tested with which versions, and which errors its tests reported.
// Also takes the two options that stand before everything else on the command line, -summary and
// -devicelist. Used from the main thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace TE {

// The options that stand in front, in this letter case.
inline constexpr char k_SummaryOption[] = "-summary";
inline constexpr char k_DeviceListOption[] = "-devicelist";

// Lines of text in order. A run of equal lines takes the room of one, so that a card that reports the
// same failure millions of times does not fill the host's memory. A line for which there is no memory
// counts all the same, and shows in short at the end.
class SummaryLines {
public:
    void Append(std::string_view line) noexcept;
    void Append(const SummaryLines& lines) noexcept;
    void Clear() noexcept;

    // Lines, every one of a run counted.
    std::size_t Size() const { return size_; }

    // Calls `use(text)` for each line, every one of a run.
    template <typename Use>
    void ForEach(Use use) const {
        for (const Run& run : runs_) {
            for (std::size_t i = 0; i < run.count; ++i)
                use(std::string_view(run.text));
        }
        for (std::size_t i = 0; i < lost_; ++i)
            use(kLostLine);
    }

private:
    static constexpr std::string_view kLostLine = "  (a line is missing: out of memory)";

    struct Run {
        std::string text;
        std::size_t count;
    };

    void Append(std::string_view line, std::size_t count) noexcept;

    std::vector<Run> runs_;
    std::size_t size_ = 0;
    std::size_t lost_ = 0;  // lines, of `size_`, that have no text
};

class TESummary {
public:
    TESummary();

    // Takes the leading -summary and -devicelist. Returns how many words remain, the program's name
    // counted, and sets `*consumed` to the number taken: the run continues at argv + *consumed, where
    // the last word taken stands for the program's name. Ends the process with status 1 on misuse.
    int ProcessGlobalOptions(int argc, char** argv, int* consumed);

    // Whether a card is to be tested: there is no device list, or it names the card.
    bool TestSpecifiedDeviceNumber(unsigned int card) const;

    void SetHOSKVersion(const char* version);

    // Whether the record that is open is that of `card`.
    bool IsCurrentCard(unsigned int card) const { return _currentZELNumber == card; }

    // Closes the record of the card before and begins one for `card`. Ends the process with status 1
    // when the card has no PCIe address.
    void SetZelNumberAndVersions(unsigned int card, const char* flash, const char* smc);

    void SetGroupName(const char* name);
    void SetTestName(const char* name);

    // Adds an error line of the current card, cut to 255 characters. Is not lost when memory runs out.
    void LogError(const char* message) noexcept;

    // The card's PCIe address, from the kernel's class folder; "PCIeNotFoundError" without one.
    std::string GetPCIeFromDeviceNo(unsigned int card) const;

    // Needs no memory that could be missing.
    void finishPreviousZELCard() noexcept;

    // Closes the last card, prints the summary when it was asked for, and begins anew.
    void SendSummaryToConsole();

    // The start state of a run; the options, and the SMC version, are kept.
    void resetInstance();

    // Commas and decimal digits only; false for null.
    bool validateCommaSeperatedListofDevices(const char* text) const;
    void addCommaSeperatedListofDevices(const char* text);

private:
    bool _useSummary;
    std::string _hoskVersion;
    std::string _currentFlashVersion;
    std::string _currentSMCVersion;
    std::string _currentGroupname;
    std::string _currentTestname;
    unsigned int _currentZELNumber;
    SummaryLines _currentErrors;
    std::string _listOfErrorCards;
    std::string _zelPCIeAddr;
    SummaryLines _summaryLines;
    std::vector<unsigned int> _activeDeviceList;
};

extern TESummary SUMMARY_INSTANCE;

}  // namespace TE
