#pragma once

#include <QString>
#include <QUrl>
#include <QWindow>

#include <functional>
#include <optional>

namespace vellomir {

/// What the desktop does for a program. Main thread.
class Desktop {
public:
    Desktop() = default;
    Desktop(const Desktop &) = delete;
    Desktop &operator=(const Desktop &) = delete;
    virtual ~Desktop() = default;

    /// Has the program open it that the system holds responsible; whether there is one.
    virtual bool open(const QUrl &url) = 0;
    /// Shows the folder of a file with the file marked, or at least the folder. The answer, whether
    /// a program was found that does so, comes later.
    virtual void showInFileManager(const QString &file, std::function<void(bool)> answer) = 0;
    /// Puts the file itself on the clipboard, to be pasted in a file manager or a message.
    virtual void copyToClipboard(const QString &file) = 0;
    /// Marks the window's entry in lists of windows, until the user comes to it.
    virtual void requestAttention(QWindow &window) { window.alert(0); }
    /// Shows the share that is done, 0 to 1, at the program's entry; nothing takes it away. Not
    /// every desktop does.
    virtual void showProgress(std::optional<double> share) { static_cast<void>(share); }
};

} // namespace vellomir
