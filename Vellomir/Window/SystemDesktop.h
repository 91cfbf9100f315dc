#pragma once

#include "Vellomir/Window/Desktop.h"

#include <QDBusMessage>

namespace vellomir {

/// The desktop of the current session.
class SystemDesktop : public Desktop {
public:
    bool open(const QUrl &url) override;
    void showInFileManager(const QString &file, std::function<void(bool)> answer) override;
    void copyToClipboard(const QString &file) override;
    void showProgress(std::optional<double> share) override;
};

/// The D-Bus signal that docks and task bars show as progress; without a value it hides the
/// progress.
[[nodiscard]] QDBusMessage launcherUpdate(std::optional<double> share);

} // namespace vellomir
