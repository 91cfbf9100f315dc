#pragma once

#include "Vellomir/ContentView/ResultRemarks.h"

#include <QDateTime>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <thread>

namespace vellomir {

class Desktop;
class Pickers;

/// The ways in which a desktop hands a file on, and what came of the last one. Main thread.
class Sharing : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("It belongs to the screen's state.")
    /// The file, and empty if there is none.
    Q_PROPERTY(QUrl item READ item NOTIFY itemChanged)
    /// The file as a list of addresses, as it is dragged (RFC 2483).
    Q_PROPERTY(QString uriList READ uriList NOTIFY itemChanged)
    Q_PROPERTY(QString fileName READ fileName NOTIFY itemChanged)
    /// The name without line breaks and other control characters.
    Q_PROPERTY(QString displayName READ displayName NOTIFY itemChanged)
    /// Whether the file is there; looked at when it is set, when the sheet opens and before the
    /// file is handed on.
    Q_PROPERTY(bool isThere READ isThere NOTIFY itemChanged)
    /// In words, such as "12.3 MB", or that the file has gone.
    Q_PROPERTY(QString fileSize READ fileSize NOTIFY itemChanged)
    /// In words, such as "Made today at 14:05"; empty if the file has gone.
    Q_PROPERTY(QString made READ made NOTIFY itemChanged)
    /// What to know of the file, a sentence each; empty if the file has gone.
    Q_PROPERTY(QStringList remarks READ remarks NOTIFY itemChanged)
    /// What happened, in one sentence.
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)
    Q_PROPERTY(bool hasFailed READ hasFailed NOTIFY messageChanged)
    Q_PROPERTY(bool isSaving READ isSaving NOTIFY isSavingChanged)

public:
    Sharing(Pickers &pickers, Desktop &desktop, QObject *parent = nullptr);
    /// A copy that is being saved is finished first.
    ~Sharing() override;

    [[nodiscard]] QUrl item() const { return item_; }
    /// Another file; what was said of the last one is forgotten.
    void setItem(const QUrl &item, const ResultRemarks &remarks);
    [[nodiscard]] QString uriList() const {
        return item_.toString(QUrl::FullyEncoded) + QStringLiteral("\r\n");
    }
    [[nodiscard]] QString fileName() const { return item_.fileName(); }
    [[nodiscard]] QString displayName() const;
    [[nodiscard]] bool isThere() const;
    [[nodiscard]] QString fileSize() const;
    [[nodiscard]] QString made() const;
    [[nodiscard]] QStringList remarks() const;
    [[nodiscard]] QString message() const { return message_; }
    [[nodiscard]] bool hasFailed() const { return hasFailed_; }
    [[nodiscard]] bool isSaving() const { return isSaving_; }

    /// Asks for a place and saves there, in the background. One copy at a time.
    Q_INVOKABLE void saveCopy();
    Q_INVOKABLE void showInFileManager();
    Q_INVOKABLE void copyFile();
    /// Says how to drag it, to who presses instead.
    Q_INVOKABLE void explainDragging();
    /// After it was dragged out of the window; whether something has taken it.
    Q_INVOKABLE void dragFinished(bool wasTaken);
    /// Looks at the file anew and forgets what happened, but not that a copy is being saved. When
    /// the sheet opens again.
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
    QUrl item_;
    ResultRemarks remarks_;
    QString message_;
    bool hasFailed_ = false;
    bool isSaving_ = false;
    std::thread saver_;
};

/// "Made today at 14:05", "Made on 3 May 2026 at 14:05"; both times in the same time zone.
[[nodiscard]] QString madeText(const QDateTime &made, const QDateTime &now);

} // namespace vellomir
