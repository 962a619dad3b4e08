#include "forms/TreeView.h"

#include <algorithm>
#include <utility>

#include "base/Failure.h"

namespace veltrane {
namespace {

const auto kBySerial = [](const TreeNodeRef& left, const TreeNode& right) {
  return left->Serial() < right.Serial();
};

}  // namespace

void TreeNode::SetKey(const QString& key) {
  if (key == mKey) return;
  if (mTree) {
    if (mTree->mNodes.contains(key)) throw Failure(FailureNumber::kDuplicateKey);
    mTree->mNodes.remove(mKey);
    mTree->mNodes.insert(key, this);
    mTree->Touch(*this);
  }
  mKey = key;
}

TreeView::~TreeView() {
  // Nobody is to hear of the changes of a tree that is going.
  mNoted = true;
  Clear();
}

TreeNode& TreeView::Node(const QString& key) const {
  TreeNode* node = Find(key);
  if (!node) throw Failure(FailureNumber::kBadArgument);
  return *node;
}

TreeNode& TreeView::Add(const QString& parentKey, const QString& key, const QString& text,
                        const QString& image) {
  TreeNode* parent = parentKey.isEmpty() ? nullptr : &Node(parentKey);
  if (Contains(key)) throw Failure(FailureNumber::kDuplicateKey);
  const auto node = std::make_shared<TreeNode>();
  node->mTree = this;
  node->mParent = parent;
  node->mKey = key;
  node->mText = text;
  node->mImage = image;
  mNodes.insert(key, node.get());
  Enlist(*node);
  (parent ? parent->mChildren : mTop).push_back(node);
  TouchChildren(parent, &Changes::grown);
  return *node;
}

std::deque<TreeNodeRef>& TreeView::Siblings(const TreeNode& node) {
  return node.mParent ? node.mParent->mChildren : mTop;
}

TreeNodeRef TreeView::Keep(TreeNode& node) {
  if (!node.mTree) throw Failure(FailureNumber::kBadArgument);
  const auto& siblings = node.mTree->Siblings(node);
  return *std::lower_bound(siblings.begin(), siblings.end(), node, kBySerial);
}

void TreeView::Remove(const QString& key) {
  Remove(Node(key));
}

void TreeView::Remove(TreeNode& node) {
  if (node.mTree != this) throw Failure(FailureNumber::kBadArgument);
  auto& siblings = Siblings(node);
  const auto at = std::lower_bound(siblings.begin(), siblings.end(), node, kBySerial);
  const TreeNodeRef keep = *at;
  TreeNode* parent = node.mParent;
  const bool selectedOutside = mSelected != nullptr;
  siblings.erase(at);
  Detach(node);
  TouchChildren(parent, &Changes::parents);
  if (!selectedOutside || mSelected) return;
  SetSelectedItem(parent);
  if (parent && OnSelectionLost) OnSelectionLost(*parent);
}

void TreeView::Detach(TreeNode& node) {
  for (const TreeNodeRef& child : node.mChildren)
    Detach(*child);
  node.mChildren.clear();
  Delist(node);
  mNodes.remove(node.mKey);
  if (mSelected == &node) mSelected = nullptr;
  node.mTree = nullptr;
  node.mParent = nullptr;
}

void TreeView::Enlist(TreeNode& node) {
  node.mSerial = ++mLastSerial;
  mSerials.insert(node.mSerial, &node);
  node.mBefore = mLast;
  (mLast ? mLast->mAfter : mFirst) = &node;
  mLast = &node;
}

void TreeView::Delist(TreeNode& node) {
  (node.mBefore ? node.mBefore->mAfter : mFirst) = node.mAfter;
  (node.mAfter ? node.mAfter->mBefore : mLast) = node.mBefore;
  node.mBefore = node.mAfter = nullptr;
  mSerials.remove(node.mSerial);
  mChanges.parents.erase(node.mSerial);
  mChanges.grown.erase(node.mSerial);
  mChanges.nodes.erase(node.mSerial);
}

// To the models these are other nodes.
void TreeView::EnlistAnew(TreeNode& node) {
  Delist(node);
  Enlist(node);
  for (const TreeNodeRef& child : node.mChildren)
    EnlistAnew(*child);
}

void TreeView::Move(TreeNode& node, TreeNode& parent) {
  auto& siblings = Siblings(node);
  const TreeNodeRef keep = Keep(node);
  siblings.erase(std::find(siblings.begin(), siblings.end(), keep));
  TouchChildren(node.mParent, &Changes::parents);
  EnlistAnew(node);
  node.mParent = &parent;
  parent.mChildren.push_back(keep);
  TouchChildren(&parent, &Changes::grown);
}

void TreeView::Touch(const TreeNode& node) {
  mChanges.nodes.insert(node.mSerial);
  Note();
}

void TreeView::TouchChildren(const TreeNode* parent, std::unordered_set<quint64> Changes::*how) {
  (mChanges.*how).insert(parent ? parent->mSerial : 0);
  Note();
}

void TreeView::Note() {
  if (std::exchange(mNoted, true)) return;
  Q_EMIT Changed();
}

TreeView::Changes TreeView::TakeChanges() {
  mNoted = false;
  return std::exchange(mChanges, {});
}

void TreeView::Clear() {
  while (!mTop.empty())
    Remove(*mTop.back());
}

void TreeView::SetSelectedItem(TreeNode* node) {
  if (std::exchange(mSelected, node) != node) Note();
}

void TreeView::ClickNode(TreeNode& node) {
  SetSelectedItem(&node);
  if (OnNodeClick) OnNodeClick(node);
}

void TreeView::FoldByHand(TreeNode& node, bool expanded) {
  if (node.Expanded() == expanded) return;
  node.SetExpanded(expanded);
  if (expanded && OnUnfold) OnUnfold(node);
}

void TreeView::DoubleClick() {
  if (OnDblClick) OnDblClick();
}

void TreeView::MouseDown(TreeNode* node, bool right, int x, int y) {
  if (OnMouseDown) OnMouseDown(node, right, x, y);
}

}  // namespace veltrane
