// A ListView as an item model: a copy of what the views last saw, brought up to date by Publish.
#pragma once

#include <QAbstractTableModel>

#include <vector>

#include "forms/ListView.h"

namespace veltrane {

class ListModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Role { kKeyRole = Qt::UserRole, kImageRole };

  explicit ListModel(ListView& list, QObject* parent = nullptr);

  /// Takes over all changes since the last call.
  void Publish();

  /// The list's item behind an index; nullptr when it is gone from the list.
  ListItem* ItemAt(const QModelIndex& index) const;
  QModelIndex IndexOf(const ListItem& item) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

 private:
  struct Shown {
    quint64 serial = 0;
    QString key;
    QString icon;
    QStringList texts;
  };

  static Shown Copy(const ListItem& item, qsizetype columns);
  std::vector<ListItem*> ItemsInOrder() const;
  int RowOf(quint64 serial) const;
  void PublishHeaders();
  void PublishRows();
  void PublishItems(const std::unordered_set<quint64>& serials);
  void RemoveGone();
  void InsertNew(const std::vector<ListItem*>& items);
  void AppendNew();
  void Append(std::vector<Shown> fresh);
  void Reorder(const std::vector<ListItem*>& items);
  void IndexRows();

  ListView& mList;
  QList<ColumnHeader> mHeaders;
  std::vector<Shown> mRows;
  QHash<quint64, int> mRowOfSerial;
};

}  // namespace veltrane
