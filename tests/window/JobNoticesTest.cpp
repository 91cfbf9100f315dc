// Notices of jobs outside the window's contents.

#include "Vellomir/Window/SystemDesktop.h"

#include "tests/Job/Packages.h"
#include "tests/window/WindowFixture.h"

namespace vellomir {

using testing::Contains;
using testing::ElementsAre;

namespace {

class Notices : public test::WindowTest {
protected:
    std::string title() { return window().title().toStdString(); }

    void leaveWindow() {
        other_.show();
        other_.requestActivate();
        ASSERT_TRUE(becomes([this] { return !window().isActive(); }));
    }

    void runJob() {
        view().doItAction();
        ASSERT_TRUE(becomes([this] { return !view().isLoading.get(); }));
        settle();
    }

private:
    QWindow other_;
};

TEST_F(Notices, TitleShowsPercentage) {
    EXPECT_EQ(title(), "Vellomir");
    view().isLoading.set(true);
    settle();
    EXPECT_EQ(title(), "0 % – Vellomir");
    state().setPercent(43);
    EXPECT_EQ(title(), "43 % – Vellomir");
    view().isLoading.set(false);
    settle();
    EXPECT_EQ(title(), "Vellomir");
}

TEST_F(Notices, ProgressFollowsWholeJob) {
    test::writeFile(folder_ / "Notes.ipa", test::notesPackage());
    view().selectedFileURL.set(folder_.url("Notes.ipa"));
    view().duplicationNumber.set("2");
    std::vector<int> percents;
    QObject::connect(&state(), &AppLaunchState::percentChanged,
                     [&] { percents.push_back(state().percent()); });
    runJob();
    EXPECT_TRUE(view().modifiedFileURL.get());
    ASSERT_FALSE(percents.empty());
    for (const int percent : percents) {
        EXPECT_GE(percent, 0);
        EXPECT_LE(percent, 100);
    }
    EXPECT_THAT(percents, Contains(testing::Gt(50)));
    ASSERT_GT(desktop_.progress.size(), 2U);
    EXPECT_EQ(desktop_.progress.front(), 0);
    EXPECT_EQ(desktop_.progress.back(), std::nullopt);
}

TEST_F(Notices, NextJobStartsAtZero) {
    view().isLoading.set(true);
    settle();
    state().setPercent(90);
    view().isLoading.set(false);
    view().isLoading.set(true);
    settle();
    EXPECT_EQ(title(), "0 % – Vellomir");
}

TEST_F(Notices, BackgroundWindowRequestsAttentionAtJobEnd) {
    leaveWindow();
    runJob();
    EXPECT_EQ(desktop_.requests, 1);
}

TEST_F(Notices, ActiveWindowRequestsNoAttention) {
    runJob();
    EXPECT_EQ(desktop_.requests, 0);
}

TEST(LauncherEntry, ShowsAndHidesProgress) {
    const QDBusMessage shown = launcherUpdate(0.43);
    EXPECT_EQ(shown.type(), QDBusMessage::SignalMessage);
    EXPECT_EQ(shown.interface(), QStringLiteral("com.canonical.Unity.LauncherEntry"));
    EXPECT_EQ(shown.member(), QStringLiteral("Update"));
    ASSERT_EQ(shown.arguments().size(), 2);
    EXPECT_EQ(shown.arguments()[0].toString(), QStringLiteral("application://vellomir.desktop"));
    const QVariantMap properties = shown.arguments()[1].toMap();
    EXPECT_EQ(properties[QStringLiteral("progress")], QVariant(0.43));
    EXPECT_EQ(properties[QStringLiteral("progress-visible")], QVariant(true));
    const QVariantMap hidden = launcherUpdate(std::nullopt).arguments()[1].toMap();
    EXPECT_EQ(hidden[QStringLiteral("progress-visible")], QVariant(false));
}

} // namespace

} // namespace vellomir
