#pragma once

#include "Vellomir/Window/Desktop.h"

namespace vellomir {

/// The desktop that the program runs on.
class SystemDesktop : public Desktop {
public:
    bool open(const QUrl &url) override;
    void showInFileManager(const QString &file, std::function<void(bool)> answer) override;
    void copyToClipboard(const QString &file) override;
};

} // namespace vellomir
