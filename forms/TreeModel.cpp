#include "forms/TreeModel.h"

#include <algorithm>
#include <utility>

namespace veltrane {

TreeModel::TreeModel(TreeView& tree, QObject* parent) : QAbstractItemModel(parent), mTree(tree) {
  mTree.TakeChanges();
  for (TreeNode* node : ChildrenInTree(mRoot))
    mRoot.children.push_back(Copy(mRoot, *node));
}

TreeModel::~TreeModel() = default;

std::vector<TreeNode*> TreeModel::ChildrenInTree(const Shown& shown, std::size_t first) const {
  std::vector<TreeNode*> nodes;
  const auto from = static_cast<qsizetype>(first);
  if (&shown == &mRoot) {
    for (qsizetype i = from; i < mTree.TopCount(); ++i)
      nodes.push_back(&mTree.Top(i));
  } else if (const TreeNode* node = mTree.FindSerial(shown.serial)) {
    for (qsizetype i = from; i < node->ChildCount(); ++i)
      nodes.push_back(&node->Child(i));
  }
  return nodes;
}

std::unique_ptr<TreeModel::Shown> TreeModel::Copy(Shown& parent, const TreeNode& node) {
  auto shown = std::make_unique<Shown>();
  shown->parent = &parent;
  shown->serial = node.Serial();
  TakeLooks(*shown, node);
  mShown.insert(shown->serial, shown.get());
  for (qsizetype i = 0; i < node.ChildCount(); ++i)
    shown->children.push_back(Copy(*shown, node.Child(i)));
  return shown;
}

void TreeModel::TakeLooks(Shown& shown, const TreeNode& node) {
  shown.key = node.Key();
  shown.text = node.Text();
  shown.image = node.Image();
  if (shown.expanded == node.Expanded()) return;
  shown.expanded = node.Expanded();
  mExpansionChanged.push_back(shown.serial);
}

void TreeModel::TakeExpansion(const QModelIndex& index, bool expanded) {
  if (index.isValid()) ShownAt(index)->expanded = expanded;
}

void TreeModel::Forget(const Shown& shown) {
  mShown.remove(shown.serial);
  for (const auto& child : shown.children)
    Forget(*child);
}

void TreeModel::Publish() {
  const TreeView::Changes changes = mTree.TakeChanges();
  // A parent that is not shown yet comes with its own parent's children.
  const auto shownOf = [this](quint64 serial) {
    return serial == 0 ? &mRoot : mShown.value(serial, nullptr);
  };
  for (const quint64 serial : changes.parents) {
    if (Shown* shown = shownOf(serial)) PublishChildren(*shown);
  }
  // A branch that grows by a node costs a node, however large it is.
  for (const quint64 serial : changes.grown) {
    if (Shown* shown = shownOf(serial)) InsertNew(*shown);
  }
  for (const quint64 serial : changes.nodes) {
    Shown* shown = mShown.value(serial, nullptr);
    const TreeNode* node = mTree.FindSerial(serial);
    if (!shown || !node) continue;
    TakeLooks(*shown, *node);
    const QModelIndex index = IndexOf(*shown);
    Q_EMIT dataChanged(index, index);
  }
}

void TreeModel::PublishChildren(Shown& shown) {
  const std::vector<TreeNode*> nodes = ChildrenInTree(shown);
  std::vector<quint64> present;
  present.reserve(nodes.size());
  for (const TreeNode* node : nodes)
    present.push_back(node->Serial());
  RemoveGone(shown, present);
  InsertNew(shown);
}

void TreeModel::RemoveGone(Shown& shown, const std::vector<quint64>& present) {
  const auto gone = [&present](const std::unique_ptr<Shown>& child) {
    return !std::binary_search(present.begin(), present.end(), child->serial);
  };
  auto& children = shown.children;
  for (auto first = std::find_if(children.begin(), children.end(), gone); first != children.end();
       first = std::find_if(first, children.end(), gone)) {
    const auto last = std::find_if_not(first, children.end(), gone);
    beginRemoveRows(IndexOf(shown), static_cast<int>(first - children.begin()),
                    static_cast<int>(last - children.begin()) - 1);
    std::for_each(first, last, [this](const auto& child) { Forget(*child); });
    first = children.erase(first, last);
    endRemoveRows();
  }
}

void TreeModel::InsertNew(Shown& shown) {
  // Children are only ever added at the end, so what is new stands behind all that is shown.
  const std::size_t known = shown.children.size();
  const std::vector<TreeNode*> fresh = ChildrenInTree(shown, known);
  if (fresh.empty()) return;
  beginInsertRows(IndexOf(shown), static_cast<int>(known), static_cast<int>(known + fresh.size()) - 1);
  for (const TreeNode* node : fresh)
    shown.children.push_back(Copy(shown, *node));
  endInsertRows();
}

TreeModel::Shown* TreeModel::ShownAt(const QModelIndex& index) const {
  return index.isValid() ? static_cast<Shown*>(index.internalPointer()) : const_cast<Shown*>(&mRoot);
}

int TreeModel::RowOf(const Shown& shown) {
  const auto& siblings = shown.parent->children;
  const auto at = std::lower_bound(
      siblings.begin(), siblings.end(), shown.serial,
      [](const std::unique_ptr<Shown>& sibling, quint64 serial) { return sibling->serial < serial; });
  return static_cast<int>(at - siblings.begin());
}

QModelIndex TreeModel::IndexOf(const Shown& shown) const {
  return shown.parent ? createIndex(RowOf(shown), 0, &shown) : QModelIndex();
}

TreeNode* TreeModel::NodeAt(const QModelIndex& index) const {
  return index.isValid() ? mTree.FindSerial(ShownAt(index)->serial) : nullptr;
}

QModelIndex TreeModel::IndexOf(const TreeNode& node) const {
  const Shown* shown = mShown.value(node.Serial(), nullptr);
  return shown ? IndexOf(*shown) : QModelIndex();
}

QModelIndex TreeModel::index(int row, int column, const QModelIndex& parent) const {
  if (!hasIndex(row, column, parent)) return {};
  return createIndex(row, column, ShownAt(parent)->children[static_cast<std::size_t>(row)].get());
}

QModelIndex TreeModel::parent(const QModelIndex& child) const {
  return child.isValid() ? IndexOf(*ShownAt(child)->parent) : QModelIndex();
}

int TreeModel::rowCount(const QModelIndex& parent) const {
  return static_cast<int>(ShownAt(parent)->children.size());
}

int TreeModel::columnCount(const QModelIndex&) const {
  return 1;
}

QVariant TreeModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const Shown& shown = *ShownAt(index);
  switch (role) {
    case Qt::DisplayRole:
      return shown.text;
    case kKeyRole:
      return shown.key;
    case kImageRole:
      return shown.image;
    default:
      return {};
  }
}

}  // namespace veltrane
