// The log on the main screen: its height, its scroll position, and how rows appear.

#include "tests/window/WindowFixture.h"

#include <QFontMetricsF>
#include <QWheelEvent>

namespace vellomir {

using test::distance;
using test::Drawing;
using test::colours::ground, test::colours::logPanel, test::colours::orange;
using testing::Contains;
using testing::Each;

namespace {

constexpr double mostHeight = 450;

class LogPanel : public test::WindowTest {
protected:
    explicit LogPanel(const QSize &size = {390, 844}) : WindowTest(size) {}

    QQuickItem &panel() { return item("logPanel"); }
    double number(const char *name) { return panel().property(name).toDouble(); }
    double end() { return number("contentHeight") - panel().height(); }

    /// Turns the wheel, upwards if positive, and processes the events.
    void turnWheel(int eighthsOfADegree) {
        const QPointF place = placeOf(panel()).center();
        QWheelEvent event(place, window().mapToGlobal(place), {}, QPoint(0, eighthsOfADegree),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        event.setTimestamp(wheelTime_ += 1000); // Milliseconds.
        QCoreApplication::sendEvent(&window(), &event);
        ASSERT_TRUE(becomes([this] { return !panel().property("moving").toBool(); }));
        settle();
    }

    void focusByKeyboard() {
        for (int tab = 0; tab < 20 && !panel().hasActiveFocus(); ++tab)
            key(Qt::Key_Tab);
        ASSERT_TRUE(panel().hasActiveFocus());
    }

private:
    quint64 wheelTime_ = 0;
};

class LogPanelOfTallWindow : public LogPanel {
protected:
    LogPanelOfTallWindow() : LogPanel({390, 2000}) {}
};

// --- Looks --------------------------------------------------------------------------------------

TEST_F(LogPanel, EmptyLogIsHidden) {
    EXPECT_FALSE(draw().hasInk(placeOf(panel()), ground));
}

TEST_F(LogPanel, LinesAreOrangeOnPanel) {
    appendLines(2);
    const QRectF place = placeOf(panel());
    const QRectF first = placeOf(text("Line 1"));
    const QRectF second = placeOf(text("Line 2"));
    EXPECT_EQ(first.topLeft() - place.topLeft(), QPointF(16, 16));
    EXPECT_EQ(second.left(), first.left());
    EXPECT_EQ(second.top() - first.bottom(), 8);
    EXPECT_EQ(text("Line 1").property("padding").toDouble(), 2);
    EXPECT_EQ(text("Line 1").property("font").value<QFont>().pixelSize(), 17);
    const Drawing drawing = draw();
    EXPECT_EQ(drawing.at(place.topLeft()), ground) << "the corner is round";
    EXPECT_EQ(drawing.at(place.topLeft() + QPointF(10, 1)), logPanel);
    EXPECT_EQ(drawing.at({place.left() + 1, second.center().y()}), logPanel);
    EXPECT_EQ(drawing.at({place.left() + 20, second.bottom() + 14}), logPanel);
    EXPECT_EQ(drawing.at({place.left() + 20, second.bottom() + 17}), ground);
    EXPECT_LT(distance(drawing.ink(first, logPanel), orange), 90);
}

TEST_F(LogPanel, MarkupInFileNamesIsPlainText) {
    const std::string line = "File selected: <b>A</b> & &lt;i>.ipa";
    view().filePicked(archive::URL::file("/picked/<b>A<%2Fb> & &lt;i>.ipa"));
    view().logMessages.append(line);
    settle();
    EXPECT_THAT(texts(), Contains("File selected: <b>A<%2Fb> & &lt;i>.ipa"));
    QQuickItem &row = text(line);
    const QFontMetricsF metrics(row.property("font").value<QFont>());
    EXPECT_NEAR(row.property("contentWidth").toDouble(),
                metrics.horizontalAdvance(QString::fromStdString(line)), 2);
}

TEST_F(LogPanel, EqualLinesAreShownTwice) {
    view().logMessages.replace({"Image picked", "icon.png updated", "Image picked"});
    settle();
    const auto shown = texts();
    EXPECT_EQ(std::count(shown.begin(), shown.end(), "Image picked"), 2);
}

// --- Height -------------------------------------------------------------------------------------

TEST_F(LogPanelOfTallWindow, HeightIsLimited) {
    for (int count = 0; count < 30; ++count) {
        appendLines(1);
        ASSERT_LE(panel().height(), mostHeight);
    }
    EXPECT_EQ(panel().height(), mostHeight);
    EXPECT_GT(number("contentHeight"), mostHeight);
    const QRectF place = placeOf(panel());
    const Drawing drawing = draw();
    EXPECT_EQ(drawing.at({place.left() + 4, place.bottom() - 20}), logPanel);
    EXPECT_EQ(drawing.at({place.left() + 4, place.bottom() + 1}), ground) << "it is not clipped";
    for (int line = 1; line <= 30; ++line)
        EXPECT_TRUE(showsText("Line " + std::to_string(line)));
}

TEST_F(LogPanelOfTallWindow, FooterStaysBelow) {
    appendLines(60);
    EXPECT_GE(placeOf(text("Made with ❤️ By Orsanta Team")).top(), placeOf(panel()).bottom());
}

// --- Scroll position ----------------------------------------------------------------------------

TEST_F(LogPanel, FollowsNewLinesAtEnd) {
    appendLines(40);
    EXPECT_GT(end(), 0);
    EXPECT_EQ(number("contentY"), end());
    appendLines(1);
    EXPECT_EQ(number("contentY"), end());
    EXPECT_LE(placeOf(text("Line 41")).bottom(), placeOf(panel()).bottom());
    resize({390, 700});
    EXPECT_EQ(number("contentY"), end());
    resize({390, 1000});
    EXPECT_EQ(number("contentY"), end());
}

TEST_F(LogPanel, WheelScrollingStopsFollowing) {
    appendLines(40);
    turnWheel(240);
    const double place = number("contentY");
    ASSERT_LT(place, end() - 10);
    appendLines(5);
    EXPECT_EQ(number("contentY"), place);
    for (int turn = 0; turn < 50 && number("contentY") < end(); ++turn)
        turnWheel(-960);
    EXPECT_EQ(number("contentY"), end());
    appendLines(5);
    EXPECT_EQ(number("contentY"), end()) << "back at its end, it follows it again";
}

TEST_F(LogPanel, KeyScrollingStopsFollowing) {
    appendLines(40);
    focusByKeyboard();
    key(Qt::Key_Up);
    key(Qt::Key_Up);
    const double place = number("contentY");
    ASSERT_LT(place, end() - 10);
    appendLines(5);
    EXPECT_EQ(number("contentY"), place);
    for (int press = 0; press < 50; ++press)
        key(Qt::Key_Down);
    EXPECT_EQ(number("contentY"), end());
    appendLines(5);
    EXPECT_EQ(number("contentY"), end());
}

TEST_F(LogPanel, TouchScrollingStopsFollowing) {
    appendLines(40);
    const QPointF from = placeOf(panel()).center();
    swipe(from, from + QPointF(0, 100));
    const double place = number("contentY");
    ASSERT_LT(place, end() - 10);
    appendLines(5);
    EXPECT_EQ(number("contentY"), place);
}

TEST_F(LogPanel, ClearedLogFollowsAgain) {
    appendLines(40);
    turnWheel(240);
    ASSERT_LT(number("contentY"), end() - 10);
    view().logMessages.replace({});
    settle();
    appendLines(40);
    EXPECT_EQ(number("contentY"), end());
}

// --- Appearing rows -----------------------------------------------------------------------------

/// Records all positions of each row since it was made.
class LogRows : public LogPanel {
protected:
    LogRows() {
        QObject::connect(state().logMessages(), &QAbstractItemModel::rowsInserted, &watcher_,
                         [this] { watchNew(); });
    }

