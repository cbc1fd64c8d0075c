// What names a port: the socket address that a peer has chosen, and the text with a machine's node.
//
// An address is taken only when it is one that this library makes; a node only when it is a number.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

#include "support/Expect.h"
#include "support/Input.h"
#include "vorl/Address.h"

namespace {

using fuzz::ExpectEqual;

std::string WithoutLeadingZeros(const std::string& number) {
    return number.substr(std::min(number.find_first_not_of('0'), number.size() - 1));
}

// The name of an abstract address.
std::string NameOf(const vorl::SocketAddress& address) {
    return {address.address.sun_path + 1, address.length - offsetof(sockaddr_un, sun_path) - 1};
}

void CheckAddress(std::string_view bytes) {
    vorl::SocketAddress address{};
    address.address.sun_family = AF_UNIX;
    const std::size_t length = std::min(bytes.size(), sizeof(address.address.sun_path));
    std::memcpy(address.address.sun_path, bytes.data(), length);
    address.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);

    const auto port = vorl::FromSocketAddress(address);
    if (!port)
        return;
    const vorl::SocketAddress again = vorl::ToSocketAddress(*port);
    ExpectEqual(NameOf(again), NameOf(address), "the address of the port");
}

void CheckNode(std::string text) {
    const auto node = vorl::ParseNode(text.c_str());
    if (text.ends_with('\n'))
        text.pop_back();
    const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == text.npos;
    const std::string digits = isNumber ? WithoutLeadingZeros(text) : "";
    const bool fits = isNumber && digits.size() <= 5 && std::stoul(digits) <= 0xFFFF;
    ExpectEqual(node.has_value(), fits, "whether a node is taken");
    if (node)
        ExpectEqual(std::to_string(*node), digits, "the node");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CheckAddress(fuzz::Text(data, size));
    CheckNode(fuzz::TextToNul(data, size));
    return 0;
}
