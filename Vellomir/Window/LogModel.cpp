#include "Vellomir/Window/LogModel.h"

#include <utility>

namespace vellomir {

LogModel::LogModel(LogMessages &log, QObject *parent) : QAbstractListModel(parent) {
    for (const std::string &each : log.get()) {
        const QString line = QString::fromStdString(each);
        rows_.push_back({line, false});
        lines_.insert(line);
    }
    observation_ = log.observe([this](const LogChange &change) { apply(change); });
}

int LogModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant LogModel::data(const QModelIndex &index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Row &row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case lineRole:
        return row.line;
    case appearsRole:
        return row.appears;
    default:
        return {};
    }
}

QHash<int, QByteArray> LogModel::roleNames() const {
    return {{lineRole, "line"}, {appearsRole, "appears"}};
}

void LogModel::apply(const LogChange &change) {
    if (change.replacesAll)
        replace(change.lines);
    else
        append(change.lines);
}

void LogModel::append(const std::vector<std::string> &lines) {
    if (lines.empty())
        return;
    const int first = rowCount();
    beginInsertRows({}, first, first + static_cast<int>(lines.size()) - 1);
    for (const std::string &each : lines) {
        const QString line = QString::fromStdString(each);
        rows_.push_back({line, !lines_.contains(line)});
        lines_.insert(line);
    }
    endInsertRows();
}

void LogModel::replace(const std::vector<std::string> &lines) {
    beginResetModel();
    rows_.clear();
    const QSet<QString> before = std::exchange(lines_, {});
    for (const std::string &each : lines) {
        const QString line = QString::fromStdString(each);
        rows_.push_back({line, !before.contains(line) && !lines_.contains(line)});
        lines_.insert(line);
    }
    endResetModel();
}

} // namespace vellomir
