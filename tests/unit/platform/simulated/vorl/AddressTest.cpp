#include "vorl/Address.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace {

using vorl::FromSocketAddress;
using vorl::ParseNode;
using vorl::SocketAddress;
using vorl::ToSocketAddress;

SocketAddress Named(const std::string& name, char first = '\0') {
    SocketAddress address{};
    address.address.sun_family = AF_UNIX;
    address.address.sun_path[0] = first;
    std::memcpy(address.address.sun_path + 1, name.data(), name.size());
    address.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    return address;
}

TEST(Address, GoesThereAndBack) {
    for (const vorl_portID& port : {vorl_portID{0, 130}, {65535, 65535}, {7, 0}}) {
        const auto back = FromSocketAddress(ToSocketAddress(port));
        ASSERT_TRUE(back);
        EXPECT_EQ(back->node, port.node);
        EXPECT_EQ(back->port, port.port);
    }
}

TEST(Address, RefusesOtherNames) {
    for (const char* const name :
         {"", "zelsim", "zelsim-vorl-", "zelsim-vorl-1", "zelsim-vorl-1-", "zelsim-vorl--1",
          "zelsim-vorl-1-2-3", "zelsim-vorl-1-65536", "zelsim-vorl-65536-1", "zelsim-vorl-1-2 ",
          "zelsim-vorl-+1-2", "zelsim-vorl-01-2", "zelsim-vorl-1-02", "another-1-2"})
        EXPECT_FALSE(FromSocketAddress(Named(name))) << name;
    EXPECT_TRUE(FromSocketAddress(Named("zelsim-vorl-1-2")));
    EXPECT_FALSE(FromSocketAddress(Named("zelsim-vorl-1-2", '/')));
    EXPECT_FALSE(FromSocketAddress({.address = {}, .length = sizeof(sa_family_t)}));
    SocketAddress endless = Named("zelsim-vorl-1-2");
    endless.length = 10000;
    EXPECT_FALSE(FromSocketAddress(endless));
}

TEST(Address, ReadsTheNodeOfThisMachine) {
    EXPECT_EQ(ParseNode("0"), U16{0});
    EXPECT_EQ(ParseNode("12\n"), U16{12});
    EXPECT_EQ(ParseNode("65535"), U16{65535});
    for (const char* const text : {"", "\n", "-1", "65536", "1 ", " 1", "1\n\n", "1x", "zel0"})
        EXPECT_FALSE(ParseNode(text)) << text;
}

}  // namespace
