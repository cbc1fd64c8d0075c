// The run summary, and the two options in front of the command line.
#include "TestEngine/te_summary.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <limits>
#include <new>
#include <string_view>

#include "SI/si_main.h"

namespace TE {

TESummary SUMMARY_INSTANCE;

namespace {

constexpr unsigned int kNoCard = std::numeric_limits<unsigned int>::max();
constexpr char kNone[] = "<none>";
constexpr std::size_t kErrorLineBytes = 256;
constexpr std::size_t kCardLineBytes = 4096;
constexpr std::size_t kPathBytes = 256;
constexpr std::size_t kCardNumberBytes = 16;
constexpr std::size_t kLinkBytes = 4096;
constexpr char kRule[] =
    "==============================================================================";

[[noreturn]] void EndWithError(const char* text) {
    std::cout << text << std::endl;
    ssExitTask(1);
}

// A formatted line of at most `Bytes` - 1 characters; what is longer is cut.
template <std::size_t Bytes>
class Line {
public:
    __attribute__((format(printf, 2, 3))) explicit Line(const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text_.data(), text_.size(), format, arguments);
        va_end(arguments);
    }

    const char* Text() const { return text_.data(); }

private:
    std::array<char, Bytes> text_{};
};

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// A number too large for a card is the largest one, which no card has.
unsigned int CardNumber(std::string_view digits) {
    unsigned int number = 0;
    const auto result = std::from_chars(digits.begin(), digits.end(), number);
    return result.ec == std::errc() ? number : kNoCard;
}

}  // namespace

void SummaryLines::Append(std::string_view line) noexcept {
    Append(line, 1);
}

void SummaryLines::Append(const SummaryLines& lines) noexcept {
    for (const Run& run : lines.runs_)
        Append(run.text, run.count);
    size_ += lines.lost_;
    lost_ += lines.lost_;
}

void SummaryLines::Append(std::string_view line, std::size_t count) noexcept {
    size_ += count;
    try {
        if (runs_.empty() || runs_.back().text != line)
            runs_.push_back({std::string(line), 0});
        runs_.back().count += count;
    } catch (const std::bad_alloc&) {
        lost_ += count;
    }
}

void SummaryLines::Clear() noexcept {
    runs_.clear();
    size_ = 0;
    lost_ = 0;
}

TESummary::TESummary() : _useSummary(false), _currentZELNumber(kNoCard) {}

int TESummary::ProcessGlobalOptions(int argc, char** argv, int* consumed) {
    *consumed = 0;
    if (argc < 2)
        return argc;

    int i = 1;
    int r = argc;
    bool summarySeen = false;
    bool deviceListSeen = false;
    // The index grows while the count shrinks, and the scan ends where they meet: an option that
    // stands behind that place is left to the run's own parser.
    do {
        if (std::strcmp(argv[i], k_DeviceListOption) == 0) {
            if (deviceListSeen)
                EndWithError(
                    "ERROR: Global option '-devicelist' cannot appear more than once per execution "
                    "of ZelDiag!");
            if (!validateCommaSeperatedListofDevices(argv[i + 1]))
                EndWithError(
                    "ERROR: The argument to global option '-devicelist' must contain only commas "
                    "or decimal digits!");
            addCommaSeperatedListofDevices(argv[i + 1]);
            *consumed += 2;
            r -= 2;
            i += 2;
            deviceListSeen = true;
        } else if (std::strcmp(argv[i], k_SummaryOption) == 0) {
            if (summarySeen)
                EndWithError(
                    "ERROR: Global option '-summary' is allowed on the command line once pre "
                    "execution of ZelDiag!");
            _useSummary = true;
            *consumed += 1;
            r -= 1;
            i += 1;
            summarySeen = true;
        } else {
            return r;
        }
    } while (r > i);
    return r;
}

bool TESummary::TestSpecifiedDeviceNumber(unsigned int card) const {
    return _activeDeviceList.empty() ||
           std::find(_activeDeviceList.begin(), _activeDeviceList.end(), card) !=
               _activeDeviceList.end();
}

void TESummary::SetHOSKVersion(const char* version) {
    _hoskVersion = version;
}

