// Selecting in the tree, and its context menu.
#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/Listening.h"
#include "engine/PortTable.h"
#include "history/HistoryText.h"
#include "history/Logging.h"
#include "ui/frmMain.h"

namespace veltrane {
namespace {

const QString kRootKey = QStringLiteral("ROOT");
const QString kProtocolImage = QStringLiteral("Protocol");
const QString kEventImage = QStringLiteral("Event");
constexpr char16_t kClickFailure[] =
    u"An error occurred while attempting to process the node click in the tree view.  The operating system "
    u"reports: ";

bool IsRoot(const TreeNode& node) {
  return node.Key() == kRootKey;
}

bool HasHistory(const QString& image) {
  return image == kSocketImage || image == kDisconnectedImage || image == kEventImage;
}

const TreeNode& ParentOf(const TreeNode& node) {
  if (!node.Parent()) throw Failure(FailureNumber::kObjectNotSet);
  return *node.Parent();
}

}  // namespace

struct frmMain::ImageLoad {
  QString image;
  void (frmMain::*load)(TreeNode& node);
};

void frmMain::tvwSockets_NodeClick(TreeNode& node) {
  mGeneral.Guard(kClickFailure, [&] { SelectNode(node); });
}

// The node that was selected is gone, by a purge, a failed attempt or a deleted port: what is shown is that
// of the node above it. Nothing is loaded or closed for that, and the diagram's history stays.
void frmMain::FollowSelection(TreeNode& node) {
  mGeneral.Guard(kClickFailure, [&] {
    mnodSelectedNode = TreeView::Keep(node);
    SetSavePossible(HasHistory(node.Image()));
    mLogging.RefreshAllDetails(node.Image());
    ShowSelection();
  });
}

void frmMain::SelectNode(TreeNode& node) {
  mnodSelectedNode = TreeView::Keep(node);
  // The recorder goes by the tree's own selection, so one that the logic makes has to show there too.
  tvwSockets.SetSelectedItem(&node);
  const bool wasClosed = PruneOff(node);
  SetSavePossible(HasHistory(node.Image()));
  const bool isGone = node.Image() == kEventImage && !EventOf(node);
  if (isGone) {
    lvwDetails.Clear();
    ConfigureGridForEvent();
  } else {
    mLogging.RefreshAllDetails(node.Image());
  }
  if (mAround.eventDetails) mAround.eventDetails->ClearDetails();
  if (isGone) {
    HighlightEvent(nullptr);
  } else if (wasClosed) {
    LoadBranch(node);
  }
  ShowSelection();
}

frmMain::EventPlace frmMain::PlaceOf(const TreeNode& node) {
  // The last dash: the number of a connection may be negative.
  const qsizetype dash = node.Key().lastIndexOf(u'-');
  return {node.Key().left(dash), ToInt32(node.Key().mid(dash + 1))};
}

// A purge may have taken it, and its node not yet.
SocketEventRef frmMain::EventOf(const TreeNode& node) const {
  const EventPlace place = PlaceOf(node);
  const EventList& events = HistoryOf(place.connection)->mobjSocketPairEvents;
  return place.position > events.Count() ? nullptr : events.Item(place.position);
}

void frmMain::ShowSelection() {
  RefreshDiagramVisibility();
  RefreshPaneTitles();
  RefreshNavigation();
}

// Closes all that is not on the path to node. The last open node in the order of adding decides: when it was
// node itself or stood right below it, node was open, and is not loaded again.
bool frmMain::PruneOff(const TreeNode& node) {
  bool wasClosed = false;
  for (TreeNode* at = tvwSockets.First(); at; at = TreeView::Next(*at)) {
    if (!at->Expanded()) continue;
    if (IsNodeRelated(*at, node, wasClosed)) continue;
    at->SetExpanded(false);
    // Children were added later than their parent, so the walk has not come to them yet.
    RemoveChildren(*at);
  }
  return wasClosed;
}

void frmMain::RemoveChildren(TreeNode& node) {
  while (node.ChildCount() > 0)
    tvwSockets.Remove(node.Child(0));
}

bool frmMain::IsNodeRelated(const TreeNode& a, const TreeNode& b, bool& wasClosed) {
  bool related = false;
  mGeneral.Guard(
      u"An error occurred while attempting to determine whether a node is related to another node.  The "
      u"operating system reports: ",
      [&] {
        wasClosed = true;
        if (IsRoot(b)) return;
        if (a.Key() == b.Key()) {
          related = true;
          wasClosed = false;
          return;
        }
        if (!IsRoot(a) && a.Parent() == &b) {
          wasClosed = false;
          return;
        }
        for (const TreeNode* at = &b; !related && !IsRoot(*at); at = &ParentOf(*at))
          related = &a == &ParentOf(*at);
      });
  return related;
}

void frmMain::LoadBranch(TreeNode& node) {
  static const ImageLoad kLoads[] = {
      {QStringLiteral("AllActivity"), &frmMain::LoadRoot}, {kProtocolImage, &frmMain::LoadPort},
      {QStringLiteral("Connection"), &frmMain::LoadPeers}, {kSocketImage, &frmMain::LoadSocket},
      {kDisconnectedImage, &frmMain::LoadSocket},          {kEventImage, &frmMain::LoadEvent},
  };
  for (const ImageLoad& row : kLoads) {
    if (row.image == node.Image()) return (this->*row.load)(node);
  }
}

// A branch that was folded by hand still has its nodes; loaded beside them they would be there twice.
void frmMain::LoadRoot(TreeNode& node) {
  RemoveChildren(node);
  node.SetExpanded(true);
  if (!mGeneral.gobjListening) throw Failure(FailureNumber::kObjectNotSet);
  mLogging.LoadAllProtocols(*mGeneral.gobjListening);
}

void frmMain::LoadPort(TreeNode& node) {
  RemoveChildren(node);
  node.SetExpanded(true);
  mLogging.LoadAllCommsPartners(ToInt32(node.Tag()));
}

void frmMain::LoadPeers(TreeNode& node) {
  RemoveChildren(node);
  node.SetExpanded(true);
  SetSavePossible(false);
  LoadConnections(node);
}

void frmMain::LoadConnections(const TreeNode& node) {
  mLogging.LoadAllConnections(node.Tag().section(u' ', 0, 0), node.Tag().section(u' ', 1, 1),
                              ToInt32(ParentOf(node).Tag()));
}

void frmMain::LoadSocket(TreeNode& node) {
  RemoveChildren(node);
  if (mAround.eventDetails) mAround.eventDetails->ClearDetails();
  if (mAround.frmEventDetails) mAround.frmEventDetails->Repaint();
  mLogging.LoadAllEvents(mnodSelectedNode->Tag());
  tvwSockets.Refresh();
  node.SetExpanded(true);
}

void frmMain::LoadEvent(TreeNode& node) {
  const EventPlace place = PlaceOf(node);
  const qint16 position = ToInt16(QString::number(place.position));
  mobjCurrentHistory = HistoryOf(place.connection);
  if (mAround.eventDetails && mAround.frmEventDetails && mAround.frmEventDetails->Visible()) {
    mAround.eventDetails->SetDetails(mobjCurrentHistory, position);
  }
  ShowEventInDiagram(*mobjCurrentHistory, position);
}

void frmMain::ShowEventInDiagram(const SocketPairHistory& history, qint16 position) {
  const bool diagram = mGeneral.gblnConnectionDiagramSelected;
  const bool pageChanged = CheckForPageChange(position);
  // What came, or moved to this page by a purge, while the diagram was not kept up is drawn by now.
  const bool isMissing =
      diagram && !IsDrawn(history.mobjSocketPairEvents.Item(position)->mobjUIObject.lock());
  if (pageChanged || gblnRequestRedraw || isMissing) {
    if (gblnRequestRedraw) mPages.mintCurrentPage = 0;
    if (diagram) DisplayConnectionDiagram(mobjCurrentHistory);
  }
  gblnRequestRedraw = false;
  // After a purge the first page is in view. What stands on a later one has no figure there, and is not gone.
  if (diagram && mPages.IsOnPage(position))
    HighlightEvent(history.mobjSocketPairEvents.Item(position)->mobjUIObject.lock());
}

// An event has nothing to unfold; unfolded it would count as a branch that is open already.
void frmMain::ExpandSelected() {
  TreeNode* node = tvwSockets.SelectedItem();
  if (node && node->Image() != kEventImage) tvwSockets.FoldByHand(*node, true);
}

// Nothing is added to a branch while it is folded; what came meanwhile comes when the user unfolds it. The
// nodes that it has stay, and with them the selection.
void frmMain::FillBranch(TreeNode& node) {
  mGeneral.Guard(kClickFailure, [&] {
    const QString& image = node.Image();
    if (image == kProtocolImage) {
      mLogging.LoadAllCommsPartners(ToInt32(node.Tag()));
    } else if (image == u"Connection") {
      LoadConnections(node);
    } else if (image == kSocketImage || image == kDisconnectedImage) {
      mLogging.LoadMissedEvents(node.Tag());
    }
  });
}

void frmMain::RightClick(TreeNode* node, int x, int y) {
  const QString& image = node->Image();
  if (image == kProtocolImage && !node->Text().startsWith(kEphemeralProtocol)) {
    OpenPortMenu(*node, x, y);
  } else if (HasHistory(image)) {
    OpenHistoryMenu(*node, x, y);
  } else {
    ChooseForMenu(*node);
    SetSavePossible(false);
  }
}

void frmMain::ChooseForMenu(TreeNode& node) {
  tvwSockets.SetSelectedItem(&node);
  tvwSockets_NodeClick(node);
}

void frmMain::OpenPortMenu(TreeNode& node, int x, int y) {
  const qint32 port = ToInt32(node.Tag().trimmed());
  mnuPopup.SetTag(QString::number(port));
  const Socket& listener = *mGeneral.gobjListening->mcolListeningSocket.Item(ListeningSocketKey(port));
  mnuStopListening.SetEnabled(listener.State() == SocketState::kListening);
  ChooseForMenu(node);
  mnuProtocol.SetEnabled(mAround.frmConfigure != nullptr);
  mnuSaveHistoryPopUp.SetEnabled(false);
  mnuPopup.PopUp(tvwSockets.Place().left + x, tvwSockets.Place().top + y);
}

void frmMain::OpenHistoryMenu(TreeNode& node, int x, int y) {
  ChooseForMenu(node);
  mnuProtocol.SetEnabled(false);
  mnuStopListening.SetEnabled(false);
  mnuSaveHistoryPopUp.SetEnabled(mAround.frmSaveHistory != nullptr);
  mnuPopup.PopUp(tvwSockets.Place().left + x, tvwSockets.Place().top + y);
}

}  // namespace veltrane
