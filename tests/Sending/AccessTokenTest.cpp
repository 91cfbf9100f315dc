#include "Vellomir/Sending/AccessToken.h"

#include <gmock/gmock.h>

#include <array>
#include <set>

namespace vellomir {
namespace {

TEST(AccessToken, Has26OfThe32Characters) {
    EXPECT_THAT(makeAccessToken(), testing::MatchesRegex("[A-Z2-7]*"));
    EXPECT_EQ(makeAccessToken().size(), 26U); // 5 bits each
}

TEST(AccessToken, UsesAllCharactersAtEveryPlace) {
    std::array<std::set<char>, 26> seen;
    std::set<std::string> tokens;
    for (int number = 0; number < 2000; ++number) {
        const std::string token = makeAccessToken();
        tokens.insert(token);
        for (std::size_t place = 0; place < seen.size(); ++place)
            seen[place].insert(token[place]);
    }
    EXPECT_EQ(tokens.size(), 2000U);
    for (const auto &characters : seen)
        EXPECT_EQ(characters.size(), 32U); // missing one has a chance of 1 to 10^25
}

TEST(AccessToken, IsTheSameInLowerCaseOnly) {
    const std::string token = "ABCDEFGHIJKLMNOPQRSTUVWX23";
    EXPECT_TRUE(isAccessToken(token, token));
    EXPECT_TRUE(isAccessToken("abcdefghijklmnopqrstuvwx23", token));
    EXPECT_FALSE(isAccessToken("", token));
    EXPECT_FALSE(isAccessToken(token.substr(1), token));
    EXPECT_FALSE(isAccessToken(token + "A", token));
    for (std::size_t place = 0; place < token.size(); ++place)
        for (int character = 0; character < 256; ++character) {
            std::string other = token;
            other[place] = static_cast<char>(character);
            const bool isSame = other[place] == token[place] ||
                                (token[place] >= 'A' && other[place] == token[place] - 'A' + 'a');
            EXPECT_EQ(isAccessToken(other, token), isSame) << other;
        }
}

} // namespace
} // namespace vellomir
