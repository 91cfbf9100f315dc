// Whole transfers over the loopback network.

#include "tests/Sending/RunningServer.h"

#include "files/Error.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fstream>

namespace vellomir {
namespace {

namespace fs = std::filesystem;
using test::bodyOf;
using test::Client;
using test::fetch;
using test::RunningServer;
using test::statusOf;

/// Bytes that differ at every offset.
std::string content(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t index = 0; index < size; ++index)
        text[index] = static_cast<char>((index * 2654435761U) >> 13U);
    return text;
}

class FileServers : public testing::Test {
protected:
    FileServers() { test::writeFile(path_, content_); }

    test::TemporaryFolder folder_;
    const fs::path path_ = folder_ / "App.ipa";
    const std::string content_ = content(3'000'000);
};

TEST_F(FileServers, SendTheWholeFile) {
    const RunningServer server(path_);
    const std::string answer = fetch(server, server.request());
    EXPECT_EQ(statusOf(answer), 200);
    EXPECT_TRUE(bodyOf(answer) == content_);
    EXPECT_TRUE(server.becomes([](const SendingState &state) { return state.complete == 1; }));
    EXPECT_EQ(server.state(), (SendingState{.bytesSent = content_.size(),
                                            .position = content_.size(),
                                            .running = 0,
                                            .complete = 1}));
}

TEST_F(FileServers, SendTheRestAfterABreak) {
    const RunningServer server(path_);
    {
        Client client(server);
        client.send(server.request());
        client.receive(1'000'000);
        client.reset();
    }
    ASSERT_TRUE(server.becomes(
        [](const SendingState &state) { return state.bytesSent > 0 && state.running == 0; }));
    EXPECT_EQ(server.state().complete, 0U);
    const std::string answer = fetch(server, server.request("Range: bytes=900000-\r\n"));
    EXPECT_EQ(statusOf(answer), 206);
    EXPECT_TRUE(bodyOf(answer) == content_.substr(900000));
    EXPECT_TRUE(server.becomes([](const SendingState &state) { return state.complete == 1; }));
}

TEST_F(FileServers, AnswerHeadWithoutTheFile) {
    const RunningServer server(path_);
    const std::string answer = fetch(server, server.request("", "HEAD"));
    EXPECT_EQ(statusOf(answer), 200);
    EXPECT_THAT(answer, testing::HasSubstr("\r\nContent-Length: 3000000\r\n"));
    EXPECT_EQ(bodyOf(answer), "");
    EXPECT_EQ(server.state(), SendingState());
}

TEST_F(FileServers, AnswerClientsThatHaveFinishedSending) {
    const RunningServer server(path_);
    Client client(server);
    client.send(server.request());
    client.finishSending();
    EXPECT_TRUE(bodyOf(client.receiveAll()) == content_);
}

TEST_F(FileServers, AnswerOneRequestAConnection) {
    const RunningServer server(path_);
    Client client(server);
    const std::string many = server.request("Range: bytes=0-9\r\n");
    client.send(many + many + many);
    const std::string answer = client.receiveAll();
    EXPECT_EQ(statusOf(answer), 206);
    EXPECT_EQ(bodyOf(answer), content_.substr(0, 10));
}

TEST_F(FileServers, TakeARequestByteByByte) {
    const RunningServer server(path_);
    Client client(server);
    for (const char each : server.request("Range: bytes=5-6\r\n"))
        ASSERT_TRUE(client.send({&each, 1}));
    EXPECT_EQ(bodyOf(client.receiveAll()), content_.substr(5, 2));
}

TEST_F(FileServers, SendToSeveralClientsAtOnce) {
    const RunningServer server(path_);
    Client first(server);
    Client second(server);
    first.send(server.request());
    second.send(server.request());
    std::string one = first.receive(500'000);
    EXPECT_TRUE(bodyOf(second.receiveAll()) == content_);
    one += first.receiveAll();
    EXPECT_TRUE(bodyOf(one) == content_);
    EXPECT_TRUE(server.becomes([](const SendingState &state) { return state.complete == 2; }));
}

TEST_F(FileServers, SendAnEmptyFile) {
    test::writeFile(path_, "");
    const RunningServer server(path_);
    const std::string answer = fetch(server, server.request());
    EXPECT_EQ(statusOf(answer), 200);
    EXPECT_EQ(bodyOf(answer), "");
    EXPECT_EQ(statusOf(fetch(server, server.request("Range: bytes=0-\r\n"))), 416);
    EXPECT_TRUE(server.becomes([](const SendingState &state) { return state.complete == 1; }));
}

TEST_F(FileServers, SendPartsBehindFourGigabytes) {
    constexpr std::uintmax_t size = (std::uintmax_t{5} << 30U) + 7;
    test::writeFile(path_, "start");
    fs::resize_file(path_, size - 3);
    std::ofstream(path_, std::ios::app) << "end";
    const RunningServer server(path_);
    const std::string answer = fetch(server, server.request("Range: bytes=5368709123-\r\n"));
    EXPECT_EQ(statusOf(answer), 206);
    EXPECT_THAT(answer, testing::HasSubstr("bytes 5368709123-5368709126/5368709127\r\n"));
    EXPECT_EQ(bodyOf(answer), std::string("\0end", 4));
}

TEST_F(FileServers, RefusalsSendNothingOfTheFile) {
    const RunningServer server(path_);
    const std::string host = "Host: " + server.host() + "\r\n\r\n";
    EXPECT_EQ(statusOf(fetch(server, "GET / HTTP/1.1\r\n" + host)), 404);
    EXPECT_EQ(statusOf(fetch(server, "GET /../App.ipa HTTP/1.1\r\n" + host)), 404);
    EXPECT_EQ(statusOf(fetch(server, "POST " + server.path() + " HTTP/1.1\r\n" + host)), 405);
    EXPECT_EQ(statusOf(fetch(server, "GET " + server.path() + " HTTP/1.1\r\nHost: a\r\n\r\n")),
              421);
    EXPECT_EQ(statusOf(fetch(server, server.request("Content-Length: 4\r\n") + "body")), 413);
    EXPECT_EQ(statusOf(fetch(server, "\x16\x03\x01")), 400);
    EXPECT_EQ(statusOf(fetch(server, "one line\n\nmore\r\n\r\n")), 400);
    EXPECT_EQ(server.state(), SendingState());
}

TEST_F(FileServers, StopClosesAllConnections) {
    RunningServer server(path_);
    Client waiting(server);
    Client reading(server);
    reading.send(server.request());
    reading.receive(1000);
    server.stop();
    EXPECT_EQ(server.end(), SendingEnd::stopped);
    EXPECT_EQ(waiting.receiveAll(), "");
    EXPECT_LT(reading.receiveAll().size(), content_.size());
    EXPECT_EQ(server.state().running, 0U);
    EXPECT_THROW(Client late(server), std::runtime_error);
}

TEST_F(FileServers, EndWhenTheOwnerSaysSo) {
    FileServer server(path_.string(), {.addresses = {{.interface = "lo",
                                                      .address = *IpAddress::parse("127.0.0.1")}}});
    int calls = 0;
    EXPECT_EQ(server.run(nullptr, [&] { return ++calls < 2; }), SendingEnd::stopped);
}

// --- A file that changes -------------------------------------------------------------------------

/// Starts a transfer that stays in the middle, changes the file, and expects that all ends.
void expectEnd(const fs::path &path, const std::function<void()> &change) {
    RunningServer server(path);
    Client client(server, "127.0.0.1", 4096);
    client.send(server.request());
    std::string answer = client.receive(10'000);
    change();
    EXPECT_EQ(server.end(), SendingEnd::fileChanged);
    answer += client.receiveAll();
    EXPECT_LT(bodyOf(answer).size(), 3'000'000U);
    EXPECT_EQ(server.state().complete, 0U);
}

TEST_F(FileServers, EndWhenTheFileIsCut) {
    expectEnd(path_, [this] { fs::resize_file(path_, 100); });
}

TEST_F(FileServers, EndWhenTheFileGrows) {
    expectEnd(path_, [this] { fs::resize_file(path_, 4'000'000); });
}

TEST_F(FileServers, EndWhenTheFileIsReplaced) {
    test::writeFile(folder_ / "other", "other");
    expectEnd(path_, [this] { fs::rename(folder_ / "other", path_); });
}

TEST_F(FileServers, EndWhenTheFileIsRemovedWithoutATransfer) {
    RunningServer server(path_);
    fs::remove(path_);
    EXPECT_EQ(server.end(), SendingEnd::fileChanged);
}

TEST_F(FileServers, MissingFileIsAnErrorBeforeTheStart) {
    EXPECT_THROW(RunningServer server(folder_ / "missing"), Error);
}

} // namespace
} // namespace vellomir
