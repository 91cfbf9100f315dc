#include "Vellomir/PropertyLists/ListText.h"

#include "Vellomir/PropertyLists/Errors.h"
#include "Vellomir/PropertyLists/OldTextGuess.h"
#include "Vellomir/PropertyLists/TextDecoding.h"
#include "Vellomir/PropertyLists/UnicodeForm.h"
#include "Vellomir/PropertyLists/UnicodeText.h"

#include <algorithm>

namespace vellomir {
namespace {

/// Far more than the names of an app need. Several sets are tried, character by character.
constexpr std::size_t maximumGuessedSize = 256 << 10;

/// XML says its encoding itself.
bool mayBeOldText(std::string_view bytes) {
    if (bytes.size() > maximumGuessedSize)
        return false;
    const std::size_t start = bytes.find_first_not_of(xmlWhitespace);
    return start != bytes.npos && bytes[start] != '<';
}

} // namespace

ListText decodeListText(std::span<const std::byte> bytes, std::string_view language,
                        const archive::Progress *progress) {
    const std::string_view view(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    const bool mayGuess =
        !language.empty() && unicodeFormOf(bytes) == UnicodeForm() && mayBeOldText(view);
    if (mayGuess && findInvalidUTF8(view) < view.size())
        if (auto guess = guessOldText(view, language, progress))
            return {.text = std::move(guess->text), .characterSet = guess->characterSet};
    return {.text = decodePropertyListText(bytes, progress)};
}

} // namespace vellomir
