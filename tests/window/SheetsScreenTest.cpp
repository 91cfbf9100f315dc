// What the sheets show, and how they are left.

#include "tests/Vellomir/JobFixture.h"
#include "tests/window/WindowFixture.h"

#include <filesystem>

using test::distance;
using test::Drawing;
using test::textProperty;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

const QColor ground("#13131B");
const QColor field("#1D1E24");
const QColor orange("#FFA828");
const QColor red("#FF453A");
const QColor white("#FFFFFF");

// --- The about sheet ----------------------------------------------------------------------------

class TheAboutSheet : public test::WindowTest {
protected:
    TheAboutSheet() { click("infoButton"); }

    /// The texts of the sheet, from top to bottom.
    std::vector<std::string> sheetTexts() {
        std::vector<std::pair<double, std::string>> found;
        for (QQuickItem *const each : items())
            if (test::isText(*each) && overlay().isAncestorOf(each))
                found.emplace_back(placeOf(*each).top(), test::plainText(*each));
        std::sort(found.begin(), found.end());
        std::vector<std::string> texts;
        for (const auto &[top, content] : found)
            texts.push_back(content);
        return texts;
    }

    QQuickItem &overlay() {
        for (QQuickItem *const each : items())
            if (each->inherits("QQuickOverlay"))
                return *each;
        throw std::runtime_error("no sheet is open");
    }

    QQuickItem &sheetText(const std::string &content) {
        for (QQuickItem *const each : items())
            if (test::isText(*each) && overlay().isAncestorOf(each) &&
                test::plainText(*each) == content)
                return *each;
        throw std::runtime_error("the sheet does not show \"" + content + '"');
    }

    /// On the ground, blended with it.
    static QColor faded(const QColor &colour, double opacity) {
        const auto blend = [opacity](int front, int back) {
            return static_cast<int>(front * opacity + back * (1 - opacity));
        };
        return {blend(colour.red(), ground.red()), blend(colour.green(), ground.green()),
                blend(colour.blue(), ground.blue())};
    }

    void expectStyle(const std::string &content, int pixelSize, bool isBold, const QColor &ink) {
        QQuickItem &item = sheetText(content);
        const QFont font = item.property("font").value<QFont>();
        EXPECT_EQ(font.pixelSize(), pixelSize) << content;
        EXPECT_EQ(font.bold(), isBold) << content;
        EXPECT_EQ(item.property("horizontalAlignment").toInt(), Qt::AlignHCenter) << content;
        const QColor drawn = draw().ink(placeOf(item), ground);
        EXPECT_LT(distance(drawn, ink), 90) << content << " in " << drawn.name().toStdString();
    }
};

TEST_F(TheAboutSheet, ShowsItsTextsInOrder) {
    EXPECT_THAT(sheetTexts(),
                ElementsAre("Vellomir", "V2.0", "For TrollStore Only | ios 14 and up",
                            "Vellomir allows changing app icons and cloning by modifying app "
                            "bundles.",
                            "Orsanta Website", "Telegram Channel", "More Apps", "Donate", "Close"));
}

TEST_F(TheAboutSheet, SetsItsTextsInTheirStyles) {
    expectStyle("Vellomir", 28, true, white);
    expectStyle("V2.0", 17, true, faded(white, 0.4));
    expectStyle("For TrollStore Only | ios 14 and up", 17, true, faded(white, 0.7));
    expectStyle("Vellomir allows changing app icons and cloning by modifying app bundles.", 17,
                false, QColor("#8E8E93"));
}

TEST_F(TheAboutSheet, ShowsTheMarkAndADivider) {
    const QRectF name = placeOf(sheetText("Vellomir"));
    const double middle = window().width() / 2.0;
    const QRectF mark(middle - 50, name.top() - 8 - 5 - 100, 100, 100);
    ASSERT_TRUE(becomes([&] { return draw().hasInk(mark, ground); }));
    const double above =
        placeOf(sheetText("Vellomir allows changing app icons and cloning by modifying app "
                          "bundles."))
            .bottom();
    const double below = placeOf(sheetText("Orsanta Website")).top();
    const Drawing drawing = draw();
    int whiteLines = 0;
    for (double y = above; y < below; ++y)
        whiteLines += drawing.at({middle, y}) == white;
    EXPECT_EQ(whiteLines, 3);
}

