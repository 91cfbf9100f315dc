#include "Vellomir/Platform/BinaryPropertyList.h"

#include "Vellomir/Platform/CanonicalXml.h"
#include "Vellomir/Platform/PropertyListText.h"
#include "Vellomir/Platform/PropertyListValues.h"
#include "Vellomir/Platform/XmlTokens.h"
#include "archive/Data.h"
#include "archive/TextEncoding.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace vellomir {
namespace {

// The layout, all numbers big-endian:
//
//   "bplist00" | objects | offset of each object | trailer
//
// An object is one byte, its type in the upper half and its size in the lower, and its content.
// Objects refer to each other by number.

using Bytes = std::span<const std::byte>;

constexpr std::string_view magic = "bplist00";
constexpr std::size_t trailerSize = 32;
// What shared values may grow to when each use is told.
constexpr std::size_t maximumXmlSize = 64 << 20;
constexpr std::size_t maximumValues = 1'000'000;

std::uint64_t number(Bytes bytes) {
    std::uint64_t value = 0;
    for (const std::byte byte : bytes)
        value = (value << 8U) | std::to_integer<std::uint64_t>(byte);
    return value;
}

[[noreturn]] void refuse(const std::string &what) {
    throw unreadable("The binary property list is damaged: " + what);
}

[[noreturn]] void refuseValue(const std::string &what) {
    throw unreadable("The binary property list holds " + what + ", which XML cannot hold");
}

struct Object {
    unsigned type = 0;
    unsigned size = 0;        ///< the lower half of the first byte
    std::size_t position = 0; ///< of what follows that byte
};

/// Where everything is.
class ObjectTable {
public:
    /// Of the trailer's 32 bytes, the last 26: the sizes of an offset and of a reference, the
    /// number of objects, the top object, where the offsets begin.
    explicit ObjectTable(Bytes bytes) : bytes_(bytes) {
        if (bytes.size() < magic.size() + trailerSize)
            refuse("it is too short");
        const Bytes trailer = bytes.last(trailerSize);
        offsetSize_ = static_cast<std::size_t>(number(trailer.subspan(6, 1)));
        referenceSize_ = static_cast<std::size_t>(number(trailer.subspan(7, 1)));
        const std::uint64_t count = number(trailer.subspan(8, 8));
        topObject_ = number(trailer.subspan(16, 8));
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8)
            refuse("its trailer makes no sense");
        offsets_ = slice(number(trailer.subspan(24, 8)), count, offsetSize_);
    }

    [[nodiscard]] std::uint64_t topObject() const { return topObject_; }

    [[nodiscard]] Object object(std::uint64_t index) const {
        if (index >= offsets_.size() / offsetSize_)
            refuse("a reference leads nowhere");
        const std::size_t start = static_cast<std::size_t>(index) * offsetSize_;
        const std::uint64_t offset = number(offsets_.subspan(start, offsetSize_));
        const auto marker = std::to_integer<unsigned>(slice(offset, 1, 1).front());
        return {marker >> 4U, marker & 0xFU, static_cast<std::size_t>(offset) + 1};
    }

    /// So many bytes behind the object's first.
    [[nodiscard]] Bytes content(const Object &object, std::size_t size) const {
        return slice(object.position, size, 1);
    }

    /// The elements behind the object's first byte, or, if there are 15 or more, behind an integer
    /// object with their number.
    [[nodiscard]] Bytes elements(const Object &object, std::size_t elementSize) const {
        if (object.size < 0xF)
            return slice(object.position, object.size, elementSize);
        const auto marker = std::to_integer<unsigned>(slice(object.position, 1, 1).front());
        if (marker < 0x10 || marker > 0x13)
            refuse("a size is no integer");
        const std::size_t size = std::size_t{1} << (marker & 0xFU);
        const std::uint64_t count = number(slice(object.position + 1, size, 1));
        return slice(object.position + 1 + size, count, elementSize);
    }

    [[nodiscard]] std::vector<std::uint64_t> references(const Object &object,
                                                        std::size_t perElement) const {
        std::vector<std::uint64_t> indexes;
        for (Bytes rest = elements(object, perElement * referenceSize_); !rest.empty();
             rest = rest.subspan(referenceSize_))
            indexes.push_back(number(rest.first(referenceSize_)));
        return indexes;
    }

private:
    [[nodiscard]] Bytes slice(std::uint64_t start, std::uint64_t count, std::size_t size) const {
        if (start > bytes_.size() || count > (bytes_.size() - start) / size)
            refuse("a value leads beyond its end");
        return bytes_.subspan(static_cast<std::size_t>(start),
                              static_cast<std::size_t>(count) * size);
    }

    Bytes bytes_;
    Bytes offsets_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::uint64_t topObject_ = 0;
};

class Converter {
public:
    explicit Converter(Bytes bytes) : table_(bytes) {}

