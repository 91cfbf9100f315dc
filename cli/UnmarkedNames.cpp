#include "cli/UnmarkedNames.h"

#include "cli/EntryText.h"

#include "archive/TextEncoding.h"

#include <algorithm>

namespace vellomir::cli {
namespace {

bool isASCII(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return static_cast<unsigned char>(character) < 0x80; });
}

} // namespace

void UnmarkedNames::look(const archive::Entry &entry) {
    const auto &record = entry.centralDirectoryStructure();
    if (record.usesUTF8PathEncoding())
        return;
    const std::string_view name = record.fileNameData.text();
    if (isASCII(name) || !isValidUTF8(name))
        return;
    if (count_++ == 0)
        first_ = name;
}

std::optional<std::string> UnmarkedNames::warning() const {
    if (count_ == 0)
        return std::nullopt;
    const std::string first = "\"" + first_ + "\"; --encoding utf-8 reads ";
    if (count_ == 1)
        return "a name looks like UTF-8 but is not marked as such: " + first + "it as UTF-8";
    return std::to_string(count_) +
           " names look like UTF-8 but are not marked as such, the first: " + first +
           "them as UTF-8";
}

} // namespace vellomir::cli
