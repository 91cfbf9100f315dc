#include "Vellomir/Window/PhoneSending.h"

#include "Vellomir/Sending/SendingText.h"
#include "Vellomir/Window/Clipboard.h"
#include "Vellomir/Window/Desktop.h"

#include <QLocale>

#include <exception>

namespace vellomir {
namespace {

std::string dataSize(std::uint64_t bytes) {
    return QLocale::c()
        .formattedDataSize(static_cast<qint64>(bytes), 1, QLocale::DataSizeSIFormat)
        .toStdString();
}

QString asSentence(const std::string &text) {
    return QString::fromStdString(text) + u'.';
}

} // namespace

PhoneSending::PhoneSending(Desktop &desktop, QObject *parent)
    : QObject(parent), desktop_(desktop) {}

PhoneSending::~PhoneSending() {
    stop();
}

void PhoneSending::open(const QString &file) {
    stop();
    setFailure({});
    try {
        start(file);
    } catch (const std::exception &error) {
        end(asSentence(error.what()));
    }
    setOpen(true);
}

void PhoneSending::start(const QString &file) {
    server_ = std::make_unique<FileServer>(
        file.toStdString(), FileServer::Settings{.addresses = desktop_.localAddresses()});
    showState({});
    QStringList addresses;
    for (const std::string &each : server_->addresses())
        addresses.append(QString::fromStdString(each));
    setAddresses(addresses);
    thread_ =
        std::thread([this, number = number_, server = server_.get()] { run(*server, number); });
}

/// In the server's thread.
void PhoneSending::run(FileServer &server, int number) {
    const auto post = [this, number](auto change) {
        QMetaObject::invokeMethod(
            this,
            [this, number, change] {
                if (number == number_)
                    change();
            },
            Qt::QueuedConnection);
    };
    try {
        const SendingEnd reason = server.run(
            [this, post](const SendingState &state) { post([this, state] { showState(state); }); });
        if (reason != SendingEnd::stopped)
            post([this, reason] { end(asSentence(endText(reason))); });
    } catch (const std::exception &error) {
        post([this, text = asSentence(error.what())] { end(text); });
    }
}

void PhoneSending::stop() {
    ++number_;
    if (server_)
        server_->stop();
    if (thread_.joinable())
        thread_.join();
    server_.reset();
}

void PhoneSending::close() {
    stop();
    setAddresses({});
    setOpen(false);
}

void PhoneSending::copyAddress() const {
    Clipboard::copyText(address());
}

void PhoneSending::showState(const SendingState &state) {
    const std::uint64_t size = server_->fileSize();
    progress_ = QString::fromStdString(progressText(state, size, dataSize));
    share_ = size > 0 ? static_cast<double>(state.position) / static_cast<double>(size)
                      : static_cast<double>(state.complete > 0);
    emit progressChanged();
}

void PhoneSending::end(const QString &reason) {
    stop();
    setAddresses({});
    setFailure(reason);
}

void PhoneSending::setOpen(bool isOpen) {
    if (isOpen_ == isOpen)
        return;
    isOpen_ = isOpen;
    emit isOpenChanged();
}

void PhoneSending::setAddresses(const QStringList &addresses) {
    if (addresses_ == addresses)
        return;
    addresses_ = addresses;
    emit addressesChanged();
}

void PhoneSending::setFailure(const QString &failure) {
    if (failure_ == failure)
        return;
    failure_ = failure;
    emit failureChanged();
}

} // namespace vellomir
