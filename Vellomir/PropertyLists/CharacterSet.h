#pragma once

#include "archive/Progress.h"

#include <array>
#include <cstddef>
#include <iconv.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// Converts from one encoding to another. The locale makes no difference.
class Converter {
public:
    /// The names are iconv's. Throws `std::bad_alloc`.
    Converter(const char *to, const char *from);
    ~Converter();
    Converter(const Converter &) = delete;
    Converter &operator=(const Converter &) = delete;

    /// Whether the system knows both encodings. Else nothing may be converted.
    [[nodiscard]] bool isOpen() const;
    /// Appends what the input becomes, and takes that off the input. Returns 0, or errno if input
    /// is left.
    [[nodiscard]] int convert(std::string_view &input, std::string &output);
    /// Appends the character that was kept for a combining one, and resets the state.
    void finish(std::string &output);

private:
    ::iconv_t converter_;
};

/// A character set in which texts were written before Unicode: ASCII, and further characters of one
/// to four bytes. Of these, the later bytes may be those of ASCII characters.
class CharacterSet {
public:
    /// The name is iconv's. The set must have no shift states and no combining characters.
    explicit CharacterSet(const char *name);

    /// Whether the system knows the set. Else nothing may be decoded.
    [[nodiscard]] bool isKnown() const { return converter_.isOpen(); }
    /// As UTF-8. Nothing if a byte is no part of a character. `progress` may be null. Throws
    /// `ArchiveError::cancelledOperation`.
    [[nodiscard]] std::optional<std::string> decode(std::string_view bytes,
                                                    const archive::Progress *progress);
    /// Nothing if the text, which is UTF-8, has a character that the set lacks.
    [[nodiscard]] std::optional<std::string> encode(std::string_view text) const;
    /// The offsets in `bytes`, which can be decoded, that these offsets in the decoded text have.
    /// They are those of whole characters, in ascending order.
    [[nodiscard]] std::vector<std::size_t> byteOffsets(std::string_view bytes,
                                                       const std::vector<std::size_t> &textOffsets);

private:
    [[nodiscard]] std::size_t takeCharacter(std::string_view bytes, std::string &text);

    const char *name_;
    Converter converter_;
    std::array<std::string, 128> known_; ///< characters of one byte from 0x80 on, once they are met
};

/// Mac Roman: the system's table differs in two characters, the increment sign and the apple.
[[nodiscard]] std::string correctedMacRoman(std::string_view text);

} // namespace vellomir
