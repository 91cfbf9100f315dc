#include "Vellomir/Inspection/CodeSignature.h"

#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/Inspection/Program.h"
#include "Vellomir/PropertyLists/Errors.h"
#include "tests/Inspection/Programs.h"

#include <gmock/gmock.h>

namespace vellomir {

using test::listText;
using test::madeProgram;
using test::madeSignature;
using test::member;
using test::memberTexts;
using test::view;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const std::string rights =
    listText(member("application-identifier", "TEAM.com.example.notes") +
             memberTexts("com.apple.security.application-groups", {"group.a", "group.b"}) +
             memberTexts("keychain-access-groups", {"TEAM.shared"}) +
             member("aps-environment", "production") + "<key>get-task-allow</key><false/>");

/// Of the signature as a whole, or of a part of it.
std::string complaint(const std::string &bytes) {
    try {
        const std::string problem = readCodeSignature(view(bytes)).problem;
        return problem.empty() ? "none" : problem;
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), InspectionError::unreadableSignature);
        return reasonOf(error);
    }
    return "none";
}

TEST(CodeSignature, ReadsIdentifierTeamAndEntitlements) {
    const std::string bytes = madeSignature("com.example.notes", "TEAM", rights);
    const CodeSignature signature = readCodeSignature(view(bytes));
    EXPECT_EQ(signature.identifier, "com.example.notes");
    EXPECT_EQ(signature.team, "TEAM");
    EXPECT_EQ(signature.entitlements.applicationIdentifier, "TEAM.com.example.notes");
    EXPECT_THAT(signature.entitlements.appGroups, ElementsAre("group.a", "group.b"));
    EXPECT_THAT(signature.entitlements.keychainGroups, ElementsAre("TEAM.shared"));
    EXPECT_THAT(signature.entitlements.boundKeys, ElementsAre("aps-environment"));
}

TEST(CodeSignature, TeamAndEntitlementsMayBeMissing) {
    const std::string bytes = madeSignature("com.example.notes");
    EXPECT_EQ(readCodeSignature(view(bytes)), (CodeSignature{.identifier = "com.example.notes"}));
}

TEST(CodeSignature, RefusesEveryCutSignature) {
    const std::string bytes = madeSignature("com.example.notes", "TEAM", rights);
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_NE(complaint(bytes.substr(0, size)), "none") << size;
}

TEST(CodeSignature, RefusesPartsOutsideOfIt) {
    const std::string good = madeSignature("com.example.notes", "TEAM", rights);
    const auto with = [&good](std::size_t place, std::uint32_t value) {
        std::string bytes = good;
        return bytes.replace(place, 4, test::words({value}, ByteOrder::big));
    };
    EXPECT_THAT(complaint(with(0, 0xFADE0C02)), HasSubstr("no list of parts"));
    EXPECT_THAT(complaint(with(4, 0xFFFFFFFF)), HasSubstr("goes beyond"));
    EXPECT_THAT(complaint(with(4, 7)), HasSubstr("goes beyond"));
    EXPECT_THAT(complaint(with(8, 65)), HasSubstr("too many parts"));
    EXPECT_THAT(complaint(with(8, 0)), HasSubstr("has no code directory"));
    EXPECT_THAT(complaint(with(16, 0xFFFFFFFF)), HasSubstr("outside of it"));
    EXPECT_THAT(complaint(with(16, 29)), HasSubstr("no code directory where it should be"));
    EXPECT_THAT(complaint(with(28 + 4, 20)), HasSubstr("too short"));
    EXPECT_THAT(complaint(with(28 + 20, 0xFFFFFFFF)), HasSubstr("outside of it"));
    EXPECT_THAT(complaint(with(28 + 48, 0xFFFFFFFF)), HasSubstr("outside of it"));
}

TEST(CodeSignature, TextsOfTheDirectoryNeedAnEnd) {
    std::string bytes = madeSignature("com.example.notes");
    while (bytes.back() == '\0')
        bytes.pop_back();
    const auto size = static_cast<std::uint32_t>(bytes.size());
    bytes.replace(4, 4, test::words({size}, ByteOrder::big));
    bytes.replace(20 + 4, 4, test::words({size - 20}, ByteOrder::big));
    EXPECT_THAT(complaint(bytes), HasSubstr("has no end"));
}

TEST(CodeSignature, EntitlementsMustBeAPropertyList) {
    const std::string bytes = madeSignature("com.example.notes", "TEAM", "<rights>");
    const CodeSignature signature = readCodeSignature(view(bytes));
    EXPECT_EQ(signature.identifier, "com.example.notes");
    EXPECT_THAT(signature.problem, HasSubstr("rights"));
}

TEST(CodeSignature, KeepsEntitlementsBesideADamagedDirectory) {
    std::string bytes = madeSignature("com.example.notes", "TEAM", rights);
    bytes.replace(28, 4, test::words({0}, ByteOrder::big)); // its magic number
    const CodeSignature signature = readCodeSignature(view(bytes));
    EXPECT_EQ(signature.identifier, "");
    EXPECT_THAT(signature.entitlements.keychainGroups, ElementsAre("TEAM.shared"));
    EXPECT_THAT(signature.problem, HasSubstr("no code directory where it should be"));
}

std::vector<ProgramSlice> programOf(const std::string &signature, std::uint64_t &limit) {
    const std::string bytes = madeProgram({.signature = signature});
    return readProgram(test::reading(bytes), bytes.size(), limit);
}

TEST(Program, HasTheSignatureOfEachArchitecture) {
    const std::string bytes = test::fatProgram(
        {{.cpu = 12, .subtype = 9, .is64Bit = false, .signature = madeSignature("a", "T")},
         {.encryption = 1}});
    std::uint64_t limit = 1000;
    const auto slices = readProgram(test::reading(bytes), bytes.size(), limit);
    ASSERT_EQ(slices.size(), 2);
    EXPECT_EQ(slices[0].signature, (CodeSignature{.identifier = "a", .team = "T"}));
    EXPECT_TRUE(slices[0].isSigned);
    EXPECT_FALSE(slices[0].isEncrypted);
    EXPECT_FALSE(slices[1].isSigned);
    EXPECT_TRUE(slices[1].isEncrypted);
    EXPECT_EQ(limit, 1000 - madeSignature("a", "T").size());
}

TEST(Program, DamagedSignatureIsAProblemOfItsArchitecture) {
    std::uint64_t limit = 1000;
    const auto slices = programOf("no signature", limit);
    ASSERT_EQ(slices.size(), 1);
    EXPECT_TRUE(slices[0].isSigned);
    EXPECT_EQ(slices[0].signature, std::nullopt);
    EXPECT_THAT(slices[0].problem, HasSubstr("no list of parts"));
}

TEST(Program, DoesNotReadMoreSignaturesThanTheLimit) {
    std::uint64_t limit = 10;
    const auto slices = programOf(madeSignature("a"), limit);
    ASSERT_EQ(slices.size(), 1);
    EXPECT_THAT(slices[0].problem, HasSubstr("too large"));
    EXPECT_EQ(limit, 10);
}

} // namespace
} // namespace vellomir
