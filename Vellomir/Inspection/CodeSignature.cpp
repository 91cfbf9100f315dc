#include "Vellomir/Inspection/CodeSignature.h"

#include "Vellomir/Inspection/ByteCursor.h"
#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/Inspection/ListValues.h"
#include "archive/Error.h"

#include <algorithm>
#include <array>
#include <optional>

namespace vellomir {
namespace {

using Blob = std::span<const std::byte>;

// Behind each number its name in the format, in which all numbers are big-endian.
constexpr std::uint32_t signatureMagic = 0xFADE0CC0;    // CSMAGIC_EMBEDDED_SIGNATURE
constexpr std::uint32_t directoryMagic = 0xFADE0C02;    // CSMAGIC_CODEDIRECTORY
constexpr std::uint32_t entitlementsMagic = 0xFADE7171; // CSMAGIC_EMBEDDED_ENTITLEMENTS
constexpr std::uint32_t directorySlot = 0;              // CSSLOT_CODEDIRECTORY
constexpr std::uint32_t entitlementsSlot = 5;           // CSSLOT_ENTITLEMENTS
constexpr std::uint32_t versionWithTeam = 0x20200;      // CS_SUPPORTSTEAMID

constexpr std::size_t blobHeadSize = 8; ///< magic and length
constexpr std::uint32_t maximumBlobs = 64;
constexpr std::size_t maximumEntitlements = 1 << 20;

/// Rights that a provider of services grants to one identifier.
constexpr std::array boundEntitlements = {
    "aps-environment",
    "com.apple.developer.associated-domains",
    "com.apple.developer.icloud-container-identifiers",
    "com.apple.developer.in-app-payments",
    "com.apple.developer.pass-type-identifiers",
    "com.apple.developer.ubiquity-container-identifiers",
    "com.apple.developer.ubiquity-kvstore-identifier",
};

Error damagedSignature(const std::string &sentence) {
    return Error(InspectionError::unreadableSignature, {.detail = sentence});
}

/// The blob that begins here, with this magic, cut off at its length.
Blob blobOf(Blob bytes, std::uint32_t magic, const std::string &name) {
    ByteCursor cursor(bytes, ByteOrder::big);
    const auto found = cursor.value<std::uint32_t>();
    const auto length = cursor.value<std::uint32_t>();
    if (!cursor.isComplete() || found != magic)
        throw damagedSignature("The code signature has no " + name + " where it should be");
    if (length < blobHeadSize || length > bytes.size())
        throw damagedSignature("The " + name + " goes beyond the code signature");
    return bytes.first(length);
}

/// The blob of this slot, up to the end of the signature; nothing if there is none.
std::optional<Blob> slot(Blob signature, std::uint32_t wanted) {
    ByteCursor cursor(signature.subspan(blobHeadSize), ByteOrder::big);
    const auto count = cursor.value<std::uint32_t>();
    if (!cursor.isComplete() || count > maximumBlobs)
        throw damagedSignature("The code signature lists too many parts");
    for (std::uint32_t index = 0; index < count; ++index) {
        const auto type = cursor.value<std::uint32_t>();
        const auto offset = cursor.value<std::uint32_t>();
        if (!cursor.isComplete() || offset > signature.size())
            throw damagedSignature("A part of the code signature is outside of it");
        if (type == wanted)
            return signature.subspan(offset);
    }
    return std::nullopt;
}

/// The text that ends with a zero byte.
std::string textIn(Blob blob, std::uint32_t offset) {
    if (offset >= blob.size())
        throw damagedSignature("A text of the code directory is outside of it");
    const Blob rest = blob.subspan(offset);
    const auto end = std::find(rest.begin(), rest.end(), std::byte{0});
    if (end == rest.end())
        throw damagedSignature("A text of the code directory has no end");
    return kept({reinterpret_cast<const char *>(rest.data()),
                 static_cast<std::size_t>(end - rest.begin())});
}

void readDirectory(Blob directory, CodeSignature &signature) {
    ByteCursor cursor(directory.subspan(blobHeadSize), ByteOrder::big);
    const auto version = cursor.value<std::uint32_t>();
    cursor.skip(8); // flags, hashOffset
    const auto identOffset = cursor.value<std::uint32_t>();
    cursor.skip(20); // nSpecialSlots, nCodeSlots, codeLimit, four single bytes, spare2
    if (!cursor.isComplete())
        throw damagedSignature("The code directory is too short");
    signature.identifier = textIn(directory, identOffset);
    if (version < versionWithTeam)
        return;
    cursor.skip(4); // scatterOffset
    const auto teamOffset = cursor.value<std::uint32_t>();
    if (!cursor.isComplete())
        throw damagedSignature("The code directory is too short");
    if (teamOffset != 0)
        signature.team = textIn(directory, teamOffset);
}

Entitlements readEntitlements(Blob list, const archive::Progress *progress) {
    if (list.empty())
        return {};
    if (list.size() > maximumEntitlements)
        throw damagedSignature("The entitlements have more than 1 MiB");
    const PropertyList parsed = PropertyList::parse(list, progress);
    const PropertyListValue *const root = &parsed.value();
    Entitlements found;
    found.applicationIdentifier = textAt(root, "application-identifier");
    found.appGroups = textsOf(member(root, "com.apple.security.application-groups"));
    found.keychainGroups = textsOf(member(root, "keychain-access-groups"));
    for (const char *key : boundEntitlements)
        if (member(root, key) != nullptr)
            found.boundKeys.emplace_back(key);
    return found;
}

/// Runs a step; its failure is the signature's problem. Returns whether it succeeded.
template <class Step>
bool attempt(CodeSignature &signature, Step step) {
    try {
        step();
        return true;
    } catch (const Error &error) {
        if (error.code() == archive::ArchiveError::cancelledOperation)
            throw;
        if (signature.problem.empty())
            signature.problem = reasonOf(error);
        return false;
    }
}

} // namespace

CodeSignature readCodeSignature(std::span<const std::byte> bytes,
                                const archive::Progress *progress) {
    const Blob whole = blobOf(bytes, signatureMagic, "list of parts");
    CodeSignature signature;
    const bool hasDirectory = attempt(signature, [&] {
        const auto directory = slot(whole, directorySlot);
        if (!directory)
            throw damagedSignature("The code signature has no code directory");
        readDirectory(blobOf(*directory, directoryMagic, "code directory"), signature);
    });
    bool hasEntitlements = false;
    attempt(signature, [&] {
        const auto list = slot(whole, entitlementsSlot);
        if (!list)
            return;
        const Blob blob = blobOf(*list, entitlementsMagic, "list of entitlements");
        signature.entitlements = readEntitlements(blob.subspan(blobHeadSize), progress);
        hasEntitlements = true;
    });
    if (!hasDirectory && !hasEntitlements)
        throw damagedSignature(signature.problem);
    return signature;
}

} // namespace vellomir
