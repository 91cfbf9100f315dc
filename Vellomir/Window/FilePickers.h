#pragma once

#include "Vellomir/Window/Pickers.h"
#include "Vellomir/Window/ThumbnailProvider.h"

#include <QFileDialog>
#include <QPointer>
#include <QWindow>

#include <memory>

namespace vellomir {

/// File dialogs as windows in front of the program's window: the desktop's own dialogs if it has
/// any, else Qt's. Each kind of dialog opens in the folder and with the view of the last one of its
/// kind; the first one opens in the usual folder for such files. Only one is open at a time: a new
/// one cancels it. Nothing is written to a settings file; folders and views are kept as long as
/// this object.
class FilePickers : public Pickers {
public:
    FilePickers();
    ~FilePickers() override;

    /// The transient parent of the dialogs; not owned.
    void setOwner(QWindow *owner) { owner_ = owner; }

    void pickDocument(Documents answer) override;
    void pickPicture(Place answer) override;
    void pickDestination(const QString &name, Place answer) override;

private:
    /// The last dialog's folder, view and size.
    struct Kind {
        QUrl folder;
        QByteArray view; ///< state of Qt's own dialog; empty before the first
        QSize size;
    };
    using Finished = std::function<void(const QList<QUrl> &)>;

    [[nodiscard]] static std::unique_ptr<QFileDialog>
    makeDialog(const QString &title, QFileDialog::ViewMode usualView, const Kind &kind);
    void open(std::unique_ptr<QFileDialog> dialog, Kind &kind, Finished finished);
    void forgetDialog();

    QPointer<QWindow> owner_;
    ThumbnailProvider thumbnails_; ///< outlives the dialog, which calls it from a thread
    std::unique_ptr<QFileDialog> dialog_;
    Kind documents_;
    Kind pictures_;
    Kind destinations_;
};

} // namespace vellomir
