#include "Vellomir/Sending/InterfaceAddress.h"
#include "Vellomir/Sending/ListeningSocket.h"
#include "Vellomir/Sending/SendingFault.h"

#include <gmock/gmock.h>

namespace vellomir {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::ThrowsMessage;

InterfaceAddress at(const char *interface, const char *address, bool isTunnel = false) {
    return {.interface = interface,
            .address = IpAddress::parse(address).value(),
            .isPointToPoint = isTunnel};
}

const std::vector<InterfaceAddress> computer = {
    at("wlan0", "192.168.1.5"),   at("eth0", "203.0.113.9"), at("eth0", "10.1.2.3"),
    at("tun0", "10.9.9.9", true), at("lo", "127.0.0.1"),     at("lo", "::1"),
    at("eth0", "2001:db8::5"),    at("eth0", "fd00::2")};

TEST(ServedAddresses, AreThePrivateOnesButNotOfTunnels) {
    EXPECT_THAT(
        servedAddresses(computer),
        ElementsAre(at("wlan0", "192.168.1.5"), at("eth0", "10.1.2.3"), at("eth0", "fd00::2")));
}

TEST(ServedAddresses, AreAllOfAnInterfaceThatIsAskedFor) {
    EXPECT_THAT(servedAddresses(computer, "eth0"),
                ElementsAre(at("eth0", "203.0.113.9"), at("eth0", "10.1.2.3"),
                            at("eth0", "2001:db8::5"), at("eth0", "fd00::2")));
    EXPECT_THAT(servedAddresses(computer, "lo"),
                ElementsAre(at("lo", "127.0.0.1"), at("lo", "::1")));
}

TEST(ServedAddresses, UnknownInterfaceIsRefusedWithTheKnownOnes) {
    EXPECT_THAT([] { (void)servedAddresses(computer, "wlan1"); },
                ThrowsMessage<SendingFault>(
                    "There is no network interface \"wlan1\" that is up and has an address; those "
                    "that have one: wlan0, eth0, tun0, lo"));
}

TEST(ServedAddresses, NoneWithoutALocalNetwork) {
    for (const auto &all :
         {std::vector<InterfaceAddress>(), {at("eth0", "203.0.113.9"), at("lo", "127.0.0.1")}})
        EXPECT_THAT([&] { (void)servedAddresses(all); },
                    ThrowsMessage<SendingFault>("This computer is in no local network"));
}

TEST(IpAddress, PrivateNetworksAreKnown) {
    for (const char *const text : {"10.0.0.0", "10.255.255.255", "172.16.0.1", "172.31.255.255",
                                   "192.168.0.1", "169.254.7.7", "fc00::1", "fdff::1"})
        EXPECT_TRUE(IpAddress::parse(text)->isPrivate()) << text;
    for (const char *const text :
         {"9.255.255.255", "11.0.0.0", "172.15.255.255", "172.32.0.0", "192.167.1.1", "192.169.1.1",
          "169.253.1.1", "127.0.0.1", "0.0.0.0", "100.64.0.1", "fe80::1", "2001:db8::1", "::1",
          "::", "::ffff:10.0.0.1"})
        EXPECT_FALSE(IpAddress::parse(text)->isPrivate()) << text;
}

TEST(IpAddress, TextIsReadAndWritten) {
    for (const char *const text : {"192.168.1.5", "fd00::2", "::1"})
        EXPECT_EQ(IpAddress::parse(text)->text(), text);
    EXPECT_EQ(IpAddress::parse("fd00::2")->hostText(), "[fd00::2]");
    EXPECT_EQ(IpAddress::parse("10.0.0.1")->hostText(), "10.0.0.1");
    EXPECT_FALSE(IpAddress::parse("example.org"));
    EXPECT_FALSE(IpAddress::parse(""));
}

TEST(InterfaceAddresses, HaveTheLoopbackButNoLinkLocalOnes) {
    bool hasLoopback = false;
    for (const InterfaceAddress &each : interfaceAddresses()) {
        EXPECT_FALSE(each.interface.empty());
        EXPECT_FALSE(each.address.isLinkLocalIPv6());
        hasLoopback |= each.address.isLoopback();
    }
    EXPECT_TRUE(hasLoopback);
}

TEST(ListeningSockets, ShareOnePort) {
    const auto all = listenOn({at("lo", "127.0.0.1"), at("lo", "127.0.0.2")}, 0);
    EXPECT_EQ(all.sockets.size(), 2U);
    EXPECT_NE(all.port, 0);
}

TEST(ListeningSockets, TakenPortIsNamed) {
    const auto first = listenOn({at("lo", "127.0.0.1")}, 0);
    const std::string port = std::to_string(first.port);
    EXPECT_THAT([&] { (void)listenOn({at("lo", "127.0.0.1")}, first.port); },
                ThrowsMessage<SendingFault>("Another program uses port " + port + " of 127.0.0.1"));
}

TEST(ListeningSockets, LostAddressIsLeftOutUnlessItIsTheOnlyOne) {
    const auto all = listenOn({at("eth9", "192.0.2.77"), at("lo", "127.0.0.1")}, 0);
    EXPECT_THAT(all.addresses, ElementsAre(at("lo", "127.0.0.1")));
    EXPECT_THAT([] { (void)listenOn({at("eth9", "192.0.2.77")}, 0); },
                ThrowsMessage<SendingFault>(HasSubstr("192.0.2.77")));
}

} // namespace
} // namespace vellomir
