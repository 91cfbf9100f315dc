#include "Vellomir/PropertyLists/PropertyListFile.h"

#include "Vellomir/PropertyLists/BinaryReader.h"
#include "Vellomir/PropertyLists/BinaryWriter.h"
#include "Vellomir/PropertyLists/ListText.h"
#include "Vellomir/PropertyLists/OldTextEditor.h"
#include "Vellomir/PropertyLists/OldTextReader.h"
#include "Vellomir/PropertyLists/XmlReader.h"

namespace vellomir {

PropertyListFile PropertyListFile::parse(archive::Data bytes, const archive::Progress *progress,
                                         std::string_view language) {
    if (isBinaryPropertyList(bytes) || bytes.size() > PropertyList::maximumSize) {
        PropertyList list = PropertyList::parse(bytes, progress);
        return {std::move(bytes), Format::binary, std::move(list), {}};
    }
    const ListText text = decodeListText(bytes, language, progress);
    static constexpr std::string_view empty = "{}";
    const std::string_view read = isBlankOldText(text.text, progress) ? empty : text.text;
    if (isXmlPropertyList(read)) {
        PropertyList list = PropertyList::parse(bytes, progress);
        return {std::move(bytes), Format::xml, std::move(list), {}};
    }
    PropertyList list = PropertyList::parse(std::as_bytes(std::span(read)), progress);
    return {std::move(bytes), Format::oldText, std::move(list), std::string(language)};
}

archive::Data PropertyListFile::data(const archive::Progress *progress) const {
    if (format_ == Format::binary)
        return writeBinaryPropertyList(list_.value(), progress);
    if (format_ == Format::oldText)
        if (auto edited = editOldTextPropertyList(bytes_, list_, language_, progress))
            return *std::move(edited);
    return list_.xmlData(progress);
}

} // namespace vellomir
