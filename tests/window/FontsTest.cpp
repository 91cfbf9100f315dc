// Shaping and size of texts.

#include "Vellomir/Window/Fonts.h"

#include "tests/window/WindowFixture.h"

#include <QDBusVariant>
#include <QFontMetricsF>

namespace vellomir {

namespace {

bool isShaped(const QFont &font) {
    return (font.styleStrategy() & QFont::PreferNoShaping) == 0;
}

QFont fontOf(const QQuickItem &item) {
    return item.property("font").value<QFont>();
}

QFont sized(double points) {
    QFont font;
    font.setPointSizeF(points);
    return font;
}

// --- Shaping ------------------------------------------------------------------------------------

TEST(FontsForText, PlainAsciiIsNotShaped) {
    for (const char *const text : {"", "AppIcon60x60@2x.png", "a -> b", "\x7f\t ~"})
        EXPECT_FALSE(isShaped(Fonts::forText({}, QString::fromUtf8(text)))) << text;
}

TEST(FontsForText, OtherTextIsShaped) {
    for (const char *const text :
         {"مرحبا.ipa", "é.ipa", "e\u0301.ipa", "🇩🇪", "👩🏽‍🚀", "ﬁ"})
        EXPECT_TRUE(isShaped(Fonts::forText({}, QString::fromUtf8(text)))) << text;
}

TEST(FontsForText, OtherFontPropertiesAreKept) {
    QFont font(QStringLiteral("Inter"));
    font.setPixelSize(17);
    font.setWeight(QFont::DemiBold);
    for (const char *const text : {"a", "é"}) {
        const QFont fitting = Fonts::forText(font, QString::fromUtf8(text));
        EXPECT_EQ(fitting.family(), font.family());
        EXPECT_EQ(fitting.pixelSize(), 17);
        EXPECT_EQ(fitting.weight(), QFont::DemiBold);
    }
}

using TextShaping = test::WindowTest;

TEST_F(TextShaping, AppliesToLog) {
    view().logMessages.append("AppIcon60x60@2x.png updated");
    view().logMessages.append("File selected: مرحبا.ipa");
    settle();
    EXPECT_FALSE(isShaped(fontOf(text("AppIcon60x60@2x.png updated"))));
    EXPECT_TRUE(isShaped(fontOf(text("File selected: مرحبا.ipa"))));
}

TEST_F(TextShaping, AppliesToNumberField) {
    view().duplicationNumber.set("60x60");
    settle();
    EXPECT_FALSE(isShaped(fontOf(item("duplicationNumber"))));
    view().duplicationNumber.set("👩🏽‍🚀");
    settle();
    EXPECT_TRUE(isShaped(fontOf(item("duplicationNumber"))));
}

TEST_F(TextShaping, AppliesToAlert) {
    const std::string message = "This is no picture of a known kind: صورة.txt";
    state().setAlert(QString::fromStdString(message));
    settle();
    EXPECT_TRUE(isShaped(fontOf(text(message))));
}

TEST_F(TextShaping, JoinsArabicLetters) {
    const std::string line = "ععععع";
    view().logMessages.append(line);
    settle();
    QFont apart = fontOf(text(line));
    apart.setStyleStrategy(QFont::PreferNoShaping);
    const double unshaped = QFontMetricsF(apart).horizontalAdvance(QString::fromStdString(line));
    const double shown = text(line).property("contentWidth").toDouble();
    if (unshaped == 5 * QFontMetricsF(apart).horizontalAdvance(QStringLiteral("x")))
        GTEST_SKIP() << "there is no font with Arabic letters";
    EXPECT_NE(shown, unshaped);
}

// --- Sizes --------------------------------------------------------------------------------------

TEST(TextScale, IsOneForUsualSystemFonts) {
    for (const double points : {9.0, 10.0, 10.5, 11.0})
        EXPECT_DOUBLE_EQ(Fonts::scaleOf(sized(points), 96), 1) << points;
}

TEST(TextScale, GrowsWithSystemFontAndResolution) {
    EXPECT_DOUBLE_EQ(Fonts::scaleOf(sized(22), 96), 2);
    EXPECT_DOUBLE_EQ(Fonts::scaleOf(sized(11), 144), 1.5);
    EXPECT_DOUBLE_EQ(Fonts::scaleOf(sized(6), 96), 2.0 / 3);
    QFont font;
    font.setPixelSize(44);
    EXPECT_DOUBLE_EQ(Fonts::scaleOf(font, 96), 3);
}

TEST(TextScale, IsClamped) {
    Fonts fonts;
    for (const auto &[wanted, scale] : {std::pair(0.1, 0.5), {100.0, 3.0}, {1.25, 1.25}}) {
        fonts.setScale(wanted);
        EXPECT_DOUBLE_EQ(fonts.scale(), scale);
    }
    fonts.setScale(std::numeric_limits<double>::quiet_NaN());
    EXPECT_DOUBLE_EQ(fonts.scale(), 1.25);
}

TEST(TextScale, FollowsEnvironmentVariable) {
    Fonts fonts;
    qputenv("VELLOMIR_TEXT_SCALE", "1.5");
    fonts.followSystem();
    EXPECT_DOUBLE_EQ(fonts.scale(), 1.5);
    qputenv("VELLOMIR_TEXT_SCALE", "large");
    fonts.followSystem();
    EXPECT_DOUBLE_EQ(fonts.scale(), 1);
    qunsetenv("VELLOMIR_TEXT_SCALE");
}

TEST(TextScale, FollowsDesktopSetting) {
    Fonts fonts;
    const auto notify = [&fonts](const char *group, const char *key, double value) {
        ASSERT_TRUE(QMetaObject::invokeMethod(
            &fonts, "readSetting", Q_ARG(QString, QString::fromLatin1(group)),
            Q_ARG(QString, QString::fromLatin1(key)), Q_ARG(QDBusVariant, QDBusVariant(value))));
    };
    notify("org.gnome.desktop.interface", "text-scaling-factor", 1.25);
    EXPECT_DOUBLE_EQ(fonts.scale(), 1.25);
    notify("org.gnome.desktop.interface", "cursor-size", 24);
    EXPECT_DOUBLE_EQ(fonts.scale(), 1.25);
}

TEST_F(TextShaping, TextGrowsWithTextScale) {
    view().logMessages.append("Unzipping IPA...");
    settle();
    const double field = item("duplicationNumber").height();
    app_->fonts().setScale(1.5);
    settle();
    EXPECT_EQ(fontOf(text("Vellomir")).pixelSize(), 51);
    EXPECT_EQ(fontOf(text("Do it")).pixelSize(), 26);
    EXPECT_EQ(fontOf(text("Unzipping IPA...")).pixelSize(), 26);
    EXPECT_EQ(item("duplicationNumber").height(), field + 11);
    app_->fonts().setScale(1);
    settle();
    EXPECT_EQ(fontOf(text("Vellomir")).pixelSize(), 34);
}

} // namespace

} // namespace vellomir
