// The texts of symbolic links that the tool reads: a card's in the kernel's class folder, and the
// executable's own. The lines of the input are a link, and the flash version, SMC version and error
// that the card's summary then names.
//
// The address is the third component from the end; the summary holds it, and each of its lines is
// the one that a plain reading gives, cut to its room.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "CommonTool/ShellExecuter.h"
#include "FakeLinks.h"
#include "TestEngine/te_summary.h"
#include "support/Expect.h"
#include "support/Input.h"
#include "support/Output.h"
#include "support/StandIns.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

constexpr unsigned int kCard = 3;
constexpr std::size_t kLinkBytes = 4096;
constexpr std::size_t kCardLineLength = 4095;
constexpr std::size_t kErrorLineLength = 255;
constexpr std::size_t kOwnLinkBytes = 8192;

std::vector<std::string> Components(const std::string& path) {
    std::vector<std::string> components(1);
    for (const char c : path) {
        if (c == '/')
            components.emplace_back();
        else
            components.back() += c;
    }
    return components;
}

std::string AddressOf(const std::string& link) {
    if (link.size() >= kLinkBytes)
        return "PCIeNotFoundError";
    const std::vector<std::string> components = Components(link);
    return components[components.size() < 3 ? 0 : components.size() - 3];
}

std::string Folder(const std::string& link) {
    const std::string read = link.substr(0, kOwnLinkBytes);
    return read.substr(0, read.rfind('/') + 1);
}

void CheckOwnFolder(const std::string& link) {
    fakes::SetLink("/proc/self/exe", link);
    ShellExecuter::SetAppDirAccessPath();
    fakes::ClearLinks();
    ExpectEqual(ShellExecuter::GetAppDirAccessPath(), Folder(link), "the program's folder");
}

// What the summary of a card prints, behind its head and before its last line.
std::string SummaryOfCard(const std::string& address, const std::string& flash,
                          const std::string& smc, const std::string& error) {
    const auto line = [&](const std::string& verdict) {
        return ("zel3 (" + address + "; Flash=" + flash + "; SMC=" + smc + "): " + verdict)
                   .substr(0, kCardLineLength) +
               "\n";
    };
    if (error.empty())
        return line("PASSED");
    return line("FAILED (1)") + ("  Group.Test: " + error).substr(0, kErrorLineLength) + "\n";
}

void CheckSummary(const std::string& address, const std::string& flash, const std::string& smc,
                  const std::string& error) {
    TE::TESummary summary;
    fuzz::Arguments options({"ZelDiag", "-summary"});
    int consumed = 0;
    summary.ProcessGlobalOptions(options.Count(), options.Vector(), &consumed);
    fuzz::Output output;
    try {
        summary.SetZelNumberAndVersions(kCard, flash.c_str(), smc.c_str());
    } catch (const fuzz::ProcessEnd& end) {
        ExpectEqual(end.status, 1, "the exit status");
        ExpectEqual(address, "", "the address of a card that is not there");
        return;
    }
    Expect(!address.empty(), "a card without an address ends the run");
    summary.SetGroupName("Group");
    summary.SetTestName("Test");
    if (!error.empty())
        summary.LogError(error.c_str());
    summary.SendSummaryToConsole();

    const std::string rule = std::string(78, '=') + "\n";
    const std::string last =
        error.empty() ? "No ZEL Cards with Errors.\n" : "ZEL Card Numbers with Errors: 3\n";
    ExpectEqual(
        output.Out(),
        "\nHOSK Version: \n" + rule + SummaryOfCard(address, flash, smc, error) + rule + last,
        "the summary");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> lines = fuzz::SplitWords(fuzz::Text(data, size));
    lines.resize(std::max<std::size_t>(lines.size(), 4));
    const std::string& link = lines[0];
    CheckOwnFolder(link);

    fakes::SetLink("/sys/class/zel/zel3", link);
    const std::string address = TE::TESummary().GetPCIeFromDeviceNo(kCard);
    ExpectEqual(address, AddressOf(link), "the address");
    CheckSummary(address, lines[1], lines[2], lines[3]);
    fakes::ClearLinks();
    return 0;
}
