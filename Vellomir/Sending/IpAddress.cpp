#include "Vellomir/Sending/IpAddress.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>

namespace vellomir {

std::optional<IpAddress> IpAddress::of(const sockaddr *address) {
    if (address == nullptr)
        return std::nullopt;
    IpAddress result;
    if (address->sa_family == AF_INET) {
        sockaddr_in known{};
        std::memcpy(&known, address, sizeof known);
        std::memcpy(result.bytes_.data(), &known.sin_addr, sizeof known.sin_addr);
        return result;
    }
    if (address->sa_family == AF_INET6) {
        sockaddr_in6 known{};
        std::memcpy(&known, address, sizeof known);
        std::memcpy(result.bytes_.data(), &known.sin6_addr, sizeof known.sin6_addr);
        result.isIPv6_ = true;
        return result;
    }
    return std::nullopt;
}

std::optional<IpAddress> IpAddress::parse(const std::string &text) {
    IpAddress result;
    if (::inet_pton(AF_INET, text.c_str(), result.bytes_.data()) == 1)
        return result;
    result.isIPv6_ = true;
    if (::inet_pton(AF_INET6, text.c_str(), result.bytes_.data()) == 1)
        return result;
    return std::nullopt;
}

bool IpAddress::isLoopback() const {
    if (!isIPv6_)
        return bytes_[0] == 127;
    return bytes_.back() == 1 && std::all_of(bytes_.begin(), bytes_.end() - 1,
                                             [](std::uint8_t each) { return each == 0; });
}

bool IpAddress::isPrivate() const {
    if (isIPv6_)
        return (bytes_[0] & 0xFEU) == 0xFC;
    return bytes_[0] == 10 || (bytes_[0] == 172 && (bytes_[1] & 0xF0U) == 16) ||
           (bytes_[0] == 192 && bytes_[1] == 168) || (bytes_[0] == 169 && bytes_[1] == 254);
}

bool IpAddress::isLinkLocalIPv6() const {
    return isIPv6_ && bytes_[0] == 0xFE && (bytes_[1] & 0xC0U) == 0x80;
}

std::string IpAddress::text() const {
    std::array<char, INET6_ADDRSTRLEN> text{};
    ::inet_ntop(isIPv6_ ? AF_INET6 : AF_INET, bytes_.data(), text.data(), text.size());
    return text.data();
}

std::string IpAddress::hostText() const {
    return isIPv6_ ? "[" + text() + "]" : text();
}

socklen_t IpAddress::store(sockaddr_storage &address, std::uint16_t port) const {
    address = {};
    if (isIPv6_) {
        sockaddr_in6 known{};
        known.sin6_family = AF_INET6;
        known.sin6_port = htons(port);
        std::memcpy(&known.sin6_addr, bytes_.data(), sizeof known.sin6_addr);
        std::memcpy(&address, &known, sizeof known);
        return sizeof known;
    }
    sockaddr_in known{};
    known.sin_family = AF_INET;
    known.sin_port = htons(port);
    std::memcpy(&known.sin_addr, bytes_.data(), sizeof known.sin_addr);
    std::memcpy(&address, &known, sizeof known);
    return sizeof known;
}

} // namespace vellomir
