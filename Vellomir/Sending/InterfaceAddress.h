#pragma once

#include "Vellomir/Sending/IpAddress.h"

#include <optional>
#include <string>
#include <vector>

namespace vellomir {

/// An address of a network interface of this computer.
struct InterfaceAddress {
    std::string interface;
    IpAddress address;
    bool isPointToPoint = false; ///< a tunnel, which leads to no local network

    friend bool operator==(const InterfaceAddress &, const InterfaceAddress &) = default;
};

/// Of all interfaces that are up. First those of the interface that leads to the internet, which
/// is usually where the phone is; then in the system's order, IPv4 before IPv6. Throws
/// `SendingFault` if the system does not say.
[[nodiscard]] std::vector<InterfaceAddress> interfaceAddresses();

/// The names of their interfaces, each once, with commas.
[[nodiscard]] std::string interfaceNames(const std::vector<InterfaceAddress> &all);

/// Those to serve on, in the same order, never empty. Without the name of an interface: the
/// private addresses, but not of tunnels. With one: all addresses of this interface, public ones
/// too. Throws `SendingFault` if there is none.
[[nodiscard]] std::vector<InterfaceAddress>
servedAddresses(const std::vector<InterfaceAddress> &all,
                const std::optional<std::string> &interface = std::nullopt);

} // namespace vellomir
