// ssh and scp between a simulated host and its cards: names, addresses, keys and configuration of both
// ends. A login asks nothing and prints nothing.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "zelsim/Preparation.h"

namespace simulated {

inline constexpr char kSshd[] = "/usr/sbin/sshd";
inline constexpr char kSshdConfiguration[] = "/run/zelsim/ssh/sshd_config";
inline constexpr char kSshdLog[] = "/run/zelsim/ssh/log";
inline constexpr unsigned short kSshPort = 22;

// The card's address on the host's loopback network, in host byte order and as text.
unsigned int CardAddress(std::size_t card);
std::string CardAddressText(std::size_t card);

// Writes all that ssh, scp and sshd need to know of `cards` cards. Making the key takes longest: it is
// under way between the constructor and Finish. Both throw HostError.
class SecureShell {
public:
    explicit SecureShell(std::size_t cards);
    void Finish();

private:
    std::size_t cards_;
    std::optional<Preparation> keyMaker_;  // where there is a card
};

}  // namespace simulated
