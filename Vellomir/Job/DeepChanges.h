#pragma once

#include <optional>
#include <string>

namespace vellomir {

/// What a job changes on request only, so that a copy installs and shows its own name and icon.
struct DeepChanges {
    /// The identifiers of extensions, watch apps and app clips begin with the new identifier of the
    /// app, and the keys that name another bundle of the package follow.
    bool nested = false;
    /// The localized names of the app get the number behind them as well.
    bool localized = false;
    /// With a new icon: keys that would hide the icon files are removed, and each file has the size
    /// of its name.
    bool icons = false;
    /// The app's names, instead of the old ones with the number behind them.
    std::optional<std::string> name = std::nullopt;
    /// The app's identifier, instead of the old one with the number behind it.
    std::optional<std::string> identifier = std::nullopt;
};

} // namespace vellomir
