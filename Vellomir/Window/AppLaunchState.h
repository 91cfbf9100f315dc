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

/// What the screens see of `AppLaunchView`: its state as typed properties, and its actions. It
/// holds nothing of its own but the message of an alert and the percentage of a job. Main thread.
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
    /// Where an Image finds the picture, upright; empty if there is none.
    Q_PROPERTY(QUrl selectedImage READ selectedImage NOTIFY selectedImageChanged)
    Q_PROPERTY(bool hasSelectedImage READ hasSelectedImage NOTIFY selectedImageChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    /// How much of the job that runs is done, 0 to 100.
    Q_PROPERTY(int percent READ percent NOTIFY percentChanged)
    Q_PROPERTY(bool isProcessing READ isProcessing NOTIFY isProcessingChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(vellomir::LogModel *logMessages READ logMessages CONSTANT)
    Q_PROPERTY(
        bool showInfoSheet READ showInfoSheet WRITE setShowInfoSheet NOTIFY showInfoSheetChanged)
    Q_PROPERTY(vellomir::Sharing *sharing READ sharing CONSTANT)
    /// What a person must be told that no other place tells; empty if there is nothing.
    Q_PROPERTY(QString alert READ alert WRITE setAlert NOTIFY alertChanged)

public:
    /// What it is given, and does not own.
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
    /// Files that were dropped, or named to the program; whether the first of them is taken.
    Q_INVOKABLE bool openDocuments(const QList<QUrl> &urls);
    Q_INVOKABLE void pickIconAction() { view_.pickIconAction(); }
    Q_INVOKABLE void removeImageAction() { view_.removeImageAction(); }
    Q_INVOKABLE void doItAction() { view_.doItAction(); }
    Q_INVOKABLE void hideKeyboard() { view_.hideKeyboard(); }
    /// The cropper's two ways out.
    Q_INVOKABLE void useImage();
    Q_INVOKABLE void zoomImage();
    /// The share sheet has closed, whichever way.
    Q_INVOKABLE void didFinishSharing();
    /// Opens a link of the about sheet; a text that is no address does nothing.
    Q_INVOKABLE void openLink(const QString &url);

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
    void tellSavingFailed();
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
