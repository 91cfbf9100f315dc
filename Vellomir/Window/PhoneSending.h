#pragma once

#include "Vellomir/Sending/FileServer.h"

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <thread>

namespace vellomir {

class Desktop;

/// Sends one file to a phone in the local network, as long as its sheet is open. Main thread; the
/// server runs in a thread of its own.
class PhoneSending : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("It belongs to the share sheet's state.")
    /// Whether the sheet is shown.
    Q_PROPERTY(bool isOpen READ isOpen NOTIFY isOpenChanged)
    /// What to open on the phone; empty if nothing is offered.
    Q_PROPERTY(QString address READ address NOTIFY addressesChanged)
    /// The same in other networks of this computer, one a line.
    Q_PROPERTY(QString otherAddresses READ otherAddresses NOTIFY addressesChanged)
    /// How much was sent, in a few words.
    Q_PROPERTY(QString progress READ progress NOTIFY progressChanged)
    /// The same from 0 to 1.
    Q_PROPERTY(double share READ share NOTIFY progressChanged)
    /// Why nothing is offered, in a sentence; empty if something is.
    Q_PROPERTY(QString failure READ failure NOTIFY failureChanged)

public:
    explicit PhoneSending(Desktop &desktop, QObject *parent = nullptr);
    /// Closes all connections.
    ~PhoneSending() override;

    [[nodiscard]] bool isOpen() const { return isOpen_; }
    [[nodiscard]] QString address() const { return addresses_.value(0); }
    [[nodiscard]] QString otherAddresses() const { return addresses_.mid(1).join(u'\n'); }
    [[nodiscard]] QString progress() const { return progress_; }
    [[nodiscard]] double share() const { return share_; }
    [[nodiscard]] QString failure() const { return failure_; }

    /// Offers the file and shows the sheet, which says why if that fails.
    void open(const QString &file);
    /// To be called when the sheet has closed: closes all connections.
    Q_INVOKABLE void close();
    Q_INVOKABLE void copyAddress() const;

signals:
    void isOpenChanged();
    void addressesChanged();
    void progressChanged();
    void failureChanged();

private:
    void start(const QString &file);
    void run(FileServer &server, int number);
    void stop();
    void setOpen(bool isOpen);
    void setAddresses(const QStringList &addresses);
    void setFailure(const QString &failure);
    void showState(const SendingState &state);
    void end(const QString &reason);

    Desktop &desktop_;
    std::unique_ptr<FileServer> server_;
    std::thread thread_;
    int number_ = 0; ///< of the server; what an earlier one reports is ignored
    bool isOpen_ = false;
    QStringList addresses_;
    QString progress_;
    double share_ = 0;
    QString failure_;
};

} // namespace vellomir
