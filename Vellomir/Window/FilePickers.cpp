#include "Vellomir/Window/FilePickers.h"

#include <QDir>
#include <QListView>
#include <QSettings>
#include <QStandardPaths>

namespace vellomir {
namespace {

/// The standard folder, or the user's home if it does not exist.
QUrl usualFolder(QStandardPaths::StandardLocation location) {
    const QString folder = QStandardPaths::writableLocation(location);
    return QUrl::fromLocalFile(QDir(folder).exists() ? folder : QDir::homePath());
}

/// Qt's dialogs store their settings in a file that all Qt programs share. /dev/null is not a
/// folder, so no file below it can be read or written.
void keepSettingsOffTheDisk() {
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("/dev/null"));
}

/// Rows high enough to recognise pictures.
void showLargeIcons(const QFileDialog &dialog) {
    constexpr QSize iconSize(72, 72);
    if (auto *const list = dialog.findChild<QListView *>(QStringLiteral("listView"))) {
        list->setIconSize(iconSize);
        list->setSpacing(4);
    }
}

/// Qt's own dialog parses quotes as a list of several files.
QString withoutQuotes(QString name) {
    return name.replace(u'"', u'\'');
}

std::optional<QUrl> firstOf(const QList<QUrl> &urls) {
    return urls.isEmpty() ? std::nullopt : std::optional(urls.front());
}

} // namespace

FilePickers::FilePickers()
    : documents_{.folder = usualFolder(QStandardPaths::DownloadLocation), .view = {}, .size = {}},
      pictures_{.folder = usualFolder(QStandardPaths::PicturesLocation), .view = {}, .size = {}},
      destinations_(documents_) {
    keepSettingsOffTheDisk();
}

FilePickers::~FilePickers() = default;

std::unique_ptr<QFileDialog>
FilePickers::makeDialog(const QString &title, QFileDialog::ViewMode usualView, const Kind &kind) {
    auto dialog = std::make_unique<QFileDialog>(nullptr, title);
    dialog->setViewMode(usualView);
    if (!kind.view.isEmpty())
        dialog->restoreState(kind.view);
    if (kind.size.isValid())
        dialog->resize(kind.size);
    dialog->setDirectoryUrl(kind.folder);
    return dialog;
}

void FilePickers::pickDocument(Documents answer) {
    auto dialog = makeDialog(QStringLiteral("Select IPA File"), QFileDialog::Detail, documents_);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters(
        {QStringLiteral("All files (*)"), QStringLiteral("iOS packages (*.ipa)")});
    open(std::move(dialog), documents_, [answer = std::move(answer)](const QList<QUrl> &picked) {
        if (!picked.isEmpty())
            answer(picked);
    });
}

void FilePickers::pickPicture(Place answer) {
    auto dialog = makeDialog(QStringLiteral("Choose a picture"), QFileDialog::List, pictures_);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({QStringLiteral("Pictures (%1)").arg(pictureNames().join(u' ')),
                            QStringLiteral("All files (*)")});
    dialog->setIconProvider(&thumbnails_);
    showLargeIcons(*dialog);
    open(std::move(dialog), pictures_,
         [answer = std::move(answer)](const QList<QUrl> &picked) { answer(firstOf(picked)); });
}

void FilePickers::pickDestination(const QString &name, Place answer) {
    auto dialog = makeDialog(QStringLiteral("Save a copy"), QFileDialog::Detail, destinations_);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setNameFilters(
        {QStringLiteral("iOS packages (*.ipa)"), QStringLiteral("All files (*)")});
    dialog->setDefaultSuffix(QStringLiteral("ipa"));
    dialog->selectFile(withoutQuotes(name));
    open(std::move(dialog), destinations_,
         [answer = std::move(answer)](const QList<QUrl> &picked) { answer(firstOf(picked)); });
}

void FilePickers::open(std::unique_ptr<QFileDialog> dialog, Kind &kind, Finished finished) {
    if (dialog_)
        dialog_->reject(); // Answers the caller of the replaced dialog.
    dialog_ = std::move(dialog);
    QFileDialog *const opened = dialog_.get();
    QObject::connect(opened, &QFileDialog::finished, opened,
                     [this, opened, &kind, finished = std::move(finished)](int result) {
                         const auto picked =
                             result == QDialog::Accepted ? opened->selectedUrls() : QList<QUrl>();
                         kind.view = opened->saveState();
                         kind.size = opened->size();
                         if (!picked.isEmpty())
                             kind.folder = picked.front().adjusted(QUrl::RemoveFilename);
                         if (opened == dialog_.get())
                             forgetDialog();
                         finished(picked);
                     });
    opened->setWindowModality(Qt::ApplicationModal);
    opened->winId(); // Creates the native window, which the next lines need.
    if (opened->windowHandle() != nullptr)
        opened->windowHandle()->setTransientParent(owner_);
    opened->open();
}

/// Without this, the dialog's completion popup would outlive its closing and keep the keyboard's
/// focus.
void FilePickers::forgetDialog() {
    if (dialog_)
        // Deleted later, because this may run in the dialog's own signal.
        dialog_.release()->deleteLater();
}

} // namespace vellomir
