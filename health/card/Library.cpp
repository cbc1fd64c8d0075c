// Opens the card-access library and its cards, and names both as the kernel does.
#include "Library.h"

#include <charconv>
#include <filesystem>
#include <system_error>

namespace zelcard {

namespace {

namespace fs = std::filesystem;

constexpr U32 kLocalCards = 3;
constexpr U32 kMostCards = 256;  // for so many the tool makes room, too
constexpr char kClassFolder[] = "/sys/class/zel";

// "12" or "zel12"; false for anything else.
bool ReadIndex(std::string_view text, std::size_t& index) {
    if (text.starts_with("zel"))
        text.remove_prefix(3);
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, index);
    return !text.empty() && error == std::errc() && stop == end;
}

std::string WhatThereIs(std::size_t cards) {
    if (cards == 0)
        return "it has none";
    if (cards == 1)
        return "it has zel0";
    return "it has zel0 to " + CardName(cards - 1);
}

}  // namespace

CallFailure::CallFailure(const std::string& failedCall, U32 failedStatus)
    : std::runtime_error(ZelGetErrorString(failedStatus)), call(failedCall), status(failedStatus) {}

void Check(const char* call, U32 status) {
    if (status != ZEL_SUCCESS)
        throw CallFailure(call, status);
}

Library::Library() : devices_(kMostCards) {
    U32 count = kMostCards;
    Check("ZelInitAPI", ZelInitAPI(&handle_, kLocalCards, devices_.data(), &count));
    // Shrinking moves no record, and the library may go by a record's place.
    devices_.resize(count);
}

Library::~Library() {
    if (cardIsOpen_)
        ZelCloseAdapter(handle_);
    ZelCloseAPI(&handle_);
}

std::size_t Library::Find(const std::string& card) const {
    std::size_t index = 0;
    if (ReadIndex(card, index) && index < Size())
        return index;
    for (index = 0; index < Size(); ++index) {
        if (PcieAddress(index) == card)
            return index;
    }
    throw NoSuchCard("this host has no card " + card + "; " + WhatThereIs(Size()));
}

HANDLE Library::OpenCard(std::size_t card) {
    Check("ZelInitAdapter", ZelInitAdapter(&handle_, &devices_[card]));
    cardIsOpen_ = true;
    return handle_;
}

std::string CardName(std::size_t card) {
    return "zel" + std::to_string(card);
}

std::string PcieAddress(std::size_t card) {
    std::error_code missing;
    const fs::path link = fs::read_symlink(fs::path(kClassFolder) / CardName(card), missing);
    // ".../0000:02:00.0/zel/zel0"
    return missing ? "" : link.parent_path().parent_path().filename().string();
}

}  // namespace zelcard
