#include "tests/Inspection/InspectedPackages.h"

#include "tests/Inspection/Programs.h"
#include "tests/support/Archives.h"

namespace vellomir::test {

using archive::Archive;

std::string infoText(const std::string &bundleIdentifier, const std::string &more) {
    return listText(member("CFBundleIdentifier", bundleIdentifier) +
                    member("CFBundleDisplayName", "Notes") + member("CFBundleName", "notes") +
                    more);
}

RawEntry info(const std::string &more, const std::string &bundleIdentifier) {
    return rawDeflated(app + "Info.plist", infoText(bundleIdentifier, more));
}

RawEntry file(const std::string &path, const std::string &content) {
    return {.name = app + path, .data = content};
}

RawEntry nested(const std::string &folder, const std::string &bundleIdentifier) {
    return file(folder + "/Info.plist", listText(member("CFBundleIdentifier", bundleIdentifier)));
}

RawEntry watchApp(const std::string &bundleIdentifier, const std::string &companion) {
    return file("Watch/W.app/Info.plist",
                listText(member("CFBundleIdentifier", bundleIdentifier) +
                         member("WKCompanionAppBundleIdentifier", companion)));
}

/// Of the watch app, which it names.
RawEntry watchExtension(const std::string &bundleIdentifier, const std::string &name) {
    return file("Watch/W.app/PlugIns/E.appex/Info.plist",
                listText(member("CFBundleIdentifier", bundleIdentifier) +
                         "<key>NSExtension</key><dict><key>NSExtensionAttributes</key><dict>" +
                         member("WKAppBundleIdentifier", name) + "</dict></dict>"));
}

RawEntry signedProgram(const std::string &rights) {
    return rawDeflated(app + "Notes",
                       madeProgram({.signature = madeSignature("n", "TEAM", listText(rights))}));
}

Inspection inspected(const std::vector<RawEntry> &entries) {
    return inspect(*openBytes(rawArchive(entries), Archive::AccessMode::read));
}

std::vector<std::string> codesOf(const Inspection &found) {
    std::vector<std::string> codes;
    for (const InspectionWarning &warning : found.warnings)
        codes.emplace_back(codeText(warning.code));
    return codes;
}

RawEntry copyInfo(const std::string &more) {
    return rawDeflated(app + "Info.plist",
                       listText(member("CFBundleIdentifier", "com.example.notes2") +
                                member("CFBundleDisplayName", "Notes2") +
                                member("CFBundleName", "notes2") +
                                memberTexts("CFBundleIconFiles", iconFileNames) + more));
}

RawEntry german(const std::string &name) {
    return file("de.lproj/InfoPlist.strings", "CFBundleDisplayName = \"" + name + "\";");
}

RawEntry encryptedEntry(const std::string &name) {
    return {.name = name, .data = "x", .flags = 0x0801};
}

} // namespace vellomir::test
