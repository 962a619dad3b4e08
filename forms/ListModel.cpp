#include "forms/ListModel.h"

#include <algorithm>

namespace veltrane {
namespace {

/// Below zero when left comes first, above when right does.
int Compare(const QString& left, const QString& right, bool numbers) {
  if (!numbers) return QString::compare(left, right, Qt::CaseInsensitive);
  const qlonglong first = left.toLongLong();
  const qlonglong second = right.toLongLong();
  return first < second ? -1 : first > second ? 1 : 0;
}

}  // namespace

ListModel::ListModel(ListView& list, QObject* parent) : QAbstractTableModel(parent), mList(list) {
  mList.TakeChanges();
  PublishHeaders();
  PublishRows();
}

ListModel::Shown ListModel::Copy(const ListItem& item, qsizetype columns) {
  Shown shown{item.Serial(), item.Key(), item.SmallIcon(), {}};
  for (int column = 0; column < columns; ++column)
    shown.texts.append(item.ColumnText(column));
  return shown;
}

std::vector<ListItem*> ListModel::ItemsInOrder() const {
  std::vector<ListItem*> items;
  items.reserve(static_cast<std::size_t>(mList.Count()));
  for (qsizetype i = 1; i <= mList.Count(); ++i)
    items.push_back(&mList.Item(i));
  if (mList.Sorted()) {
    const int column = mList.SortKey();
    const bool ascending = mList.SortOrder() == 0;
    const bool numbers = mList.ColumnHeaders().value(column).numbers;
    std::stable_sort(items.begin(), items.end(), [=](const ListItem* left, const ListItem* right) {
      const int order = Compare(left->ColumnText(column), right->ColumnText(column), numbers);
      return ascending ? order < 0 : order > 0;
    });
  }
  return items;
}

void ListModel::Publish() {
  const ListView::Changes changes = mList.TakeChanges();
  if (changes.headers) PublishHeaders();
  if (!changes.items.empty()) PublishItems(changes.items);
  const bool moved = mList.Sorted() && (changes.added || !changes.items.empty());
  if (changes.rows || changes.order || moved) {
    PublishRows();
  } else if (changes.added) {
    AppendNew();
  }
}

void ListModel::PublishHeaders() {
  beginResetModel();
  mHeaders = mList.ColumnHeaders();
  mRows.clear();
  for (const ListItem* item : ItemsInOrder())
    mRows.push_back(Copy(*item, mHeaders.size()));
  IndexRows();
  endResetModel();
}

void ListModel::PublishItems(const std::unordered_set<quint64>& serials) {
  for (const quint64 serial : serials) {
    const int row = RowOf(serial);
    const ListItem* item = mList.FindSerial(serial);
    if (row < 0 || !item) continue;
    mRows[static_cast<std::size_t>(row)] = Copy(*item, mHeaders.size());
    if (!mHeaders.isEmpty()) {
      Q_EMIT dataChanged(index(row, 0), index(row, static_cast<int>(mHeaders.size()) - 1));
    }
  }
}

void ListModel::PublishRows() {
  const std::vector<ListItem*> items = ItemsInOrder();
  RemoveGone();
  InsertNew(items);
  Reorder(items);
}

void ListModel::RemoveGone() {
  const auto gone = [this](const Shown& row) { return !mList.FindSerial(row.serial); };
  for (auto first = std::find_if(mRows.begin(), mRows.end(), gone); first != mRows.end();
       first = std::find_if(first, mRows.end(), gone)) {
    const auto last = std::find_if_not(first, mRows.end(), gone);
    beginRemoveRows({}, static_cast<int>(first - mRows.begin()), static_cast<int>(last - mRows.begin()) - 1);
    first = mRows.erase(first, last);
    endRemoveRows();
  }
  IndexRows();
}

void ListModel::InsertNew(const std::vector<ListItem*>& items) {
  std::vector<Shown> fresh;
  for (const ListItem* item : items) {
    if (RowOf(item->Serial()) < 0) fresh.push_back(Copy(*item, mHeaders.size()));
  }
  Append(std::move(fresh));
}

// None went and none is sorted, so the rows that are not shown yet are the last ones: a list that grows by a
// row costs a row, however long it is.
void ListModel::AppendNew() {
  std::vector<Shown> fresh;
  for (auto i = static_cast<qsizetype>(mRows.size()) + 1; i <= mList.Count(); ++i)
    fresh.push_back(Copy(mList.Item(i), mHeaders.size()));
  Append(std::move(fresh));
}

void ListModel::Append(std::vector<Shown> fresh) {
  if (fresh.empty()) return;
  const auto known = static_cast<int>(mRows.size());
  beginInsertRows({}, known, known + static_cast<int>(fresh.size()) - 1);
  for (Shown& row : fresh) {
    mRowOfSerial.insert(row.serial, static_cast<int>(mRows.size()));
    mRows.push_back(std::move(row));
  }
  endInsertRows();
}

void ListModel::Reorder(const std::vector<ListItem*>& items) {
  const auto sameOrder = [](const Shown& row, const ListItem* item) { return row.serial == item->Serial(); };
  if (std::equal(mRows.begin(), mRows.end(), items.begin(), items.end(), sameOrder)) return;
  Q_EMIT layoutAboutToBeChanged();
  std::vector<Shown> ordered;
  QHash<quint64, int> newRows;
  for (const ListItem* item : items) {
    newRows.insert(item->Serial(), static_cast<int>(ordered.size()));
    ordered.push_back(std::move(mRows[static_cast<std::size_t>(RowOf(item->Serial()))]));
  }
  const QModelIndexList before = persistentIndexList();
  QModelIndexList after;
  for (const QModelIndex& old : before) {
    const quint64 serial = mRowOfSerial.key(old.row());
    after.append(index(newRows.value(serial), old.column()));
  }
  mRows = std::move(ordered);
  mRowOfSerial = newRows;
  changePersistentIndexList(before, after);
  Q_EMIT layoutChanged();
}

void ListModel::IndexRows() {
  mRowOfSerial.clear();
  for (std::size_t row = 0; row < mRows.size(); ++row) {
    mRowOfSerial.insert(mRows[row].serial, static_cast<int>(row));
  }
}

int ListModel::RowOf(quint64 serial) const {
  return mRowOfSerial.value(serial, -1);
}

ListItem* ListModel::ItemAt(const QModelIndex& index) const {
  return index.isValid() ? mList.FindSerial(mRows[static_cast<std::size_t>(index.row())].serial) : nullptr;
}

QModelIndex ListModel::IndexOf(const ListItem& item) const {
  const int row = RowOf(item.Serial());
  return row < 0 ? QModelIndex() : index(row, 0);
}

int ListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(mRows.size());
}

int ListModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(mHeaders.size());
}

QVariant ListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const Shown& row = mRows[static_cast<std::size_t>(index.row())];
  switch (role) {
    case Qt::DisplayRole:
      return row.texts.value(index.column());
    case kKeyRole:
      return row.key;
    case kImageRole:
      return index.column() == 0 ? row.icon : QString();
    default:
      return {};
  }
}

QVariant ListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section >= mHeaders.size()) return {};
  // Whole in the tool tip, where the width that the column is given cuts it.
  if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
  return mHeaders.at(section).text;
}

}  // namespace veltrane
