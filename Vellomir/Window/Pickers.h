#pragma once

#include <QList>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

namespace vellomir {

/// The dialogs that ask for files. Main thread. Each function returns at once and calls `answer`
/// once, later. The destructor closes an open dialog without calling `answer`.
class Pickers {
public:
    using Documents = std::function<void(const QList<QUrl> &picked)>;
    using Place = std::function<void(const std::optional<QUrl> &picked)>;

    Pickers() = default;
    Pickers(const Pickers &) = delete;
    Pickers &operator=(const Pickers &) = delete;
    virtual ~Pickers() = default;

    /// Asks for any file. `answer` is not called if the user cancels.
    virtual void pickDocument(Documents answer) = 0;
    /// Asks for a picture. `answer` gets nothing if the user cancels.
    virtual void pickPicture(Place answer) = 0;
    /// Asks where to save a file and suggests a name. The user has confirmed replacing an existing
    /// file. `answer` gets nothing if the user cancels.
    virtual void pickDestination(const QString &name, Place answer) = 0;
};

} // namespace vellomir
