// Gives a simulated host a package database. The machine's own, if it has one, is neither read nor
// written: rpm is told on the host to look elsewhere.
#include "zelsim/PackageDatabase.h"

#include <ctime>

#include "zelsim/HostFiles.h"
#include "zelsim/PackageHeader.h"

namespace simulated {

namespace {

namespace fs = std::filesystem;

constexpr char kConfiguration[] = "/etc/rpm/macros";
constexpr char kConfigurationText[] = "%_dbpath /run/zelsim/rpm\n";
constexpr char kDatabaseMaker[] = "/usr/bin/rpmdb";
constexpr char kPackage[] = "/run/zelsim/hosk-daemon.header";

std::string HostStackHeader(const std::string& version) {
    PackageHeader header;
    header.AddText(PackageTag::kName, "hosk-daemon");
    header.AddText(PackageTag::kVersion, version);
    header.AddText(PackageTag::kRelease, "1");
    header.AddTranslatedText(PackageTag::kSummary, "Host software stack of simulated cards");
    header.AddTranslatedText(PackageTag::kDescription,
                             "Stands in for the software that serves the cards of a real host.");
    header.AddNumber(PackageTag::kInstallTime, static_cast<std::uint32_t>(std::time(nullptr)));
    header.AddNumber(PackageTag::kSize, 0);
    header.AddText(PackageTag::kLicense, "Apache-2.0");
    header.AddTranslatedText(PackageTag::kGroup, "System Environment/Daemons");
    header.AddText(PackageTag::kOs, "linux");
    header.AddText(PackageTag::kArchitecture, "noarch");
    header.AddText(PackageTag::kSourcePackage, "hosk-daemon.src.rpm");
    return header.Bytes();
}

Preparation StartMaking(const std::string& hoskVersion) {
    WriteFile(kConfiguration, kConfigurationText, fs::perms(0644));
    if (hoskVersion.empty()) {
        const char* const arguments[] = {kDatabaseMaker, "--initdb", nullptr};
        return {arguments, "rpm"};
    }
    WriteFile(kPackage, HostStackHeader(hoskVersion), fs::perms(0644));
    const char* const arguments[] = {kDatabaseMaker, "--importdb", nullptr};
    return {arguments, "rpm", kPackage};
}

}  // namespace

PackageDatabase::PackageDatabase(const std::string& hoskVersion)
    : maker_(StartMaking(hoskVersion)) {}

}  // namespace simulated
