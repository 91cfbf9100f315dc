#include "Vellomir/Window/AppLaunchState.h"

#include "Vellomir/ContentView/ActivityView.h"
#include "Vellomir/ImageCropperView.h"
#include "Vellomir/Window/Desktop.h"
#include "Vellomir/Window/Pickers.h"
#include "Vellomir/Window/PreviewProvider.h"
#include "Vellomir/Window/URLs.h"

#include <QPointer>

namespace vellomir {

AppLaunchState::AppLaunchState(const Surroundings &surroundings, QObject *parent)
    : QObject(parent), view_(surroundings.view), previews_(surroundings.previews),
      pickers_(surroundings.pickers), desktop_(surroundings.desktop),
      mainQueue_(surroundings.mainQueue), logMessages_(surroundings.view.logMessages),
      sharing_(surroundings.pickers, surroundings.desktop) {
    followAll();
}

template <class Value>
void AppLaunchState::follow(Property<Value> &property, void (AppLaunchState::*changed)()) {
    observations_.push_back(
        property.observe([this, changed](const Value &) { (this->*changed)(); }));
}

void AppLaunchState::followAll() {
    follow(view_.selectedFileURL, &AppLaunchState::selectedFileURLChanged);
    follow(view_.modifiedFileURL, &AppLaunchState::modifiedFileURLChanged);
    follow(view_.showShareSheet, &AppLaunchState::showShareSheetChanged);
    follow(view_.duplicationNumber, &AppLaunchState::duplicationNumberChanged);
    follow(view_.showImagePicker, &AppLaunchState::showImagePickerChanged);
    follow(view_.showImageCropper, &AppLaunchState::showImageCropperChanged);
    follow(view_.isLoading, &AppLaunchState::isLoadingChanged);
    follow(view_.isProcessing, &AppLaunchState::isProcessingChanged);
    follow(view_.errorMessage, &AppLaunchState::errorMessageChanged);
    follow(view_.showInfoSheet, &AppLaunchState::showInfoSheetChanged);
    connect(this, &AppLaunchState::showImagePickerChanged, &AppLaunchState::presentImagePicker);
    observations_.push_back(view_.selectedImage.observe(
        [this](const std::optional<Picture> &picture) { showPicture(picture); }));
    const auto showResult = [this](const auto &) {
        sharing_.setItem(modifiedFileURL(), view_.modifiedFileRemarks.get(),
                         view_.modifiedFileWarnings.get());
    };
    observations_.push_back(view_.modifiedFileRemarks.observe(showResult));
    observations_.push_back(view_.modifiedFileWarnings.observe(showResult));
    observations_.push_back(view_.modifiedFileURL.observe(showResult));
    connect(&sharing_, &Sharing::savingFailed, this, &AppLaunchState::showSavingFailure);
}

QUrl AppLaunchState::selectedFileURL() const {
    return toQt(view_.selectedFileURL.get());
}

QUrl AppLaunchState::modifiedFileURL() const {
    return toQt(view_.modifiedFileURL.get());
}

QString AppLaunchState::duplicationNumber() const {
    return QString::fromStdString(view_.duplicationNumber.get());
}

void AppLaunchState::setDuplicationNumber(const QString &number) {
    view_.duplicationNumber.set(number.toStdString());
}

QString AppLaunchState::errorMessage() const {
    return QString::fromStdString(view_.errorMessage.get());
}

void AppLaunchState::setAlert(const QString &alert) {
    if (alert_ == alert)
        return;
    alert_ = alert;
    emit alertChanged();
}

void AppLaunchState::setPercent(int percent) {
    if (percent_ == percent)
        return;
    percent_ = percent;
    emit percentChanged();
}

bool AppLaunchState::openDocuments(const QList<QUrl> &urls) {
    const auto files = fromQt(urls);
    if (files.empty() && !urls.isEmpty())
        setAlert(QStringLiteral("Only files on this computer can be opened, not %1")
                     .arg(urls.constFirst().toDisplayString()));
    return view_.openDocuments(files);
}

void AppLaunchState::useImage() {
    view_.imageCropperView().use();
}

void AppLaunchState::zoomImage() {
    view_.imageCropperView().zoomIt();
}

void AppLaunchState::didFinishSharing() {
    if (const auto sheet = view_.activityView())
        sheet->makeCoordinator(mainQueue_)->didFinishSharing({}, true, {}, nullptr);
    else
        setShowShareSheet(false); // The sheet was empty.
}

/// The share sheet shows the failure itself while it is open.
void AppLaunchState::showSavingFailure() {
    if (!showShareSheet())
        setAlert(sharing_.message());
}

void AppLaunchState::openLink(const QString &url) {
    const QUrl address(url, QUrl::StrictMode);
    if (!url.isEmpty() && address.isValid() && !desktop_.open(address))
        setAlert(QStringLiteral("No browser opened the link. Its address is %1").arg(url));
}

void AppLaunchState::openHelp() {
    const QUrl page = desktop_.helpPage();
    if (page.isEmpty())
        setAlert(QStringLiteral("The help page is not installed."));
    else if (!desktop_.open(page))
        setAlert(QStringLiteral("No browser opened the help page. It is the file %1")
                     .arg(page.toLocalFile()));
}

void AppLaunchState::presentImagePicker() {
    if (!showImagePicker())
        return;
    pickers_.pickPicture([self = QPointer(this)](const std::optional<QUrl> &picked) {
        if (!self)
            return;
        const auto files = fromQt(picked ? QList<QUrl>{*picked} : QList<QUrl>());
        if (files.empty())
            self->view_.imagePickerCancelled();
        else
            self->view_.pickedImage(files.front());
    });
}

void AppLaunchState::showPicture(const std::optional<Picture> &picture) {
    selectedImage_ = previews_.show(picture);
    emit selectedImageChanged();
}

} // namespace vellomir
