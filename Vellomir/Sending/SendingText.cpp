#include "Vellomir/Sending/SendingText.h"

namespace vellomir {

std::string progressText(const SendingState &state, std::uint64_t fileSize,
                         const AmountText &amount) {
    std::string done = amount(state.position) + " of " + amount(fileSize) + " sent";
    if (state.running > 1)
        return done + ", " + std::to_string(state.running) + " transfers";
    if (state.running == 1)
        return done;
    if (state.complete == 1)
        return "Sent completely, " + amount(fileSize);
    if (state.complete > 1)
        return "Sent completely " + std::to_string(state.complete) + " times, " + amount(fileSize);
    if (state.bytesSent > 0)
        return done + "; the connection ended, the phone can resume";
    return "Nothing sent yet";
}

std::string endText(SendingEnd end) {
    switch (end) {
    case SendingEnd::quiet:
        return "Nothing was sent for ten minutes, so it is no longer offered";
    case SendingEnd::fileChanged:
        return "The file was changed, replaced or removed while it was offered";
    default:
        return "";
    }
}

} // namespace vellomir
