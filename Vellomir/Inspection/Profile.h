#pragma once

#include "archive/Date.h"
#include "archive/Progress.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace vellomir {

/// What a provisioning profile says; its signature is not verified.
struct Profile {
    std::string name;
    std::string identifier; ///< of the app that it is for: "TEAM.com.example.notes", "TEAM.*"
    std::string team;       ///< the name of the team
    std::optional<archive::Date> endDate; ///< from then on the app no longer starts

    friend bool operator==(const Profile &, const Profile &) = default;
};

/// Reads the XML property list inside the signed message (CMS). `progress` may be null.
///
/// Throws `InspectionError::unreadableProfile` if there is none, and what `PropertyList::parse`
/// throws.
[[nodiscard]] Profile readProfile(std::span<const std::byte> bytes,
                                  const archive::Progress *progress = nullptr);

} // namespace vellomir
