#include "tests/Job/JobBench.h"
#include "tests/support/FileSizeLimit.h"

namespace vellomir {

using test::JobBench;
using test::Lines;
using test::readFile;
using test::writeFile;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

const Lines fileNames = {"icon.png", "icon@2x.png", "icon@3x.png", "AppIcon76x76@2x~ipad.png",
                         "AppIcon60x60@2x.png"};

class AppIcon : public testing::Test {
protected:
    std::optional<std::string> update(const Picture &icon = test::dot()) {
        return job_.updateAppIcon(job_.unzippedURL(), icon);
    }

    JobBench job_;
    fs::path bundle_ = job_.unzipped() / "Payload/Notes.app";
};

TEST_F(AppIcon, IsWrittenUnderFiveNames) {
    writeFile(bundle_ / "icon.png",
              "a longer picture, which must be replaced as a whole" + std::string(1000, 'x'));
    writeFile(bundle_ / "Other.png", "other");
    EXPECT_EQ(update(), bundle_.string());
    const std::string png(test::dot().pngData().text());
    for (const std::string &name : fileNames)
        EXPECT_EQ(readFile(bundle_ / name), png) << name;
    EXPECT_EQ(readFile(bundle_ / "Other.png"), "other");
    EXPECT_THAT(job_.log(),
                ElementsAre("icon.png updated", "icon@2x.png updated", "icon@3x.png updated",
                            "AppIcon76x76@2x~ipad.png updated", "AppIcon60x60@2x.png updated"));
}

TEST_F(AppIcon, KeepsSizeWhateverTheFileName) {
    fs::create_directories(bundle_);
    update();
    EXPECT_EQ(
        Picture::read(job_.folder.url("box/Documents/Notes/unzipped/Payload/Notes.app/icon@3x.png"))
            .bitmap()
            .width,
        1);
}

TEST_F(AppIcon, BundleHasExtensionInLowerCase) {
    writeFile(job_.unzipped() / "Payload/Notes.APP/x", "");
    writeFile(job_.unzipped() / "Payload/app/x", "");
    writeFile(job_.unzipped() / "Payload/.app/x", "");
    EXPECT_FALSE(update());
    EXPECT_THAT(job_.log(), ElementsAre("App directory not found in the unzipped folder"));
    EXPECT_EQ(job_.summary(), "");
}

TEST_F(AppIcon, FailsWithoutUnpackedFolder) {
    EXPECT_FALSE(update());
    EXPECT_THAT(job_.log(), ElementsAre("App directory not found in the unzipped folder"));
}

TEST_F(AppIcon, FileWithBundleExtensionFailsAtFirstName) {
    writeFile(bundle_, "a file");
    EXPECT_FALSE(update());
    EXPECT_THAT(job_.log(), ElementsAre(StartsWith("Error while updating icon.png: ")));
    EXPECT_EQ(readFile(bundle_), "a file");
}

TEST_F(AppIcon, StopsAtFirstFailedName) {
    fs::create_directories(bundle_ / "icon@3x.png");
    EXPECT_FALSE(update());
    EXPECT_THAT(job_.log(), ElementsAre("icon.png updated", "icon@2x.png updated",
                                        AllOf(StartsWith("Error while updating icon@3x.png: "),
                                              HasSubstr("/Payload/Notes.app/icon@3x.png"))));
    EXPECT_TRUE(fs::exists(bundle_ / "icon@2x.png"));
    EXPECT_FALSE(fs::exists(bundle_ / "AppIcon60x60@2x.png"));
    EXPECT_THAT(job_.consoleText(), HasSubstr("FileError."));
}

TEST_F(AppIcon, FailsOnFullDisk) {
    fs::create_directories(bundle_);
    const test::FileSizeLimit limit(50); // enough for one pixel, too little for its PNG
    EXPECT_FALSE(update());
    EXPECT_THAT(job_.log(), ElementsAre(StartsWith("Error while updating icon.png: ")));
}

TEST_F(AppIcon, WritesNothingIfEncodingFails) {
    fs::create_directories(bundle_);
    EXPECT_FALSE(update(Picture()));
    EXPECT_THAT(job_.log(), ElementsAre("Error converting new icon to PNG data"));
    EXPECT_TRUE(fs::is_empty(bundle_));
    EXPECT_THAT(job_.consoleText(), HasSubstr("PictureError.unwritablePicture: "));
    EXPECT_EQ(job_.summary(), "");
}

} // namespace

} // namespace vellomir
