#include "Vellomir/Window/FileAssociations.h"

#include "tests/support/TemporaryFolder.h"

#include <QString>

#include <gmock/gmock.h>

#include <filesystem>

namespace vellomir {

namespace fs = std::filesystem;

namespace {

const QString folders = QStringLiteral("inode/directory");
const QString links = QStringLiteral("x-scheme-handler/https");

/// A system that has only the programs that the test installs.
class FileAssociations : public testing::Test {
protected:
    FileAssociations() {
        fs::create_directories(applications_);
        fs::create_directories(folder_ / "config");
        set("XDG_DATA_HOME", folder_ / "data");
        set("XDG_DATA_DIRS", folder_ / "system");
        set("XDG_CONFIG_HOME", folder_ / "config");
        set("XDG_CONFIG_DIRS", folder_ / "systemConfig");
        qputenv("XDG_CURRENT_DESKTOP", "Some:Desktop");
    }

    static void set(const char *variable, const fs::path &value) {
        qputenv(variable, QByteArray::fromStdString(value.string()));
    }

    void install(const std::string &name, const std::string &command) {
        fs::create_directories((applications_ / name).parent_path());
        test::writeFile(applications_ / name, "[Desktop Entry]\nExec=" + command + "\n");
    }

    test::TemporaryFolder folder_;
    fs::path applications_ = folder_ / "data/applications";
};

TEST_F(FileAssociations, NoProgramInstalled) {
    EXPECT_FALSE(hasProgramFor(folders));
    EXPECT_FALSE(hasProgramFor(links));
}

TEST_F(FileAssociations, EachListIsSearched) {
    const fs::path lists[] = {folder_ / "config/mimeapps.list", applications_ / "mimeapps.list",
                              folder_ / "config/desktop-mimeapps.list",
                              applications_ / "mimeinfo.cache", applications_ / "defaults.list"};
    install("files.desktop", "sh %U");
    for (const fs::path &list : lists) {
        test::writeFile(list, "[MIME Cache]\ntext/plain=editor.desktop;\n"
                              "inode/directory=gone.desktop;files.desktop;\n");
        EXPECT_TRUE(hasProgramFor(folders)) << list;
        EXPECT_FALSE(hasProgramFor(links)) << list;
        fs::remove(list);
    }
}

TEST_F(FileAssociations, UninstalledProgramsAreIgnored) {
    test::writeFile(applications_ / "mimeapps.list",
                    "[Default Applications]\ninode/directory=files.desktop\n");
    EXPECT_FALSE(hasProgramFor(folders)) << "no desktop file";
    install("files.desktop", "/nonexistent/manager %U");
    EXPECT_FALSE(hasProgramFor(folders)) << "no program";
    install("files.desktop", "\"/bin/sh\" -c true");
    EXPECT_TRUE(hasProgramFor(folders));
}

TEST_F(FileAssociations, RemovedAssociationsAreIgnored) {
    install("files.desktop", "sh");
    test::writeFile(folder_ / "config/mimeapps.list",
                    "[Removed Associations]\ninode/directory=files.desktop;\n");
    EXPECT_FALSE(hasProgramFor(folders));
}

TEST_F(FileAssociations, DesktopEntriesMayBeInSubfolders) {
    install("kde/files.desktop", "sh");
    test::writeFile(applications_ / "mimeapps.list",
                    "[Added Associations]\ninode/directory=kde-files.desktop;\n");
    EXPECT_TRUE(hasProgramFor(folders));
}

} // namespace

} // namespace vellomir
