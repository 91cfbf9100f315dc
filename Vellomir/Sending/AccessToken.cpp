#include "Vellomir/Sending/AccessToken.h"

#include "Vellomir/Sending/SendingFault.h"

#include <algorithm>
#include <array>
#include <sys/random.h>

namespace vellomir {
namespace {

constexpr std::size_t tokenLength = 26;
constexpr std::string_view tokenCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";

/// Without a branch on the character.
unsigned upperCase(char character) {
    const auto byte = static_cast<unsigned char>(character);
    const unsigned isLower =
        static_cast<unsigned>(byte >= 'a') & static_cast<unsigned>(byte <= 'z');
    return byte - isLower * ('a' - 'A');
}

} // namespace

std::string makeAccessToken() {
    std::array<unsigned char, tokenLength> random{};
    if (::getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size()))
        throw SendingFault("The system has no random numbers");
    std::string token(tokenLength, '\0');
    std::transform(random.begin(), random.end(), token.begin(), [](unsigned char byte) {
        return tokenCharacters[byte % tokenCharacters.size()];
    });
    return token;
}

bool isAccessToken(std::string_view text, std::string_view token) {
    if (text.size() != token.size())
        return false;
    unsigned difference = 0;
    for (std::size_t index = 0; index < text.size(); ++index)
        difference |= upperCase(text[index]) ^ static_cast<unsigned char>(token[index]);
    return difference == 0;
}

} // namespace vellomir
