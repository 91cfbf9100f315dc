#pragma once

#include "Vellomir/Sending/InterfaceAddress.h"
#include "Vellomir/Window/HelpPage.h"

#include <QString>
#include <QUrl>
#include <QWindow>

#include <functional>
#include <optional>
#include <vector>

namespace vellomir {

/// The desktop's services. Main thread.
class Desktop {
public:
    Desktop() = default;
    Desktop(const Desktop &) = delete;
    Desktop &operator=(const Desktop &) = delete;
    virtual ~Desktop() = default;

    /// Opens the URL with the system's default program. Returns false if there is none.
    virtual bool open(const QUrl &url) = 0;
    /// The program's own help page, a local file; empty if it is not installed.
    [[nodiscard]] virtual QUrl helpPage() const { return vellomir::helpPage(); }
    /// Shows the file's folder, with the file selected if possible. Calls `answer` later: whether a
    /// program was found.
    virtual void showInFileManager(const QString &file, std::function<void(bool)> answer) = 0;
    /// Puts the file itself on the clipboard, for pasting in a file manager or a message.
    virtual void copyToClipboard(const QString &file) = 0;
    /// Where a file can be offered to a phone: never empty. Throws `SendingFault` if this computer
    /// is in no local network.
    [[nodiscard]] virtual std::vector<InterfaceAddress> localAddresses() {
        return servedAddresses(interfaceAddresses());
    }
    /// Marks the window in task bars until the user activates it.
    virtual void requestAttention(QWindow &window) { window.alert(0); }
    /// Shows progress, 0 to 1, in docks and task bars that support it; nothing removes it.
    virtual void showProgress(std::optional<double> share) { static_cast<void>(share); }
};

} // namespace vellomir
