// A TreeView as an item model. It holds a copy of what the views last saw and takes over the changes of the
// tree when Publish is called, so that any number of changes costs the views one update.
#pragma once

#include <QAbstractItemModel>
#include <QHash>

#include <memory>
#include <vector>

#include "forms/TreeView.h"

namespace veltrane {

class TreeModel : public QAbstractItemModel {
  Q_OBJECT

 public:
  enum Role { kKeyRole = Qt::UserRole, kImageRole };

  explicit TreeModel(TreeView& tree, QObject* parent = nullptr);
  ~TreeModel() override;

  /// Takes over all changes since the last call.
  void Publish();

  /// Calls tell with each node that the views have to open or close, as of the last Publish.
  template <class Tell>
  void TellExpansion(Tell&& tell) {
    for (const quint64 serial : std::exchange(mExpansionChanged, {})) {
      if (const Shown* shown = mShown.value(serial, nullptr)) tell(IndexOf(*shown), shown->expanded);
    }
  }

  /// A view has opened or closed a node by itself; what the tree says from now on is compared with that.
  void TakeExpansion(const QModelIndex& index, bool expanded);

  /// The tree's node behind an index; nullptr when it is gone from the tree.
  TreeNode* NodeAt(const QModelIndex& index) const;
  /// Where the views see a node; invalid while they do not know it yet.
  QModelIndex IndexOf(const TreeNode& node) const;

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

 private:
  struct Shown {
    Shown* parent = nullptr;
    quint64 serial = 0;
    QString key;
    QString text;
    QString image;
    bool expanded = false;
    std::vector<std::unique_ptr<Shown>> children;
  };

  Shown* ShownAt(const QModelIndex& index) const;
  QModelIndex IndexOf(const Shown& shown) const;
  static int RowOf(const Shown& shown);
  /// Makes the children of shown those of the tree.
  void PublishChildren(Shown& shown);
  void RemoveGone(Shown& shown, const std::vector<quint64>& present);
  void InsertNew(Shown& shown);
  std::unique_ptr<Shown> Copy(Shown& parent, const TreeNode& node);
  void TakeLooks(Shown& shown, const TreeNode& node);
  void Forget(const Shown& shown);
  /// The children in the tree behind the first ones.
  std::vector<TreeNode*> ChildrenInTree(const Shown& shown, std::size_t first = 0) const;

  TreeView& mTree;
  Shown mRoot;
  QHash<quint64, Shown*> mShown;
  std::vector<quint64> mExpansionChanged;
};

}  // namespace veltrane
