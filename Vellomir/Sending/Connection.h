#pragma once

#include "Vellomir/Sending/HttpAnswer.h"
#include "Vellomir/Sending/IpAddress.h"
#include "Vellomir/Sending/SendingLimits.h"
#include "Vellomir/Sending/ServedFile.h"
#include "files/FileDescriptor.h"

#include <chrono>
#include <string>
#include <vector>

namespace vellomir {

/// What all connections of a server share; not owned.
struct ServedOffer {
    const ServedFile &file;
    const FileOffer &offer;
    const SendingLimits &limits;
};

/// One client: reads one request, sends one answer, and closes. Never waits: it reads and sends
/// what the system has and takes at the moment. It needs little memory, whatever the size of the
/// file.
class Connection {
public:
    using Clock = std::chrono::steady_clock;
    using Time = Clock::time_point;

    enum class Phase {
        request, ///< reads the request
        answer,  ///< sends
        closing, ///< all is sent; waits until the client has closed
        over,
    };

    /// Owns the socket, which does not block.
    Connection(FileDescriptor socket, const IpAddress &client, const ServedOffer &served, Time now);

    [[nodiscard]] int socket() const { return socket_.get(); }
    [[nodiscard]] const IpAddress &client() const { return client_; }
    [[nodiscard]] Phase phase() const { return phase_; }
    /// What `poll` has to wait for.
    [[nodiscard]] short awaitedEvents() const;
    /// When `expire` has to be called unless something happens.
    [[nodiscard]] Time deadline() const { return deadline_; }

    /// Goes on as far as possible without waiting, but not for long.
    void goOn(Time now);
    /// The client was too slow.
    void expire(Time now);

    // --- The transfer of the file ---------------------------------------------------------------

    /// Whether the answer is the file or a part of it.
    [[nodiscard]] bool isTransfer() const { return isTransfer_; }
    /// Whether bytes of the file are still to be sent.
    [[nodiscard]] bool isSendingFile() const { return phase_ == Phase::answer && isTransfer_; }
    /// Where in the file the transfer is.
    [[nodiscard]] std::uint64_t position() const { return part_.offset; }
    /// Bytes of the file that were sent since the last call.
    [[nodiscard]] std::uint64_t takeSentBytes();
    /// True once, when the client has got the end of the file.
    [[nodiscard]] bool takeCompletion();
    /// Whether the file could not be read as it was: it was changed.
    [[nodiscard]] bool hasFileChanged() const { return hasFileChanged_; }

private:
    void readRequest(Time now);
    void answerRequest(std::size_t headSize, Time now);
    void begin(HttpAnswer answer, Time now);
    void sendAnswer(Time now);
    [[nodiscard]] bool loadMore();
    void stopSending(Time now);
    void readToEnd();
    void close();

    FileDescriptor socket_;
    IpAddress client_;
    ServedOffer served_;
    Phase phase_ = Phase::request;
    Time deadline_;
    std::string request_;
    std::string output_; ///< what is to be sent next
    std::size_t outputSent_ = 0;
    std::size_t headLeft_ = 0; ///< bytes of the output that are not of the file
    FilePart part_;            ///< what is still to be sent of the file
    FilePart unread_;          ///< what of it is not in the output yet
    std::size_t readAtEnd_ = 0;
    std::uint64_t sentBytes_ = 0;
    bool isTransfer_ = false;
    bool endsFile_ = false;
    bool isComplete_ = false;
    bool hasFileChanged_ = false;
};

} // namespace vellomir
