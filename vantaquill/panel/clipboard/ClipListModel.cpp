#include "vantaquill/panel/clipboard/ClipListModel.hpp"

#include <algorithm>

namespace vq {

void ClipListModel::setRows(std::vector<ClipRow> rows) {
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
}

const ClipRow& ClipListModel::row(const QModelIndex& index) const {
    return rows_.at(static_cast<std::size_t>(index.row()));
}

QModelIndex ClipListModel::indexOf(const brind::UUID& id) const {
    const auto found = std::ranges::find(rows_, id, &ClipRow::id);
    if (found == rows_.end())
        return {};
    return index(static_cast<int>(found - rows_.begin()));
}

int ClipListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant ClipListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount() || role != Qt::DisplayRole)
        return {};
    return row(index).title;
}

} // namespace vq
