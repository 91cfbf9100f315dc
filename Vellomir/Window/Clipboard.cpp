#include "Vellomir/Window/Clipboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace vellomir {
namespace {

/// Qt's text items separate lines by U+2028 and paragraphs by U+2029.
QString withLineFeeds(QString text) {
    return text.replace(QChar::ParagraphSeparator, u'\n').replace(QChar::LineSeparator, u'\n');
}

} // namespace

void Clipboard::copyText(const QString &text) {
    QGuiApplication::clipboard()->setText(withLineFeeds(text));
}

void Clipboard::offerSelection(const QString &text) {
    QClipboard &clipboard = *QGuiApplication::clipboard();
    if (!text.isEmpty() && clipboard.supportsSelection())
        clipboard.setText(withLineFeeds(text), QClipboard::Selection);
}

} // namespace vellomir
