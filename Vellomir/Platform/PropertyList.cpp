#include "Vellomir/Platform/PropertyList.h"

#include "Vellomir/Platform/BinaryPropertyList.h"
#include "Vellomir/Platform/CanonicalXml.h"
#include "Vellomir/Platform/OldPropertyList.h"
#include "Vellomir/Platform/PropertyListText.h"
#include "archive/ErrorCategory.h"

#include <array>
#include <clocale>
#include <plist/plist.h>

// libplist holds the tree, reads XML and the binary format, and writes XML. It also clamps, cuts or
// drops what it cannot hold, without a word, and can be made to run forever or out of stack. So our
// own readers go first: they refuse what is dangerous, and say in canonical form what stands there.
// What libplist made of it must say the same.

namespace vellomir {
namespace {

using archive::Error;

constexpr std::array errors = {
    archive::ErrorCategory::Line{"unreadablePropertyList", "This is no valid property list"},
    archive::ErrorCategory::Line{"unwritablePropertyList", "The property list cannot be written"},
};
constinit const archive::ErrorCategory category("PropertyListError", errors);

/// libplist reads and writes real numbers with the decimal point of the thread's locale.
class NeutralLocale {
public:
    NeutralLocale() : previous_(::uselocale(neutral())) {}
    ~NeutralLocale() { ::uselocale(previous_); }
    NeutralLocale(const NeutralLocale &) = delete;
    NeutralLocale &operator=(const NeutralLocale &) = delete;

private:
    static locale_t neutral() {
        static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    locale_t previous_;
};

bool isXml(const std::string &text) {
    const std::size_t start = text.find_first_not_of(" \t\n");
    return start != text.npos && text[start] == '<';
}

std::string canonicalText(std::span<const std::byte> bytes) {
    if (isBinaryPropertyList(bytes))
        return canonicalXml(binaryPropertyListXml(bytes));
    const std::string text = propertyListText(bytes);
    return canonicalXml(isXml(text) ? text : oldPropertyListXml(text));
}

/// Null if libplist cannot read it. Text formats are read from their canonical text.
plist_t readTree(std::span<const std::byte> bytes, const std::string &canonical) {
    const NeutralLocale locale;
    plist_t root = nullptr;
    if (isBinaryPropertyList(bytes)) {
        const archive::Data data(bytes);
        ::plist_from_bin(data.text().data(), static_cast<std::uint32_t>(data.size()), &root);
    } else {
        ::plist_from_xml(canonical.data(), static_cast<std::uint32_t>(canonical.size()), &root);
    }
    return root;
}

std::string writeTree(plist_t root) {
    const NeutralLocale locale;
    char *xml = nullptr;
    std::uint32_t size = 0;
    ::plist_to_xml(root, &xml, &size);
    const std::unique_ptr<char, decltype(&::plist_to_xml_free)> owner(xml, ::plist_to_xml_free);
    std::string text(xml == nullptr ? "" : xml, size);
    for (std::size_t found = 0; (found = text.find('\r', found)) != text.npos;)
        text.replace(found, 1, "&#13;"); // a bare one would be read as "\n"
    return text;
}

/// Whether the tree says what the source said.
bool isFaithful(plist_t root, const std::string &canonical) try {
    return canonicalXml(writeTree(root)) == canonical;
} catch (const Error &) {
    return false;
}

} // namespace

std::error_code make_error_code(PropertyListError error) {
    return {static_cast<int>(error), category};
}

void PropertyList::Free::operator()(void *node) const {
    ::plist_free(node);
}

PropertyList PropertyList::parse(std::span<const std::byte> bytes) {
    if (bytes.size() > maximumSize)
        throw unreadable("The property list is larger than any of a bundle");
    const std::string canonical = canonicalText(bytes);
    Node root(readTree(bytes, canonical));
    if (!root || !isFaithful(root.get(), canonical))
        throw unreadable("The property list holds a value that could not be kept as it is");
    if (::plist_get_node_type(root.get()) != PLIST_DICT)
        throw unreadable("The top level of the property list is no dictionary");
    return PropertyList(std::move(root));
}

std::optional<std::string> PropertyList::text(const std::string &key) const {
    const plist_t value = ::plist_dict_get_item(root_.get(), key.c_str());
    if (value == nullptr || ::plist_get_node_type(value) != PLIST_STRING)
        return std::nullopt;
    std::uint64_t size = 0;
    const char *text = ::plist_get_string_ptr(value, &size);
    return std::string(text, static_cast<std::size_t>(size));
}

void PropertyList::setText(const std::string &key, const std::string &text) {
    set(key, makeText(text));
}

void PropertyList::setTexts(const std::string &key, const std::vector<std::string> &texts) {
    Node array(::plist_new_array());
    for (const std::string &text : texts)
        ::plist_array_append_item(array.get(), makeText(text).release());
    set(key, std::move(array));
}

void PropertyList::remove(const std::string &key) {
    if (::plist_dict_get_item(root_.get(), key.c_str()) != nullptr)
        ::plist_dict_remove_item(root_.get(), key.c_str());
}

void PropertyList::set(const std::string &key, Node value) {
    ::plist_dict_set_item(root_.get(), key.c_str(), value.release());
}

PropertyList::Node PropertyList::makeText(const std::string &text) {
    isIncomplete_ = isIncomplete_ || text.find('\0') != text.npos;
    return Node(::plist_new_string(text.c_str()));
}

archive::Data PropertyList::xmlData() const {
    const auto fail = [](const std::string &why) {
        return Error(PropertyListError::unwritablePropertyList, {.detail = why});
    };
    if (isIncomplete_)
        throw fail("XML cannot hold the zero character of a text");
    archive::Data data(writeTree(root_.get()));
    try {
        static_cast<void>(canonicalXml(propertyListText(data)));
    } catch (const Error &error) {
        throw fail(error.what());
    }
    return data;
}

} // namespace vellomir