    std::string run() {
        append(table_.topObject(), 0);
        return std::move(xml_);
    }

private:
    /// Cycles end at the depth, and what doubles at every level at the size.
    void append(std::uint64_t index, std::size_t depth) {
        if (depth > maximumPropertyListDepth)
            refuse("its values are nested too deeply, or in themselves");
        if (++valueCount_ > maximumValues || xml_.size() > maximumXmlSize)
            refuse("its shared values would grow beyond all measure");
        const Object object = table_.object(index);
        if (object.type == arrayType)
            appendArray(object, depth);
        else if (object.type == dictionaryType)
            appendDictionary(object, depth);
        else
            appendLeaf(object);
    }

    void appendArray(const Object &object, std::size_t depth) {
        xml_ += "<array>";
        for (const std::uint64_t element : table_.references(object, 1))
            append(element, depth + 1);
        xml_ += "</array>";
    }

    /// All keys, then all values.
    void appendDictionary(const Object &object, std::size_t depth) {
        const std::vector<std::uint64_t> references = table_.references(object, 2);
        const std::size_t count = references.size() / 2;
        xml_ += "<dict>";
        for (std::size_t index = 0; index < count; ++index) {
            const Object key = table_.object(references[index]);
            if (key.type != asciiType && key.type != utf16Type)
                refuseValue("a dictionary with a key that is no text");
            appendElement("key", string(key));
            append(references[count + index], depth + 1);
        }
        xml_ += "</dict>";
    }

    void appendLeaf(const Object &object) {
        switch (object.type) {
        case 0x0:
            return appendBoolean(object);
        case 0x1:
            return appendElement("integer", integer(object));
        case 0x2:
            return appendElement("real", realText(real(object)));
        case 0x3:
            return appendElement("date", date(object));
        case 0x4:
            return appendElement("data", dataText(table_.elements(object, 1)));
        case asciiType:
        case utf16Type:
            return appendElement("string", string(object));
        case 0x8:
            return appendIdentifier(object);
        default:
            refuseValue("a value of the unknown type " + std::to_string(object.type));
        }
    }

    void appendElement(const std::string &name, const std::string &text) {
        xml_ += '<' + name + '>';
        appendXmlText(xml_, text);
        xml_ += "</" + name + '>';
    }

    void appendBoolean(const Object &object) {
        if (object.size != 8 && object.size != 9)
            refuseValue("a null value");
        appendElement(object.size == 9 ? "true" : "false", "");
    }

    /// A reference inside an archive of objects; XML knows no type for it, only this convention.
    void appendIdentifier(const Object &object) {
        const Bytes bytes = table_.content(object, object.size + std::size_t{1});
        if (bytes.size() > 8)
            refuseValue("an identifier of more than 64 bits");
        xml_ += "<dict><key>CF$UID</key><integer>" + std::to_string(number(bytes)) +
                "</integer></dict>";
    }

    /// Up to 4 bytes without a sign, 8 bytes with one; 16 bytes stand for what is left of 64 bits
    /// without a sign.
    [[nodiscard]] std::string integer(const Object &object) const {
        if (object.size > 4)
            refuse("an integer has an impossible size");
        Bytes bytes = table_.content(object, std::size_t{1} << object.size);
        const std::uint64_t low = number(bytes.last(std::min<std::size_t>(bytes.size(), 8)));
        if (bytes.size() == 8)
            return std::to_string(static_cast<std::int64_t>(low));
        if (bytes.size() == 16 && number(bytes.first(8)) != 0)
            refuseValue("an integer of more than 64 bits");
        return std::to_string(low);
    }

    [[nodiscard]] double real(const Object &object) const {
        if (object.size == 2)
            return std::bit_cast<float>(
                static_cast<std::uint32_t>(number(table_.content(object, 4))));
        if (object.size != 3)
            refuse("a real number has an impossible size");
        return std::bit_cast<double>(number(table_.content(object, 8)));
    }

    [[nodiscard]] std::string date(const Object &object) const {
        const auto text = dateText(real(object));
        if (object.size != 3 || !text)
            refuseValue("a date with a fraction of a second, or beyond the years 1 to 9999");
        return *text;
    }

    [[nodiscard]] std::string string(const Object &object) const {
        std::string text;
        if (object.type == asciiType) {
            text = archive::Data(table_.elements(object, 1)).text();
            if (std::any_of(text.begin(), text.end(), [](char byte) { return byte < 0; }))
                refuse("an ASCII text holds other characters");
            return text;
        }
        std::u16string units;
        for (Bytes rest = table_.elements(object, 2); !rest.empty(); rest = rest.subspan(2))
            units += static_cast<char16_t>(number(rest.first(2)));
        if (!appendUTF16(text, units))
            refuse("a text is no valid UTF-16");
        return text;
    }

    static constexpr unsigned asciiType = 5;
    static constexpr unsigned utf16Type = 6;
    static constexpr unsigned arrayType = 0xA;
    static constexpr unsigned dictionaryType = 0xD;

    ObjectTable table_;
    std::string xml_;
    std::size_t valueCount_ = 0;
};

} // namespace

bool isBinaryPropertyList(std::span<const std::byte> bytes) {
    return bytes.size() >= 6 && archive::Data(bytes.first(6)).text() == magic.substr(0, 6);
}

std::string binaryPropertyListXml(std::span<const std::byte> bytes) {
    return Converter(bytes).run();
}

} // namespace vellomir
