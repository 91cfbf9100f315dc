#include "Vellomir/PropertyLists/BinaryWriter.h"

#include "Vellomir/PropertyLists/BinaryObjects.h"
#include "Vellomir/PropertyLists/Builder.h"
#include "Vellomir/PropertyLists/Limits.h"
#include "Vellomir/PropertyLists/UnicodeText.h"

#include <bit>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

namespace vellomir {
namespace {

/// The sizes of numbers that the format has: 1, 2, 4 and 8 bytes.
unsigned sizeOfNumber(std::uint64_t number) {
    if (number <= std::numeric_limits<std::uint8_t>::max())
        return 1;
    if (number <= std::numeric_limits<std::uint16_t>::max())
        return 2;
    return number <= std::numeric_limits<std::uint32_t>::max() ? 4 : 8;
}

void appendNumber(std::string &bytes, std::uint64_t number, unsigned size) {
    while (size-- > 0)
        bytes += static_cast<char>(number >> (8U * size));
}

std::string firstByte(unsigned type, unsigned size) {
    return {static_cast<char>((type << 4U) | size)};
}

/// The lower half of an integer's first byte is the logarithm of its size.
std::string integerObject(std::uint64_t number, unsigned size) {
    std::string object = firstByte(1, static_cast<unsigned>(std::countr_zero(size)));
    appendNumber(object, number, size);
    return object;
}

/// The start of an object with `count` elements.
std::string countedObject(unsigned type, std::uint64_t count) {
    if (count < 15)
        return firstByte(type, static_cast<unsigned>(count));
    return firstByte(type, 15) + integerObject(count, sizeOfNumber(count));
}

Error unwritable(const std::string &what) {
    return Error(PropertyListError::unwritablePropertyList,
                 {.detail = "The property list cannot be written in the binary format: " + what});
}

/// The text in UTF-16; nothing if it is ASCII.
std::u16string wideText(const std::string &text) {
    std::u16string units;
    bool isWide = false;
    for (std::size_t position = 0; position < text.size();) {
        const TextCharacter character = characterAt(text, position);
        if (character.size == 0)
            throw unwritable("a text is no valid UTF-8");
        isWide |= character.code >= 0x80;
        if (character.code >= 0x10000) {
            units += static_cast<char16_t>(0xD800U + ((character.code - 0x10000U) >> 10U));
            units += static_cast<char16_t>(0xDC00U + (character.code & 0x3FFU));
        } else {
            units += static_cast<char16_t>(character.code);
        }
        position += character.size;
    }
    return isWide ? units : std::u16string();
}

std::string textObject(const std::string &text) {
    const std::u16string units = wideText(text);
    if (units.empty())
        return countedObject(5, text.size()) + text;
    std::string object = countedObject(6, units.size());
    for (const char16_t unit : units)
        appendNumber(object, unit, 2);
    return object;
}

class BinaryWriter {
public:
    explicit BinaryWriter(const archive::Progress *progress) : progress_(progress) {}

    [[nodiscard]] archive::Data write(const PropertyListValue &value) {
        static_cast<void>(add(value));
        std::string list(binaryPropertyListMagic);
        const unsigned referenceSize = sizeOfNumber(objects_.size() - 1);
        std::vector<std::uint64_t> offsets;
        for (const Object &object : objects_) {
            offsets.push_back(list.size());
            list += object.bytes;
            for (const std::uint64_t reference : object.references)
                appendNumber(list, reference, referenceSize);
        }
        appendTables(list, offsets, referenceSize);
        return archive::Data(std::string_view(list));
    }

private:
    struct Object {
        std::string bytes;                     ///< without the references, which follow
        std::vector<std::uint64_t> references; ///< indices of other objects
    };

    void appendTables(std::string &list, const std::vector<std::uint64_t> &offsets,
                      unsigned referenceSize) const {
        const std::uint64_t start = list.size();
        const unsigned offsetSize = sizeOfNumber(start);
        for (const std::uint64_t offset : offsets)
            appendNumber(list, offset, offsetSize);
        list.append(6, '\0');
        appendNumber(list, offsetSize, 1);
        appendNumber(list, referenceSize, 1);
        appendNumber(list, objects_.size(), 8);
        appendNumber(list, 0, 8); // the top object
        appendNumber(list, start, 8);
    }

