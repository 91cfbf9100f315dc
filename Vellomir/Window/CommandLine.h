#pragma once

#include <QStringList>
#include <QUrl>

#include <optional>

namespace vellomir {

/// What the window's program is told when it is started.
struct WindowOptions {
    QList<QUrl> files; ///< to open; what is no address is a path from the current folder
};

/// Nothing if the program has said all it had to say: what it can do, its version, or what is wrong
/// with the arguments. It is to end with that exit code then.
struct ParsedCommandLine {
    std::optional<WindowOptions> options;
    int exitCode = 0;
};

[[nodiscard]] ParsedCommandLine parse(const QStringList &arguments);

} // namespace vellomir
