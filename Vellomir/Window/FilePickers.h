#pragma once

#include "Vellomir/Window/Pickers.h"
#include "Vellomir/Window/ThumbnailProvider.h"

#include <QFileDialog>
#include <QPointer>
#include <QWindow>

#include <memory>

namespace vellomir {

/// File dialogs in windows of their own, in front of the program's window. Where the desktop has
/// dialogs of its own, it is those. Each starts where the last of its kind ended, the first ones
/// where such files usually lie. One at a time: a new one cancels the one that is open.
class FilePickers : public Pickers {
public:
    FilePickers();
    ~FilePickers() override;

    /// The window that the dialogs belong to; not owned.
    void setOwner(QWindow *owner) { owner_ = owner; }

    void pickDocument(Documents answer) override;
    void pickPicture(Place answer) override;
    void pickDestination(const QString &name, Place answer) override;

private:
    using Finished = std::function<void(const QList<QUrl> &)>;
    void open(std::unique_ptr<QFileDialog> dialog, QUrl &folder, Finished finished);
    void forgetDialog();

    QPointer<QWindow> owner_;
    ThumbnailProvider thumbnails_; ///< outlives the dialog, whose thread calls it
    std::unique_ptr<QFileDialog> dialog_;
    QUrl documentFolder_;
    QUrl pictureFolder_;
    QUrl destinationFolder_;
};

} // namespace vellomir
