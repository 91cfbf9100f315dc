#pragma once

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/Window/LogModel.h"
#include "Vellomir/Window/Sharing.h"

#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

class Pickers;
class PreviewProvider;

/// The state of `AppLaunchView` as typed properties, and its actions, for QML. It adds only the
/// message of an alert and the percentage of a job. Main thread.
class AppLaunchState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The application makes it.")
    Q_PROPERTY(QUrl selectedFileURL READ selectedFileURL NOTIFY selectedFileURLChanged)
    Q_PROPERTY(bool hasSelectedFile READ hasSelectedFile NOTIFY selectedFileURLChanged)
    Q_PROPERTY(QUrl modifiedFileURL READ modifiedFileURL NOTIFY modifiedFileURLChanged)
    Q_PROPERTY(bool showShareSheet READ showShareSheet WRITE setShowShareSheet NOTIFY
                   showShareSheetChanged)
    Q_PROPERTY(QString duplicationNumber READ duplicationNumber WRITE setDuplicationNumber NOTIFY
                   duplicationNumberChanged)
    Q_PROPERTY(bool showImagePicker READ showImagePicker NOTIFY showImagePickerChanged)
    Q_PROPERTY(bool showImageCropper READ showImageCropper WRITE setShowImageCropper NOTIFY
                   showImageCropperChanged)
    /// The source of an Image that shows the picture upright; empty without a picture.
    Q_PROPERTY(QUrl selectedImage READ selectedImage NOTIFY selectedImageChanged)
    Q_PROPERTY(bool hasSelectedImage READ hasSelectedImage NOTIFY selectedImageChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    /// The progress of the running job, 0 to 100.
    Q_PROPERTY(int percent READ percent NOTIFY percentChanged)
    Q_PROPERTY(bool isProcessing READ isProcessing NOTIFY isProcessingChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    // Types of the module by their full names: Qt's checker finds them only so.
    Q_PROPERTY(vellomir::LogModel *logMessages READ logMessages CONSTANT)
    Q_PROPERTY(
        bool showInfoSheet READ showInfoSheet WRITE setShowInfoSheet NOTIFY showInfoSheetChanged)
    Q_PROPERTY(vellomir::Sharing *sharing READ sharing CONSTANT)
    /// A message for events that nothing else on the screen shows; empty if there is none.
    Q_PROPERTY(QString alert READ alert WRITE setAlert NOTIFY alertChanged)

public:
    /// Not owned.
    struct Surroundings {
        AppLaunchView &view;
        PreviewProvider &previews;
        Pickers &pickers;
        Desktop &desktop;
        Queue mainQueue;
    };

    explicit AppLaunchState(const Surroundings &surroundings, QObject *parent = nullptr);

    [[nodiscard]] QUrl selectedFileURL() const;
    [[nodiscard]] bool hasSelectedFile() const { return !selectedFileURL().isEmpty(); }
    [[nodiscard]] QUrl modifiedFileURL() const;
    [[nodiscard]] bool showShareSheet() const { return view_.showShareSheet.get(); }
    void setShowShareSheet(bool show) { view_.showShareSheet.set(show); }
    [[nodiscard]] QString duplicationNumber() const;
    void setDuplicationNumber(const QString &number);
    [[nodiscard]] bool showImagePicker() const { return view_.showImagePicker.get(); }
    [[nodiscard]] bool showImageCropper() const { return view_.showImageCropper.get(); }
    void setShowImageCropper(bool show) { view_.showImageCropper.set(show); }
    [[nodiscard]] QUrl selectedImage() const { return selectedImage_; }
    [[nodiscard]] bool hasSelectedImage() const { return !selectedImage_.isEmpty(); }
    [[nodiscard]] bool isLoading() const { return view_.isLoading.get(); }
    [[nodiscard]] int percent() const { return percent_; }
    void setPercent(int percent);
    [[nodiscard]] bool isProcessing() const { return view_.isProcessing.get(); }
    [[nodiscard]] QString errorMessage() const;
    [[nodiscard]] LogModel *logMessages() { return &logMessages_; }
    [[nodiscard]] bool showInfoSheet() const { return view_.showInfoSheet.get(); }
    void setShowInfoSheet(bool show) { view_.showInfoSheet.set(show); }
    [[nodiscard]] Sharing *sharing() { return &sharing_; }
    [[nodiscard]] QString alert() const { return alert_; }
    void setAlert(const QString &alert);

    Q_INVOKABLE void onAppear() { view_.onAppear(); }
    Q_INVOKABLE void selectFile() { view_.selectFile(); }
    /// Takes the first of the files that were dropped or passed on the command line. Returns
    /// whether it was taken.
    Q_INVOKABLE bool openDocuments(const QList<QUrl> &urls);
    Q_INVOKABLE void pickIconAction() { view_.pickIconAction(); }
    Q_INVOKABLE void removeImageAction() { view_.removeImageAction(); }
    Q_INVOKABLE void doItAction() { view_.doItAction(); }
    Q_INVOKABLE void hideKeyboard() { view_.hideKeyboard(); }
    /// The two buttons of the cropper.
    Q_INVOKABLE void useImage();
    Q_INVOKABLE void zoomImage();
    /// To be called when the share sheet has closed, however it was closed.
    Q_INVOKABLE void didFinishSharing();
    /// Opens a link of the about sheet. Does nothing if the text is not a valid URL.
    Q_INVOKABLE void openLink(const QString &url);
    /// Opens the help page in the browser.
    Q_INVOKABLE void openHelp();

signals:
    void selectedFileURLChanged();
    void modifiedFileURLChanged();
    void showShareSheetChanged();
    void duplicationNumberChanged();
    void showImagePickerChanged();
    void showImageCropperChanged();
    void selectedImageChanged();
    void isLoadingChanged();
    void percentChanged();
    void isProcessingChanged();
    void errorMessageChanged();
    void showInfoSheetChanged();
    void alertChanged();

private:
    template <class Value>
    void follow(Property<Value> &property, void (AppLaunchState::*changed)());
    void followAll();
    void presentImagePicker();
    void showSavingFailure();
    void showPicture(const std::optional<Picture> &picture);

    AppLaunchView &view_;
    PreviewProvider &previews_;
    Pickers &pickers_;
    Desktop &desktop_;
    Queue mainQueue_;
    LogModel logMessages_;
    Sharing sharing_;
    QUrl selectedImage_;
    QString alert_;
    int percent_ = 0;
    std::vector<Observation> observations_;
};

} // namespace vellomir
