// The header of an rpm package: what is known about it, in the form in which rpm exports and imports it.
#pragma once

#include <cstdint>
#include <string>

namespace simulated {

// What a header tells, by the numbers that rpm has for it.
enum class PackageTag : std::uint32_t {
    kName = 1000,
    kVersion = 1001,
    kRelease = 1002,
    kSummary = 1004,
    kDescription = 1005,
    kInstallTime = 1008,
    kSize = 1009,
    kLicense = 1014,
    kGroup = 1016,
    kOs = 1021,
    kArchitecture = 1022,
    kSourcePackage = 1044,
};

class PackageHeader {
public:
    void AddText(PackageTag tag, const std::string& text);
    // Text of which a package may have one for each language.
    void AddTranslatedText(PackageTag tag, const std::string& text);
    void AddNumber(PackageTag tag, std::uint32_t number);

    // The header as it stands in a file.
    std::string Bytes() const;

private:
    void Add(PackageTag tag, std::uint32_t type, const std::string& value);

    std::uint32_t entries_ = 0;
    std::string index_;
    std::string values_;
};

}  // namespace simulated