TEST_F(TheAboutSheet, HandsEachAddressOverAsItIsStored) {
    for (const char *const title : {"Orsanta Website", "Telegram Channel", "More Apps", "Donate"})
        click(sheetText(title));
    EXPECT_THAT(desktop_.opened,
                ElementsAre("https://orsanta.example/", "https://telegram.orsanta.example/vellomir",
                            "https:orsanta.example/otherapps.html",
                            "https://donate.orsanta.example/invoice"));
    EXPECT_TRUE(view().showInfoSheet.get()) << "a link closes nothing";
}

TEST_F(TheAboutSheet, DoesNothingForATextThatIsNoAddress) {
    state().openLink(QStringLiteral("https://[no address"));
    state().openLink({});
    EXPECT_THAT(desktop_.opened, IsEmpty());
    EXPECT_FALSE(isShown("alertButton"));
}

TEST_F(TheAboutSheet, IsLeftByItsButtonByEscapeAndByAPressBesideIt) {
    const auto leave = {std::function<void()>([this] { click("closeButton"); }),
                        std::function<void()>([this] { key(Qt::Key_Escape); }),
                        std::function<void()>([this] { click(QPointF(195, 4)); })};
    for (const auto &way : leave) {
        ASSERT_TRUE(isShown("closeButton"));
        way();
        EXPECT_FALSE(view().showInfoSheet.get());
        EXPECT_FALSE(isShown("closeButton"));
        click("infoButton");
    }
}

TEST_F(TheAboutSheet, IsLeftByASwipeDownFromItsUpperEdge) {
    const QPoint from(195, 12 + 10);
    const auto swipe = [&](int distance) {
        QTest::mousePress(&window(), Qt::LeftButton, {}, from);
        for (int step = 1; step <= 10; ++step)
            QTest::mouseMove(&window(), from + QPoint(0, distance * step / 10));
        QTest::mouseRelease(&window(), Qt::LeftButton, {}, from + QPoint(0, distance));
        settle();
    };
    const QRectF place = placeOf(item("closeButton"));
    swipe(40);
    EXPECT_TRUE(view().showInfoSheet.get());
    EXPECT_EQ(placeOf(item("closeButton")), place) << "it does not spring back";
    swipe(200);
    EXPECT_FALSE(view().showInfoSheet.get());
}

TEST_F(TheAboutSheet, KeepsWhatLiesBehindItOutOfReach) {
    click("closeButton");
    const QPointF select = placeOf(item("selectButton")).center();
    click("infoButton");
    click(select);
    EXPECT_EQ(pickers_.documentDialogs, 0);
}

TEST_F(TheAboutSheet, SlidesUpWithMotion) {
    click("closeButton");
    app_->motion().setReduced(false);
    view().showInfoSheet.set(true);
    ASSERT_TRUE(becomes([this] { return isShown("closeButton"); }));
    QQuickItem &button = item("closeButton");
    ASSERT_TRUE(becomes([&] { return placeOf(button).bottom() <= window().height(); }));
    view().showInfoSheet.set(false);
    EXPECT_TRUE(becomes([this] { return !isShown("closeButton"); }));
}

// --- The cropper --------------------------------------------------------------------------------

/// A picture of one colour.
vellomir::Picture plain(int width, int height, const QColor &colour) {
    const std::size_t count =
        4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    const auto pixels = std::make_shared<std::vector<std::byte>>(count, std::byte{0xFF});
    for (std::size_t pixel = 0; pixel < count; pixel += 4) {
        (*pixels)[pixel] = static_cast<std::byte>(colour.red());
        (*pixels)[pixel + 1] = static_cast<std::byte>(colour.green());
        (*pixels)[pixel + 2] = static_cast<std::byte>(colour.blue());
    }
    return vellomir::Picture({.width = width,
                              .height = height,
                              .bytesPerRow = 4 * static_cast<std::size_t>(width),
                              .pixels = {pixels, pixels->data()}});
}

