// The tree control: nodes by key, each with text, image key and tag, in the order in which they were added.
// It is the logic's tree and changes at once; TreeModel shows it to a view a frame at a time. Changed is told
// once for all changes until a model takes them.
#pragma once

#include <QHash>
#include <QVariant>

#include <deque>
#include <memory>
#include <unordered_set>

#include "forms/Control.h"

namespace veltrane {

class TreeView;

/// A node lives as long as the tree or anybody refers to it; a removed one knows no parent and no children.
class TreeNode {
 public:
  const QString& Key() const { return mKey; }
  const QString& Text() const { return mText; }
  const QString& Image() const { return mImage; }
  const QString& Tag() const { return mTag; }
  bool Expanded() const { return mExpanded; }
  bool Removed() const { return mTree == nullptr; }

  void SetText(const QString& text) { Assign(mText, text); }
  void SetImage(const QString& image) { Assign(mImage, image); }
  void SetTag(const QString& tag) { mTag = tag; }
  void SetExpanded(bool expanded) { Assign(mExpanded, expanded); }
  /// Fails with a duplicate key when another node has it.
  void SetKey(const QString& key);

  TreeNode* Parent() const { return mParent; }
  qsizetype ChildCount() const { return static_cast<qsizetype>(mChildren.size()); }
  /// Children by 0-based position, in the order of adding.
  TreeNode& Child(qsizetype position) const { return *mChildren.at(static_cast<std::size_t>(position)); }

  /// Grows with every node that a tree makes, so children are sorted by it.
  quint64 Serial() const { return mSerial; }

 private:
  friend class TreeView;
  template <class T>
  void Assign(T& field, T value);

  TreeView* mTree = nullptr;
  TreeNode* mParent = nullptr;
  std::deque<std::shared_ptr<TreeNode>> mChildren;
  // All nodes of the tree in the order of adding.
  TreeNode* mBefore = nullptr;
  TreeNode* mAfter = nullptr;
  quint64 mSerial = 0;
  QString mKey;
  QString mText;
  QString mImage;
  QString mTag;
  bool mExpanded = false;
};

using TreeNodeRef = std::shared_ptr<TreeNode>;

class TreeView : public Control {
  Q_OBJECT

 public:
  using Control::Control;
  ~TreeView() override;

  /// Adds the last child of the node with the key parentKey, or a top node when that is empty. Fails when
  /// the parent is missing or the key is in use.
  TreeNode& Add(const QString& parentKey, const QString& key, const QString& text, const QString& image);
  /// Removes a node and all below it. Fails when the key is missing. A selection that went with it goes to
  /// the parent, and OnSelectionLost tells so.
  void Remove(const QString& key);
  void Remove(TreeNode& node);
  void Clear();
  /// Makes a node, with all below it, the last child of another one, which is not below it. The nodes stay
  /// the same, and so does the selection; in the order of adding they are the last.
  void Move(TreeNode& node, TreeNode& parent);

  bool Contains(const QString& key) const { return mNodes.contains(key); }
  /// The node under a key; fails when there is none.
  TreeNode& Node(const QString& key) const;
  /// The node under a key, or nullptr.
  TreeNode* Find(const QString& key) const { return mNodes.value(key, nullptr); }
  /// A reference that keeps the node in memory.
  static TreeNodeRef Keep(TreeNode& node);

  qsizetype Count() const { return mNodes.size(); }
  /// Walks all nodes in the order of adding.
  TreeNode* First() const { return mFirst; }
  static TreeNode* Next(const TreeNode& node) { return node.mAfter; }

  qsizetype TopCount() const { return static_cast<qsizetype>(mTop.size()); }
  TreeNode& Top(qsizetype position) const { return *mTop.at(static_cast<std::size_t>(position)); }

  TreeNode* SelectedItem() const { return mSelected; }
  /// Does not fire OnNodeClick: that is the user's hand alone.
  void SetSelectedItem(TreeNode* node);

  /// Shows what has changed. The face does so at its next frame anyway.
  void Refresh() { Note(); }

  // What the user does, told by the face.
  void ClickNode(TreeNode& node);
  void FoldByHand(TreeNode& node, bool expanded);
  void DoubleClick();
  /// node is what stands under the mouse, or nullptr; right is the button; x and y in twips.
  void MouseDown(TreeNode* node, bool right, int x, int y);

  std::function<void(TreeNode&)> OnNodeClick;
  /// The node that has become the selected one.
  std::function<void(TreeNode&)> OnSelectionLost;
  /// The user has unfolded a node; not fired by SetExpanded.
  std::function<void(TreeNode&)> OnUnfold;
  std::function<void()> OnDblClick;
  std::function<void(TreeNode* node, bool right, int x, int y)> OnMouseDown;

  /// What changed since a model last asked, by serial (0 for the top): parents of which children went,
  /// parents that only got more behind the others, and nodes whose looks changed. Asking empties it.
  struct Changes {
    std::unordered_set<quint64> parents;
    std::unordered_set<quint64> grown;
    std::unordered_set<quint64> nodes;
  };
  Changes TakeChanges();
  TreeNode* FindSerial(quint64 serial) const { return mSerials.value(serial, nullptr); }

 private:
  friend class TreeNode;
  std::deque<TreeNodeRef>& Siblings(const TreeNode& node);
  void Detach(TreeNode& node);
  void Enlist(TreeNode& node);
  void Delist(TreeNode& node);
  void EnlistAnew(TreeNode& node);
  void Touch(const TreeNode& node);
  void TouchChildren(const TreeNode* parent, std::unordered_set<quint64> Changes::*how);
  void Note();

  std::deque<TreeNodeRef> mTop;
  QHash<QString, TreeNode*> mNodes;
  QHash<quint64, TreeNode*> mSerials;
  Changes mChanges;
  TreeNode* mFirst = nullptr;
  TreeNode* mLast = nullptr;
  TreeNode* mSelected = nullptr;
  quint64 mLastSerial = 0;
  bool mNoted = false;
};

template <class T>
void TreeNode::Assign(T& field, T value) {
  if (field == value) return;
  field = std::move(value);
  if (mTree) mTree->Touch(*this);
}

}  // namespace veltrane