    /// Returns the index of the value's object.
    std::uint64_t add(const PropertyListValue &value) {
        requireNotCancelled(progress_);
        return std::visit([this](const auto &content) { return addContent(content); },
                          value.content);
    }

    std::uint64_t addObject(std::string bytes) {
        objects_.push_back({std::move(bytes), {}});
        return objects_.size() - 1;
    }

    std::uint64_t addContent(const PropertyListNull & /*null*/) {
        return addObject(firstByte(0, 0));
    }
    std::uint64_t addContent(bool isTrue) { return addObject(firstByte(0, isTrue ? 9 : 8)); }
    std::uint64_t addContent(std::int64_t number) {
        const auto bits = static_cast<std::uint64_t>(number);
        return addObject(integerObject(bits, number < 0 ? 8 : sizeOfNumber(bits)));
    }
    /// 8 bytes are signed, so that these numbers have 16.
    std::uint64_t addContent(std::uint64_t number) {
        std::string object = firstByte(1, 4);
        appendNumber(object, 0, 8);
        appendNumber(object, number, 8);
        return addObject(std::move(object));
    }
    std::uint64_t addContent(PropertyListReal real) { return addReal(2, real.value); }
    std::uint64_t addContent(PropertyListDate date) { return addReal(3, date.seconds); }

    std::uint64_t addReal(unsigned type, double value) {
        std::string object = firstByte(type, 3);
        appendNumber(object, std::bit_cast<std::uint64_t>(value), 8);
        return addObject(std::move(object));
    }

    std::uint64_t addContent(const archive::Data &data) {
        return addObject(countedObject(4, data.size()) + std::string(data.text()));
    }
    std::uint64_t addContent(PropertyListUID uid) {
        const unsigned size = sizeOfNumber(uid.value);
        std::string object = firstByte(8, size - 1);
        appendNumber(object, uid.value, size);
        return addObject(std::move(object));
    }

    std::uint64_t addContent(const std::string &text) {
        const auto known = texts_.find(text);
        if (known != texts_.end())
            return known->second;
        const std::uint64_t index = addObject(textObject(text));
        texts_.emplace(text, index);
        return index;
    }

    std::uint64_t addContent(const PropertyListArray &array) {
        const std::uint64_t index = enter(countedObject(10, array.size()));
        std::vector<std::uint64_t> references;
        for (const PropertyListValue &element : array)
            references.push_back(add(element));
        return leave(index, std::move(references));
    }

    /// The references of all keys come before those of the values.
    std::uint64_t addContent(const PropertyListDictionary &dictionary) {
        const std::uint64_t index = enter(countedObject(13, dictionary.size()));
        std::vector<std::uint64_t> references;
        for (const PropertyListMember &member : dictionary)
            references.push_back(addContent(member.key));
        for (const PropertyListMember &member : dictionary)
            references.push_back(add(member.value));
        return leave(index, std::move(references));
    }

    std::uint64_t enter(std::string bytes) {
        if (++depth_ > maximumPropertyListDepth)
            throw unwritable("the values are nested more than " +
                             std::to_string(maximumPropertyListDepth) + " deep");
        return addObject(std::move(bytes));
    }
    std::uint64_t leave(std::uint64_t index, std::vector<std::uint64_t> references) {
        --depth_;
        objects_[index].references = std::move(references);
        return index;
    }

    const archive::Progress *progress_;
    std::vector<Object> objects_;
    std::unordered_map<std::string, std::uint64_t> texts_;
    std::size_t depth_ = 0;
};

} // namespace

archive::Data writeBinaryPropertyList(const PropertyListValue &value,
                                      const archive::Progress *progress) {
    return BinaryWriter(progress).write(value);
}

} // namespace vellomir
