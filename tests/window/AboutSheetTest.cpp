// The about sheet: its contents, and the ways to close it.

#include "tests/window/WindowFixture.h"

#include <algorithm>

namespace vellomir {

using test::distance;
using test::Drawing;
using test::colours::ground, test::colours::white;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class AboutSheet : public test::WindowTest {
protected:
    AboutSheet() { click("infoButton"); }

    /// The texts of the sheet, from top to bottom.
    std::vector<std::string> sheetTexts() {
        std::vector<std::pair<double, std::string>> found;
        for (QQuickItem *const each : items())
            if (test::isText(*each) && openPopup()->isAncestorOf(each))
                found.emplace_back(placeOf(*each).top(), test::plainText(*each));
        std::sort(found.begin(), found.end());
        std::vector<std::string> texts;
        for (const auto &[top, content] : found)
            texts.push_back(content);
        return texts;
    }

    QQuickItem &sheetText(const std::string &content) {
        for (QQuickItem *const each : items())
            if (test::isText(*each) && openPopup()->isAncestorOf(each) &&
                test::plainText(*each) == content)
                return *each;
        throw std::runtime_error("the sheet does not show \"" + content + '"');
    }

    /// The colour blended with the background.
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

TEST_F(AboutSheet, ShowsItsTextsInOrder) {
    EXPECT_THAT(sheetTexts(),
                ElementsAre("Vellomir", "V2.0", "For TrollStore Only | ios 14 and up",
                            "Vellomir allows changing app icons and cloning by modifying app "
                            "bundles.",
                            "Orsanta Website", "Telegram Channel", "More Apps", "Donate", "Close"));
}

TEST_F(AboutSheet, HeaderHasFlexibleSpace) {
    const auto space = [this] {
        return placeOf(sheetText("For TrollStore Only | ios 14 and up")).top() -
               placeOf(sheetText("V2.0")).bottom();
    };
    EXPECT_GT(space(), 24);
    EXPECT_LE(space(), 48) << "the header stays together";
    resize({390, 500});
    EXPECT_LE(space(), 16) << "it gives way first";
}

TEST_F(AboutSheet, TextsHaveTheirStyles) {
    expectStyle("Vellomir", 28, true, white);
    expectStyle("V2.0", 17, true, faded(white, 0.4));
    expectStyle("For TrollStore Only | ios 14 and up", 17, true, faded(white, 0.7));
    expectStyle("Vellomir allows changing app icons and cloning by modifying app bundles.", 17,
                false, QColor("#8E8E93"));
}

TEST_F(AboutSheet, ShowsSymbolAndDivider) {
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

TEST_F(AboutSheet, OpensEachLinkUnchanged) {
    for (const char *const title : {"Orsanta Website", "Telegram Channel", "More Apps", "Donate"})
        click(sheetText(title));
    EXPECT_THAT(desktop_.opened,
                ElementsAre("https://orsanta.example/", "https://telegram.orsanta.example/vellomir",
                            "https:orsanta.example/otherapps.html",
                            "https://donate.orsanta.example/invoice"));
    EXPECT_TRUE(view().showInfoSheet.get()) << "a link closes nothing";
}

TEST_F(AboutSheet, IgnoresInvalidURLs) {
    state().openLink(QStringLiteral("https://[no address"));
    state().openLink({});
    EXPECT_THAT(desktop_.opened, IsEmpty());
    EXPECT_FALSE(isShown("alertButton"));
}

TEST_F(AboutSheet, ClosesByButtonEscapeAndOutsidePress) {
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

TEST_F(AboutSheet, ReportsThatNoBrowserOpensALink) {
    desktop_.hasBrowser = false;
    state().openLink(QStringLiteral("https://orsanta.example/"));
    settle();
    EXPECT_EQ(state().alert(),
              "No browser opened the link. Its address is https://orsanta.example/");
    EXPECT_TRUE(isShown("alertButton"));
}

TEST_F(AboutSheet, ReportsNothingForInvalidURLs) {
    desktop_.hasBrowser = false;
    for (const char *const url : {"", "https://[no address"}) {
        state().openLink(QString::fromLatin1(url));
        EXPECT_EQ(state().alert(), "") << url;
    }
    EXPECT_TRUE(desktop_.opened.isEmpty());
}

TEST_F(AboutSheet, OpensScrolledToTop) {
    resize({320, 400});
    item("closeButton").forceActiveFocus(Qt::TabFocusReason);
    settle();
    const QQuickItem &page = pageOf(item("closeButton"));
    ASSERT_GT(page.property("contentY").toDouble(), 0);
    key(Qt::Key_Escape);
    view().showInfoSheet.set(true);
    settle();
    EXPECT_EQ(page.property("contentY").toDouble(), 0);
    EXPECT_FALSE(item("closeButton").hasActiveFocus());
}

TEST_F(AboutSheet, ClosesBySwipeDownFromUpperEdge) {
    const QPointF from(195, 12 + 10);
    const QRectF place = placeOf(item("closeButton"));
    drag(from, from + QPointF(0, 40));
    EXPECT_TRUE(view().showInfoSheet.get());
    EXPECT_EQ(placeOf(item("closeButton")), place) << "it does not spring back";
    drag(from, from + QPointF(0, 200));
    EXPECT_FALSE(view().showInfoSheet.get());
}

TEST_F(AboutSheet, BlocksMainScreen) {
    click("closeButton");
    const QPointF select = placeOf(item("selectButton")).center();
    const QSignalSpy clicks = clicksOf("selectButton");
    click("infoButton");
    click(select);
    EXPECT_EQ(clicks.count(), 0);
}

TEST_F(AboutSheet, SlidesUpWithMotion) {
    click("closeButton");
    app_->motion().setReduced(false);
    view().showInfoSheet.set(true);
    ASSERT_TRUE(becomes([this] { return isShown("closeButton"); }));
    QQuickItem &button = item("closeButton");
    ASSERT_TRUE(becomes([&] { return placeOf(button).bottom() <= window().height(); }));
    view().showInfoSheet.set(false);
    EXPECT_TRUE(becomes([this] { return !isShown("closeButton"); }));
}

} // namespace

} // namespace vellomir
