// The header of an rpm package: a magic number, how many entries and bytes of values follow, an index
// of (tag, type, place, count), and the values. Numbers are big-endian.
#include "zelsim/PackageHeader.h"

namespace simulated {

namespace {

using namespace std::string_literals;

const std::string kMagic = "\x8e\xad\xe8\x01\0\0\0\0"s;

constexpr std::uint32_t kNumberType = 4;
constexpr std::uint32_t kTextType = 6;
constexpr std::uint32_t kTranslatedTextType = 9;

std::string BigEndian(std::uint32_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}

std::string Terminated(const std::string& text) {
    return text + '\0';
}

}  // namespace

void PackageHeader::AddText(PackageTag tag, const std::string& text) {
    Add(tag, kTextType, Terminated(text));
}

void PackageHeader::AddTranslatedText(PackageTag tag, const std::string& text) {
    Add(tag, kTranslatedTextType, Terminated(text));
}

void PackageHeader::AddNumber(PackageTag tag, std::uint32_t number) {
    while (values_.size() % sizeof(number) != 0)
        values_ += '\0';
    Add(tag, kNumberType, BigEndian(number));
}

std::string PackageHeader::Bytes() const {
    return kMagic + BigEndian(entries_) + BigEndian(static_cast<std::uint32_t>(values_.size())) +
           index_ + values_;
}

void PackageHeader::Add(PackageTag tag, std::uint32_t type, const std::string& value) {
    index_ += BigEndian(static_cast<std::uint32_t>(tag)) + BigEndian(type) +
              BigEndian(static_cast<std::uint32_t>(values_.size())) + BigEndian(1);
    values_ += value;
    ++entries_;
}

}  // namespace simulated
