// Layout in small windows: no item is cut off or overlaps another.

#include "tests/window/WindowFixture.h"

#include "Vellomir/Window/Fonts.h"
#include "tests/Job/Packages.h"

namespace vellomir {

using test::isText;
using test::plainText;

namespace {

const QSize sizes[] = {{320, 568}, {390, 844}, {1200, 900}};

const std::string longName = "A package with rather a long name that no line of a window can hold";

class WindowLayout : public test::WindowTest {
protected:
    /// The visible part of the text, without its padding.
    static QRectF drawn(const QQuickItem &text) {
        QRectF place = laidOut(text);
        for (const QQuickItem *above = text.parentItem(); above != nullptr;
             above = above->parentItem())
            if (above->clip())
                place &= placeOf(*above);
        return place;
    }

    static QRectF laidOut(const QQuickItem &text) {
        const QRectF box = placeOf(text);
        const double width = text.property("contentWidth").toDouble();
        const double height = text.property("contentHeight").toDouble();
        if (text.property("horizontalAlignment").toInt() == Qt::AlignHCenter)
            return {box.center().x() - width / 2, box.center().y() - height / 2, width, height};
        return {box.left(), box.center().y() - height / 2, width, height};
    }

    /// The texts of the open sheet or alert, else of the main screen: items behind an open sheet
    /// may be hidden.
    std::vector<QQuickItem *> frontTexts() {
        std::vector<QQuickItem *> front;
        for (QQuickItem *const each : items())
            if (isText(*each) && !plainText(*each).empty() && isInFront(*each))
                front.push_back(each);
        return front;
    }

    void expectToFit(const char *state, bool mayElide = false) {
        SCOPED_TRACE(state);
        settle();
        const auto all = frontTexts();
        ASSERT_FALSE(all.empty());
        for (const QQuickItem *const each : all) {
            EXPECT_TRUE(mayElide || !each->property("truncated").toBool()) << plainText(*each);
            EXPECT_GE(laidOut(*each).left(), 0) << plainText(*each);
            EXPECT_LE(laidOut(*each).right(), window().width()) << plainText(*each);
            EXPECT_LE(each->property("contentHeight").toDouble(), each->height() + 1)
                << plainText(*each);
        }
        for (std::size_t one = 0; one < all.size(); ++one)
            for (std::size_t other = one + 1; other < all.size(); ++other)
                EXPECT_FALSE(drawn(*all[one]).intersects(drawn(*all[other])))
                    << plainText(*all[one]) << " and " << plainText(*all[other]);
    }

    /// Enters a state in each size and checks the layout.
    void expectToFitInAllSizes(const char *state, bool mayElide = false) {
        for (const QSize &size : sizes) {
            SCOPED_TRACE(std::to_string(size.width()));
            resize(size);
            expectToFit(state, mayElide);
        }
    }

private:
    bool isInFront(const QQuickItem &item) {
        const QQuickItem *const popup = openPopup();
        return popup == nullptr || popup->isAncestorOf(&item);
    }
};

TEST_F(WindowLayout, UsesGivenScale) {
    const int scale = qEnvironmentVariableIsSet("QT_SCALE_FACTOR")
                          ? qEnvironmentVariableIntValue("QT_SCALE_FACTOR")
                          : 1;
    EXPECT_EQ(window().effectiveDevicePixelRatio(), scale);
    EXPECT_EQ(window().grabWindow().width(), window().width() * scale);
}

TEST_F(WindowLayout, HasMinimumWidth) {
    EXPECT_EQ(window().minimumWidth(), 320);
}

TEST_F(WindowLayout, FitsMainScreen) {
    expectToFitInAllSizes("at the start");
    view().isLoading.set(true);
    view().selectedImage.set(test::dot());
    settle();
    view().showImageCropper.set(false);
    expectToFitInAllSizes("running");
}

TEST_F(WindowLayout, FitsTitleBesideInfoButton) {
    for (const QSize &size : sizes) {
        resize(size);
        EXPECT_LT(drawn(text("Vellomir")).right(), placeOf(item("infoButton")).left());
    }
}

TEST_F(WindowLayout, FitsLongLines) {
    view().logMessages.append("File selected: " + longName + ".ipa");
    view().logMessages.append("Error: " + std::string(200, 'x'));
    view().duplicationNumber.set("2");
    expectToFitInAllSizes("with a long log");
}

TEST_F(WindowLayout, EverythingCanBeScrolledIntoView) {
    resize({320, 400});
    appendLines(30);
    const QQuickItem &page = pageOf(item("selectButton"));
    const QRectF footer = placeOf(text("Made with ❤️ By Orsanta Team"));
    EXPECT_TRUE(page.property("interactive").toBool());
    EXPECT_LE(footer.bottom(), page.property("contentHeight").toDouble());
    EXPECT_GT(item("logPanel").height(), 100) << "the log can be read";
}

TEST_F(WindowLayout, EmptyLogNeedsNoScrolling) {
    resize({320, 568});
    EXPECT_LE(placeOf(text("Made with ❤️ By Orsanta Team")).bottom(), window().height());
}

TEST_F(WindowLayout, FitsAboutSheet) {
    click("infoButton");
    expectToFitInAllSizes("about sheet");
}

TEST_F(WindowLayout, FitsShareSheet) {
    openShareSheet(longName + ".ipa");
    click("copyRow");
    expectToFitInAllSizes("share sheet", true);
    for (QQuickItem *const each : frontTexts())
        EXPECT_TRUE(!each->property("truncated").toBool() || plainText(*each) == longName + ".ipa")
            << plainText(*each);
}

TEST_F(WindowLayout, FitsCropper) {
    view().selectedImage.set(test::dot());
    expectToFitInAllSizes("cropper");
    for (const QSize &size : sizes) {
        resize(size);
        EXPECT_LE(placeOf(item("preview")).bottom(), placeOf(item("useButton")).top());
        EXPECT_LE(placeOf(item("useButton")).right(), placeOf(item("zoomButton")).left());
        EXPECT_LE(placeOf(item("zoomButton")).bottom(), window().height());
    }
}

TEST_F(WindowLayout, FitsLargeText) {
    view().logMessages.append("File selected: Notes.ipa");
    for (const double scale : {1.5, 2.0}) {
        SCOPED_TRACE(scale);
        app_->fonts().setScale(scale);
        view().showInfoSheet.set(false);
        expectToFitInAllSizes("main screen");
        for (const QSize &size : sizes) {
            resize(size);
            EXPECT_LE(drawn(text("Vellomir")).right(), placeOf(item("infoButton")).left());
        }
        view().showInfoSheet.set(true);
        expectToFitInAllSizes("about sheet");
    }
}

TEST_F(WindowLayout, FitsAlert) {
    state().setAlert(QString::fromStdString(longName + ": This is no picture of a known kind"));
    expectToFitInAllSizes("alert");
}

} // namespace

} // namespace vellomir
