#pragma once

#include <QStringList>
#include <QUrl>

#include <optional>

namespace vellomir {

/// The arguments of the window's program.
struct WindowOptions {
    /// to open; an argument that is not a URL is a path relative to the current folder
    QList<QUrl> files;
};

/// Without options, the program must end with the exit code: the help, the version or an error has
/// been printed.
struct ParsedCommandLine {
    std::optional<WindowOptions> options;
    int exitCode = 0;
};

[[nodiscard]] ParsedCommandLine parse(const QStringList &arguments);

} // namespace vellomir
