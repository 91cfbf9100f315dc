#include "Vellomir/PropertyLists/PropertyListFile.h"

#include "Vellomir/PropertyLists/BinaryReader.h"
#include "Vellomir/PropertyLists/BinaryWriter.h"
#include "Vellomir/PropertyLists/OldTextEditor.h"
#include "Vellomir/PropertyLists/OldTextReader.h"
#include "Vellomir/PropertyLists/TextDecoding.h"
#include "Vellomir/PropertyLists/XmlReader.h"

namespace vellomir {

PropertyListFile PropertyListFile::parse(archive::Data bytes, const archive::Progress *progress) {
    if (isBinaryPropertyList(bytes) || bytes.size() > PropertyList::maximumSize) {
        PropertyList list = PropertyList::parse(bytes, progress);
        return {std::move(bytes), Format::binary, std::move(list)};
    }
    const std::string text = decodePropertyListText(bytes, progress);
    if (isBlankOldText(text, progress)) {
        static constexpr std::string_view empty = "{}";
        return {std::move(bytes), Format::oldText,
                PropertyList::parse(std::as_bytes(std::span(empty)))};
    }
    PropertyList list = PropertyList::parse(bytes, progress);
    return {std::move(bytes), isXmlPropertyList(text) ? Format::xml : Format::oldText,
            std::move(list)};
}

archive::Data PropertyListFile::data(const archive::Progress *progress) const {
    if (format_ == Format::binary)
        return writeBinaryPropertyList(list_.value(), progress);
    if (format_ == Format::oldText)
        if (auto edited = editOldTextPropertyList(bytes_, list_, progress))
            return *std::move(edited);
    return list_.xmlData(progress);
}

} // namespace vellomir
