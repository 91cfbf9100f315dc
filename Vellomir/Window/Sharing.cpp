#include "Vellomir/Window/Sharing.h"

#include "Vellomir/ContentView/SaveCopy.h"
#include "Vellomir/Job/ErrorText.h"
#include "Vellomir/Window/Desktop.h"
#include "Vellomir/Window/HomeFolder.h"
#include "Vellomir/Window/Pickers.h"
#include "archive/TextEncoding.h"

#include <QFileInfo>
#include <QLocale>
#include <QPointer>

#include <algorithm>
#include <exception>

namespace vellomir {
namespace {

/// The reason without the destination's name, which the message shows before it.
QString saveFailure(const std::exception &error, const QString &destination) {
    return QString::fromStdString(errorText(error, [&](ErrorContext &context) {
        const QString path = QString::fromStdString(context.path);
        context.path = path == destination ? "" : abbreviatedPath(path).toStdString();
    }));
}

/// Texts of a package may hold any bytes.
QString shown(const std::string &text) {
    return QString::fromStdString(printable(text));
}

/// The first few of what a warning concerns, a line each.
QString concerns(const InspectionWarning &warning) {
    constexpr std::size_t limit = 5;
    const std::size_t count = std::min(warning.concerns.size(), limit);
    QString text;
    for (std::size_t index = 0; index < count; ++index)
        text += QStringLiteral("\n\u2022 ") + shown(warning.concerns[index]);
    if (count < warning.concerns.size())
        text += QStringLiteral("\n\u2022 and %1 more").arg(warning.concerns.size() - count);
    return text;
}

} // namespace

Sharing::Sharing(Pickers &pickers, Desktop &desktop, QObject *parent)
    : QObject(parent), pickers_(pickers), desktop_(desktop), sending_(desktop) {}

Sharing::~Sharing() {
    if (saver_.joinable())
        saver_.join();
}

void Sharing::setItem(const QUrl &item, const ResultRemarks &remarks,
                      const std::vector<InspectionWarning> &warnings) {
    item_ = item;
    remarks_ = remarks;
    warnings_ = warnings;
    prepare();
}

/// An earlier result is deleted when another file is picked, but is offered again if the job on
/// that file makes nothing.
void Sharing::prepare() {
    emit itemChanged(); // The file may have been replaced or deleted.
    if (isSaving_)
        return;
    if (item_.isEmpty() || isThere())
        say({});
    else
        say(QStringLiteral("The last job made no file; the log says why"), true);
}

QString Sharing::displayName() const {
    return QString::fromStdString(printable(fileName().toStdString()));
}

bool Sharing::isThere() const {
    return !item_.isEmpty() && QFileInfo(path()).isFile();
}

QString Sharing::fileSize() const {
    if (item_.isEmpty())
        return {};
    return isThere() ? QLocale::c().formattedDataSize(QFileInfo(path()).size(), 1,
                                                      QLocale::DataSizeSIFormat)
                     : QStringLiteral("No longer there");
}

QString Sharing::made() const {
    if (!isThere())
        return {};
    return madeText(QFileInfo(path()).lastModified(), QDateTime::currentDateTime());
}

QStringList Sharing::remarks() const {
    QStringList sentences;
    if (isThere() && remarks_.readEntries != remarks_.promisedEntries)
        sentences.append(QStringLiteral("%1 of %2 entries could be read: this copy is incomplete.")
                             .arg(remarks_.readEntries)
                             .arg(remarks_.promisedEntries));
    if (isThere() && remarks_.keepsIdentifier)
        sentences.append(QStringLiteral("Same identifier as the original: it would replace it"));
    return sentences;
}

QString Sharing::warning() const {
    if (!isThere() || warnings_.empty())
        return {};
    const InspectionWarning &first = warnings_.front();
    return shown(first.message) +
           (first.option.empty() ? QString() : QStringLiteral(" The command line can mend that."));
}

QStringList Sharing::warnings() const {
    QStringList texts;
    if (isThere())
        for (const InspectionWarning &warning : warnings_)
            texts.append(shown(warning.message) + concerns(warning));
    return texts;
}

bool Sharing::isMissing() {
    if (isThere())
        return false;
    emit itemChanged();
    say(QStringLiteral("%1 is no longer there").arg(displayName()), true);
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
    emit savingBegins(to);
    say(QStringLiteral("Saving %1…").arg(abbreviatedPath(to)));
    if (saver_.joinable())
        saver_.join(); // The thread has already posted its result.
    saver_ = std::thread([this, from = path(), to] {
        QString failure;
        try {
            vellomir::saveCopy(archive::URL::file(from.toStdString()),
                               archive::URL::file(to.toStdString()), nullptr);
        } catch (const std::exception &error) {
            failure = saveFailure(error, to);
        }
        QMetaObject::invokeMethod(this, [this, to, failure] { saved(to, failure); });
    });
}

void Sharing::saved(const QString &destination, const QString &failure) {
    setSaving(false);
    if (failure.isEmpty())
        return say(QStringLiteral("Saved as %1").arg(abbreviatedPath(destination)));
    say(QStringLiteral("Could not save %1: %2").arg(abbreviatedPath(destination), failure), true);
    emit savingFailed();
}

void Sharing::sendToPhone() {
    if (!isMissing())
        sending_.open(path());
}

void Sharing::showInFileManager() {
    if (isMissing())
        return;
    desktop_.showInFileManager(path(), [self = QPointer(this), file = path()](bool isShown) {
        if (!self)
            return;
        if (isShown)
            self->say(
                QStringLiteral("Asked the file manager to show %1").arg(abbreviatedPath(file)));
        else
            self->say(QStringLiteral("No file manager answered. The file is %1")
                          .arg(abbreviatedPath(file)),
                      true);
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

QString madeText(const QDateTime &made, const QDateTime &now) {
    const QString time = made.toString(QStringLiteral("HH:mm"));
    if (made.date() == now.date())
        return QStringLiteral("Made today at %1").arg(time);
    const QString date = QLocale::c().toString(made.date(), QStringLiteral("d MMMM yyyy"));
    return QStringLiteral("Made on %1 at %2").arg(date, time);
}

} // namespace vellomir
