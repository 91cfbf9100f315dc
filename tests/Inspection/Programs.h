#pragma once

#include "Vellomir/Inspection/ByteCursor.h"
#include "Vellomir/Inspection/ByteRange.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Programs, signatures and property lists made field by field.
namespace vellomir::test {

/// The bytes of numbers of 32 bits.
[[nodiscard]] std::string words(const std::vector<std::uint32_t> &numbers, ByteOrder order);

/// What a program says of itself.
struct MadeProgram {
    std::uint32_t cpu = 0x0100000C;
    std::uint32_t subtype = 0;
    bool is64Bit = true;
    ByteOrder order = ByteOrder::little;
    std::optional<std::uint32_t> encryption = std::nullopt; ///< cryptid
    std::string signature = {};                             ///< behind the program; "" for none
    std::size_t codeSize = 100;
};

[[nodiscard]] std::string madeProgram(const MadeProgram &program);

/// A fat file of these programs, with offsets of 64 bits if it is wide.
[[nodiscard]] std::string fatProgram(const std::vector<MadeProgram> &programs, bool isWide = false);

/// A code signature; without a team, and without entitlements, if the text is "".
[[nodiscard]] std::string madeSignature(const std::string &identifier, const std::string &team = {},
                                        const std::string &entitlements = {});

/// <plist> with a dictionary of this content, in XML.
[[nodiscard]] std::string listText(const std::string &content);
/// "<key>KEY</key><string>TEXT</string>"
[[nodiscard]] std::string member(const std::string &key, const std::string &text);
/// The same with an array of texts.
[[nodiscard]] std::string memberTexts(const std::string &key,
                                      const std::vector<std::string> &texts);

/// Reads parts of these bytes, which must outlive the function.
[[nodiscard]] ReadRanges reading(const std::string &bytes);

/// The bytes, which must outlive the view.
[[nodiscard]] std::span<const std::byte> view(const std::string &bytes);

} // namespace vellomir::test
