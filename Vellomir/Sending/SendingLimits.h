#pragma once

#include <chrono>
#include <cstddef>

namespace vellomir {

/// What clients of a `FileServer` may cost. The defaults are those of the programs.
struct SendingLimits {
    /// Bytes of a request without a body.
    std::size_t requestSize = 8192;
    /// From the connection to the end of the request.
    std::chrono::milliseconds requestTime = std::chrono::seconds(10);
    /// Without one byte that the client takes.
    std::chrono::milliseconds idleTime = std::chrono::seconds(30);
    /// From the end of the answer until the client closes the connection.
    std::chrono::milliseconds closingTime = std::chrono::seconds(2);
    std::size_t connections = 32;
    /// From one address.
    std::size_t connectionsOfOne = 8;
    /// After the last byte of the file, or from the start, until the server ends.
    std::chrono::milliseconds quietTime = std::chrono::minutes(10);
    /// Bytes that the system keeps of a connection until the client takes them.
    int sendBuffer = 256 * 1024;
};

} // namespace vellomir
