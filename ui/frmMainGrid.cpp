// The grid's columns, its order, and the way down from a row.
#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/PortTable.h"
#include "history/HistoryText.h"
#include "history/Logging.h"
#include "ui/frmMain.h"

namespace veltrane {

struct frmMain::GridColumn {
  const char* key;
  int width;  // twips, unless the store has another
  const char* caption;
};

void frmMain::ConfigureGridForAllActivity() {
  static constexpr GridColumn kColumns[] = {
      {"AA1", 1964, "From"},     {"AA2", 2190, "To"},         {"AA3", 1035, "Protocol"},
      {"AA4", 1335, "Started"},  {"AA5", 1140, "Last Event"}, {"AA6", 1830, "Last State"},
      {"AA7", 975, "Bytes C2S"}, {"AA8", 900, "Bytes S2C"},   {"AA9", 1049, "Event Count"},
  };
  ConfigureGrid(kColumns);
}

void frmMain::ConfigureGridForConnection() {
  static constexpr GridColumn kColumns[] = {
      {"SC1", 1440, "Time"}, {"SC2", 4229, "Description"}, {"SC3", 1440, "Bytes"}};
  ConfigureGrid(kColumns);
}

void frmMain::ConfigureGridForEvent() {
  static constexpr GridColumn kColumns[] = {{"ED1", 2129, "Item"}, {"ED2", 4289, "Value"}};
  ConfigureGrid(kColumns);
}

// A width that is no number is a failure of whoever asked for the columns.
void frmMain::ConfigureGrid(std::span<const GridColumn> columns) {
  lvwDetails.ClearColumnHeaders();
  for (const GridColumn& column : columns) {
    const QString width = mGeneral.mSettings.Get(QStringLiteral("MainForm"), QLatin1String(column.key),
                                                 QString::number(column.width));
    lvwDetails.AddColumnHeader({QLatin1String(column.key), QLatin1String(column.caption), ToInt32(width)});
  }
}

void frmMain::SortByColumn(int column) {
  lvwDetails.SetSorted(true);
  if (lvwDetails.SortKey() == column - 1) {
    lvwDetails.SetSortOrder(lvwDetails.SortOrder() == 0 ? 1 : 0);
  } else {
    lvwDetails.SetSortKey(column - 1);
    lvwDetails.SetSortOrder(0);
  }
}

void frmMain::GoDeeper() {
  const ListItem* row = lvwDetails.SelectedItem();
  if (!row) return;
  const QString& image = mnodSelectedNode->Image();
  if (ListsConnections(image)) {
    GoToConnection(*row);
  } else if (image == kSocketImage || image == kDisconnectedImage) {
    GoToEvent(*row);
  } else if (image == u"Event") {
    ShowEventDetails();
  }
}

// From the top down, because each step loads the branch in which the next one finds its node.
void frmMain::GoToConnection(const ListItem& row) {
  const QString& key = row.Key();
  const QString client = row.Text().section(u':', 0, 0);
  const QString to = row.SubItem(1);
  const QString server = to.contains(u':') ? to.section(u':', 0, 0) : QString();
  const qint32 port = HistoryOf(key)->mlngWasListeningOnPort;
  // The list holds copies: the first step empties the grid, and the row goes.
  for (const QString& node : {ProtocolNodeKey(port), ConnectionNodeKey(port, client, server), key})
    tvwSockets_NodeClick(tvwSockets.Node(node));
}

// The row names its event by the number that it had from the first one on; its node stands at its position of
// today. A row whose event was purged leads nowhere.
void frmMain::GoToEvent(const ListItem& row) {
  // A branch that was folded by hand gets what came meanwhile.
  tvwSockets.FoldByHand(*mnodSelectedNode, true);
  const QString& connection = mnodSelectedNode->Key();
  const qint64 position = row.Tag().toLongLong() - HistoryOf(connection)->mobjSocketPairEvents.Removed();
  tvwSockets_NodeClick(tvwSockets.Node(connection + u'-' + QString::number(position)));
}

void frmMain::ShowEventDetails() {
  const QString& tag = mnodSelectedNode->Tag();
  const qsizetype dash = tag.lastIndexOf(u'-');
  const SocketPairHistoryRef history = HistoryOf(tag.left(dash));
  if (mAround.eventDetails) mAround.eventDetails->SetDetails(history, ToInt16(tag.mid(dash + 1)));
  ShowWindow(mAround.frmEventDetails, this);
}

SocketPairHistoryRef frmMain::HistoryOf(const QString& key) const {
  return mLogging.mobjSocketPairHistory.Item(key);
}

}  // namespace veltrane
