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
    /// Paragraphs and lines of the text end in line feeds afterwards.
    Q_INVOKABLE static void copyText(const QString &text);
    /// For the middle mouse button, on desktops that have such a selection. An empty text changes
    /// nothing.
    Q_INVOKABLE static void offerSelection(const QString &text);
};

} // namespace vellomir
