#include "Vellomir/Sending/Connection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <netinet/in.h>
#include <poll.h>
#include <utility>

namespace vellomir {
namespace {

constexpr std::size_t bytesReadAtOnce = std::size_t{64} << 10U;
/// So that other clients have their turn.
constexpr std::size_t piecesOfTurn = 4;

bool isForLater(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

Connection::Connection(FileDescriptor socket, const IpAddress &client, const ServedOffer &served,
                       Time now)
    : socket_(std::move(socket)), client_(client), served_(served),
      deadline_(now + served.limits.requestTime) {
    // A small buffer lets a client that has stopped reading be noticed, and the count be right.
    const int size = served.limits.sendBuffer;
    static_cast<void>(::setsockopt(socket_.get(), SOL_SOCKET, SO_SNDBUF, &size, sizeof size));
}

short Connection::awaitedEvents() const {
    switch (phase_) {
    case Phase::request:
    case Phase::closing:
        return POLLIN;
    case Phase::answer:
        return POLLOUT;
    default:
        return 0;
    }
}

void Connection::goOn(Time now) {
    if (phase_ == Phase::request)
        readRequest(now);
    if (phase_ == Phase::answer)
        sendAnswer(now);
    else if (phase_ == Phase::closing)
        readToEnd();
}

void Connection::expire(Time now) {
    if (phase_ == Phase::request && !request_.empty()) {
        begin(refusal(408, std::time(nullptr)), now);
        return sendAnswer(now);
    }
    if (phase_ == Phase::closing)
        isComplete_ = endsFile_;
    close();
}

std::uint64_t Connection::takeSentBytes() {
    return std::exchange(sentBytes_, 0);
}

bool Connection::takeCompletion() {
    return std::exchange(isComplete_, false);
}

void Connection::readRequest(Time now) {
    std::array<char, 2048> buffer{};
    while (phase_ == Phase::request) {
        const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
        if (count < 0 && isForLater(errno))
            return;
        if (count <= 0)
            return close();
        request_.append(buffer.data(), static_cast<std::size_t>(count));
        const auto size = sizeOfHead(request_);
        if (size && *size <= served_.limits.requestSize)
            answerRequest(*size, now);
        else if (!mayBecomeRequest(request_))
            begin(refusal(400, std::time(nullptr)), now);
        else if (request_.size() > served_.limits.requestSize)
            begin(refusal(431, std::time(nullptr)), now);
    }
}

void Connection::answerRequest(std::size_t headSize, Time now) {
    const std::time_t date = std::time(nullptr);
    const auto request = parseRequest(std::string_view(request_).substr(0, headSize));
    if (!request)
        return begin(refusal(400, date), now);
    HttpAnswer answer = answerTo(*request, served_.offer, date);
    if (answer.status < 300 && !served_.file.isUnchanged()) {
        hasFileChanged_ = true;
        return begin(refusal(503, date), now);
    }
    begin(std::move(answer), now);
}

void Connection::begin(HttpAnswer answer, Time now) {
    request_ = {};
    output_ = std::move(answer.head);
    outputSent_ = 0;
    headLeft_ = output_.size();
    part_ = answer.part;
    unread_ = answer.part;
    isTransfer_ = answer.part.length > 0 || answer.endsFile;
    endsFile_ = answer.endsFile;
    phase_ = Phase::answer;
    deadline_ = now + served_.limits.idleTime;
}

void Connection::sendAnswer(Time now) {
    for (std::size_t piece = 0; piece < piecesOfTurn;) {
        if (outputSent_ == output_.size()) {
            if (unread_.length == 0)
                return stopSending(now);
            if (!loadMore())
                return;
            ++piece;
        }
        const ssize_t count = ::send(socket_.get(), output_.data() + outputSent_,
                                     output_.size() - outputSent_, MSG_NOSIGNAL);
        if (count < 0)
            return isForLater(errno) ? void() : close();
        const auto sent = static_cast<std::size_t>(count);
        const std::size_t ofHead = std::min(sent, headLeft_);
        headLeft_ -= ofHead;
        part_.offset += sent - ofHead;
        part_.length -= sent - ofHead;
        sentBytes_ += sent - ofHead;
        outputSent_ += sent;
        deadline_ = now + served_.limits.idleTime;
    }
}

/// The next piece of the file replaces what was sent. False, and closed, if the file was changed.
bool Connection::loadMore() {
    output_.resize(
        static_cast<std::size_t>(std::min<std::uint64_t>(unread_.length, bytesReadAtOnce)));
    outputSent_ = 0;
    const std::span<char> piece(output_);
    if (!served_.file.isUnchanged() ||
        !served_.file.read(unread_.offset, std::as_writable_bytes(piece))) {
        hasFileChanged_ = true;
        close();
        return false;
    }
    unread_.offset += output_.size();
    unread_.length -= output_.size();
    return true;
}

/// The client sees the end of the answer. Closing at once could make the system throw away what is
/// still on its way, if the client has sent more than its request.
void Connection::stopSending(Time now) {
    output_ = {};
    outputSent_ = 0;
    phase_ = Phase::closing;
    deadline_ = now + served_.limits.closingTime;
    if (::shutdown(socket_.get(), SHUT_WR) != 0)
        return close();
    readToEnd();
}

void Connection::readToEnd() {
    constexpr std::size_t most = std::size_t{256} << 10U;
    std::array<char, 4096> buffer{};
    while (readAtEnd_ < most) {
        const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
        if (count < 0 && isForLater(errno))
            return;
        if (count <= 0) {
            isComplete_ = endsFile_ && count == 0;
            return close();
        }
        readAtEnd_ += static_cast<std::size_t>(count);
    }
    close();
}

void Connection::close() {
    phase_ = Phase::over;
    socket_ = FileDescriptor();
    request_ = {};
    output_ = {};
}

} // namespace vellomir
