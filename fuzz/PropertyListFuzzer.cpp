// Property lists in all their formats: what is read and written as XML is read again as the same,
// and an edit changes what it names and nothing else. Input: the list's bytes.

#include "Vellomir/Platform/PropertyList.h"
#include "fuzz/Require.h"

#include <optional>

using archive::Data;
using archive::Error;
using fuzz::require;
using vellomir::PropertyList;
using vellomir::PropertyListError;

namespace {

std::optional<PropertyList> parse(std::span<const std::byte> bytes) {
    try {
        return PropertyList::parse(bytes);
    } catch (const Error &error) {
        require(error.code() == PropertyListError::unreadablePropertyList,
                "a list that is refused says why");
        return std::nullopt;
    }
}

std::optional<Data> write(const PropertyList &list) {
    try {
        return list.xmlData();
    } catch (const Error &error) {
        require(error.code() == PropertyListError::unwritablePropertyList,
                "a list that cannot be written says why");
        return std::nullopt;
    }
}

void edit(const Data &xml) {
    const std::string key = "CFBundleName";
    auto list = parse(xml);
    const bool isNew = !list->text(key) && xml.text().find(key) == std::string_view::npos;
    const std::string text = list->text(key).value_or("new") + "2 & <3>";
    list->setText(key, text);
    const auto edited = write(*list);
    require(edited.has_value(), "an edited list can be written");
    auto again = parse(*edited);
    require(again.has_value() && again->text(key) == text, "an edit is kept");
    if (!isNew)
        return;
    again->remove(key);
    // Read once more, for a dictionary that became empty is spelled otherwise.
    require(write(*parse(write(*again).value())) == xml,
            "what was added and removed leaves nothing behind");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto list = parse(std::as_bytes(std::span(data, size)));
    if (!list)
        return 0;
    const auto xml = write(*list);
    if (!xml)
        return 0;
    const auto again = parse(*xml);
    require(again.has_value(), "what was written can be read");
    require(write(*again) == xml, "and is the same");
    edit(*xml);
    return 0;
}
