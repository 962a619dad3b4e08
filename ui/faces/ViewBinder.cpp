#include "ui/faces/ViewBinder.h"

#include <QHeaderView>
#include <QMouseEvent>
#include <QTreeView>

#include "forms/Form.h"
#include "forms/ListModel.h"
#include "forms/TreeModel.h"
#include "ui/faces/FrameUpdate.h"

namespace veltrane {
namespace {

/// Tells whether the user's hand is at work on a view at this moment: a view also changes its current row by
/// itself, for instance when it gets the focus.
class HandWatch : public QObject {
 public:
  explicit HandWatch(QAbstractItemView& view) {
    view.installEventFilter(this);
    view.viewport()->installEventFilter(this);
  }

  bool IsAtWork() const { return mAtWork; }
  /// True once when the hand's last press has not been taken as a choice yet.
  bool TakePress() { return std::exchange(mPressed, false); }

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::MouseButtonPress) return false;
    mAtWork = true;
    mPressed = true;
    QMetaObject::invokeMethod(
        this, [this] { mAtWork = false; }, Qt::QueuedConnection);
    return false;
  }

 private:
  bool mAtWork = false;
  bool mPressed = false;
};

/// Shows a TreeView. Lives as long as the widget.
class TreeBinding : public QObject {
 public:
  TreeBinding(TreeView& tree, QTreeView& view)
      : QObject(&view), mTree(tree), mView(view), mModel(tree), mHand(view) {
    view.setModel(&mModel);
    view.setHeaderHidden(true);
    view.setUniformRowHeights(true);
    connect(&view, &QTreeView::expanded, this, [this](const QModelIndex& index) { Expanded(index, true); });
    connect(&view, &QTreeView::collapsed, this, [this](const QModelIndex& index) { Expanded(index, false); });
    connect(&view, &QTreeView::clicked, this, [this](const QModelIndex& index) { Clicked(index); });
    connect(&view, &QTreeView::doubleClicked, this, [this] { mTree.DoubleClick(); });
    connect(view.selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { CurrentChanged(current); });
    mUpdate = new FrameUpdate(tree, this, [this] { Update(); });
  }

 private:
  void Update() {
    mUpdating = true;
    mModel.Publish();
    mModel.TellExpansion(
        [this](const QModelIndex& index, bool expanded) { mView.setExpanded(index, expanded); });
    if (const TreeNode* selected = mTree.SelectedItem()) {
      const QModelIndex index = mModel.IndexOf(*selected);
      if (index.isValid() && index != mView.currentIndex()) mView.setCurrentIndex(index);
    }
    mUpdating = false;
  }

  void Expanded(const QModelIndex& index, bool expanded) {
    TreeNode* node = mModel.NodeAt(index);
    if (!mUpdating && node) node->SetExpanded(expanded);
  }

  // A hand's choice arrives as a change of the current row, or as a click alone when the row was current
  // before.
  void CurrentChanged(const QModelIndex& current) {
    if (!mUpdating && mHand.IsAtWork() && mHand.TakePress()) Choose(current);
  }

  void Clicked(const QModelIndex& index) {
    if (mHand.TakePress()) Choose(index);
  }

  void Choose(const QModelIndex& index) {
    if (TreeNode* node = mModel.NodeAt(index)) mTree.ClickNode(*node);
  }

  TreeView& mTree;
  QTreeView& mView;
  TreeModel mModel;
  HandWatch mHand;
  FrameUpdate* mUpdate = nullptr;
  bool mUpdating = false;
};

/// Shows a ListView. Lives as long as the widget.
class ListBinding : public QObject {
 public:
  ListBinding(ListView& list, QTreeView& view)
      : QObject(&view), mList(list), mView(view), mModel(list), mHand(view) {
    view.setModel(&mModel);
    view.setRootIsDecorated(false);
    view.setUniformRowHeights(true);
    view.setAllColumnsShowFocus(true);
    view.header()->setSectionsClickable(true);
    view.header()->setStretchLastSection(false);
    connect(view.header(), &QHeaderView::sectionClicked, this,
            [this](int section) { mList.ClickColumn(section + 1); });
    connect(&mModel, &QAbstractItemModel::modelReset, this, [this] { TakeWidths(); });
    connect(view.selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
              ListItem* item = mModel.ItemAt(current);
              if (!mUpdating && item && mHand.IsAtWork()) mList.ClickItem(*item);
            });
    connect(&view, &QTreeView::doubleClicked, this, [this] { mList.DoubleClick(); });
    TakeWidths();
    mUpdate = new FrameUpdate(list, this, [this] { Update(); });
  }

 private:
  void Update() {
    mUpdating = true;
    mModel.Publish();
    const ListItem* selected = mList.SelectedItem();
    const QModelIndex index = selected ? mModel.IndexOf(*selected) : QModelIndex();
    if (index.row() != mView.currentIndex().row()) mView.setCurrentIndex(index);
    mView.header()->setSortIndicatorShown(mList.Sorted());
    mView.header()->setSortIndicator(mList.SortKey(),
                                     mList.SortOrder() == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
    mUpdating = false;
  }

  void TakeWidths() {
    const QList<ColumnHeader>& headers = mList.ColumnHeaders();
    for (int column = 0; column < headers.size(); ++column) {
      mView.setColumnWidth(column, headers[column].width / kTwipsPerPixel);
    }
  }

  ListView& mList;
  QTreeView& mView;
  ListModel mModel;
  HandWatch mHand;
  FrameUpdate* mUpdate = nullptr;
  bool mUpdating = false;
};

}  // namespace

void BindTreeView(TreeView& tree, QTreeView& view) {
  new TreeBinding(tree, view);
}

void BindListView(ListView& list, QTreeView& view) {
  new ListBinding(list, view);
}

}  // namespace veltrane
