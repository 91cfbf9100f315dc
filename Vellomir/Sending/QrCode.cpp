#include "Vellomir/Sending/QrCode.h"

#include "Vellomir/Sending/SendingFault.h"

#include <memory>
#include <qrencode.h>

namespace vellomir {
namespace {

/// Of the modules of one column in two rows. A block is drawn where it is light.
const char *halfBlocks(bool isUpperDark, bool isLowerDark) {
    if (isUpperDark)
        return isLowerDark ? " " : "▄";
    return isLowerDark ? "▀" : "█";
}

} // namespace

QrCode::QrCode(const std::string &text) {
    constexpr int smallestVersion = 0;
    constexpr int keepsCase = 1;
    const std::unique_ptr<QRcode, decltype(&::QRcode_free)> code(
        ::QRcode_encodeString(text.c_str(), smallestVersion, QR_ECLEVEL_M, QR_MODE_8, keepsCase),
        ::QRcode_free);
    if (!code)
        throw SendingFault("The address is too long for a QR code");
    side_ = code->width;
    const auto count = static_cast<std::size_t>(side_) * static_cast<std::size_t>(side_);
    modules_.reserve(count);
    for (std::size_t index = 0; index < count; ++index)
        modules_.push_back((code->data[index] & 1U) != 0);
}

bool QrCode::isDark(int column, int row) const {
    if (column < 0 || row < 0 || column >= side_ || row >= side_)
        return false;
    return modules_[static_cast<std::size_t>(row) * static_cast<std::size_t>(side_) +
                    static_cast<std::size_t>(column)];
}

std::vector<std::string> terminalLines(const QrCode &code, TerminalColours colours) {
    const bool isSet = colours == TerminalColours::set;
    const int end = code.side() + QrCode::quietZone;
    std::vector<std::string> lines;
    for (int row = -QrCode::quietZone; row < end; row += 2) {
        // The numbers of black and white that no theme changes.
        std::string line = isSet ? "\x1b[38;5;231;48;5;16m" : "";
        for (int column = -QrCode::quietZone; column < end; ++column)
            line += halfBlocks(code.isDark(column, row), code.isDark(column, row + 1));
        lines.push_back(line + (isSet ? "\x1b[0m" : ""));
    }
    return lines;
}

} // namespace vellomir
