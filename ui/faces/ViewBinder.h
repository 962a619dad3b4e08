// Ties the tree and the list with columns to item views, one update a frame.
#pragma once

class QTreeView;

namespace veltrane {

class ListView;
class TreeView;

void BindTreeView(TreeView& tree, QTreeView& view);
/// The list is shown by a tree view without branches, which has the columns and the sorting header.
void BindListView(ListView& list, QTreeView& view);

}  // namespace veltrane
