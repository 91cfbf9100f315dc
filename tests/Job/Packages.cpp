#include "tests/Job/Packages.h"

#include "tests/support/Referee.h"

namespace vellomir::test {

std::string plist(const std::string &content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + content +
           "</dict></plist>\n";
}

std::string notesPlist() {
    return plist("<key>CFBundleIdentifier</key><string>com.example.notes</string>"
                 "<key>CFBundleDisplayName</key><string>Notes</string>"
                 "<key>CFBundleName</key><string>notes</string>"
                 "<key>CFBundleIcons</key><dict><key>CFBundlePrimaryIcon</key><dict/></dict>"
                 "<key>CFBundleIconFiles</key><array><string>old.png</string></array>"
                 "<key>MinimumOSVersion</key><string>14.0</string>");
}

std::string notesPackage(const std::vector<RawEntry> &more, const std::string &infoPlist) {
    std::vector<RawEntry> entries = {rawDirectory("Payload/"), rawDirectory("Payload/Notes.app/")};
    entries.insert(entries.end(), more.begin(), more.end());
    entries.push_back({.name = "Payload/Notes.app/Info.plist", .data = infoPlist});
    entries.push_back(
        {.name = "Payload/Notes.app/Notes", .data = "program", .attributes = 0100755U << 16U});
    return rawArchive(entries);
}

Picture dot() {
    const auto pixels = std::make_shared<std::vector<std::byte>>(4, std::byte{0x80});
    return Picture({.width = 1,
                    .height = 1,
                    .hasAlpha = true,
                    .bytesPerRow = 4,
                    .pixels = {pixels, pixels->data()}});
}

std::string plistValue(const std::filesystem::path &file, const std::string &key) {
    static const std::string script =
        "import plistlib, sys\n"
        "print(repr(plistlib.load(open(sys.argv[1], 'rb')).get(sys.argv[2])), end='')";
    return run({"python3", "-c", script, file.string(), key}).output;
}

} // namespace vellomir::test
