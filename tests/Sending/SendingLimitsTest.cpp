// Slow, greedy and hostile clients, with limits that are short enough for tests.

#include "tests/Sending/RunningServer.h"

#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <list>

namespace vellomir {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using test::bodyOf;
using test::Client;
using test::fetch;
using test::RunningServer;
using test::statusOf;

class Limits : public testing::Test {
protected:
    Limits() { test::writeFile(path_, std::string(4'000'000, 'x')); }

    /// Whether a usual client gets the file.
    static void expectService(const RunningServer &server) {
        EXPECT_EQ(bodyOf(fetch(server, server.request())).size(), 4'000'000U);
    }

    test::TemporaryFolder folder_;
    const fs::path path_ = folder_ / "App.ipa";
};

TEST_F(Limits, SilentClientsAreClosed) {
    const RunningServer server(path_, {.requestTime = 50ms});
    Client client(server);
    EXPECT_EQ(client.receiveAll(), "");
    expectService(server);
}

TEST_F(Limits, SlowRequestsAreRefusedHoweverOftenAByteComes) {
    const RunningServer server(path_, {.requestTime = 100ms});
    Client client(server);
    client.send("GET / HTTP/1.1\r\nX: ");
    while (client.send("x"))
        std::this_thread::sleep_for(10ms);
    expectService(server);
}

TEST_F(Limits, UnfinishedRequestGetsAnAnswer) {
    const RunningServer server(path_, {.requestTime = 50ms});
    EXPECT_EQ(statusOf(fetch(server, "GET / HTTP/1.1\r\n")), 408);
}

TEST_F(Limits, LargeRequestsAreRefused) {
    const RunningServer server(path_, {.requestSize = 1000});
    EXPECT_EQ(statusOf(fetch(server, "GET /" + std::string(1000, 'x'))), 431);
    EXPECT_EQ(statusOf(fetch(server, server.request("X: " + std::string(1000, 'x') + "\r\n"))),
              431);
    expectService(server);
}

TEST_F(Limits, EndlessRequestsAreCutOff) {
    const RunningServer server(path_);
    Client client(server);
    const std::string piece(100'000, 'x');
    std::size_t sent = 0;
    while (sent < 1'000'000'000 && client.send(piece))
        sent += piece.size();
    EXPECT_LT(sent, 100'000'000U) << "what the system's buffers take, and no more";
    expectService(server);
}

TEST_F(Limits, ClientsThatReadNothingAreClosed) {
    const RunningServer server(path_, {.idleTime = 50ms, .sendBuffer = 4096});
    Client client(server, "127.0.0.1", 4096);
    client.send(server.request());
    ASSERT_TRUE(server.becomes([](const SendingState &state) { return state.bytesSent > 0; }));
    ASSERT_TRUE(server.becomes([](const SendingState &state) { return state.running == 0; }));
    EXPECT_LT(client.receiveAll().size(), 4'000'000U);
    EXPECT_EQ(server.state().complete, 0U);
    expectService(server);
}

TEST_F(Limits, ClientsThatNeverCloseAreClosed) {
    const RunningServer server(path_, {.closingTime = 50ms, .connectionsOfOne = 1});
    Client client(server);
    client.send(server.request());
    EXPECT_EQ(bodyOf(client.receiveAll()).size(), 4'000'000U);
    // The client keeps its end open; its place becomes free nevertheless.
    ASSERT_TRUE(server.becomes([](const SendingState &state) { return state.complete == 1; }));
    expectService(server);
}

TEST_F(Limits, OneAddressHasFewConnections) {
    const RunningServer server(path_, {.connectionsOfOne = 2});
    Client first(server);
    Client second(server);
    Client third(server);
    EXPECT_EQ(statusOf(third.receiveAll()), 503);
    second.send(server.request());
    EXPECT_EQ(bodyOf(second.receiveAll()).size(), 4'000'000U);
    Client other(server, "127.0.0.2");
    other.send(server.request());
    EXPECT_EQ(bodyOf(other.receiveAll()).size(), 4'000'000U);
}

TEST_F(Limits, WaitingClientsDoNotKeepOthersOut) {
    const RunningServer server(path_, {.connections = 4, .connectionsOfOne = 4});
    std::list<Client> waiting;
    for (int number = 0; number < 4; ++number)
        waiting.emplace_back(server, "127.0.0.2");
    expectService(server);
    EXPECT_EQ(waiting.front().receiveAll(), "") << "the oldest had to give its place";
    waiting.back().send(server.request());
    EXPECT_EQ(bodyOf(waiting.back().receiveAll()).size(), 4'000'000U);
}

TEST_F(Limits, TransfersKeepTheirPlaces) {
    const RunningServer server(path_, {.connections = 2, .sendBuffer = 4096});
    std::list<Client> transfers;
    for (std::size_t number = 1; number <= 2; ++number) {
        transfers.emplace_back(server, "127.0.0.2", 4096);
        transfers.back().send(server.request());
        ASSERT_TRUE(server.becomes(
            [number](const SendingState &state) { return state.running == number; }));
    }
    EXPECT_EQ(statusOf(fetch(server, server.request())), 503);
    for (Client &each : transfers)
        EXPECT_EQ(bodyOf(each.receiveAll()).size(), 4'000'000U);
}

TEST_F(Limits, ServerEndsWhenNothingIsSent) {
    RunningServer server(path_, {.quietTime = 50ms});
    EXPECT_EQ(server.end(), SendingEnd::quiet);
}

TEST_F(Limits, RefusalsDoNotKeepTheServerRunning) {
    RunningServer server(path_, {.quietTime = 300ms});
    std::thread visitor([&] {
        try {
            while (true)
                static_cast<void>(fetch(server, "GET / HTTP/1.1\r\nHost: a\r\n\r\n"));
        } catch (const std::runtime_error &) { // The port is closed.
        }
    });
    EXPECT_EQ(server.end(), SendingEnd::quiet);
    visitor.join();
}

} // namespace
} // namespace vellomir
