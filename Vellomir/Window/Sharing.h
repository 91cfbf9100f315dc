#pragma once

#include "Vellomir/Inspection/Inspection.h"
#include "Vellomir/Job/ResultRemarks.h"
#include "Vellomir/Window/PhoneSending.h"

#include <QDateTime>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <thread>
#include <vector>

namespace vellomir {

class Desktop;
class Pickers;

/// The share sheet's actions for one file, and the result of the last action. Main thread.
class Sharing : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("It belongs to the screen's state.")
    /// The file; empty if there is none.
    Q_PROPERTY(QUrl item READ item NOTIFY itemChanged)
    /// The file as text/uri-list (RFC 2483), for dragging.
    Q_PROPERTY(QString uriList READ uriList NOTIFY itemChanged)
    Q_PROPERTY(QString fileName READ fileName NOTIFY itemChanged)
    /// The file name without line breaks and other control characters.
    Q_PROPERTY(QString displayName READ displayName NOTIFY itemChanged)
    /// Whether the file exists. Checked when it is set, when the sheet opens and before each
    /// action.
    Q_PROPERTY(bool isThere READ isThere NOTIFY itemChanged)
    /// For people, such as "12.3 MB", or that the file no longer exists.
    Q_PROPERTY(QString fileSize READ fileSize NOTIFY itemChanged)
    /// For people, such as "Made today at 14:05"; empty if the file no longer exists.
    Q_PROPERTY(QString made READ made NOTIFY itemChanged)
    /// Warnings about the file, one sentence each; empty if the file no longer exists.
    Q_PROPERTY(QStringList remarks READ remarks NOTIFY itemChanged)
    /// What would make the file misbehave on a device, in one line; empty if nothing is known.
    Q_PROPERTY(QString warning READ warning NOTIFY itemChanged)
    /// All of that, each with what it concerns.
    Q_PROPERTY(QStringList warnings READ warnings NOTIFY itemChanged)
    /// The result of the last action, in one sentence.
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    Q_PROPERTY(bool hasFailed READ hasFailed NOTIFY messageChanged)
    Q_PROPERTY(bool isSaving READ isSaving NOTIFY isSavingChanged)
    /// The sheet that sends the file to a phone.
    Q_PROPERTY(vellomir::PhoneSending *sending READ sending CONSTANT)

public:
    Sharing(Pickers &pickers, Desktop &desktop, QObject *parent = nullptr);
    /// Waits for a copy that is being saved.
    ~Sharing() override;

    [[nodiscard]] QUrl item() const { return item_; }
    /// Sets the file and what is known about it, and clears the message.
    void setItem(const QUrl &item, const ResultRemarks &remarks,
                 const std::vector<InspectionWarning> &warnings);
    [[nodiscard]] QString uriList() const {
        return item_.toString(QUrl::FullyEncoded) + QStringLiteral("\r\n");
    }
    [[nodiscard]] QString fileName() const { return item_.fileName(); }
    [[nodiscard]] QString displayName() const;
    [[nodiscard]] bool isThere() const;
    [[nodiscard]] QString fileSize() const;
    [[nodiscard]] QString made() const;
    [[nodiscard]] QStringList remarks() const;
    [[nodiscard]] QString warning() const;
    [[nodiscard]] QStringList warnings() const;
    [[nodiscard]] QString message() const { return message_; }
    [[nodiscard]] bool hasFailed() const { return hasFailed_; }
    [[nodiscard]] bool isSaving() const { return isSaving_; }
    [[nodiscard]] PhoneSending *sending() { return &sending_; }

    /// Asks for a destination and saves a copy there in the background. One at a time.
    Q_INVOKABLE void saveCopy();
    /// Opens the sheet that sends the file.
    Q_INVOKABLE void sendToPhone();
    Q_INVOKABLE void showInFileManager();
    Q_INVOKABLE void copyFile();
    /// Shows how to drag the row, when it is clicked instead.
    Q_INVOKABLE void explainDragging();
    /// Reports the end of a drag out of the window, and whether a program accepted the file.
    Q_INVOKABLE void dragFinished(bool wasTaken);
    /// Called when the sheet opens again: checks the file and clears the message, unless a copy is
    /// being saved.
    Q_INVOKABLE void prepare();

signals:
    void itemChanged();
    void messageChanged();
    void isSavingChanged();
    /// Before anything is made there.
    void savingBegins(const QString &destination);
    /// After the message has been set.
    void savingFailed();

private:
    [[nodiscard]] bool isMissing();
    [[nodiscard]] QString path() const { return item_.toLocalFile(); }
    void save(const QUrl &destination);
    void saved(const QString &destination, const QString &failure);
    void say(const QString &message, bool hasFailed = false);
    void setSaving(bool isSaving);

    Pickers &pickers_;
    Desktop &desktop_;
    PhoneSending sending_;
    QUrl item_;
    ResultRemarks remarks_;
    std::vector<InspectionWarning> warnings_;
    QString message_;
    bool hasFailed_ = false;
    bool isSaving_ = false;
    std::thread saver_;
};

/// "Made today at 14:05" or "Made on 3 May 2026 at 14:05". Both times have the same time zone.
[[nodiscard]] QString madeText(const QDateTime &made, const QDateTime &now);

} // namespace vellomir
