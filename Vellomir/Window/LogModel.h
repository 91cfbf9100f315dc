#pragma once

#include "Vellomir/Platform/LogMessages.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// The status log, a row a line. A line is identified by its text: one that stands in the log
/// already, or that stood there before the whole log was replaced, does not appear anew.
class LogModel : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("It belongs to the screen's state.")

public:
    enum Role { lineRole = Qt::UserRole, appearsRole };

    /// Shows the log as it stands, and follows it.
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
    [[nodiscard]] static bool holds(const std::vector<Row> &rows, const QString &line);

    std::vector<Row> rows_;
    Observation observation_;
};

} // namespace vellomir
