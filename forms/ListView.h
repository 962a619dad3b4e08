// The list control with columns: rows by key, each with a text, sub-items, an icon key and a tag. It changes
// at once; ListModel shows it to a view a frame at a time, sorted by text when the list is sorted. Changed is
// told once for all changes until a model takes them.
#pragma once

#include <QStringList>

#include <memory>
#include <unordered_set>

#include "base/KeyedList.h"
#include "forms/Control.h"

namespace veltrane {

class ListView;

struct ColumnHeader {
  QString key;
  QString text;
  int width = 0;  // twips
  /// Whole numbers stand in the column, and are sorted as such.
  bool numbers = false;
};

class ListItem {
 public:
  const QString& Key() const { return mKey; }
  const QString& Text() const { return mText; }
  void SetText(const QString& text) { Assign(mText, text); }
  /// Sub-items are counted from 1; one that was never set is empty.
  QString SubItem(int column) const { return mSubItems.value(column - 1); }
  void SetSubItem(int column, const QString& text);
  const QString& SmallIcon() const { return mSmallIcon; }
  void SetSmallIcon(const QString& icon) { Assign(mSmallIcon, icon); }
  const QString& Tag() const { return mTag; }
  void SetTag(const QString& tag) { mTag = tag; }
  /// Text of a 0-based column: 0 is the row's own text, others are sub-items.
  QString ColumnText(int column) const { return column == 0 ? mText : SubItem(column); }
  quint64 Serial() const { return mSerial; }

 private:
  friend class ListView;
  template <class T>
  void Assign(T& field, T value);

  ListView* mList = nullptr;
  quint64 mSerial = 0;
  QString mKey;
  QString mText;
  QStringList mSubItems;
  QString mSmallIcon;
  QString mTag;
};

class ListView : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  const QList<ColumnHeader>& ColumnHeaders() const { return mHeaders; }
  void AddColumnHeader(const ColumnHeader& header);
  void ClearColumnHeaders();

  /// Adds a last row. Fails with a duplicate key.
  ListItem& Add(const QString& key, const QString& text, const QString& smallIcon = {});
  void Remove(const QString& key);
  void Clear();
  qsizetype Count() const { return mItems.Count(); }
  bool Contains(const QString& key) const { return mItems.Contains(key); }
  /// Rows by key or by 1-based position in the order of adding; fail when there is none.
  ListItem& Item(const QString& key) const { return *mItems.Item(key); }
  ListItem& Item(qsizetype position) const { return *mItems.Item(position); }
  ListItem* Find(const QString& key) const;
  ListItem* FindSerial(quint64 serial) const;

  ListItem* SelectedItem() const { return mSelected; }
  void SetSelectedItem(ListItem* item);

  /// Sorting is by the text of one column, for all columns but those of numbers. SortKey is that column,
  /// 0-based; SortOrder 0 is ascending. A sorted list stays sorted as rows come.
  bool Sorted() const { return mSorted; }
  void SetSorted(bool sorted) { AssignOrder(mSorted, sorted); }
  int SortKey() const { return mSortKey; }
  void SetSortKey(int column) { AssignOrder(mSortKey, column); }
  int SortOrder() const { return mSortOrder; }
  void SetSortOrder(int order) { AssignOrder(mSortOrder, order); }

  void Refresh() { Note(); }

  // What the user does, told by the face.
  void ClickItem(ListItem& item);
  void DoubleClick();
  /// 1-based column.
  void ClickColumn(int column);

  std::function<void(ListItem&)> OnItemClick;
  std::function<void()> OnDblClick;
  std::function<void(int column)> OnColumnClick;

  /// What changed since a model last asked. Asking empties it.
  struct Changes {
    bool headers = false;
    bool added = false;  // rows came behind all others
    bool rows = false;   // rows went
    bool order = false;  // the way of sorting changed
    std::unordered_set<quint64> items;
  };
  Changes TakeChanges();

 private:
  friend class ListItem;
  template <class T>
  void AssignOrder(T& field, T value) {
    if (std::exchange(field, value) == value) return;
    mChanges.order = true;
    Note();
  }
  void Touch(const ListItem& item);
  void TouchRows(bool Changes::*how);
  void TouchHeaders();
  void Note();

  QList<ColumnHeader> mHeaders;
  KeyedList<std::unique_ptr<ListItem>> mItems;
  QHash<quint64, ListItem*> mSerials;
  Changes mChanges;
  ListItem* mSelected = nullptr;
  quint64 mLastSerial = 0;
  int mSortKey = 0;
  int mSortOrder = 0;
  bool mSorted = false;
  bool mNoted = false;
};

template <class T>
void ListItem::Assign(T& field, T value) {
  if (field == value) return;
  field = std::move(value);
  mList->Touch(*this);
}

}  // namespace veltrane
