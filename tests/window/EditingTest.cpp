// The duplication number's field: what ends editing, and pasted text.

#include "tests/window/WindowFixture.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QInputMethodEvent>

namespace vellomir {

using test::textProperty;

namespace {

class NumberField : public test::WindowTest {
protected:
    QQuickItem &field() { return item("duplicationNumber"); }

    /// Whether a click there removes the focus from the field.
    bool endsEditing(const QPointF &place) {
        click(field());
        EXPECT_TRUE(field().hasActiveFocus());
        click(place);
        return !field().hasActiveFocus();
    }

    QQuickItem &page() { return pageOf(field()); }

    std::string number() { return view().duplicationNumber.get(); }

    void paste(const QString &text) {
        QGuiApplication::clipboard()->setText(text);
        key(Qt::Key_V, Qt::ControlModifier);
    }
};

// --- What ends editing --------------------------------------------------------------------------

TEST_F(NumberField, LosesFocusToPressOnScrollingLog) {
    appendLines(40);
    const QRectF log = placeOf(item("logPanel"));
    for (const QPointF &place :
         {log.center(), log.topLeft() + QPointF(5, 30), log.bottomRight() - QPointF(40, 5)})
        EXPECT_TRUE(endsEditing(place)) << place.x() << ' ' << place.y();
}

TEST_F(NumberField, LosesFocusToPressOnScrollingPage) {
    resize({320, 400});
    appendLines(30);
    ASSERT_TRUE(page().property("interactive").toBool());
    EXPECT_TRUE(endsEditing(placeOf(text("Vellomir")).center()));
    EXPECT_TRUE(endsEditing(placeOf(text("Modify App's Information")).center()));
    page().setProperty("contentY", 60);
    settle();
    EXPECT_TRUE(endsEditing(placeOf(text("Modify App's Information")).center()));
    EXPECT_TRUE(endsEditing({4, 200}));
}

TEST_F(NumberField, LosesFocusToTap) {
    appendLines(40);
    for (const QPointF &place : {placeOf(item("logPanel")).center(), QPointF(2, 2)}) {
        click(field());
        ASSERT_TRUE(field().hasActiveFocus());
        tap(place);
        settle();
        EXPECT_FALSE(field().hasActiveFocus()) << place.x() << ' ' << place.y();
    }
}

TEST_F(NumberField, KeepsFocusWhenPressed) {
    click(field());
    type("12345");
    for (const double share : {0.1, 0.5, 0.9}) {
        const QRectF place = placeOf(field());
        click({place.left() + share * place.width(), place.center().y()});
        EXPECT_TRUE(field().hasActiveFocus()) << share;
    }
    EXPECT_EQ(number(), "12345");
}

TEST_F(NumberField, PressThatEndsEditingReachesItsItem) {
    click(field());
    const QSignalSpy clicks = clicksOf("selectButton");
    click("selectButton");
    EXPECT_EQ(clicks.count(), 1);
    EXPECT_FALSE(field().hasActiveFocus());
}

// --- Pasted line breaks -------------------------------------------------------------------------

TEST_F(NumberField, DropsPastedLineBreaks) {
    const char *const breaks[] = {"\n", "\r\n", "\r", "\u2028", "\u2029", "\u0085", "\v", "\f"};
    for (const char *const lineBreak : breaks) {
        view().duplicationNumber.set({});
        settle();
        click(field());
        paste(QString::fromUtf8("4") + QString::fromUtf8(lineBreak) + QString::fromUtf8("2") +
              QString::fromUtf8(lineBreak));
        EXPECT_EQ(number(), "42");
        EXPECT_EQ(textProperty(field(), "text"), "42");
    }
}

TEST_F(NumberField, NeverEmitsLineBreaks) {
    std::vector<std::string> emitted;
    const auto observation = view().duplicationNumber.observe(
        [&emitted](const std::string &text) { emitted.push_back(text); });
    click(field());
    paste(QStringLiteral("7\n"));
    for (const std::string &text : emitted)
        EXPECT_EQ(text.find('\n'), std::string::npos) << testing::PrintToString(emitted);
    EXPECT_EQ(number(), "7");
}

TEST_F(NumberField, CaretIsBehindPastedText) {
    click(field());
    type("19");
    key(Qt::Key_Left);
    paste(QStringLiteral("2\n3\n"));
    EXPECT_EQ(number(), "1239");
    EXPECT_EQ(field().property("cursorPosition").toInt(), 3);
}

TEST_F(NumberField, OtherPastedTextIsUnchanged) {
    click(field());
    const QString text =
        QString::fromUtf8(" a\tb <i>7</i> é e\u0301 \u200f\u0645\u0631 👩🏽‍🚀\u00a0");
    paste(text);
    EXPECT_EQ(number(), text.toStdString());
}

TEST_F(NumberField, DropsLineBreaksOfInputMethod) {
    click(field());
    QInputMethodEvent event;
    event.setCommitString(QStringLiteral("5\n"));
    QCoreApplication::sendEvent(&field(), &event);
    settle();
    EXPECT_EQ(number(), "5");
}

} // namespace

} // namespace vellomir
