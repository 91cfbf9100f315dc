// The main screen: its contents and its controls.

#include "tests/Job/Packages.h"
#include "tests/window/WindowFixture.h"

#include <QClipboard>
#include <QGuiApplication>

namespace vellomir {

using test::distance;
using test::Drawing;
using test::textProperty;
using test::colours::field, test::colours::grey, test::colours::ground, test::colours::orange,
    test::colours::red, test::colours::white;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr double padding = 16;
constexpr double radius = 10;

const std::string footer = "Made with ❤️ By Orsanta Team";

class MainScreen : public test::WindowTest {
protected:
    QRectF place(const char *objectName) { return placeOf(item(objectName)); }
    QRectF placeOfText(const std::string &content) { return placeOf(text(content)); }

    void expectFont(const std::string &content, int pixelSize, QFont::Weight weight) {
        const QFont font = text(content).property("font").value<QFont>();
        EXPECT_EQ(font.pixelSize(), pixelSize) << content;
        EXPECT_EQ(font.weight(), weight) << content;
    }

    void expectInk(const std::string &content, const QColor &ink, const QColor &behind = ground) {
        constexpr int blend = 90; // A thin line may not cover a pixel completely.
        const QColor drawn = draw().ink(placeOfText(content), behind);
        EXPECT_LT(distance(drawn, ink), blend) << content << " in " << drawn.name().toStdString();
    }

    /// The item has this colour and round corners.
    void expectFilled(const char *objectName, const QColor &colour) {
        const Drawing drawing = draw();
        const QRectF box = place(objectName);
        const QPointF corners[] = {box.topLeft(), box.topRight() - QPointF(1, 0),
                                   box.bottomLeft() - QPointF(0, 1),
                                   box.bottomRight() - QPointF(1, 1)};
        for (const QPointF &corner : corners)
            EXPECT_EQ(drawing.at(corner), ground) << objectName;
        EXPECT_EQ(drawing.at({box.left() + 1, box.center().y()}), colour) << objectName;
        EXPECT_EQ(drawing.at(box.topLeft() + QPointF(radius, 1)), colour) << objectName;
    }

