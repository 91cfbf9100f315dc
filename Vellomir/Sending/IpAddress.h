#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/socket.h>

namespace vellomir {

/// An address of IPv4 or IPv6.
class IpAddress {
public:
    /// None for other families.
    [[nodiscard]] static std::optional<IpAddress> of(const sockaddr *address);
    /// Of a text such as "192.168.1.5" or "fd00::2". None if it is no address.
    [[nodiscard]] static std::optional<IpAddress> parse(const std::string &text);

    [[nodiscard]] bool isIPv6() const { return isIPv6_; }
    [[nodiscard]] bool isLoopback() const;
    /// Reserved for local networks: 10.0.0.0/8, 172.16.0.0/12, 192.168.0.0/16, 169.254.0.0/16 and
    /// fc00::/7.
    [[nodiscard]] bool isPrivate() const;
    /// fe80::/10, which means nothing without an interface.
    [[nodiscard]] bool isLinkLocalIPv6() const;

    [[nodiscard]] std::string text() const;
    /// As addresses of the web have it: IPv6 in brackets.
    [[nodiscard]] std::string hostText() const;

    /// Fills `address` and returns its size.
    socklen_t store(sockaddr_storage &address, std::uint16_t port) const;

    friend bool operator==(const IpAddress &, const IpAddress &) = default;

private:
    std::array<std::uint8_t, 16> bytes_{}; ///< the first four for IPv4
    bool isIPv6_ = false;
};

} // namespace vellomir
