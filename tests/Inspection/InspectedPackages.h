#pragma once

#include "Vellomir/Inspection/IconFiles.h" // so that tables made before main() may use copyInfo()
#include "Vellomir/Inspection/Inspection.h"
#include "tests/support/RawArchive.h"

#include <string>
#include <vector>

/// Packages made entry by entry, and what an inspection says of them.
namespace vellomir::test {

/// The app's folder, with a "/" at its end.
inline const std::string app = "Payload/Notes.app/";
inline const std::string identifier = "com.example.notes";

/// The property list of the app, with more members in XML.
[[nodiscard]] std::string infoText(const std::string &bundleIdentifier,
                                   const std::string &more = {});
[[nodiscard]] RawEntry info(const std::string &more = {},
                            const std::string &bundleIdentifier = identifier);
/// That of a copy with the number 2.
[[nodiscard]] RawEntry copyInfo(const std::string &more = {});

/// A file of the app.
[[nodiscard]] RawEntry file(const std::string &path, const std::string &content);
/// The property list of a bundle in the app.
[[nodiscard]] RawEntry nested(const std::string &folder, const std::string &bundleIdentifier);
/// That of a watch app, and that of an extension in it, with the bundle that each belongs to.
[[nodiscard]] RawEntry watchApp(const std::string &bundleIdentifier, const std::string &companion);
[[nodiscard]] RawEntry watchExtension(const std::string &bundleIdentifier, const std::string &name);
/// The app's program with these entitlements.
[[nodiscard]] RawEntry signedProgram(const std::string &rights);
/// The app's name in German.
[[nodiscard]] RawEntry german(const std::string &name);
/// An entry that cannot be reached.
[[nodiscard]] RawEntry encryptedEntry(const std::string &name);

[[nodiscard]] Inspection inspected(const std::vector<RawEntry> &entries);
/// "nested-identifier" for each warning of this kind, and so on.
[[nodiscard]] std::vector<std::string> codesOf(const Inspection &found);

} // namespace vellomir::test
