#pragma once

#include "Vellomir/Sending/FileServer.h"

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vellomir::test {

/// A server on 127.0.0.1 that runs in a thread of its own until this object is destroyed.
class RunningServer {
public:
    explicit RunningServer(const std::filesystem::path &file, const SendingLimits &limits = {});
    RunningServer(const RunningServer &) = delete;
    RunningServer &operator=(const RunningServer &) = delete;
    ~RunningServer();

    [[nodiscard]] std::uint16_t port() const { return port_; }
    /// "127.0.0.1:43210".
    [[nodiscard]] const std::string &host() const { return host_; }
    /// "/", and the token.
    [[nodiscard]] const std::string &path() const { return path_; }
    /// A request for the file, with more fields, each with its line end.
    [[nodiscard]] std::string request(const std::string &fields = {},
                                      const std::string &method = "GET") const;

    [[nodiscard]] std::vector<SendingState> states() const;
    [[nodiscard]] SendingState state() const { return states().back(); }
    /// Waits for the condition on the state; false if it does not hold within half a minute.
    [[nodiscard]] bool becomes(const std::function<bool(const SendingState &)> &condition) const;

    void stop() { server_.stop(); }
    /// Waits until the server has ended.
    SendingEnd end();

private:
    FileServer server_;
    std::uint16_t port_ = 0;
    std::string host_;
    std::string path_;
    mutable std::mutex mutex_;
    std::vector<SendingState> states_ = {SendingState()};
    SendingEnd end_ = SendingEnd::stopped;
    std::thread thread_;
};

/// A client that waits for whatever it asks for, but no longer than half a minute.
class Client {
public:
    /// `from` is an address of the loopback network.
    explicit Client(const RunningServer &server, const std::string &from = "127.0.0.1",
                    int receiveBuffer = 0);

    /// False if the server takes no more.
    bool send(std::string_view text);
    /// The server sees the end of what the client sends.
    void finishSending();
    /// Up to so many bytes; fewer where the connection ends.
    std::string receive(std::size_t count);
    /// Everything until the server closes the connection.
    std::string receiveAll() { return receive(std::string::npos); }
    /// The connection ends as with a crash.
    void reset();

private:
    FileDescriptor socket_;
};

/// The status of an answer; 0 if it has none.
[[nodiscard]] int statusOf(const std::string &answer);
/// What follows the head.
[[nodiscard]] std::string bodyOf(const std::string &answer);
/// All of the answer to one request on a new connection.
[[nodiscard]] std::string fetch(const RunningServer &server, const std::string &request);

} // namespace vellomir::test
