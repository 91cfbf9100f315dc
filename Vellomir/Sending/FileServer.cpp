#include "Vellomir/Sending/FileServer.h"

#include "Vellomir/Sending/AccessToken.h"
#include "Vellomir/Sending/AttachmentName.h"
#include "Vellomir/Sending/SendingFault.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <poll.h>
#include <sys/socket.h>

namespace vellomir {
namespace {

using Phase = Connection::Phase;

constexpr std::chrono::milliseconds reportInterval(100);
constexpr std::chrono::milliseconds fileCheckInterval(1000);
/// Until connections are accepted again when the process has no descriptor for one more.
constexpr std::chrono::milliseconds acceptPause(200);
constexpr std::uint16_t usualPort = 80; ///< left out of addresses

} // namespace

FileServer::FileServer(const std::string &path, const Settings &settings)
    : file_(path), limits_(settings.limits),
      listening_(listenOn(settings.addresses, settings.port)) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw SendingFault("There are too many open files");
    wakeReader_ = FileDescriptor(ends[0]);
    wakeWriter_ = FileDescriptor(ends[1]);
    offer_ = {.token = makeAccessToken(),
              .hosts = {},
              .size = file_.size(),
              .entityTag = file_.entityTag(),
              .disposition = attachmentWithName(nameOf(path))};
    for (const InterfaceAddress &each : listening_.addresses) {
        offer_.hosts.push_back(hostOf(each.address));
        if (listening_.port == usualPort)
            offer_.hosts.push_back(each.address.hostText() + ":80");
    }
}

std::string FileServer::hostOf(const IpAddress &address) const {
    return address.hostText() +
           (listening_.port == usualPort ? "" : ":" + std::to_string(listening_.port));
}

std::vector<std::string> FileServer::addresses() const {
    std::vector<std::string> all;
    for (const InterfaceAddress &each : listening_.addresses)
        all.push_back("http://" + hostOf(each.address) + "/" + offer_.token);
    return all;
}

void FileServer::stop() {
    const char signal = 0;
    static_cast<void>(::send(wakeWriter_.get(), &signal, sizeof signal, MSG_NOSIGNAL));
}

SendingEnd FileServer::run(const Observer &observer, const std::function<bool()> &mayGoOn) {
    lastByte_ = Connection::Clock::now();
    SendingEnd end = SendingEnd::stopped;
    while (!mayGoOn || mayGoOn()) {
        if (!wait())
            break;
        const Time now = Connection::Clock::now();
        serve(now);
        report(observer, now, false);
        if (hasFileChanged(now)) {
            end = SendingEnd::fileChanged;
            break;
        }
        if (now - lastByte_ >= limits_.quietTime) {
            end = SendingEnd::quiet;
            break;
        }
    }
    connections_.clear();
    listening_.sockets.clear();
    state_.running = 0;
    report(observer, Connection::Clock::now(), true);
    return end;
}

bool FileServer::hasFileChanged(Time now) {
    if (!fileChanged_ && now >= nextFileCheck_) {
        nextFileCheck_ = now + fileCheckInterval;
        fileChanged_ = !file_.isUnchanged() || !file_.isInPlace();
    }
    return fileChanged_;
}

// --- Waiting -----------------------------------------------------------------------------------

/// The end of `stop`, the listening sockets, the connections, in this order.
std::vector<pollfd> FileServer::awaited() const {
    const bool isPaused = Connection::Clock::now() < nextAccept_;
    std::vector<pollfd> all = {{.fd = wakeReader_.get(), .events = POLLIN, .revents = 0}};
    for (const FileDescriptor &each : listening_.sockets)
        all.push_back({.fd = isPaused ? -1 : each.get(), .events = POLLIN, .revents = 0});
    for (const Connection &each : connections_)
        all.push_back({.fd = each.socket(), .events = each.awaitedEvents(), .revents = 0});
    return all;
}

