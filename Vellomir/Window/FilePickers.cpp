#include "Vellomir/Window/FilePickers.h"

#include <QDir>
#include <QListView>
#include <QStandardPaths>

namespace vellomir {
namespace {

/// A place that exists: the usual one, or the user's home.
QUrl usualFolder(QStandardPaths::StandardLocation location) {
    const QString folder = QStandardPaths::writableLocation(location);
    return QUrl::fromLocalFile(QDir(folder).exists() ? folder : QDir::homePath());
}

std::unique_ptr<QFileDialog> makeDialog(const QString &title, const QUrl &folder) {
    auto dialog = std::make_unique<QFileDialog>(nullptr, title);
    dialog->setDirectoryUrl(folder);
    return dialog;
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
    : documentFolder_(usualFolder(QStandardPaths::DownloadLocation)),
      pictureFolder_(usualFolder(QStandardPaths::PicturesLocation)),
      destinationFolder_(documentFolder_) {}

FilePickers::~FilePickers() = default;

void FilePickers::pickDocument(Documents answer) {
    auto dialog = makeDialog(QStringLiteral("Select IPA File"), documentFolder_);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters(
        {QStringLiteral("All files (*)"), QStringLiteral("iOS packages (*.ipa)")});
    open(std::move(dialog), documentFolder_,
         [answer = std::move(answer)](const QList<QUrl> &picked) {
             if (!picked.isEmpty())
                 answer(picked);
         });
}

void FilePickers::pickPicture(Place answer) {
    auto dialog = makeDialog(QStringLiteral("Choose a picture"), pictureFolder_);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({QStringLiteral("Pictures (%1)").arg(pictureNames().join(u' ')),
                            QStringLiteral("All files (*)")});
    dialog->setIconProvider(&thumbnails_);
    dialog->setViewMode(QFileDialog::List);
    showLargeIcons(*dialog);
    open(std::move(dialog), pictureFolder_,
         [answer = std::move(answer)](const QList<QUrl> &picked) { answer(firstOf(picked)); });
}

void FilePickers::pickDestination(const QString &name, Place answer) {
    auto dialog = makeDialog(QStringLiteral("Save a copy"), destinationFolder_);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setNameFilters(
        {QStringLiteral("iOS packages (*.ipa)"), QStringLiteral("All files (*)")});
    dialog->setDefaultSuffix(QStringLiteral("ipa"));
    dialog->selectFile(withoutQuotes(name));
    open(std::move(dialog), destinationFolder_,
         [answer = std::move(answer)](const QList<QUrl> &picked) { answer(firstOf(picked)); });
}

void FilePickers::open(std::unique_ptr<QFileDialog> dialog, QUrl &folder, Finished finished) {
    if (dialog_)
        dialog_->reject(); // Who asked for it waits for an answer.
    dialog_ = std::move(dialog);
    QFileDialog *const opened = dialog_.get();
    QObject::connect(opened, &QFileDialog::finished, opened,
                     [this, opened, &folder, finished = std::move(finished)](int result) {
                         const auto picked =
                             result == QDialog::Accepted ? opened->selectedUrls() : QList<QUrl>();
                         if (!picked.isEmpty())
                             folder = picked.front().adjusted(QUrl::RemoveFilename);
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