class TheCropper : public test::WindowTest {
protected:
    void open(int width, int height) {
        view().selectedImage.set(plain(width, height, picture_));
        settle();
        ASSERT_TRUE(isShown("preview"));
        const QRectF square = placeOf(item("preview"));
        ASSERT_TRUE(becomes([&] { return draw().at(square.center()) == picture_; }));
    }

    QRectF square() { return placeOf(item("preview")); }

    const QColor picture_{10, 200, 30};
};

TEST_F(TheCropper, ShowsASquareWithAWhiteOutline) {
    open(300, 300);
    EXPECT_EQ(square().width(), window().width());
    EXPECT_EQ(square().height(), square().width());
    const Drawing drawing = draw();
    const QRectF place = square();
    for (const double inset : {0.0, 1.0}) {
        EXPECT_EQ(drawing.at({place.left() + inset, place.center().y()}), white);
        EXPECT_EQ(drawing.at({place.right() - 1 - inset, place.center().y()}), white);
        EXPECT_EQ(drawing.at({place.center().x(), place.top() + inset}), white);
        EXPECT_EQ(drawing.at({place.center().x(), place.bottom() - 1 - inset}), white);
    }
    for (const QPointF &corner : {place.topLeft(), place.bottomRight() - QPointF(5, 5)})
        EXPECT_EQ(drawing.at(corner + QPointF(2, 2)), picture_);
}

TEST_F(TheCropper, ShowsTheWholeOfATallPictureBetweenBars) {
    open(100, 400);
    const Drawing drawing = draw();
    const QRectF place = square();
    const double half = place.width() / 8; // A quarter of the square is covered.
    EXPECT_EQ(drawing.at(place.center() - QPointF(half - 3, 0)), picture_);
    EXPECT_EQ(drawing.at(place.center() + QPointF(half - 3, 0)), picture_);
    EXPECT_EQ(drawing.at({place.center().x(), place.top() + 4}), picture_);
    EXPECT_EQ(drawing.at({place.center().x(), place.bottom() - 5}), picture_);
    for (const double bar : {-half - 3, half + 3})
        EXPECT_LT(distance(drawing.at(place.center() + QPointF(bar, 0)), Qt::black), 30);
}

TEST_F(TheCropper, ShowsTheWholeOfAWidePictureBetweenBars) {
    open(400, 100);
    const Drawing drawing = draw();
    const QRectF place = square();
    const double half = place.height() / 8;
    EXPECT_EQ(drawing.at(place.center() - QPointF(0, half - 3)), picture_);
    EXPECT_EQ(drawing.at(place.center() + QPointF(0, half - 3)), picture_);
    EXPECT_EQ(drawing.at({place.left() + 4, place.center().y()}), picture_);
    for (const double bar : {-half - 3, half + 3})
        EXPECT_LT(distance(drawing.at(place.center() + QPointF(0, bar)), Qt::black), 30);
}

TEST_F(TheCropper, KeepsThePictureWholeByUse) {
    open(30, 20);
    const auto before = view().selectedImage.get();
    click("useButton");
    EXPECT_FALSE(isShown("preview"));
    EXPECT_EQ(view().selectedImage.get(), before);
    EXPECT_TRUE(showsText("Remove selected image"));
}

TEST_F(TheCropper, CropsThePictureByZoomIt) {
    open(30, 20);
    EXPECT_EQ(textProperty(item("zoomButton"), "text"), "Zoom it");
    click("zoomButton");
    EXPECT_FALSE(isShown("preview"));
    EXPECT_FALSE(view().showImageCropper.get());
    const vellomir::Bitmap bitmap = view().selectedImage.get()->bitmap();
    EXPECT_EQ(bitmap.width, 20);
    EXPECT_EQ(bitmap.height, 20);
}

