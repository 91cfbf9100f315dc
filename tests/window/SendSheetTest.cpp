// The sheet that sends the result to a phone. Its server is on the loopback network.

#include "tests/window/WindowFixture.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QProcess>
#include <QTcpSocket>

#include <filesystem>

namespace vellomir {

using test::textProperty;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

class SendSheet : public test::WindowTest {
protected:
    SendSheet() { openShareSheet(); }

    void openSendSheet() {
        click("sendRow");
        settle();
    }

    PhoneSending &sending() { return *state().sharing()->sending(); }
    std::string message() { return textProperty(item("sendingMessage"), "text"); }

    /// What a client of the address gets.
    QByteArray fetched() {
        const QUrl address(sending().address());
        QTcpSocket socket;
        socket.connectToHost(address.host(), static_cast<quint16>(address.port()));
        if (!socket.waitForConnected())
            return {};
        socket.write("GET " + address.path().toUtf8() +
                     " HTTP/1.1\r\nHost: " + address.authority().toUtf8() + "\r\n\r\n");
        while (socket.waitForReadyRead()) {
        }
        return socket.readAll();
    }

    bool isReachable(const QUrl &address) {
        QTcpSocket socket;
        socket.connectToHost(address.host(), static_cast<quint16>(address.port()));
        return socket.waitForConnected();
    }
};

TEST_F(SendSheet, ShowsTheAddress) {
    openSendSheet();
    const std::string address = sending().address().toStdString();
    EXPECT_THAT(address, MatchesRegex("http://127.0.0.1:[0-9]*/[A-Z2-7]*"));
    EXPECT_EQ(textProperty(item("addressText"), "text"), address);
    EXPECT_TRUE(showsText("In other networks of this computer:\n" +
                          sending().otherAddresses().toStdString()));
    EXPECT_EQ(message(), "Nothing sent yet");
}

TEST_F(SendSheet, SendsTheFileAndCountsIt) {
    openSendSheet();
    const QByteArray answer = fetched();
    EXPECT_THAT(answer.toStdString(), StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(answer.toStdString(), HasSubstr("filename=\"Notes2.ipa\""));
    EXPECT_THAT(answer.toStdString(), EndsWith(test::readFile(folder_ / "Notes2.ipa")));
    EXPECT_TRUE(becomes([this] { return message() == "Sent completely, 2.5 kB"; })) << message();
    EXPECT_EQ(sending().share(), 1);
}

TEST_F(SendSheet, CopiesTheAddress) {
    openSendSheet();
    click("copyAddressRow");
    EXPECT_EQ(QGuiApplication::clipboard()->text(), sending().address());
}

TEST_F(SendSheet, ClosingItEndsTheSending) {
    for (const auto &close : std::vector<std::function<void()>>{[this] { click("sendDoneButton"); },
                                                                [this] { key(Qt::Key_Escape); }}) {
        openSendSheet();
        const QUrl address(sending().address());
        ASSERT_TRUE(isReachable(address));
        close();
        ASSERT_TRUE(becomes([this] { return !isShown("addressText"); }));
        EXPECT_FALSE(isReachable(address));
        EXPECT_FALSE(sending().isOpen());
        EXPECT_TRUE(isShown("sendRow")) << "the share sheet stays open";
    }
}

TEST_F(SendSheet, EachOpeningHasAnAddressOfItsOwn) {
    openSendSheet();
    const QString first = sending().address();
    click("sendDoneButton");
    settle();
    openSendSheet();
    EXPECT_NE(sending().address(), first);
    EXPECT_EQ(message(), "Nothing sent yet");
}

TEST_F(SendSheet, ClosingTheShareSheetEndsTheSending) {
    openSendSheet();
    const QUrl address(sending().address());
    view().showShareSheet.set(false);
    ASSERT_TRUE(becomes([this] { return !isShown("addressText"); }));
    EXPECT_FALSE(isReachable(address));
}

TEST_F(SendSheet, ClosingTheWindowWorksAboveTheShareSheet) {
    openSendSheet();
    key(Qt::Key_W, Qt::ControlModifier);
    EXPECT_TRUE(becomes([this] { return !window().isVisible(); }));
}

TEST_F(SendSheet, NoNetworkIsSaid) {
    desktop_.hasNetwork = false;
    openSendSheet();
    EXPECT_EQ(message(), "This computer is in no local network.");
    EXPECT_FALSE(isShown("addressText"));
    EXPECT_FALSE(isShown("copyAddressRow"));
    click("sendDoneButton");
    settle();
    desktop_.hasNetwork = true;
    openSendSheet();
    EXPECT_EQ(message(), "Nothing sent yet") << "one may try again";
}

TEST_F(SendSheet, RemovedFileEndsTheSending) {
    openSendSheet();
    const QUrl address(sending().address());
    std::filesystem::remove(folder_ / "Notes2.ipa");
    ASSERT_TRUE(becomes([this] {
        return message() == "The file was changed, replaced or removed while it was offered.";
    })) << message();
    EXPECT_FALSE(isShown("addressText"));
    EXPECT_FALSE(isReachable(address));
}

TEST_F(SendSheet, MissingFileIsSaidByTheShareSheet) {
    std::filesystem::remove(folder_ / "Notes2.ipa");
    click("sendRow");
    EXPECT_EQ(textProperty(item("sharingMessage"), "text"), "Notes2.ipa is no longer there");
    EXPECT_FALSE(sending().isOpen());
}

/// The picture of the whole window, read by another program.
TEST_F(SendSheet, CodeIsReadByAnotherProgram) {
    QProcess reader;
    reader.start(QStringLiteral("zbarimg"), {QStringLiteral("--version")});
    if (!reader.waitForFinished())
        GTEST_SKIP() << "zbarimg is not installed";
    openSendSheet();
    const QString picture = file("window.png");
    ASSERT_TRUE(window().grabWindow().save(picture));
    reader.start(QStringLiteral("zbarimg"),
                 {QStringLiteral("--quiet"), QStringLiteral("--raw"), picture});
    ASSERT_TRUE(reader.waitForFinished());
    EXPECT_EQ(QString::fromUtf8(reader.readAllStandardOutput()), sending().address() + u'\n');
}

} // namespace
} // namespace vellomir
