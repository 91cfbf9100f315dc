#pragma once

#include <cstddef>
#include <cstdint>

namespace vellomir {

/// How far a `FileServer` is.
struct SendingState {
    std::uint64_t bytesSent = 0; ///< of the file, in all transfers together
    std::uint64_t position = 0;  ///< bytes up to which the newest transfer is, or was
    std::size_t running = 0;     ///< transfers
    std::size_t complete = 0;    ///< transfers that got to the end of the file

    friend bool operator==(const SendingState &, const SendingState &) = default;
};

/// Why a `FileServer` has ended.
enum class SendingEnd {
    stopped,     ///< by its owner
    quiet,       ///< nothing was sent for the time of the limits
    fileChanged, ///< the file was changed, replaced or removed
};

} // namespace vellomir
