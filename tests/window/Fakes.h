#pragma once

#include "Vellomir/Sending/SendingFault.h"
#include "Vellomir/Window/Desktop.h"
#include "Vellomir/Window/Pickers.h"

#include <QStringList>

#include <optional>
#include <utility>
#include <vector>

namespace vellomir::test {

/// Dialogs that record the requests; the test answers each once.
class FakePickers : public Pickers {
public:
    void pickDocument(Documents answer) override {
        ++documentDialogs;
        document_ = std::move(answer);
    }
    void pickPicture(Place answer) override {
        ++pictureDialogs;
        picture_ = std::move(answer);
    }
    void pickDestination(const QString &name, Place answer) override {
        ++destinationDialogs;
        offeredName = name;
        destination_ = std::move(answer);
    }

    void answerDocument(const QString &file) {
        std::exchange(document_, nullptr)({QUrl::fromLocalFile(file)});
    }
    void answerPicture(const QString &file) {
        std::exchange(picture_, nullptr)(QUrl::fromLocalFile(file));
    }
    void cancelPicture() { std::exchange(picture_, nullptr)(std::nullopt); }
    void answerDestination(const QUrl &url) { std::exchange(destination_, nullptr)(url); }
    void cancelDestination() { std::exchange(destination_, nullptr)(std::nullopt); }

    int documentDialogs = 0;
    int pictureDialogs = 0;
    int destinationDialogs = 0;
    QString offeredName; ///< in the last request to save a copy

private:
    Documents document_;
    Place picture_;
    Place destination_;
};

/// A desktop that records the calls.
class FakeDesktop : public Desktop {
public:
    bool open(const QUrl &url) override {
        opened.append(url.toString());
        return hasBrowser;
    }
    [[nodiscard]] QUrl helpPage() const override { return help; }
    void showInFileManager(const QString &file, std::function<void(bool)> answer) override {
        shown.append(file);
        answer(hasFileManager);
    }
    void copyToClipboard(const QString &file) override { copied.append(file); }

    std::vector<InterfaceAddress> localAddresses() override {
        if (!hasNetwork)
            throw SendingFault("This computer is in no local network");
        return {{.interface = "lo", .address = *IpAddress::parse("127.0.0.1")},
                {.interface = "lo", .address = *IpAddress::parse("127.0.0.2")}};
    }

    void requestAttention(QWindow &) override { ++requests; }
    void showProgress(std::optional<double> share) override { progress.push_back(share); }

    int requests = 0;
    std::vector<std::optional<double>> progress;
    QUrl help = QUrl(QStringLiteral("file:///share/help.html"));
    bool hasBrowser = true;
    bool hasFileManager = true;
    bool hasNetwork = true;
    QStringList opened;
    QStringList shown;
    QStringList copied;
};

} // namespace vellomir::test
