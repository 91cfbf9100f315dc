#include "Vellomir/Window/Motion.h"

#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vellomir {

namespace {

/// Without a session bus, and with settings of its own.
class MotionSetting : public testing::Test {
protected:
    MotionSetting() {
        qunsetenv("VELLOMIR_REDUCED_MOTION");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(folder_.path().string()));
        QObject::connect(&motion_, &Motion::isReducedChanged, &motion_, [this] { ++changes_; });
    }

    ~MotionSetting() override { qunsetenv("VELLOMIR_REDUCED_MOTION"); }

    /// Simulates the desktop's notification of a setting.
    void notify(const char *group, const char *key, const QVariant &value) {
        ASSERT_TRUE(QMetaObject::invokeMethod(
            &motion_, "readSetting", Q_ARG(QString, QString::fromLatin1(group)),
            Q_ARG(QString, QString::fromLatin1(key)), Q_ARG(QDBusVariant, QDBusVariant(value))));
    }

    test::TemporaryFolder folder_;
    Motion motion_;
    int changes_ = 0;
};

TEST_F(MotionSetting, IsFullByDefault) {
    EXPECT_FALSE(motion_.isReduced());
    motion_.followSystem();
    EXPECT_FALSE(motion_.isReduced());
    EXPECT_EQ(changes_, 0);
}

TEST_F(MotionSetting, EachChangeIsSignalledOnce) {
    motion_.setReduced(true);
    motion_.setReduced(true);
    EXPECT_EQ(changes_, 1);
    motion_.setReduced(false);
    EXPECT_EQ(changes_, 2);
}

TEST_F(MotionSetting, FollowsEnvironmentVariable) {
    for (const auto &[value, isReduced] : {std::pair("1", true), {"0", false}, {"2", true}}) {
        qputenv("VELLOMIR_REDUCED_MOTION", value);
        motion_.followSystem();
        EXPECT_EQ(motion_.isReduced(), isReduced) << value;
    }
}

TEST_F(MotionSetting, EnvironmentVariableOverridesDesktop) {
    test::writeFile(folder_ / "kdeglobals", "[KDE]\nAnimationDurationFactor=0\n");
    qputenv("VELLOMIR_REDUCED_MOTION", "0");
    motion_.followSystem();
    EXPECT_FALSE(motion_.isReduced());
}

TEST_F(MotionSetting, PlasmaWithoutAnimationsReducesMotion) {
    test::writeFile(folder_ / "kdeglobals", "[KDE]\nAnimationDurationFactor=0\n");
    motion_.followSystem();
    EXPECT_TRUE(motion_.isReduced());
    test::writeFile(folder_ / "kdeglobals", "[KDE]\nAnimationDurationFactor=0.5\n");
    motion_.followSystem();
    EXPECT_FALSE(motion_.isReduced()) << "faster is not still";
}

TEST_F(MotionSetting, PlasmaSettingIsIndependentOfOthers) {
    test::writeFile(folder_ / "kdeglobals", "[KDE]\nAnimationDurationFactor=0\n");
    motion_.followSystem();
    notify("org.gnome.desktop.interface", "enable-animations", true);
    notify("org.freedesktop.appearance", "reduced-motion", 0U);
    EXPECT_TRUE(motion_.isReduced());
}

TEST_F(MotionSetting, FollowsDesktopSettings) {
    notify("org.gnome.desktop.interface", "enable-animations", false);
    EXPECT_TRUE(motion_.isReduced());
    notify("org.freedesktop.appearance", "reduced-motion", 1U);
    notify("org.gnome.desktop.interface", "enable-animations", true);
    EXPECT_TRUE(motion_.isReduced()) << "one of both is enough";
    notify("org.freedesktop.appearance", "reduced-motion", 0U);
    EXPECT_FALSE(motion_.isReduced());
    EXPECT_EQ(changes_, 2);
}

TEST_F(MotionSetting, NestedVariantsAreUnwrapped) {
    notify("org.freedesktop.appearance", "reduced-motion",
           QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(1U)))));
    EXPECT_TRUE(motion_.isReduced());
}

TEST_F(MotionSetting, OtherSettingsAreIgnored) {
    notify("org.freedesktop.appearance", "color-scheme", 1U);
    notify("org.gnome.desktop.interface", "reduced-motion", 1U);
    EXPECT_FALSE(motion_.isReduced());
}

} // namespace

} // namespace vellomir
