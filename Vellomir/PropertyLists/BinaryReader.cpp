#include "Vellomir/PropertyLists/BinaryReader.h"

#include "Vellomir/PropertyLists/BinaryObjects.h"
#include "Vellomir/PropertyLists/Builder.h"
#include "Vellomir/PropertyLists/UnicodeText.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace vellomir {
namespace {

using Bytes = std::span<const std::byte>;

/// The upper half of an object's first byte.
struct Type {
    static constexpr unsigned simple = 0x0;
    static constexpr unsigned integer = 0x1;
    static constexpr unsigned real = 0x2;
    static constexpr unsigned date = 0x3;
    static constexpr unsigned data = 0x4;
    static constexpr unsigned asciiText = 0x5;
    static constexpr unsigned utf16Text = 0x6;
    static constexpr unsigned uid = 0x8;
    static constexpr unsigned array = 0xA;
    static constexpr unsigned dictionary = 0xD;
};

class BinaryReader {
public:
    BinaryReader(Bytes bytes, const archive::Progress *progress)
        : objects_(bytes), isOpen_(static_cast<std::size_t>(objects_.count())),
          builder_(
              "binary", [this] { return "byte " + std::to_string(position_); }, progress) {}

    [[nodiscard]] PropertyListValue read() {
        readObject(objects_.topObject());
        return builder_.take();
    }

private:
    [[nodiscard]] Error error(const std::string &what) const { return builder_.error(what); }

    BinaryObject object(std::uint64_t index) {
        const BinaryObject object = objects_.object(index);
        position_ = object.position;
        return object;
    }

    /// Recursive; the builder's depth limit bounds the stack.
    void readObject(std::uint64_t index) {
        const BinaryObject object = this->object(index);
        if (object.type != Type::array && object.type != Type::dictionary)
            return builder_.addValue(leaf(object));
        const auto place = static_cast<std::size_t>(index);
        if (isOpen_[place])
            throw error("expected a value that does not contain itself");
        isOpen_[place] = true;
        if (object.type == Type::array)
            readArray(object);
        else
            readDictionary(object);
        builder_.end();
        isOpen_[place] = false;
    }

    void readArray(const BinaryObject &object) {
        const std::size_t size = objects_.referenceSize();
        const Bytes references = objects_.elements(object, size);
        builder_.beginArray();
        for (std::size_t start = 0; start < references.size(); start += size)
            readObject(bigEndianNumber(references.subspan(start, size)));
    }

    /// The references of all keys, then those of all values.
    void readDictionary(const BinaryObject &object) {
        const std::size_t size = objects_.referenceSize();
        const Bytes references = objects_.elements(object, 2 * size);
        const std::size_t half = references.size() / 2;
        builder_.beginDictionary();
        for (std::size_t start = 0; start < half; start += size) {
            readKey(bigEndianNumber(references.subspan(start, size)));
            readObject(bigEndianNumber(references.subspan(half + start, size)));
        }
    }

    void readKey(std::uint64_t index) {
        const BinaryObject key = object(index);
        if (key.type != Type::asciiText && key.type != Type::utf16Text)
            throw error("expected a text as the key, found an object of type " +
                        std::to_string(key.type));
        builder_.addKey(text(key));
    }

    [[nodiscard]] PropertyListValue leaf(const BinaryObject &object) const {
        switch (object.type) {
        case Type::simple:
            return simpleValue(object);
        case Type::integer:
            return integerValue(object);
        case Type::real:
            return {PropertyListReal{realNumber(object)}};
        case Type::date:
            return dateValue(object);
        case Type::data:
            return {archive::Data(objects_.elements(object, 1))};
        case Type::asciiText:
        case Type::utf16Text:
            return {text(object)};
        case Type::uid:
            return {PropertyListUID{narrow(objects_.content(object, object.size + 1), "a UID")}};
        default:
            throw error("expected a value, found an object of the unknown type " +
                        std::to_string(object.type));
        }
    }

    [[nodiscard]] PropertyListValue simpleValue(const BinaryObject &object) const {
        if (object.size == 0)
            return {PropertyListNull()};
        if (object.size != 8 && object.size != 9)
            throw error("expected null, false or true, found " + std::to_string(object.size));
        return {object.size == 9};
    }

    /// Sizes up to 4 bytes are unsigned; 8 and 16 bytes are signed.
    [[nodiscard]] PropertyListValue integerValue(const BinaryObject &object) const {
        if (object.size > 4)
            throw error("expected an integer of 1, 2, 4, 8 or 16 bytes");
        const Bytes bytes = objects_.content(object, std::size_t{1} << object.size);
        const auto low =
            static_cast<std::int64_t>(bigEndianNumber(bytes.last(std::min(bytes.size(), eight))));
        if (bytes.size() == eight)
            return {low};
        const bool isNegative =
            bytes.size() > eight && low < 0 &&
            bigEndianNumber(bytes.first(eight)) == std::numeric_limits<std::uint64_t>::max();
        return isNegative ? PropertyListValue{low} : makeInteger(narrow(bytes, "an integer"));
    }

    /// The value of a number of up to 16 bytes.
    [[nodiscard]] std::uint64_t narrow(Bytes bytes, const std::string &kind) const {
        if (bytes.size() > eight && bigEndianNumber(bytes.first(bytes.size() - eight)) != 0)
            throw error("expected " + kind + " of at most 64 bits");
        return bigEndianNumber(bytes.last(std::min(bytes.size(), eight)));
    }

    [[nodiscard]] double realNumber(const BinaryObject &object) const {
        if (object.size == 2)
            return std::bit_cast<float>(
                static_cast<std::uint32_t>(bigEndianNumber(objects_.content(object, 4))));
        if (object.size != 3)
            throw error("expected a real number of 4 or 8 bytes");
        return std::bit_cast<double>(bigEndianNumber(objects_.content(object, eight)));
    }

    [[nodiscard]] PropertyListValue dateValue(const BinaryObject &object) const {
        if (object.size != 3)
            throw error("expected a date of 8 bytes");
        return {PropertyListDate{realNumber(object)}};
    }

    [[nodiscard]] std::string text(const BinaryObject &object) const {
        if (object.type == Type::utf16Text)
            return decodeUTF16(objects_.elements(object, 2));
        const Bytes bytes = objects_.elements(object, 1);
        const auto isASCII = [](std::byte byte) { return byte < std::byte{0x80}; };
        if (!std::all_of(bytes.begin(), bytes.end(), isASCII))
            throw error("expected a text in ASCII");
        return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
    }

    [[nodiscard]] std::string decodeUTF16(Bytes bytes) const {
        std::u16string units;
        units.reserve(bytes.size() / 2);
        for (std::size_t start = 0; start < bytes.size(); start += 2)
            units += static_cast<char16_t>(bigEndianNumber(bytes.subspan(start, 2)));
        std::string text;
        if (appendUTF16(text, units) < units.size())
            throw error("expected a text in UTF-16");
        return text;
    }

    static constexpr std::size_t eight = 8;

    BinaryObjects objects_;
    std::vector<bool> isOpen_;
    std::size_t position_ = 0;
    PropertyListBuilder builder_;
};

} // namespace

bool isBinaryPropertyList(Bytes bytes) {
    static constexpr std::string_view start = binaryPropertyListMagic.substr(0, 6);
    return bytes.size() >= start.size() &&
           std::equal(start.begin(), start.end(), bytes.begin(),
                      [](char left, std::byte right) { return std::byte(left) == right; });
}

PropertyListValue readBinaryPropertyList(Bytes bytes, const archive::Progress *progress) {
    return BinaryReader(bytes, progress).read();
}

} // namespace vellomir
