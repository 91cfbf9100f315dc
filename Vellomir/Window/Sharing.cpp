#include "Vellomir/Window/Sharing.h"

#include "Vellomir/Platform/SaveCopy.h"
#include "Vellomir/Window/Desktop.h"
#include "Vellomir/Window/Pickers.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QPointer>

#include <exception>

namespace vellomir {

Sharing::Sharing(Pickers &pickers, Desktop &desktop, QObject *parent)
    : QObject(parent), pickers_(pickers), desktop_(desktop) {}

Sharing::~Sharing() {
    if (saver_.joinable())
        saver_.join();
}

void Sharing::setItem(const QUrl &item) {
    item_ = item;
    prepare();
}

void Sharing::prepare() {
    emit itemChanged(); // There may be another file of the same name, or none any more.
    if (!isSaving_)
        say({});
}

QString Sharing::fileSize() const {
    if (item_.isEmpty())
        return {};
    const QFileInfo file(path());
    return file.exists() ? QLocale::c().formattedDataSize(file.size(), 1, QLocale::DataSizeSIFormat)
                         : QStringLiteral("No longer there");
}

/// An earlier result goes when another file is picked, but is offered again if nothing comes of
/// that.
bool Sharing::isMissing() {
    if (QFileInfo::exists(path()))
        return false;
    say(QStringLiteral("%1 is no longer there").arg(fileName()), true);
    return true;
}

void Sharing::saveCopy() {
    if (isSaving_ || item_.isEmpty() || isMissing())
        return;
    pickers_.pickDestination(fileName(),
                             [self = QPointer(this)](const std::optional<QUrl> &destination) {
                                 if (self && destination && !self->isSaving_)
                                     self->save(*destination);
                             });
}

void Sharing::save(const QUrl &destination) {
    const QString to = destination.toLocalFile();
    if (to.isEmpty())
        return say(QStringLiteral("A copy can only be saved on this computer, not at %1")
                       .arg(destination.toDisplayString()),
                   true);
    setSaving(true);
    say(QStringLiteral("Saving %1…").arg(QDir::toNativeSeparators(to)));
    if (saver_.joinable())
        saver_.join(); // It has said its last word already.
    saver_ = std::thread([this, from = path(), to] {
        QString failure;
        try {
            vellomir::saveCopy(archive::URL::file(from.toStdString()),
                               archive::URL::file(to.toStdString()), nullptr);
        } catch (const std::exception &error) {
            failure = QString::fromStdString(error.what());
        }
        QMetaObject::invokeMethod(this, [this, to, failure] { saved(to, failure); });
    });
}

void Sharing::saved(const QString &destination, const QString &failure) {
    setSaving(false);
    if (failure.isEmpty())
        return say(QStringLiteral("Saved as %1").arg(destination));
    say(QStringLiteral("Could not save %1: %2").arg(destination, failure), true);
    emit savingFailed();
}

void Sharing::showInFileManager() {
    if (isMissing())
        return;
    desktop_.showInFileManager(path(), [self = QPointer(this), file = path()](bool isShown) {
        if (!self)
            return;
        if (isShown)
            self->say(QStringLiteral("Asked the file manager to show %1").arg(file));
        else
            self->say(QStringLiteral("No file manager answered. The file is %1").arg(file), true);
    });
}

void Sharing::copyFile() {
    if (isMissing())
        return;
    desktop_.copyToClipboard(path());
    say(QStringLiteral("Copied. Paste it before you close Vellomir"));
}

void Sharing::explainDragging() {
    say(QStringLiteral("Hold the row with the mouse, and let go over another window"));
}

void Sharing::dragFinished(bool wasTaken) {
    if (wasTaken)
        say(QStringLiteral("Handed over"));
    else
        say(QStringLiteral("Nothing took the file where you let it go"), true);
}

void Sharing::say(const QString &message, bool hasFailed) {
    if (message_ == message && hasFailed_ == hasFailed)
        return;
    message_ = message;
    hasFailed_ = hasFailed;
    emit messageChanged();
}

void Sharing::setSaving(bool isSaving) {
    if (isSaving_ == isSaving)
        return;
    isSaving_ = isSaving;
    emit isSavingChanged();
}

} // namespace vellomir
