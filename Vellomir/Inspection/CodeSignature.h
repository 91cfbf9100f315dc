#pragma once

#include "archive/Progress.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace vellomir {

/// What a program may do, as far as a second copy is concerned.
struct Entitlements {
    std::string applicationIdentifier;       ///< "TEAM.com.example.notes", or with "*" at its end
    std::vector<std::string> appGroups;      ///< folders that programs share
    std::vector<std::string> keychainGroups; ///< passwords that programs share
    /// The keys of other rights that a provider grants to one identifier, such as push messages.
    std::vector<std::string> boundKeys;

    friend bool operator==(const Entitlements &, const Entitlements &) = default;
};

/// What a code signature says of its program; nothing of it is verified.
struct CodeSignature {
    std::string identifier; ///< of the code directory
    std::string team;       ///< "" without one
    Entitlements entitlements;
    std::string problem = {}; ///< why not all of it could be read; else ""

    friend bool operator==(const CodeSignature &, const CodeSignature &) = default;
};

/// Reads the signature that LC_CODE_SIGNATURE refers to: CSMAGIC_EMBEDDED_SIGNATURE with its code
/// directory and its entitlements in XML. `progress` may be null.
///
/// Throws `InspectionError::unreadableSignature` and what `PropertyList::parse` throws.
[[nodiscard]] CodeSignature readCodeSignature(std::span<const std::byte> bytes,
                                              const archive::Progress *progress = nullptr);

} // namespace vellomir
