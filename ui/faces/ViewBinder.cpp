#include "ui/faces/ViewBinder.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTreeView>

#include "forms/Form.h"
#include "forms/ListModel.h"
#include "forms/TreeModel.h"
#include "ui/faces/FrameUpdate.h"
#include "ui/faces/PictureDelegate.h"

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

int KeyOf(const QEvent& event) {
  return event.type() == QEvent::KeyPress ? static_cast<const QKeyEvent&>(event).key() : 0;
}

bool IsEnter(const QEvent& event) {
  return KeyOf(event) == Qt::Key_Return || KeyOf(event) == Qt::Key_Enter;
}

/// Has the view arrange its rows now instead of after the frame, whose cost would else be measured without
/// it.
void LayOut(const QTreeView& view) {
  view.indexAt({});
}

/// Shows a TreeView. Lives as long as the widget.
class TreeBinding : public QObject {
 public:
  TreeBinding(TreeView& tree, QTreeView& view)
      : QObject(&view), mTree(tree), mView(view), mModel(tree), mHand(view) {
    view.setModel(&mModel);
    view.setHeaderHidden(true);
    view.setUniformRowHeights(true);
    view.setItemDelegate(new PictureDelegate(&view));
    // The logic decides what a double click opens.
    view.setExpandsOnDoubleClick(false);
    view.installEventFilter(this);
    view.viewport()->installEventFilter(this);
    connect(&view, &QTreeView::expanded, this, [this](const QModelIndex& index) { Expanded(index, true); });
    connect(&view, &QTreeView::collapsed, this, [this](const QModelIndex& index) { Expanded(index, false); });
    connect(&view, &QTreeView::clicked, this, [this](const QModelIndex& index) { Clicked(index); });
    connect(&view, &QTreeView::doubleClicked, this, [this] { mTree.DoubleClick(); });
    connect(view.selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { CurrentChanged(current); });
    connect(view.selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { SetBack(); });
    mUpdate = new FrameUpdate(tree, view, this, [this] { Update(); });
  }

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (IsEnter(*event)) mTree.DoubleClick();
    if (event->type() == QEvent::MouseButtonPress) return RightPress(static_cast<QMouseEvent&>(*event));
    if (event->type() == QEvent::ContextMenu) return ContextMenu(static_cast<QContextMenuEvent&>(*event));
    return false;
  }

 private:
  // The view itself would take a right press for a choice.
  bool RightPress(const QMouseEvent& event) {
    if (event.button() != Qt::RightButton) return false;
    mView.setFocus(Qt::MouseFocusReason);
    TellMouseDown(mView.indexAt(event.pos()), mView.viewport()->mapTo(&mView, event.pos()));
    return true;
  }

  // The mouse's own came with the press; the key's stands at the chosen node.
  bool ContextMenu(const QContextMenuEvent& event) {
    const QModelIndex current = mView.currentIndex();
    if (event.reason() == QContextMenuEvent::Keyboard && current.isValid()) {
      const QPoint place = mView.visualRect(current).bottomLeft();
      TellMouseDown(current, mView.viewport()->mapTo(&mView, place));
    }
    return true;
  }

  void TellMouseDown(const QModelIndex& index, const QPoint& place) {
    mTree.MouseDown(mModel.NodeAt(index), true, place.x() * kTwipsPerPixel, place.y() * kTwipsPerPixel);
  }

  void Update() {
    mUpdating = true;
    mModel.Publish();
    LayOut(mView);
    mModel.TellExpansion(
        [this](const QModelIndex& index, bool expanded) { mView.setExpanded(index, expanded); });
    if (const TreeNode* selected = mTree.SelectedItem()) {
      const QModelIndex index = mModel.IndexOf(*selected);
      const bool marked = index == mView.currentIndex() && mView.selectionModel()->isSelected(index);
      if (index.isValid() && !marked) mView.setCurrentIndex(index);
    }
    mUpdating = false;
  }

  // By hand, or by the view itself, which unfolds what stands above the node that it marks.
  void Expanded(const QModelIndex& index, bool expanded) {
    mModel.TakeExpansion(index, expanded);
    if (TreeNode* node = mModel.NodeAt(index)) mTree.FoldByHand(*node, expanded);
  }

  // A hand's choice arrives as a change of the current row, or as a click alone when the row was current
  // before.
  void CurrentChanged(const QModelIndex& current) {
    if (mUpdating) return;
    if (mHand.IsAtWork() && mHand.TakePress()) {
      Choose(current);
    } else {
      SetBack();
    }
  }

  // What the view marks without a choice, as when the mouse is dragged over rows, does not stay.
  void SetBack() {
    if (!mUpdating) mUpdate->Ask();
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
    // A list that is designed so fills its width with its last column; others keep the widths they are given.
    view.header()->setStretchLastSection(view.property("stretchLastColumn").toBool());

    view.header()->setSectionsMovable(false);
    view.header()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    view.setItemDelegate(new PictureDelegate(&view));
    view.setExpandsOnDoubleClick(false);
    view.installEventFilter(this);
    connect(view.header(), &QHeaderView::sectionClicked, this,
            [this](int section) { mList.ClickColumn(section + 1); });
    connect(&mModel, &QAbstractItemModel::modelReset, this, [this] { TakeWidths(); });
    connect(view.selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { CurrentChanged(current); });
    connect(view.selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { SetBack(); });
    // A click on the row that was current before.
    connect(&view, &QTreeView::clicked, this, [this](const QModelIndex& index) {
      if (mHand.TakePress()) Choose(index);
    });
    connect(&view, &QTreeView::doubleClicked, this, [this] { mList.DoubleClick(); });
    TakeWidths();
    mUpdate = new FrameUpdate(list, view, this, [this] { Update(); });
  }

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (IsEnter(*event) || KeyOf(*event) == Qt::Key_Space) ChooseCurrent();
    if (IsEnter(*event)) mList.DoubleClick();
    return false;
  }

 private:
  void Update() {
    mUpdating = true;
    mModel.Publish();
    LayOut(mView);
    const ListItem* selected = mList.SelectedItem();
    const QModelIndex index = selected ? mModel.IndexOf(*selected) : QModelIndex();
    if (!IsMarked(index)) mView.setCurrentIndex(index);
    mView.header()->setSortIndicatorShown(mList.Sorted());
    mView.header()->setSortIndicator(mList.SortKey(),
                                     mList.SortOrder() == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
    mUpdating = false;
  }

  // While nothing is chosen, the row that the focus stands on may stay: it is not marked.
  bool IsMarked(const QModelIndex& index) const {
    const QItemSelectionModel& marks = *mView.selectionModel();
    if (!index.isValid()) return !marks.hasSelection();
    return index.row() == mView.currentIndex().row() && marks.isSelected(index);
  }

  void CurrentChanged(const QModelIndex& current) {
    if (mUpdating) return;
    if (mHand.IsAtWork() && mHand.TakePress()) {
      Choose(current);
    } else {
      SetBack();
    }
  }

  // What the view marks without a choice, as when the mouse is dragged over rows, does not stay.
  void SetBack() {
    if (!mUpdating) mUpdate->Ask();
  }

  // The focus alone makes a row current; it is not chosen by that, and an arrow leads away from it.
  void ChooseCurrent() {
    const ListItem* item = mModel.ItemAt(mView.currentIndex());
    if (item && item != mList.SelectedItem()) Choose(mView.currentIndex());
  }

  void Choose(const QModelIndex& index) {
    if (ListItem* item = mModel.ItemAt(index)) mList.ClickItem(*item);
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
