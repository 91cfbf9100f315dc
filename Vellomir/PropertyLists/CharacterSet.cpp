#include "Vellomir/PropertyLists/CharacterSet.h"

#include "Vellomir/PropertyLists/Builder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <new>
#include <utility>

namespace vellomir {
namespace {

constexpr std::string_view macRoman = "MACINTOSH";
constexpr std::size_t longestCharacter = 4;

/// The system's character, and the right one.
using Correction = std::pair<std::string_view, std::string_view>;
constexpr std::array corrections = {Correction{"\xCE\x94", "\xE2\x88\x86"},
                                    Correction{"\xEE\x80\x9E", "\xEF\xA3\xBF"}};

std::string_view right(std::string_view character) {
    for (const auto &[wrong, corrected] : corrections)
        if (character == wrong)
            return corrected;
    return character;
}

/// What the system has to encode to get the right bytes; nothing for its wrong characters.
std::optional<std::string> uncorrected(std::string_view text) {
    std::string result(text);
    for (const auto &[wrong, corrected] : corrections) {
        if (result.find(wrong) != result.npos)
            return std::nullopt;
        for (std::size_t place = result.find(corrected); place != result.npos;
             place = result.find(corrected, place))
            result.replace(place, corrected.size(), wrong);
    }
    return result;
}

bool isASCII(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

} // namespace

Converter::Converter(const char *to, const char *from) : converter_(::iconv_open(to, from)) {
    if (!isOpen() && errno == ENOMEM)
        throw std::bad_alloc();
}

Converter::~Converter() {
    if (isOpen())
        ::iconv_close(converter_);
}

bool Converter::isOpen() const {
    return std::bit_cast<std::intptr_t>(converter_) != std::intptr_t{-1};
}

int Converter::convert(std::string_view &input, std::string &output) {
    std::array<char, 512> buffer{};
    int error = E2BIG;
    while (error == E2BIG) {
        char *next = const_cast<char *>(input.data()); // iconv does not write there
        std::size_t left = input.size();
        char *end = buffer.data();
        std::size_t room = buffer.size();
        const std::size_t result = ::iconv(converter_, &next, &left, &end, &room);
        error = result == static_cast<std::size_t>(-1) ? errno : 0;
        output.append(buffer.data(), end);
        input.remove_prefix(input.size() - left);
    }
    return error;
}

void Converter::finish(std::string &output) {
    std::array<char, 64> buffer{};
    char *end = buffer.data();
    std::size_t room = buffer.size();
    static_cast<void>(::iconv(converter_, nullptr, nullptr, &end, &room));
    output.append(buffer.data(), end);
}

CharacterSet::CharacterSet(const char *name) : name_(name), converter_("UTF-8", name) {}

/// Appends the first character. Returns the number of its bytes; 0 if there is none.
std::size_t CharacterSet::takeCharacter(std::string_view bytes, std::string &text) {
    if (isASCII(bytes.front())) {
        text += bytes.front();
        return 1;
    }
    std::string &known = known_.at(static_cast<unsigned char>(bytes.front()) - 0x80U);
    if (!known.empty()) {
        text += known;
        return 1;
    }
    for (std::size_t size = 1; size <= std::min(bytes.size(), longestCharacter); ++size) {
        std::string character;
        std::string_view rest = bytes.substr(0, size);
        const int error = converter_.convert(rest, character);
        if (error == 0) {
            if (name_ == macRoman)
                character = right(character);
            text += character;
            if (size == 1)
                known = character;
            return size;
        }
        converter_.finish(character);
        if (error != EINVAL) // which asks for more bytes
            return 0;
    }
    return 0;
}

std::optional<std::string> CharacterSet::decode(std::string_view bytes,
                                                const archive::Progress *progress) {
    std::string text;
    std::size_t count = 0;
    while (!bytes.empty()) {
        if (++count % 4096 == 0)
            requireNotCancelled(progress);
        const std::size_t size = takeCharacter(bytes, text);
        if (size == 0)
            return std::nullopt;
        bytes.remove_prefix(size);
    }
    return text;
}

std::optional<std::string> CharacterSet::encode(std::string_view text) const {
    Converter converter(name_, "UTF-8");
    const auto input = name_ == macRoman ? uncorrected(text) : std::optional(std::string(text));
    if (!converter.isOpen() || !input)
        return std::nullopt;
    std::string bytes;
    std::string_view rest = *input;
    if (converter.convert(rest, bytes) != 0)
        return std::nullopt;
    return bytes;
}

std::vector<std::size_t> CharacterSet::byteOffsets(std::string_view bytes,
                                                   const std::vector<std::size_t> &textOffsets) {
    std::vector<std::size_t> offsets;
    std::string text;
    std::size_t textOffset = 0;
    std::size_t offset = 0;
    for (const std::size_t wanted : textOffsets) {
        while (textOffset < wanted && offset < bytes.size()) {
            text.clear();
            offset += takeCharacter(bytes.substr(offset), text);
            textOffset += text.size();
        }
        offsets.push_back(offset);
    }
    return offsets;
}

std::string correctedMacRoman(std::string_view text) {
    std::string result;
    for (std::size_t position = 0; position < text.size();) {
        const std::string_view rest = text.substr(position);
        const auto *const found =
            std::find_if(corrections.begin(), corrections.end(),
                         [rest](const Correction &each) { return rest.starts_with(each.first); });
        const bool isWrong = found != corrections.end();
        result += isWrong ? found->second : rest.substr(0, 1);
        position += isWrong ? found->first.size() : 1;
    }
    return result;
}

} // namespace vellomir
