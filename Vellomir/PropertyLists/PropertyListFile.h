#pragma once

#include "Vellomir/PropertyLists/PropertyList.h"

#include <string>
#include <string_view>

namespace vellomir {

/// A property list that is changed and written back in its own format: binary and XML lists are
/// written anew, in old text only the changed texts are replaced.
class PropertyListFile {
public:
    /// Reads like `PropertyList::parse`, which says what is thrown. A text with nothing but white
    /// space and comments is an empty dictionary, as files of localized texts may be.
    ///
    /// `language` is the name of the folder *.lproj that the file is in, if it is in one. It helps
    /// to read old text that is no Unicode, see `guessOldText`.
    [[nodiscard]] static PropertyListFile parse(archive::Data bytes,
                                                const archive::Progress *progress = nullptr,
                                                std::string_view language = {});

    /// The list, to be read and changed.
    [[nodiscard]] PropertyList &list() { return list_; }
    [[nodiscard]] const PropertyList &list() const { return list_; }

    /// The bytes of the changed list; of old text that cannot be changed in place, as XML. Throws
    /// `PropertyListError::unwritablePropertyList`; `ArchiveError::cancelledOperation`.
    [[nodiscard]] archive::Data data(const archive::Progress *progress = nullptr) const;

private:
    enum class Format { binary, xml, oldText };

    PropertyListFile(archive::Data bytes, Format format, PropertyList list, std::string language)
        : bytes_(std::move(bytes)), format_(format), list_(std::move(list)),
          language_(std::move(language)) {}

    archive::Data bytes_; ///< as they were read
    Format format_;
    PropertyList list_;
    std::string language_;
};

} // namespace vellomir