    std::string number() { return view().duplicationNumber.get(); }
    bool fieldHasFocus() { return item("duplicationNumber").hasActiveFocus(); }
};

// --- Contents -----------------------------------------------------------------------------------

TEST_F(MainScreen, ShowsItsTextsInOrder) {
    EXPECT_THAT(texts(), ElementsAre("Vellomir", "Easily modify your IPA files", "Select IPA File",
                                     "Modify App's Information", "Duplication Number",
                                     "Change icon", "Do it", footer));
}

TEST_F(MainScreen, TextsHaveTheirStyles) {
    expectFont("Vellomir", 34, QFont::Bold);
    expectFont("Easily modify your IPA files", 15, QFont::Normal);
    for (const char *const headline :
         {"Select IPA File", "Modify App's Information", "Change icon", "Do it"})
        expectFont(headline, 17, QFont::DemiBold);
    expectFont("Duplication Number", 17, QFont::Normal);
    expectFont(footer, 13, QFont::Normal);
}

TEST_F(MainScreen, TextsHaveTheirColours) {
    expectInk("Vellomir", white);
    expectInk("Easily modify your IPA files", grey);
    expectInk("Modify App's Information", white);
    for (const char *const label : {"Select IPA File", "Change icon", "Do it"})
        expectInk(label, white, field);
    expectInk("Duplication Number", grey, field);
}

TEST_F(MainScreen, ContentsAreCentred) {
    const double middle = window().width() / 2.0;
    for (const std::string &content : texts())
        EXPECT_NEAR(placeOfText(content).center().x(), middle, 1) << content;
    for (const char *const each : {"selectButton", "duplicationNumber", "iconButton", "runButton"})
        EXPECT_NEAR(place(each).center().x(), middle, 1) << each;
}

TEST_F(MainScreen, DistancesAreAsDesigned) {
    EXPECT_EQ(placeOfText("Vellomir").top(), padding);
    EXPECT_EQ(place("selectButton").left(), padding);
    EXPECT_EQ(place("selectButton").right(), window().width() - padding);
    for (const char *const each : {"duplicationNumber", "iconButton", "runButton"}) {
        EXPECT_EQ(place(each).left(), 2 * padding) << each;
        EXPECT_EQ(place(each).right(), window().width() - 2 * padding) << each;
    }
    EXPECT_EQ(place("duplicationNumber").height(), 22 + 2 * padding);
    EXPECT_EQ(place("duplicationNumber").top() - placeOfText("Modify App's Information").bottom(),
              20);
    EXPECT_EQ(place("iconButton").top() - place("duplicationNumber").bottom(), 20);
    EXPECT_EQ(place("runButton").top() - place("iconButton").bottom(), 20);
    EXPECT_EQ(place("selectButton").height(),
              placeOfText("Select IPA File").height() + 2 * padding);
    EXPECT_EQ(place("runButton").height(), place("selectButton").height());
}

TEST_F(MainScreen, ButtonsAndFieldAreFilled) {
    for (const char *const each : {"selectButton", "duplicationNumber", "iconButton", "runButton"})
        expectFilled(each, field);
    EXPECT_EQ(draw().at({1, 1}), ground);
    EXPECT_EQ(draw().at({window().width() - 1.0, window().height() - 1.0}), ground);
    EXPECT_EQ(draw().at({2 * padding - 8, place("runButton").center().y()}), ground);
}

TEST_F(MainScreen, InfoSymbolIsWhiteAndBelowTitleCentre) {
    const QRectF title = placeOfText("Vellomir");
    const QRectF button = place("infoButton");
    EXPECT_EQ(button.center().y(), title.center().y() + 3);
    const QRectF symbol(button.center() - QPointF(11, 11), QSizeF(22, 22));
    EXPECT_EQ(symbol.right(), window().width() - 2 * padding);
    const Drawing drawing = draw();
    EXPECT_LT(distance(drawing.ink(symbol, ground), white), 30);
    EXPECT_FALSE(drawing.hasInk(QRectF(button.topLeft(), symbol.bottomLeft()), ground));
}

TEST_F(MainScreen, FooterIsGreyWithRedHeart) {
    const QRectF place = placeOfText(footer);
    EXPECT_EQ(place.bottom(), window().height() - padding);
    EXPECT_EQ(place.height(), text(footer).property("contentHeight").toDouble() + 2 * padding);
    const Drawing drawing = draw();
    const QRectF words(place.left(), place.top(), place.width() / 3, place.height());
    EXPECT_LT(distance(drawing.ink(words, ground), grey), 90);
    int redPlaces = 0;
    for (double y = place.top(); y < place.bottom(); ++y)
        for (double x = place.left(); x < place.right(); ++x) {
            const QColor drawn = drawing.at({x, y});
            redPlaces += drawn.red() > 180 && drawn.green() < 110 && drawn.blue() < 110;
        }
    EXPECT_GT(redPlaces, 10);
}

TEST_F(MainScreen, SelectedFileIsNotDrawn) {
    const Drawing before = draw();
    view().selectedFileURL.set(archive::URL::file("/picked/Notes.ipa"));
    EXPECT_EQ(draw(), before);
}

TEST_F(MainScreen, IsAlwaysDark) {
    const QPalette dark = QGuiApplication::palette();
    QGuiApplication::setPalette(QPalette(Qt::white));
    EXPECT_EQ(draw().at({1, 1}), ground);
    expectInk("Vellomir", white);
    QGuiApplication::setPalette(dark);
}

// --- The header ---------------------------------------------------------------------------------

TEST_F(MainScreen, SelectButtonOpensDocumentPicker) {
    click("selectButton");
    waitForDocumentDialog();
}

TEST_F(MainScreen, SelectButtonIsDisabledDuringJob) {
    item("selectButton").forceActiveFocus(Qt::TabFocusReason);
    const QSignalSpy clicks = clicksOf("selectButton");
    view().isLoading.set(true);
    settle();
    EXPECT_FALSE(item("selectButton").isEnabled());
    click("selectButton");
    key(Qt::Key_Space);
    key(Qt::Key_Return);
    EXPECT_EQ(clicks.count(), 0);
    view().isLoading.set(false);
    settle();
    click("selectButton");
    waitForDocumentDialog();
}

TEST_F(MainScreen, InfoButtonOpensAboutSheet) {
    click("infoButton");
    EXPECT_TRUE(view().showInfoSheet.get());
    EXPECT_TRUE(showsText("For TrollStore Only | ios 14 and up"));
}

TEST_F(MainScreen, AlertBlocksMainScreen) {
    const QPointF place = placeOf(item("selectButton")).center();
    const QSignalSpy clicks = clicksOf("selectButton");
    state().setAlert(QStringLiteral("letter.txt is no picture."));
    settle();
    click(place);
    EXPECT_EQ(clicks.count(), 0);
    EXPECT_TRUE(isShown("alertButton")) << "it must be read";
    click("alertButton");
    click(place);
    EXPECT_EQ(clicks.count(), 1);
}

// --- The form -----------------------------------------------------------------------------------

TEST_F(MainScreen, IconButtonOpensPicturePicker) {
    click("iconButton");
    EXPECT_TRUE(view().showImagePicker.get());
    EXPECT_EQ(pickers_.pictureDialogs, 1);
    pickers_.cancelPicture();
    settle();
    EXPECT_FALSE(view().showImagePicker.get());
    click("iconButton");
    EXPECT_EQ(pickers_.pictureDialogs, 2);
}

TEST_F(MainScreen, RedButtonRemovesIcon) {
    view().selectedImage.set(test::dot());
    settle();
    view().showImageCropper.set(false);
    settle();
    EXPECT_TRUE(showsText("Remove selected image"));
    EXPECT_FALSE(showsText("Change icon"));
    expectFilled("iconButton", red);
    expectInk("Remove selected image", white, red);
    click("iconButton");
    EXPECT_EQ(view().selectedImage.get(), std::nullopt);
    EXPECT_TRUE(showsText("Change icon"));
    EXPECT_FALSE(showsText("Remove selected image"));
    expectFilled("iconButton", field);
    EXPECT_EQ(pickers_.pictureDialogs, 0);
    EXPECT_FALSE(isShown("zoomButton"));
}

TEST_F(MainScreen, RunButtonShowsSpinnerDuringJob) {
    EXPECT_FALSE(isShown("spinner"));
    view().isLoading.set(true);
    settle();
    EXPECT_FALSE(showsText("Do it"));
    expectFont("Doing Magic...", 17, QFont::DemiBold);
    expectFilled("runButton", orange);
    expectInk("Doing Magic...", white, orange);
    EXPECT_NEAR(placeOfText("Doing Magic...").left() - place("spinner").right(), 5, 0.01);
    EXPECT_TRUE(draw().hasInk(place("spinner"), orange));
    const QRectF row = place("spinner").united(placeOfText("Doing Magic..."));
    EXPECT_NEAR(row.center().x(), place("runButton").center().x(), 1);
    view().isLoading.set(false);
    settle();
    EXPECT_TRUE(showsText("Do it"));
    EXPECT_FALSE(isShown("spinner"));
    expectFilled("runButton", field);
}

TEST_F(MainScreen, NumberFieldAcceptsOnlyTypedDigits) {
    click("duplicationNumber");
    type("1");
    EXPECT_EQ(number(), "1");
    type("2");
    EXPECT_EQ(number(), "12");
    type("a-. Z");
    EXPECT_EQ(number(), "12");
    key(Qt::Key_Left);
    type("0");
    EXPECT_EQ(number(), "102");
    key(Qt::Key_Backspace);
    EXPECT_EQ(number(), "12");
    EXPECT_FALSE(showsText("Duplication Number"));
}

TEST_F(MainScreen, PastedTextIsUnchanged) {
    click("duplicationNumber");
    QGuiApplication::clipboard()->setText(QStringLiteral("a <b>7</b> ü"));
    key(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(number(), "a <b>7</b> ü");
    EXPECT_EQ(textProperty(item("duplicationNumber"), "text"), "a <b>7</b> ü");
}

TEST_F(MainScreen, NumberFieldShowsState) {
    view().duplicationNumber.set("42");
    settle();
    EXPECT_EQ(textProperty(item("duplicationNumber"), "text"), "42");
    EXPECT_FALSE(showsText("Duplication Number"));
    expectFilled("duplicationNumber", field);
    const QRectF inside = place("duplicationNumber").adjusted(radius, radius, -radius, -radius);
    EXPECT_LT(distance(draw().ink(inside, field), white), 90);
    click("duplicationNumber");
    type("7");
    view().duplicationNumber.set({});
    settle();
    EXPECT_EQ(textProperty(item("duplicationNumber"), "text"), "") << "typing cut the binding";
    EXPECT_TRUE(showsText("Duplication Number"));
}

TEST_F(MainScreen, PressElsewhereEndsEditing) {
    const QPointF elsewhere[] = {
        placeOfText("Vellomir").center(),
        placeOfText("Modify App's Information").center(),
        QPointF(place("iconButton").left() - 8, place("iconButton").center().y()),
        placeOfText(footer).center(),
        QPointF(2, 2),
    };
    for (const QPointF &point : elsewhere) {
        click("duplicationNumber");
        ASSERT_TRUE(fieldHasFocus());
        click(point);
        EXPECT_FALSE(fieldHasFocus()) << point.x() << ' ' << point.y();
    }
}

TEST_F(MainScreen, PressOnLogEndsEditingAlsoDuringJob) {
    view().logMessages.append("Unzipping IPA...");
    view().isLoading.set(true);
    settle();
    const QPointF elsewhere[] = {placeOfText("Unzipping IPA...").center(), QPointF(2, 2)};
    for (const QPointF &point : elsewhere) {
        click("duplicationNumber");
        ASSERT_TRUE(fieldHasFocus());
        click(point);
        EXPECT_FALSE(fieldHasFocus()) << point.x() << ' ' << point.y();
    }
}

TEST_F(MainScreen, StartingJobEndsEditing) {
    click("duplicationNumber");
    click("runButton");
    EXPECT_FALSE(fieldHasFocus());
    ASSERT_TRUE(becomes([this] { return !view().isLoading.get(); }));
}

} // namespace

} // namespace vellomir
