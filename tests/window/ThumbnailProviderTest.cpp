#include "Vellomir/Window/ThumbnailProvider.h"

#include "tests/support/TemporaryFolder.h"

#include <QImage>
#include <QImageWriter>
#include <QPainter>

#include <filesystem>
#include <gmock/gmock.h>

namespace vellomir {

using testing::Contains;
namespace fs = std::filesystem;

namespace {

class ThumbnailProviderTest : public testing::Test {
protected:
    QString path(const char *name) { return QString::fromStdString((folder_ / name).string()); }

    /// The icon as drawn by a dialog.
    QImage drawn(const char *name) {
        return provider_.icon(QFileInfo(path(name))).pixmap(96, 96).toImage();
    }

    /// The icon of a file without a picture.
    QImage ordinary(const char *name) {
        return QFileIconProvider().icon(QFileInfo(path(name))).pixmap(96, 96).toImage();
    }

    void save(const char *name, const QSize &size, const char *format = "png",
              QImageIOHandler::Transformation transformation = {}) {
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::red);
        QPainter(&image).fillRect(image.width() / 2, 0, image.width(), image.height(), Qt::blue);
        QImageWriter writer(path(name), format);
        writer.setTransformation(transformation);
        ASSERT_TRUE(writer.write(image));
    }

    static void expectRedBesideBlue(const QImage &icon) {
        EXPECT_GT(icon.pixelColor(20, 48).red(), 200);
        EXPECT_LT(icon.pixelColor(20, 48).blue(), 60);
        EXPECT_GT(icon.pixelColor(76, 48).blue(), 200);
        EXPECT_LT(icon.pixelColor(76, 48).red(), 60);
    }

    test::TemporaryFolder folder_;
    ThumbnailProvider provider_;
};

TEST_F(ThumbnailProviderTest, ShowsPictureContents) {
    save("small.png", {10, 10});
    save("large.png", {1000, 1000});
    save("photo.JPG", {500, 500}, "jpeg");
    for (const char *const name : {"small.png", "large.png", "photo.JPG"})
        expectRedBesideBlue(drawn(name));
}

TEST_F(ThumbnailProviderTest, KeepsAspectRatio) {
    save("wide.png", {400, 100});
    const QImage wide = drawn("wide.png");
    expectRedBesideBlue(wide);
    EXPECT_EQ(wide.pixelColor(48, 20).alpha(), 0);
    EXPECT_EQ(wide.pixelColor(48, 76).alpha(), 0);
    save("line.png", {5000, 1});
    EXPECT_NE(drawn("line.png"), ordinary("line.png"));
}

TEST_F(ThumbnailProviderTest, OrientationIsApplied) {
    save("turned.jpg", {500, 500}, "jpeg", QImageIOHandler::TransformationRotate90);
    const QImage icon = drawn("turned.jpg");
    EXPECT_GT(icon.pixelColor(48, 20).red(), 200) << "turned clockwise, the left is above";
    EXPECT_GT(icon.pixelColor(48, 76).blue(), 200);
}

TEST_F(ThumbnailProviderTest, FormatIsDetectedByContents) {
    save("really-a-png.jpg", {100, 100});
    expectRedBesideBlue(drawn("really-a-png.jpg"));
}

TEST_F(ThumbnailProviderTest, OtherFilesHaveOrdinaryIcon) {
    test::writeFile(folder_ / "letter.png", "no picture");
    test::writeFile(folder_ / "letter.heic", "no picture");
    test::writeFile(folder_ / "empty.png", "");
    fs::create_directory(folder_ / "folder.png");
    save("picture.ipa", {100, 100});
    for (const char *const name :
         {"letter.png", "letter.heic", "empty.png", "folder.png", "picture.ipa", "missing.png"})
        EXPECT_EQ(drawn(name), ordinary(name)) << name;
}

TEST_F(ThumbnailProviderTest, LargeFilesHaveOrdinaryIcon) {
    save("huge.png", {100, 100});
    expectRedBesideBlue(drawn("huge.png"));
    fs::resize_file(folder_ / "huge.png", 64'000'001);
    EXPECT_EQ(drawn("huge.png"), ordinary("huge.png"));
}

TEST(PictureNames, MatchReadableFormats) {
    for (const char *const name : {"*.png", "*.jpg", "*.jpeg", "*.heic", "*.webp", "*.gif"})
        EXPECT_THAT(pictureNames(), Contains(QString::fromLatin1(name)));
}

} // namespace

} // namespace vellomir
