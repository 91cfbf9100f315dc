#include "Vellomir/Sending/ListeningSocket.h"

#include "Vellomir/Sending/SendingFault.h"

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <system_error>

namespace vellomir {
namespace {

constexpr int waitingConnections = 16;

void switchOn(const FileDescriptor &socket, int level, int option) {
    const int on = 1;
    static_cast<void>(::setsockopt(socket.get(), level, option, &on, sizeof on));
}

/// Not open, with errno, if that fails.
FileDescriptor listenOn(const IpAddress &address, std::uint16_t port) {
    FileDescriptor socket(::socket(address.isIPv6() ? AF_INET6 : AF_INET,
                                   SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.isOpen())
        return socket;
    switchOn(socket, SOL_SOCKET, SO_REUSEADDR); // of an earlier run whose connections have ended
    if (address.isIPv6())
        switchOn(socket, IPPROTO_IPV6, IPV6_V6ONLY);
    sockaddr_storage name{};
    const socklen_t size = address.store(name, port);
    const bool listens =
        ::bind(socket.get(), reinterpret_cast<const sockaddr *>(&name), size) == 0 &&
        ::listen(socket.get(), waitingConnections) == 0;
    if (!listens) {
        const int reason = errno;
        socket = FileDescriptor();
        errno = reason;
    }
    return socket;
}

std::uint16_t portOf(const FileDescriptor &socket) {
    sockaddr_storage name{};
    socklen_t size = sizeof name;
    if (::getsockname(socket.get(), reinterpret_cast<sockaddr *>(&name), &size) != 0)
        return 0;
    // The port is at the same place for both families.
    sockaddr_in start{};
    std::memcpy(&start, &name, sizeof start);
    return ntohs(start.sin_port);
}

[[noreturn]] void throwRefused(const IpAddress &address, std::uint16_t port, int reason) {
    const std::string place =
        (port == 0 ? "" : "port " + std::to_string(port) + " of ") + address.text();
    if (reason == EADDRINUSE)
        throw SendingFault("Another program uses " + place);
    throw SendingFault("Cannot wait for connections on " + place + ": " +
                       std::generic_category().message(reason));
}

/// None if the port is taken on one address; `lost` becomes an address that is there no longer.
std::optional<ListeningSockets> tryListening(const std::vector<InterfaceAddress> &addresses,
                                             std::uint16_t port, std::optional<IpAddress> &lost) {
    ListeningSockets all{.sockets = {}, .addresses = {}, .port = port};
    for (const InterfaceAddress &each : addresses) {
        FileDescriptor socket = listenOn(each.address, all.port);
        if (socket.isOpen()) {
            all.port = all.port == 0 ? portOf(socket) : all.port;
            all.sockets.push_back(std::move(socket));
            all.addresses.push_back(each);
        } else if (errno == EADDRINUSE && port == 0) {
            return std::nullopt;
        } else if (errno == EADDRNOTAVAIL) {
            lost = each.address;
        } else {
            throwRefused(each.address, all.port, errno);
        }
    }
    return all;
}

} // namespace

ListeningSockets listenOn(const std::vector<InterfaceAddress> &addresses, std::uint16_t port) {
    constexpr int mostTries = 16; // a port that is free on one address may be taken on the next
    std::optional<IpAddress> lost;
    for (int tries = 0; tries < mostTries; ++tries) {
        auto all = tryListening(addresses, port, lost);
        if (all && !all->sockets.empty())
            return std::move(*all);
        if (all)
            throwRefused(lost.value_or(IpAddress()), port, EADDRNOTAVAIL);
    }
    throw SendingFault("There is no port that is free on all addresses");
}

} // namespace vellomir
