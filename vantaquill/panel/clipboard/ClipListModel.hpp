#pragma once

#include "vantaquill/panel/clipboard/ClipRow.hpp"

#include <QAbstractListModel>

#include <vector>

namespace vq {

/// The rows the clipboard list shows, in display order (pinned first, or best match first).
class ClipListModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    void setRows(std::vector<ClipRow> rows);
    const std::vector<ClipRow>& rows() const { return rows_; }
    /// The row at `index`; the index must be one of this model's.
    const ClipRow& row(const QModelIndex& index) const;
    /// The index of the row with that id, or an invalid index.
    QModelIndex indexOf(const brind::UUID& id) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    /// The title as display text (what assistive tools and tests read; the delegate paints itself).
    QVariant data(const QModelIndex& index, int role) const override;

private:
    std::vector<ClipRow> rows_;
};

} // namespace vq