    std::vector<std::vector<double>> places;

    [[nodiscard]] bool areAtRest() {
        return becomes([this] {
            return std::all_of(rows_.begin(), rows_.end(),
                               [](const QQuickItem *row) { return row->x() == 0; });
        });
    }

private:
    void watchNew() {
        for (QQuickItem *const row : items()) {
            const bool isRow = test::isText(*row) && row->property("padding").toDouble() == 2;
            if (!isRow || std::find(rows_.begin(), rows_.end(), row) != rows_.end())
                continue;
            rows_.push_back(row);
            const std::size_t index = places.size();
            places.push_back({row->x()});
            QObject::connect(row, &QQuickItem::xChanged, &watcher_,
                             [this, row, index] { places[index].push_back(row->x()); });
        }
    }

    QObject watcher_;
    std::vector<QQuickItem *> rows_;
};

TEST_F(LogRows, SlideInFromLeadingEdge) {
    app_->motion().setReduced(false);
    appendLines(1);
    ASSERT_EQ(places.size(), 1);
    ASSERT_TRUE(areAtRest());
    EXPECT_LE(places[0].front(), -placeOf(panel()).width());
    EXPECT_TRUE(std::is_sorted(places[0].begin(), places[0].end()));
    EXPECT_EQ(places[0].back(), 0);
    EXPECT_EQ(placeOf(text("Line 1")).left(), placeOf(panel()).left() + 16);
}

TEST_F(LogRows, RepeatedLinesDoNotSlideIn) {
    app_->motion().setReduced(false);
    view().logMessages.append("Image picked");
    view().logMessages.append("Image picked");
    settle();
    ASSERT_EQ(places.size(), 2);
    ASSERT_TRUE(areAtRest());
    EXPECT_GT(places[0].size(), 1);
    EXPECT_THAT(places[1], testing::ElementsAre(0));
}

TEST_F(LogRows, ReducedMotionDisablesSlidingIn) {
    appendLines(3);
    ASSERT_EQ(places.size(), 3);
    EXPECT_THAT(places, Each(testing::ElementsAre(0)));
}

} // namespace

} // namespace vellomir