TEST_F(TheCropper, SharesItsRowBetweenTwoEqualButtons) {
    open(30, 20);
    const QRectF use = placeOf(item("useButton"));
    const QRectF zoom = placeOf(item("zoomButton"));
    EXPECT_EQ(use.left(), 25);
    EXPECT_EQ(zoom.right(), window().width() - 25);
    EXPECT_EQ(use.width(), zoom.width());
    EXPECT_EQ(use.top(), zoom.top());
    EXPECT_EQ(use.bottom(), window().height() - 25);
    const Drawing drawing = draw();
    EXPECT_EQ(drawing.at(use.topLeft() + QPointF(10, 1)), field);
    EXPECT_EQ(drawing.at(zoom.topLeft() + QPointF(10, 1)), field);
    EXPECT_NE(drawing.at(use.topLeft()), field);
}

TEST_F(TheCropper, KeepsThePictureWhenItIsLeftByEscape) {
    open(30, 20);
    key(Qt::Key_Escape);
    EXPECT_FALSE(isShown("preview"));
    EXPECT_FALSE(view().showImageCropper.get());
    EXPECT_TRUE(showsText("Remove selected image"));
    click("iconButton");
    open(20, 30);
    EXPECT_TRUE(isShown("preview")) << "the next picture opens it again";
}

// --- The share sheet ----------------------------------------------------------------------------

class TheShareSheet : public test::WindowTest {
protected:
    TheShareSheet() {
        test::writeFile(result_, std::string(2500, 'x'));
        view().selectedFileURL.set(folder_.url("Notes.ipa"));
        view().modifiedFileURL.set(folder_.url("Notes2.ipa"));
        view().showShareSheet.set(true);
        settle();
    }

    std::string message() { return textProperty(item("sharingMessage"), "text"); }
    QColor messageColour() { return item("sharingMessage").property("color").value<QColor>(); }

    void expectMessage(const std::string &content, const QColor &colour) {
        EXPECT_EQ(message(), content);
        EXPECT_EQ(messageColour(), colour);
        const QColor behind = ground;
        EXPECT_LT(distance(draw().ink(placeOf(item("sharingMessage")), behind), colour), 90);
    }

    const fs::path result_ = folder_ / "Notes2.ipa";
};

TEST_F(TheShareSheet, ShowsTheFileAndTheWays) {
    EXPECT_TRUE(showsText("Notes2.ipa"));
    EXPECT_TRUE(showsText("2.5 kB"));
    double last = 0;
    for (const char *const row : {"saveRow", "showRow", "copyRow", "dragRow", "doneButton"}) {
        EXPECT_GT(placeOf(item(row)).top(), last) << row;
        last = placeOf(item(row)).bottom();
    }
    EXPECT_EQ(message(), "");
}

TEST_F(TheShareSheet, SavesACopy) {
    click("saveRow");
    EXPECT_EQ(pickers_.offeredName, "Notes2.ipa");
    EXPECT_EQ(message(), "");
    pickers_.answerDestination(QUrl::fromLocalFile(file("copy.ipa")));
    const std::string said = "Saved as " + (folder_ / "copy.ipa").string();
    ASSERT_TRUE(becomes([&] { return message() == said; }));
    expectMessage(said, orange);
    EXPECT_EQ(test::readFile(folder_ / "copy.ipa"), test::readFile(result_));
    EXPECT_TRUE(isShown("saveRow")) << "saving closes nothing";
}

TEST_F(TheShareSheet, SavesNothingIfNoPlaceIsChosen) {
    click("saveRow");
    pickers_.cancelDestination();
    settle();
    EXPECT_EQ(message(), "");
    EXPECT_TRUE(item("saveRow").isEnabled());
}

