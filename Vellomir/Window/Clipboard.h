#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// Puts text on the clipboard. Main thread.
class Clipboard : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    /// Line and paragraph separators become line feeds.
    Q_INVOKABLE static void copyText(const QString &text);
    /// Sets the selection that the middle mouse button pastes, on desktops that have one. An empty
    /// text changes nothing.
    Q_INVOKABLE static void offerSelection(const QString &text);
};

} // namespace vellomir