/// In milliseconds, for `poll`.
int FileServer::timeToWait(Time now) const {
    Time end = std::min({nextFileCheck_, lastByte_ + limits_.quietTime, now + fileCheckInterval});
    if (state_ != reported_)
        end = std::min(end, nextReport_);
    if (nextAccept_ > now)
        end = std::min(end, nextAccept_);
    for (const Connection &each : connections_)
        end = std::min(end, each.deadline());
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
    return static_cast<int>(std::max(left, std::chrono::milliseconds(0)).count());
}

bool FileServer::wait() {
    std::vector<pollfd> all = awaited();
    const int time = timeToWait(Connection::Clock::now());
    if (::poll(all.data(), all.size(), time) <= 0)
        return true;
    if (all.front().revents != 0)
        return false;
    const Time now = Connection::Clock::now();
    auto polled = all.begin() + 1 + static_cast<std::ptrdiff_t>(listening_.sockets.size());
    for (Connection &each : connections_)
        if ((polled++)->revents != 0)
            each.goOn(now);
    for (std::size_t index = 0; index < listening_.sockets.size(); ++index)
        if (all[1 + index].revents != 0)
            acceptFrom(listening_.sockets[index], now);
    return true;
}

// --- Connections -------------------------------------------------------------------------------

void FileServer::acceptFrom(const FileDescriptor &listener, Time now) {
    constexpr int mostAtOnce = 16; // so that transfers have their turn
    for (int number = 0; number < mostAtOnce; ++number) {
        sockaddr_storage address{};
        socklen_t size = sizeof address;
        auto *const generic = reinterpret_cast<sockaddr *>(&address);
        FileDescriptor socket(
            ::accept4(listener.get(), generic, &size, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!socket.isOpen()) {
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM)
                nextAccept_ = now + acceptPause;
            return;
        }
        if (const auto client = IpAddress::of(generic))
            add(std::move(socket), *client, now);
    }
}

void FileServer::add(FileDescriptor socket, const IpAddress &client, Time now) {
    if (makeRoom(client)) {
        connections_.emplace_back(std::move(socket), client, ServedOffer{file_, offer_, limits_},
                                  now);
        return;
    }
    const std::string answer = refusal(503, std::time(nullptr)).head;
    static_cast<void>(
        ::send(socket.get(), answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
}

/// Whether there may be one more connection of this client. Where there are too many in all, the
/// oldest one that is no transfer is closed: waiting clients cannot keep the phone out.
bool FileServer::makeRoom(const IpAddress &client) {
    const auto ofClient =
        std::count_if(connections_.begin(), connections_.end(),
                      [&](const Connection &each) { return each.client() == client; });
    if (static_cast<std::size_t>(ofClient) >= limits_.connectionsOfOne)
        return false;
    if (connections_.size() < limits_.connections)
        return true;
    const auto oldest = std::find_if(connections_.begin(), connections_.end(),
                                     [](const Connection &each) { return !each.isTransfer(); });
    if (oldest == connections_.end())
        return false;
    connections_.erase(oldest);
    return true;
}

void FileServer::serve(Time now) {
    for (Connection &each : connections_) {
        if (each.phase() != Phase::over && now >= each.deadline())
            each.expire(now);
        count(each, now);
        if (each.isTransfer()) // The newest is the last.
            state_.position = each.position();
    }
    connections_.remove_if([](const Connection &each) { return each.phase() == Phase::over; });
    state_.running = static_cast<std::size_t>(
        std::count_if(connections_.begin(), connections_.end(),
                      [](const Connection &each) { return each.isSendingFile(); }));
}

void FileServer::count(Connection &connection, Time now) {
    const std::uint64_t sent = connection.takeSentBytes();
    if (sent > 0) {
        state_.bytesSent += sent;
        lastByte_ = now;
    }
    if (connection.takeCompletion())
        ++state_.complete;
    fileChanged_ |= connection.hasFileChanged();
}

void FileServer::report(const Observer &observer, Time now, bool isLast) {
    if (state_ == reported_ || (now < nextReport_ && !isLast))
        return;
    nextReport_ = now + reportInterval;
    reported_ = state_;
    if (observer)
        observer(state_);
}

} // namespace vellomir
