#include "Vellomir/Window/FilePickers.h"

#include <QDir>
#include <QListView>
#include <QSettings>
#include <QStandardPaths>

namespace vellomir {
namespace {

/// A place that exists: the usual one, or the user's home.
QUrl usualFolder(QStandardPaths::StandardLocation location) {
    const QString folder = QStandardPaths::writableLocation(location);
    return QUrl::fromLocalFile(QDir(folder).exists() ? folder : QDir::homePath());
}

/// Qt's dialogs keep their settings in a file that all programs of the desktop share. Below a place
/// that is no folder no file can be made, nor read.
void keepSettingsOffTheDisk() {
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("/dev/null"));
}

/// Rows high enough to tell pictures apart.
void showLargeIcons(const QFileDialog &dialog) {
    constexpr QSize iconSize(72, 72);
    if (auto *const list = dialog.findChild<QListView *>(QStringLiteral("listView"))) {
        list->setIconSize(iconSize);
        list->setSpacing(4);
    }
}

/// Qt's own dialog takes what is quoted for names of several files, and everything else for none.
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
        dialog_->reject(); // Who asked for it waits for an answer.
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
    opened->winId(); // Makes the window that is to be told whose it is.
    if (opened->windowHandle() != nullptr)
        opened->windowHandle()->setTransientParent(owner_);
    opened->open();
}

/// Its list of completions would outlive the dialog's closing, and keep the keyboard to itself.
void FilePickers::forgetDialog() {
    if (dialog_)
        dialog_.release()->deleteLater(); // It may be the one that is just giving its answer.
}

} // namespace vellomir
