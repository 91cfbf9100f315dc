#include "Vellomir/PropertyLists/Errors.h"

#include "archive/TextEncoding.h"
#include "files/ErrorCategory.h"

#include <array>

namespace vellomir {
namespace {

constexpr std::array listErrors = {
    ErrorCategory::Line{"unreadablePropertyList", "This is no valid property list"},
    ErrorCategory::Line{"unwritablePropertyList", "The property list cannot be written"},
};
constinit const ErrorCategory listCategory("PropertyListError", listErrors);

/// At most `limit` bytes, without cutting a character.
std::string_view shortened(std::string_view text, std::size_t limit) {
    if (text.size() <= limit)
        return text;
    while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0U) == 0x80U)
        --limit;
    return text.substr(0, limit);
}

} // namespace

std::error_code make_error_code(PropertyListError error) {
    return {static_cast<int>(error), listCategory};
}

Error unreadable(const std::string &sentence) {
    return Error(PropertyListError::unreadablePropertyList, {.detail = sentence});
}

std::string quotedText(std::string_view text) {
    const std::string_view start = shortened(text, 60);
    return '"' + printable(start) + (start.size() < text.size() ? "...\"" : "\"");
}

} // namespace vellomir
