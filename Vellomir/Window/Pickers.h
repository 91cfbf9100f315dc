#pragma once

#include <QList>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

namespace vellomir {

/// The system's dialogs that ask for files. All of it on the main thread: each operation returns at
/// once, and its answer comes later, once. A dialog that is still open goes with the object,
/// without an answer.
class Pickers {
public:
    using Documents = std::function<void(const QList<QUrl> &picked)>;
    using Place = std::function<void(const std::optional<QUrl> &picked)>;

    Pickers() = default;
    Pickers(const Pickers &) = delete;
    Pickers &operator=(const Pickers &) = delete;
    virtual ~Pickers() = default;

    /// Any file. No answer comes if the user cancels.
    virtual void pickDocument(Documents answer) = 0;
    /// A picture; nothing if the user cancels.
    virtual void pickPicture(Place answer) = 0;
    /// Where to save a file, under the name that is offered or another one. The user has agreed to
    /// replace what is there. Nothing if the user cancels.
    virtual void pickDestination(const QString &name, Place answer) = 0;
};

} // namespace vellomir
