#include "tests/Sending/RunningServer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>
#include <sys/time.h>

namespace vellomir::test {
namespace {

InterfaceAddress loopback(const std::string &address = "127.0.0.1") {
    return {.interface = "lo", .address = IpAddress::parse(address).value()};
}

} // namespace

RunningServer::RunningServer(const std::filesystem::path &file, const SendingLimits &limits)
    : server_(file.string(), {.addresses = {loopback()}, .port = 0, .limits = limits}) {
    const std::string address = server_.addresses().at(0);
    const std::size_t slash = address.find('/', std::string("http://").size());
    path_ = address.substr(slash);
    host_ = address.substr(7, slash - 7);
    port_ = static_cast<std::uint16_t>(std::stoi(host_.substr(host_.find(':') + 1)));
    thread_ = std::thread([this] {
        end_ = server_.run([this](const SendingState &state) {
            const std::lock_guard lock(mutex_);
            states_.push_back(state);
        });
    });
}

RunningServer::~RunningServer() {
    stop();
    if (thread_.joinable())
        thread_.join();
}

std::string RunningServer::request(const std::string &fields, const std::string &method) const {
    return method + " " + path_ + " HTTP/1.1\r\nHost: " + host_ + "\r\n" + fields + "\r\n";
}

std::vector<SendingState> RunningServer::states() const {
    const std::lock_guard lock(mutex_);
    return states_;
}

bool RunningServer::becomes(const std::function<bool(const SendingState &)> &condition) const {
    for (int number = 0; number < 6000; ++number) {
        if (condition(state()))
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

SendingEnd RunningServer::end() {
    thread_.join();
    return end_;
}

Client::Client(const RunningServer &server, const std::string &from, int receiveBuffer)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const timeval longest{.tv_sec = 30, .tv_usec = 0};
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest);
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &longest, sizeof longest);
    if (receiveBuffer > 0)
        ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    sockaddr_storage address{};
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    const socklen_t ownSize = loopback(from).address.store(address, 0);
    if (::bind(socket_.get(), generic, ownSize) != 0)
        throw std::runtime_error("cannot bind to " + from);
    const socklen_t size = loopback().address.store(address, server.port());
    if (::connect(socket_.get(), generic, size) != 0)
        throw std::runtime_error("cannot connect");
}

bool Client::send(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::send(socket_.get(), text.data(), text.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

void Client::finishSending() {
    ::shutdown(socket_.get(), SHUT_WR);
}

std::string Client::receive(std::size_t count) {
    std::string text;
    std::array<char, 65536> buffer{};
    while (text.size() < count) {
        const std::size_t wanted = std::min(buffer.size(), count - text.size());
        const ssize_t got = ::recv(socket_.get(), buffer.data(), wanted, 0);
        if (got <= 0)
            break;
        text.append(buffer.data(), static_cast<std::size_t>(got));
    }
    return text;
}

void Client::reset() {
    const linger none{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &none, sizeof none);
    socket_ = FileDescriptor();
}

int statusOf(const std::string &answer) {
    const std::string start = "HTTP/1.1 ";
    return answer.starts_with(start) ? std::stoi(answer.substr(start.size(), 3)) : 0;
}

std::string bodyOf(const std::string &answer) {
    const std::size_t end = answer.find("\r\n\r\n");
    return end == std::string::npos ? std::string() : answer.substr(end + 4);
}

std::string fetch(const RunningServer &server, const std::string &request) {
    Client client(server);
    client.send(request);
    return client.receiveAll();
}

} // namespace vellomir::test
