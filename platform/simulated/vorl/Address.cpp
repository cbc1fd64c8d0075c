// Addresses of ports, and the node of this machine.
#include "vorl/Address.h"

#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

namespace vorl {
namespace {

constexpr char kNodeFile[] = "/etc/zelsim-node";
constexpr char kNodeVariable[] = "ZELSIM_NODE";
constexpr std::string_view kPrefix = "zelsim-vorl-";

// A decimal number from the front of `text`, which loses it.
std::optional<U16> TakeNumber(std::string_view& text) {
    U16 number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    return number;
}

bool IsSame(const SocketAddress& one, const SocketAddress& other) {
    return one.length == other.length &&
           std::memcmp(one.address.sun_path, other.address.sun_path,
                       one.length - offsetof(sockaddr_un, sun_path)) == 0;
}

std::optional<U16> FindNode() {
    if (const char* const text = std::getenv(kNodeVariable))
        return ParseNode(text);
    std::ifstream file(kNodeFile);
    if (!file)
        return U16{0};
    std::string text;
    std::getline(file, text, '\0');
    return ParseNode(text.c_str());
}

}  // namespace

SocketAddress ToSocketAddress(const vorl_portID& port) {
    SocketAddress result{};
    result.address.sun_family = AF_UNIX;
    // An abstract name begins with a zero byte and has its length from the address's.
    const int length =
        std::snprintf(result.address.sun_path + 1, sizeof result.address.sun_path - 1, "%s%u-%u",
                      kPrefix.data(), port.node, port.port);
    result.length =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + static_cast<size_t>(length));
    return result;
}

std::optional<vorl_portID> FromSocketAddress(const SocketAddress& address) {
    constexpr size_t kNameAt = offsetof(sockaddr_un, sun_path) + 1;
    if (address.length <= kNameAt || address.length > sizeof address.address ||
        address.address.sun_path[0] != '\0')
        return std::nullopt;
    std::string_view name(address.address.sun_path + 1, address.length - kNameAt);
    if (!name.starts_with(kPrefix))
        return std::nullopt;
    name.remove_prefix(kPrefix.size());
    const std::optional<U16> node = TakeNumber(name);
    if (!node || !name.starts_with('-'))
        return std::nullopt;
    name.remove_prefix(1);
    const std::optional<U16> port = TakeNumber(name);
    if (!port || !name.empty())
        return std::nullopt;
    const vorl_portID result{*node, *port};
    return IsSame(ToSocketAddress(result), address) ? std::optional(result) : std::nullopt;
}

std::optional<U16> ParseNode(const char* text) {
    std::string_view rest = text;
    const std::optional<U16> node = TakeNumber(rest);
    if (!node || (!rest.empty() && rest != "\n"))
        return std::nullopt;
    return node;
}

std::optional<U16> LocalNode() {
    static const std::optional<U16> node = FindNode();
    return node;
}

}  // namespace vorl
