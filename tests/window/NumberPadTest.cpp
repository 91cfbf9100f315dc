#include "Vellomir/Window/NumberPad.h"

#include <QCoreApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>

#include <gmock/gmock.h>

namespace vellomir {

namespace {

/// Counts the events that reach it.
class Field : public QObject {
public:
    bool event(QEvent *event) override {
        if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease ||
            event->type() == QEvent::InputMethod)
            ++reached;
        return QObject::event(event);
    }

    int reached = 0;
};

class NumberPadTest : public testing::Test {
protected:
    NumberPadTest() { pad_.setField(&field_); }

    bool reaches(QEvent &&event) {
        const int before = field_.reached;
        QCoreApplication::sendEvent(&field_, &event);
        return field_.reached > before;
    }

    bool reaches(int key, const QString &text, Qt::KeyboardModifiers held = Qt::NoModifier) {
        return reaches(QKeyEvent(QEvent::KeyPress, key, held, text));
    }

    Field field_;
    NumberPad pad_;
};

TEST_F(NumberPadTest, PassesDigits) {
    for (int digit = 0; digit <= 9; ++digit)
        EXPECT_TRUE(reaches(Qt::Key_0 + digit, QString::number(digit))) << digit;
    EXPECT_TRUE(reaches(Qt::Key_7, QStringLiteral("7"), Qt::KeypadModifier));
}

TEST_F(NumberPadTest, BlocksOtherCharacters) {
    for (const char *const text : {"a", "Z", " ", ".", "-", "+", "/", "ü", "一", "½", "😀"})
        EXPECT_FALSE(reaches(0, QString::fromUtf8(text))) << text;
    EXPECT_FALSE(reaches(0, QStringLiteral("1a")));
    EXPECT_FALSE(reaches(Qt::Key_Exclam, QStringLiteral("!"), Qt::ShiftModifier));
}

TEST_F(NumberPadTest, BlocksCharactersTypedWithAltGr) {
    const auto third = Qt::ControlModifier | Qt::AltModifier;
    EXPECT_FALSE(reaches(Qt::Key_At, QStringLiteral("@"), third));
    EXPECT_FALSE(reaches(Qt::Key_Q, QStringLiteral("@"), Qt::GroupSwitchModifier));
}

TEST_F(NumberPadTest, PassesEditingAndNavigationKeys) {
    for (const int key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Home, Qt::Key_End, Qt::Key_Shift})
        EXPECT_TRUE(reaches(key, {})) << key;
    EXPECT_TRUE(reaches(Qt::Key_Backspace, QStringLiteral("\b")));
    EXPECT_TRUE(reaches(Qt::Key_Delete, QStringLiteral("\x7F")));
    EXPECT_TRUE(reaches(Qt::Key_Tab, QStringLiteral("\t")));
    EXPECT_TRUE(reaches(Qt::Key_Return, QStringLiteral("\r")));
    EXPECT_TRUE(reaches(Qt::Key_Escape, QStringLiteral("\x1B")));
}

TEST_F(NumberPadTest, PassesShortcuts) {
    EXPECT_TRUE(reaches(Qt::Key_V, QStringLiteral("v"), Qt::ControlModifier));
    EXPECT_TRUE(reaches(Qt::Key_V, QStringLiteral("v"), Qt::MetaModifier));
    EXPECT_TRUE(reaches(Qt::Key_F, QStringLiteral("f"), Qt::AltModifier));
}

TEST_F(NumberPadTest, PassesKeyReleases) {
    EXPECT_TRUE(reaches(QKeyEvent(QEvent::KeyRelease, Qt::Key_A, {}, QStringLiteral("a"))));
}

TEST_F(NumberPadTest, InputMethodMayOnlyTypeDigits) {
    const auto reachesAs = [this](const char *preedit, const char *commit) {
        QInputMethodEvent event(QString::fromUtf8(preedit), {});
        event.setCommitString(QString::fromUtf8(commit));
        return reaches(std::move(event));
    };
    EXPECT_TRUE(reachesAs("", "12"));
    EXPECT_TRUE(reachesAs("", "")) << "it ends what was begun";
    EXPECT_FALSE(reachesAs("", "a"));
    EXPECT_FALSE(reachesAs("", "1a"));
    EXPECT_FALSE(reachesAs("ni", ""));
}

TEST_F(NumberPadTest, OldFieldIsNoLongerFiltered) {
    Field other;
    int changes = 0;
    QObject::connect(&pad_, &NumberPad::fieldChanged, &pad_, [&changes] { ++changes; });
    pad_.setField(&other);
    pad_.setField(&other);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(pad_.field(), &other);
    EXPECT_TRUE(reaches(Qt::Key_A, QStringLiteral("a")));
    QKeyEvent letter(QEvent::KeyPress, Qt::Key_A, {}, QStringLiteral("a"));
    QCoreApplication::sendEvent(&other, &letter);
    EXPECT_EQ(other.reached, 0);
    pad_.setField(nullptr);
    QCoreApplication::sendEvent(&other, &letter);
    EXPECT_EQ(other.reached, 1);
}

} // namespace

} // namespace vellomir
