#pragma once

#include "Vellomir/ContentView/LogMessages.h"

#include <QAbstractListModel>
#include <QSet>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// The status log as a list model, one row per line. The role `appears` marks new lines, which
/// slide in. Lines are identified by their text: one that is in the log already, or was in it
/// before the whole log was replaced, is not new.
class LogModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("It belongs to the screen's state.")

public:
    enum Role { lineRole = Qt::UserRole, appearsRole };

    /// Shows the current lines and follows the log.
    explicit LogModel(LogMessages &log, QObject *parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

private:
    struct Row {
        QString line;
        bool appears;
    };

    void apply(const LogChange &change);
    void append(const std::vector<std::string> &lines);
    void replace(const std::vector<std::string> &lines);

    std::vector<Row> rows_;
    QSet<QString> lines_; ///< of all rows
    Observation observation_;
};

} // namespace vellomir
