#pragma once

#include "Vellomir/Window/Pickers.h"
#include "Vellomir/Window/ThumbnailProvider.h"

#include <QFileDialog>
#include <QPointer>
#include <QWindow>

#include <memory>

namespace vellomir {

/// File dialogs in windows of their own, in front of the program's window. Where the desktop has
/// dialogs of its own, it is those. Each starts where the last of its kind ended and looks as it
/// did there, the first ones where such files usually lie. One at a time: a new one cancels the one
/// that is open. No dialog writes a settings file: what they remember goes with this object.
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
    /// What a kind of dialog remembers of the last one.
    struct Kind {
        QUrl folder;
        QByteArray view; ///< of Qt's own dialog; empty before the first
        QSize size;
    };
    using Finished = std::function<void(const QList<QUrl> &)>;

    [[nodiscard]] static std::unique_ptr<QFileDialog>
    makeDialog(const QString &title, QFileDialog::ViewMode usualView, const Kind &kind);
    void open(std::unique_ptr<QFileDialog> dialog, Kind &kind, Finished finished);
    void forgetDialog();

    QPointer<QWindow> owner_;
    ThumbnailProvider thumbnails_; ///< outlives the dialog, whose thread calls it
    std::unique_ptr<QFileDialog> dialog_;
    Kind documents_;
    Kind pictures_;
    Kind destinations_;
};

} // namespace vellomir