TEST_F(TheShareSheet, TellsThatACopyCouldNotBeSaved) {
    click("saveRow");
    pickers_.answerDestination(QUrl::fromLocalFile(file("missing/copy.ipa")));
    ASSERT_TRUE(becomes(
        [this] { return textProperty(item("sharingMessage"), "text").starts_with("Could"); }));
    EXPECT_THAT(message(), StartsWith("Could not save " + (folder_ / "missing/copy.ipa").string()));
    expectMessage(message(), red);
    EXPECT_TRUE(item("saveRow").isEnabled()) << "one may try again";
    EXPECT_FALSE(fs::exists(folder_ / "missing"));
}

TEST_F(TheShareSheet, TellsThatAPlaceElsewhereIsOutOfReach) {
    click("saveRow");
    pickers_.answerDestination(QUrl(QStringLiteral("https://example.com/copy.ipa")));
    settle();
    EXPECT_THAT(message(), HasSubstr("https://example.com/copy.ipa"));
    expectMessage(message(), red);
}

TEST_F(TheShareSheet, SavesOneCopyAtATime) {
    std::vector<bool> enabled;
    QQuickItem &row = item("saveRow");
    QObject::connect(&row, &QQuickItem::enabledChanged, &window(),
                     [&] { enabled.push_back(row.isEnabled()); });
    click(row);
    pickers_.answerDestination(QUrl::fromLocalFile(file("copy.ipa")));
    ASSERT_TRUE(becomes([this] { return message().starts_with("Saved as"); }));
    EXPECT_THAT(enabled, ElementsAre(false, true));
    click(row);
    EXPECT_EQ(pickers_.destinationDialogs, 2);
}

TEST_F(TheShareSheet, ShowsTheFileInItsFolder) {
    click("showRow");
    EXPECT_THAT(desktop_.shown, ElementsAre(QString::fromStdString(result_.string())));
    expectMessage("Asked the file manager to show it", orange);
    desktop_.hasFileManager = false;
    click("showRow");
    EXPECT_THAT(message(), HasSubstr("The file is " + result_.string()));
    expectMessage(message(), red);
}

TEST_F(TheShareSheet, CopiesTheFile) {
    click("copyRow");
    EXPECT_THAT(desktop_.copied, ElementsAre(QString::fromStdString(result_.string())));
    expectMessage("Copied. Paste it before you close Vellomir", orange);
}

TEST_F(TheShareSheet, TellsWhatCameOfDragging) {
    QMetaObject::invokeMethod(&item("dragRow"), "dropped", Q_ARG(bool, true));
    settle();
    expectMessage("Handed over", orange);
    QMetaObject::invokeMethod(&item("dragRow"), "dropped", Q_ARG(bool, false));
    settle();
    expectMessage("Nothing took the file where you let it go", red);
}

TEST_F(TheShareSheet, ForgetsWhatHappenedWhenItOpensAgain) {
    click("copyRow");
    click("doneButton");
    view().showShareSheet.set(true);
    settle();
    EXPECT_EQ(message(), "");
}

TEST_F(TheShareSheet, KeepsBothFilesHoweverItIsLeft) {
    const auto leave = {std::function<void()>([this] { click("doneButton"); }),
                        std::function<void()>([this] { key(Qt::Key_Escape); }),
                        std::function<void()>([this] { click(QPointF(195, 4)); })};
    for (const auto &way : leave) {
        ASSERT_TRUE(isShown("doneButton"));
        way();
        EXPECT_FALSE(view().showShareSheet.get());
        EXPECT_FALSE(isShown("doneButton"));
        EXPECT_EQ(view().selectedFileURL.get(), folder_.url("Notes.ipa"));
        EXPECT_EQ(view().modifiedFileURL.get(), folder_.url("Notes2.ipa"));
        view().showShareSheet.set(true);
        settle();
    }
}

TEST_F(TheShareSheet, WithoutAResultIsLeftAllTheSame) {
    view().modifiedFileURL.set(std::nullopt);
    settle();
    key(Qt::Key_Escape);
    EXPECT_FALSE(view().showShareSheet.get());
    EXPECT_FALSE(isShown("doneButton"));
}

} // namespace
