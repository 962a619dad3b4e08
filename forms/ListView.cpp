#include "forms/ListView.h"

namespace veltrane {

void ListItem::SetSubItem(int column, const QString& text) {
  if (column < 1) throw Failure(FailureNumber::kOutOfRange);
  while (mSubItems.size() < column)
    mSubItems.append(QString());
  Assign(mSubItems[column - 1], text);
}

void ListView::AddColumnHeader(const ColumnHeader& header) {
  mHeaders.append(header);
  TouchHeaders();
}

void ListView::ClearColumnHeaders() {
  mHeaders.clear();
  TouchHeaders();
}

ListItem& ListView::Add(const QString& key, const QString& text, const QString& smallIcon) {
  auto item = std::make_unique<ListItem>();
  item->mList = this;
  item->mSerial = mLastSerial + 1;
  item->mKey = key;
  item->mText = text;
  item->mSmallIcon = smallIcon;
  ListItem& added = *item;
  mItems.Add(std::move(item), key);
  mSerials.insert(++mLastSerial, &added);
  TouchRows(&Changes::added);
  return added;
}

void ListView::Remove(const QString& key) {
  const std::unique_ptr<ListItem> item = mItems.Remove(key);
  mSerials.remove(item->mSerial);
  mChanges.items.erase(item->mSerial);
  TouchRows(&Changes::rows);
  if (mSelected == item.get()) SetSelectedItem(nullptr);
}

void ListView::Clear() {
  SetSelectedItem(nullptr);
  mItems.Clear();
  mSerials.clear();
  mChanges.items.clear();
  TouchRows(&Changes::rows);
}

ListItem* ListView::Find(const QString& key) const {
  const std::unique_ptr<ListItem>* item = mItems.Find(key);
  return item ? item->get() : nullptr;
}

ListItem* ListView::FindSerial(quint64 serial) const {
  return mSerials.value(serial, nullptr);
}

void ListView::SetSelectedItem(ListItem* item) {
  if (std::exchange(mSelected, item) != item) Note();
}

void ListView::Touch(const ListItem& item) {
  mChanges.items.insert(item.mSerial);
  Note();
}

void ListView::TouchRows(bool Changes::*how) {
  mChanges.*how = true;
  Note();
}

void ListView::TouchHeaders() {
  mChanges.headers = true;
  Note();
}

void ListView::Note() {
  if (std::exchange(mNoted, true)) return;
  Q_EMIT Changed();
}

ListView::Changes ListView::TakeChanges() {
  mNoted = false;
  return std::exchange(mChanges, {});
}

void ListView::ClickItem(ListItem& item) {
  SetSelectedItem(&item);
  if (OnItemClick) OnItemClick(item);
}

void ListView::DoubleClick() {
  if (OnDblClick) OnDblClick();
}

void ListView::ClickColumn(int column) {
  if (OnColumnClick) OnColumnClick(column);
}

}  // namespace veltrane
