#pragma once

#include "Vellomir/Sending/Connection.h"
#include "Vellomir/Sending/ListeningSocket.h"
#include "Vellomir/Sending/SendingState.h"

#include <functional>
#include <list>
#include <string>
#include <vector>

struct pollfd;

namespace vellomir {

/// Serves one file over HTTP 1.1 to those who know its address: no other file, no list, and nothing
/// is recorded. Each connection gets one answer.
class FileServer {
public:
    struct Settings {
        std::vector<InterfaceAddress> addresses; ///< as `servedAddresses` gives them
        std::uint16_t port = 0;                  ///< 0: one that is free
        SendingLimits limits;
    };
    using Observer = std::function<void(const SendingState &)>;

    /// Opens the file and the port; nothing is answered before `run`. Throws a `FileError` with the
    /// path, or `SendingFault`.
    FileServer(const std::string &path, const Settings &settings);
    FileServer(const FileServer &) = delete;
    FileServer &operator=(const FileServer &) = delete;
    ~FileServer() = default;

    /// What people open on the phone: "http://192.168.1.5:43210/…", one for each address that is
    /// served, in the order of the settings.
    [[nodiscard]] std::vector<std::string> addresses() const;
    /// The names of their interfaces, each once, with commas.
    [[nodiscard]] std::string interfaces() const { return interfaceNames(listening_.addresses); }
    /// In bytes.
    [[nodiscard]] std::uint64_t fileSize() const { return file_.size(); }

    /// Answers until `stop` is called, `mayGoOn` returns false, the file changes, or nothing was
    /// sent for the quiet time; then all connections are closed. Call it once. The observer is
    /// called in this thread when the state has changed, up to ten times a second. `mayGoOn` is
    /// called at least once a second, and after each signal that the process handles.
    SendingEnd run(const Observer &observer, const std::function<bool()> &mayGoOn = nullptr);
    /// Any thread, at any time.
    void stop();

private:
    using Time = Connection::Time;

    [[nodiscard]] std::string hostOf(const IpAddress &address) const;
    [[nodiscard]] bool hasFileChanged(Time now);
    [[nodiscard]] std::vector<pollfd> awaited() const;
    [[nodiscard]] int timeToWait(Time now) const;
    /// Waits for something to happen. False if the server was stopped.
    [[nodiscard]] bool wait();
    void acceptFrom(const FileDescriptor &listener, Time now);
    void add(FileDescriptor socket, const IpAddress &client, Time now);
    [[nodiscard]] bool makeRoom(const IpAddress &client);
    void serve(Time now);
    void count(Connection &connection, Time now);
    void report(const Observer &observer, Time now, bool isLast);

    ServedFile file_;
    FileOffer offer_;
    SendingLimits limits_;
    ListeningSockets listening_;
    FileDescriptor wakeReader_;
    FileDescriptor wakeWriter_;
    std::list<Connection> connections_; ///< the oldest first
    SendingState state_;
    SendingState reported_;
    Time lastByte_;
    Time nextReport_;
    Time nextFileCheck_;
    Time nextAccept_;
    bool fileChanged_ = false;
};

} // namespace vellomir
