#pragma once

#include "Vellomir/Sending/InterfaceAddress.h"
#include "files/FileDescriptor.h"

#include <vector>

namespace vellomir {

/// Sockets that wait for connections, each on one address, all on one port.
struct ListeningSockets {
    std::vector<FileDescriptor> sockets;
    std::vector<InterfaceAddress> addresses; ///< as many
    std::uint16_t port = 0;
};

/// On this port, or on any that is free if it is 0. Addresses that the computer has lost meanwhile
/// are left out, unless all are. Throws `SendingFault` with the address and the port if that is not
/// possible.
[[nodiscard]] ListeningSockets listenOn(const std::vector<InterfaceAddress> &addresses,
                                        std::uint16_t port);

} // namespace vellomir
