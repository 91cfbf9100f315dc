#pragma once

#include "Vellomir/Window/Desktop.h"

#include <QDBusMessage>

namespace vellomir {

/// The desktop that the program runs on.
class SystemDesktop : public Desktop {
public:
    bool open(const QUrl &url) override;
    void showInFileManager(const QString &file, std::function<void(bool)> answer) override;
    void copyToClipboard(const QString &file) override;
    void showProgress(std::optional<double> share) override;
};

/// What tells docks and task bars of the progress.
[[nodiscard]] QDBusMessage launcherUpdate(std::optional<double> share);

} // namespace vellomir
