// What a tree shows, to be compared between the logic and its view.
#pragma once

#include <QStringList>
#include <QTreeView>

#include "forms/TreeModel.h"
#include "forms/TreeView.h"

namespace veltrane {

/// The rows of a tree as lines, as the logic has them.
inline void Lines(const TreeNode& node, int depth, QStringList& lines) {
  const bool open = node.ChildCount() > 0 && node.Expanded();
  lines.append(QString(depth, u' ') + node.Text() + u'|' + node.Image() + (open ? u'v' : u'>'));
  for (qsizetype i = 0; i < node.ChildCount(); ++i)
    Lines(node.Child(i), depth + 1, lines);
}

/// As the view shows them.
inline void Lines(const QTreeView& view, const QModelIndex& index, int depth, QStringList& lines) {
  const QAbstractItemModel& model = *view.model();
  const bool open = model.rowCount(index) > 0 && view.isExpanded(index);
  lines.append(QString(depth, u' ') + index.data().toString() + u'|' +
               index.data(TreeModel::kImageRole).toString() + (open ? u'v' : u'>'));
  for (int row = 0; row < model.rowCount(index); ++row)
    Lines(view, model.index(row, 0, index), depth + 1, lines);
}

}  // namespace veltrane