void TESummary::SetZelNumberAndVersions(unsigned int card, const char* flash, const char* smc) {
    // The number of this card in the list of those with errors has its room from now on.
    _listOfErrorCards.reserve(_listOfErrorCards.size() + 2 * kCardNumberBytes);
    finishPreviousZELCard();
    _currentZELNumber = card;
    _zelPCIeAddr.clear();
    SetGroupName(kNone);
    _currentFlashVersion = flash;
    _currentSMCVersion = smc;
    _zelPCIeAddr = GetPCIeFromDeviceNo(card);
    if (_zelPCIeAddr.empty())
        EndWithError(
            "ERROR: The 'zel' driver module is not loaded! Was 'service hosk start' not run before "
            "'ZelDiag'!");
}

void TESummary::SetGroupName(const char* name) {
    _currentGroupname = name;
    _currentTestname = kNone;
}

void TESummary::SetTestName(const char* name) {
    _currentTestname = name;
}

void TESummary::LogError(const char* message) noexcept {
    const Line<kErrorLineBytes> line("  %s.%s: %s", _currentGroupname.c_str(),
                                     _currentTestname.c_str(), message);
    _currentErrors.Append(line.Text());
}

std::string TESummary::GetPCIeFromDeviceNo(unsigned int card) const {
    const Line<kPathBytes> path("/sys/class/zel/zel%d", static_cast<int>(card));
    std::array<char, kLinkBytes> buffer{};
    const ssize_t length = readlink(path.Text(), buffer.data(), buffer.size());
    if (length < 0 || static_cast<std::size_t>(length) >= buffer.size())
        return "PCIeNotFoundError";

    // ".../0000:02:00.0/zel/zel0": the card's own name and the class's go, the address remains.
    std::string_view link(buffer.data(), static_cast<std::size_t>(length));
    link = link.substr(0, link.rfind('/'));
    link = link.substr(0, link.rfind('/'));
    return std::string(link.substr(link.rfind('/') + 1));
}

void TESummary::finishPreviousZELCard() noexcept {
    if (_currentZELNumber == kNoCard)
        return;
    const auto card = static_cast<int>(_currentZELNumber);
    if (_currentErrors.Size() == 0) {
        const Line<kCardLineBytes> line("zel%d (%s; Flash=%s; SMC=%s): PASSED", card,
                                        _zelPCIeAddr.c_str(), _currentFlashVersion.c_str(),
                                        _currentSMCVersion.c_str());
        _summaryLines.Append(line.Text());
        return;
    }
    const Line<kCardLineBytes> line("zel%d (%s; Flash=%s; SMC=%s): FAILED (%zu)", card,
                                    _zelPCIeAddr.c_str(), _currentFlashVersion.c_str(),
                                    _currentSMCVersion.c_str(), _currentErrors.Size());
    _summaryLines.Append(line.Text());
    _summaryLines.Append(_currentErrors);
    _currentErrors.Clear();
    const Line<kCardNumberBytes> number("%s%d", _listOfErrorCards.empty() ? "" : ",", card);
    _listOfErrorCards += number.Text();
}

void TESummary::SendSummaryToConsole() {
    finishPreviousZELCard();
    if (_useSummary) {
        std::cout << "\nHOSK Version: " << _hoskVersion << "\n" << kRule << "\n";
        _summaryLines.ForEach([](std::string_view line) { std::cout << line << "\n"; });
        std::cout << kRule << "\n";
        if (_listOfErrorCards.empty())
            std::cout << "No ZEL Cards with Errors." << std::endl;
        else
            std::cout << "ZEL Card Numbers with Errors: " << _listOfErrorCards << std::endl;
    }
    resetInstance();
}

// The SMC version stays: it is the last card's until the next card brings its own.
void TESummary::resetInstance() {
    _summaryLines.Clear();
    _listOfErrorCards.clear();
    _zelPCIeAddr.clear();
    _currentFlashVersion.clear();
    _currentGroupname.clear();
    _currentTestname.clear();
    _hoskVersion.clear();
    _currentZELNumber = kNoCard;
}

bool TESummary::validateCommaSeperatedListofDevices(const char* text) const {
    if (text == nullptr)
        return false;
    const std::string_view list(text);
    return std::all_of(list.begin(), list.end(), [](char c) { return c == ',' || IsDigit(c); });
}

void TESummary::addCommaSeperatedListofDevices(const char* text) {
    std::string_view rest(text);
    while (!rest.empty()) {
        const std::string_view piece = rest.substr(0, rest.find(','));
        if (!piece.empty() && std::all_of(piece.begin(), piece.end(), IsDigit))
            _activeDeviceList.push_back(CardNumber(piece));
        rest.remove_prefix(std::min(piece.size() + 1, rest.size()));
    }
}

}  // namespace TE
