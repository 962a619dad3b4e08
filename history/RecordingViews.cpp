// What recording changes in tree and grid, where the user can see it.
#include "engine/General.h"
#include "engine/PortTable.h"
#include "forms/ListView.h"
#include "forms/TreeView.h"
#include "history/Happening.h"
#include "history/HistoryText.h"

namespace veltrane {

const TreeNode& Logging::SelectedNode() const {
  const TreeNode* node = Tree().SelectedItem();
  if (!node) throw Failure(FailureNumber::kObjectNotSet);
  return *node;
}

bool Logging::ShowsInDiagram(const SocketPairHistory& history) const {
  return mGeneral.gblnConnectionDiagramSelected && SelectedNode().Key() == history.mstrSocketPairKey;
}

bool Logging::IsExpanded(const QString& nodeKey) const {
  const TreeNode* node = Tree().Find(nodeKey);
  return node && node->Expanded();
}

void Logging::ShowEvent(const SocketPairHistory& history, const SocketEvent& event) {
  if (!IsExpanded(history.mstrSocketPairKey)) return;
  AddEventNode(history, history.mobjSocketPairEvents.Count());
  Tree().Refresh();
  // Under the diagram the grid is not seen, and nothing trims it. It is filled when the user turns to it.
  if (mGeneral.gblnConnectionDiagramSelected) return;
  // Whose socket is selected is not asked: while one live connection is selected, the grid takes the events
  // of every open one. That is how the grid works; a key that is taken keeps its row.
  if (SelectedNode().Image() != kSocketImage) return;
  // The rows of events that were purged stay, so the number in a row's key is that of all events that ever
  // were.
  const QString rowKey = SelectedNode().Key() + u'-' + QString::number(history.mlngEventCount);
  if (!IsDetailsRowPresent(rowKey)) AddEventRow(rowKey, event, history.mlngEventCount);
}

void Logging::AddEventNode(const SocketPairHistory& history, qsizetype position) {
  const QString key = history.mstrSocketPairKey + u'-' + QString::number(position);
  const SocketEventRef& event = history.mobjSocketPairEvents.Item(position);
  Tree().Add(history.mstrSocketPairKey, key, event->mstrDescription, QStringLiteral("Event")).SetTag(key);
}

// The tag tells which event it is for as long as the row stands: positions move with every purge.
void Logging::AddEventRow(const QString& key, const SocketEvent& event, qint64 number) {
  ListItem& row = mAround.frmMain->DetailsGrid().Add(key, event.mstrEventTime, QStringLiteral("Event"));
  row.SetTag(QString::number(number));
  row.SetSubItem(1, event.mstrDescription);
  if (!event.mstrData.IsEmpty()) row.SetSubItem(2, QString::number(event.mstrData.Size()));
}

void Logging::ShowNewConnection(const SocketPairHistory& history) {
  if (IsExpanded(ProtocolNodeKey(history.mlngLocalServerPort))) {
    const QString key = AwaitingNodeKey(history);
    if (!Tree().Contains(key)) AddConnectionNode(key, history);
    if (IsExpanded(key)) PutSocketNode(key, history, kAliveText, kSocketImage);
  }
  if (ShouldSocketDetailsBeUpdated()) AddDetailsRow(history);
}

void Logging::MoveToFailedBranch(const SocketPairHistory& history) {
  if (!IsExpanded(ProtocolNodeKey(history.mlngLocalServerPort))) return;
  const QString key = ConnectionNodeKey(history);
  if (!Tree().Contains(key)) AddConnectionNode(key, history);
  // Found again when the new branch is opened; it is not moved.
  if (TreeNode* node = Tree().Find(history.mstrSocketPairKey)) Tree().Remove(*node);
  RemoveIfChildless(AwaitingNodeKey(history));
}

void Logging::MoveToServersBranch(const SocketPairHistory& history) {
  // Under an open port also when the node of those that wait is gone, with another connection of the same
  // client: one that stands would otherwise be seen nowhere.
  if (!Tree().Contains(AwaitingNodeKey(history)) &&
      !IsExpanded(ProtocolNodeKey(history.mlngLocalServerPort))) {
    return;
  }
  const QString key = ConnectionNodeKey(history);
  if (!Tree().Contains(key)) {
    AddConnectionNode(key, history);
  } else if (IsExpanded(key)) {
    PutSocketNode(key, history, kAliveText, kSocketImage);
  }
  RemoveIfChildless(AwaitingNodeKey(history));
}

void Logging::AddConnectionNode(const QString& key, const SocketPairHistory& history) {
  TreeNode& node = Tree().Add(ProtocolNodeKey(history.mlngLocalServerPort), key, GetConnectionName(history),
                              QStringLiteral("Connection"));
  node.SetTag(history.mstrRemoteClientIP + u' ' + history.mstrRemoteServerIP);
  Tree().Refresh();
}

void Logging::PutSocketNode(const QString& parentKey, const SocketPairHistory& history, const QString& text,
                            const QString& image) {
  const QString& key = history.mstrSocketPairKey;
  TreeNode* node = Tree().Find(key);
  if (!node) {
    Tree().Add(parentKey, key, text, image).SetTag(key);
  } else if (!node->Parent() || node->Parent()->Key() != parentKey) {
    // It still stands in the branch of connections that wait for their server. Moved, it stays selected.
    const QString branch = node->Parent() ? node->Parent()->Key() : QString();
    Tree().Move(*node, Tree().Node(parentKey));
    RenameNode(*node, text);
    node->SetImage(image);
    RemoveIfChildless(branch);
  }
  Tree().Refresh();
}

void Logging::RemoveIfChildless(const QString& nodeKey) {
  TreeNode* node = Tree().Find(nodeKey);
  if (!node || node->ChildCount() > 0) return;
  Tree().Remove(*node);
  Tree().Refresh();
}

void Logging::RenameConnectionNode(const SocketPairHistory& history) {
  TreeNode* node = Tree().Find(ConnectionNodeKey(history));
  if (!node) return;
  RenameNode(*node, GetConnectionName(history));
  Tree().Refresh();
}

// The titles of the panes say the text of the node that is selected.
void Logging::RenameNode(TreeNode& node, const QString& text) {
  node.SetText(text);
  if (Tree().SelectedItem() == &node) mAround.frmMain->RefreshPaneTitles();
}

// A name that was told is shown as told: an empty one as empty brackets.
void Logging::ShowServerName(const SocketPairHistory& history) {
  if (ListItem* row = DetailsRowToUpdate(history.mstrSocketPairKey)) {
    row->SetSubItem(1, Address(history.mstrRemoteServerIP, history.mlngRemoteServerPort) +
                           Bracketed(history.mstrRemoteServerName));
  }
}

void Logging::ShowClientName(const SocketPairHistory& history) {
  if (ListItem* row = DetailsRowToUpdate(history.mstrSocketPairKey)) {
    row->SetText(Address(history.mstrRemoteClientIP, history.mlngRemoteClientPort) +
                 Bracketed(history.mstrRemoteClientName));
  }
}

void Logging::ShowProtocol(const SocketPairHistory& history) {
  if (ListItem* row = DetailsRowToUpdate(history.mstrSocketPairKey)) row->SetSubItem(2, history.mstrProtocol);
}

void Logging::ShowDeath(const SocketPairHistory& history) {
  if (TreeNode* node = Tree().Find(history.mstrSocketPairKey)) {
    RenameNode(*node, SocketNodeText(history));
    node->SetImage(kDisconnectedImage);
    Tree().Refresh();
  }
  if (ListItem* row = DetailsRowToUpdate(history.mstrSocketPairKey)) row->SetSmallIcon(kDisconnectedImage);
}

bool Logging::ShouldSocketDetailsBeUpdated() {
  bool listsConnections = false;
  mGeneral.Guard(
      u"An error occurred while attempting to determine whether the socket details should be updated.  The "
      u"operating system reports: ",
      [&] { listsConnections = ListsConnections(SelectedNode().Image()); });
  return listsConnections;
}

bool Logging::IsDetailsRowPresent(const QString& strKey) const {
  return mAround.frmMain->DetailsGrid().Contains(strKey);
}

ListItem* Logging::DetailsRowToUpdate(const QString& key) {
  ListItem* row = mAround.frmMain->DetailsGrid().Find(key);
  return row && ShouldSocketDetailsBeUpdated() ? row : nullptr;
}

void Logging::RefreshDetails(const Happening& happening, const SocketEvent& event,
                             const SocketPairHistory& history) {
  ListItem* row = DetailsRowToUpdate(history.mstrSocketPairKey);
  if (!row) return;
  UpdateDetailsRow(event, history);
  if (happening.byteColumn == 0) return;
  const qint64 bytes = happening.byteColumn == kBytesC2SColumn ? history.mlngBytesC2S : history.mlngBytesS2C;
  row->SetSubItem(happening.byteColumn, QString::number(bytes));
}

void Logging::UpdateDetailsRow(const SocketEvent& objEvent, const SocketPairHistory& objHistory) {
  mGeneral.Guard(u"An error occurred while attempting to update the details.  The operating system reports: ",
                 [&] {
                   ListItem& row = mAround.frmMain->DetailsGrid().Item(objHistory.mstrSocketPairKey);
                   row.SetSubItem(8, QString::number(objHistory.mlngEventCount));
                   row.SetSubItem(4, objEvent.mstrEventTime);
                   row.SetSubItem(5, objEvent.mstrDescription);
                 });
}

void Logging::UpdateConnectionDetails(const SocketPairHistory& objHistory) {
  mGeneral.Guard(
      u"An error occurred while attempting to update the connection details.  The operating system reports: ",
      [&] {
        mAround.frmMain->DetailsGrid()
            .Item(objHistory.mstrSocketPairKey)
            .SetSubItem(1, ServerText(objHistory));
      });
}

void Logging::UpdateAttempt(const SocketEvent& event, const SocketPairHistory& history) {
  if (!DetailsRowToUpdate(history.mstrSocketPairKey)) return;
  UpdateConnectionDetails(history);
  UpdateDetailsRow(event, history);
}

void Logging::AddDetailsRow(const SocketPairHistory& history) {
  ListItem& row = mAround.frmMain->DetailsGrid().Add(
      history.mstrSocketPairKey, Address(history.mstrRemoteClientIP, history.mlngRemoteClientPort) +
                                     InBrackets(history.mstrRemoteClientName));
  RefreshDetailsRow(row, history);
}

void Logging::RefreshDetailsRow(ListItem& row, const SocketPairHistory& history) {
  mGeneral.Guard(
      u"An error occurred while attempting to refresh the details.  The operating system reports: ", [&] {
        row.SetSmallIcon(history.mblnDead ? kDisconnectedImage : kSocketImage);
        if (!ListsConnections(SelectedNode().Image())) return;
        if (mAround.frmMain->DetailsGrid().ColumnHeaders().isEmpty()) {
          mAround.frmMain->ConfigureGridForAllActivity();
        }
        const EventList& events = history.mobjSocketPairEvents;
        row.SetSubItem(1, ServerText(history));
        row.SetSubItem(2, history.mstrProtocol.isEmpty() ? kNotAvailable : history.mstrProtocol);
        row.SetSubItem(3, events.Item(1)->mstrEventTime);
        row.SetSubItem(4, events.Item(events.Count())->mstrEventTime);
        row.SetSubItem(5, events.Item(events.Count())->mstrDescription);
        row.SetSubItem(kBytesC2SColumn, QString::number(history.mlngBytesC2S));
        row.SetSubItem(kBytesS2CColumn, QString::number(history.mlngBytesS2C));
        row.SetSubItem(8, QString::number(history.mlngEventCount));
      });
}

}  // namespace veltrane
