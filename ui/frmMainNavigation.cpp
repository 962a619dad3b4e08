// Grid or diagram, the diagram's pages and links.
#include <algorithm>

#include "base/Numbers.h"
#include "engine/General.h"
#include "history/HistoryText.h"
#include "history/Logging.h"
#include "ui/frmMain.h"

namespace veltrane {
namespace {

constexpr char16_t kDetailsFailure[] =
    u"An error occurred while attempting to show the details of the event.  The operating system reports: ";

}  // namespace

void frmMain::ChooseView(bool diagram) {
  mGeneral.gblnConnectionDiagramSelected = diagram;
  mnuConnectionDiagram.SetChecked(diagram);
  mnuEventHistory.SetChecked(!diagram);
  RefreshDiagramVisibility();
  RefreshNavigation();
}

void frmMain::ChooseDiagram() {
  ChooseView(true);
}

void frmMain::ChooseEventHistory() {
  ChooseView(false);
  mLogging.RefreshAllDetails(mnodSelectedNode->Image());
}

void frmMain::ToggleView() {
  (mGeneral.gblnConnectionDiagramSelected ? mnuEventHistory : mnuConnectionDiagram).Click();
}

void frmMain::RefreshDiagramVisibility() {
  const bool diagram = mGeneral.gblnConnectionDiagramSelected;
  const QString& image = mnodSelectedNode->Image();
  if (diagram && (image == kSocketImage || image == kDisconnectedImage)) {
    mPages.mintCurrentPage = 0;
    mPages.mintCurrentEvent = 1;
    panDiagramOuter.SetVisible(true);
    DisplayConnectionDiagram(HistoryOf(mnodSelectedNode->Tag()));
  } else if (diagram && image == u"Event") {
    // A diagram in view stays as it is.
    if (panDiagramOuter.Visible()) return;
    if (!mnodSelectedNode->Parent()) throw Failure(FailureNumber::kObjectNotSet);
    panDiagramOuter.SetVisible(true);
    DisplayConnectionDiagram(HistoryOf(mnodSelectedNode->Parent()->Tag()));
    // The redraw has taken the mark off.
    const SocketEventRef event = EventOf(*mnodSelectedNode);
    if (event && IsDrawn(event->mobjUIObject.lock())) HighlightEvent(event->mobjUIObject.lock());
  } else {
    panDiagramOuter.SetVisible(false);
    mDiagram.Clear();
  }
}

void frmMain::DisplayConnectionDiagram(const SocketPairHistoryRef& history) {
  if (!history) return;
  mobjCurrentHistory = history;
  mDiagram.Display(*history);
  RefreshNavigation();
}

void frmMain::AddConnectionDiagramEvent(const SocketPairHistoryRef& history) {
  mDiagram.AddEvent(*history);
  RefreshNavigation();
}

void frmMain::ConnectionDiagramPurged(const SocketPairHistory& history) {
  mDiagram.FollowPurge(history);
  RefreshNavigation();
}

// Pages are told of in the event history, too, where none is drawn that would count them.
bool frmMain::CheckForPageChange(qint16 event) {
  if (mobjCurrentHistory)
    mPages.mintPageCount = DiagramPages::PageCount(mobjCurrentHistory->mobjSocketPairEvents.Count());
  return mPages.CheckForPageChange(event);
}

bool frmMain::HighlightEvent(const std::shared_ptr<DiagramFigure>& figure) {
  if (IsDrawn(figure)) FollowPurges(*figure);
  const bool found = mDiagram.HighlightEvent(figure);
  if (found) RefreshNavigation();
  return found;
}

void frmMain::ClickLink(const std::shared_ptr<DiagramFigure>& link) {
  if (!PastFailures([&] { OpenLink(*link); })) mDiagram.ReportPurged();
}

// A purge lowers the positions of the events that it leaves. False when this one is gone.
bool frmMain::FollowPurges(DiagramFigure& link) const {
  const SocketEventRef event = link.event.lock();
  if (!event || !mobjCurrentHistory) return false;
  const EventList& events = mobjCurrentHistory->mobjSocketPairEvents;
  for (qsizetype position = std::min<qsizetype>(link.tag, events.Count()); position > 0; --position) {
    if (events.Item(position) != event) continue;
    link.tag = static_cast<int>(position);
    return true;
  }
  return false;
}

void frmMain::OpenLink(DiagramFigure& link) {
  const SocketEventRef event = link.event.lock();
  if (!event || !FollowPurges(link)) throw Failure(FailureNumber::kObjectNotSet);
  const bool isEvent = mnodSelectedNode->Image() == u"Event";
  if (isEvent && !mnodSelectedNode->Parent()) throw Failure(FailureNumber::kObjectNotSet);
  bool shown = true;
  const QString key = isEvent ? mnodSelectedNode->Parent()->Tag() : mnodSelectedNode->Tag();
  if (mAround.eventDetails && mLogging.mobjSocketPairHistory.Contains(key)) {
    // Its positions have 16 bits, and another event is not shown for one beyond them.
    shown = mGeneral.Guard(kDetailsFailure, [&] {
      mAround.eventDetails->SetDetails(HistoryOf(key), ToInt16(QString::number(link.tag)));
    });
  }
  if (shown) ShowWindow(mAround.frmEventDetails, this);
  // Its page may have been drawn afresh meanwhile; the event knows its link.
  HighlightEvent(event->mobjUIObject.lock());
}

void frmMain::TurnPage(const QString& key) {
  qint32& page = mPages.mintCurrentPage;
  const struct {
    QString key;
    int page;
  } rows[] = {{QStringLiteral("First"), 0},
              {QStringLiteral("Previous"), page - 1},
              {QStringLiteral("Next"), page + 1},
              {QStringLiteral("Last"), mPages.mintPageCount - 1}};
  for (const auto& row : rows) {
    if (row.key != key) continue;
    page = row.page;
    break;
  }
  DisplayConnectionDiagram(mobjCurrentHistory);
}

void frmMain::RefreshNavigation() {
  const bool diagram = panDiagramOuter.Visible();
  const bool forward = diagram && mPages.mintCurrentPage != mPages.mintPageCount - 1;
  const bool back = diagram && mPages.mintCurrentPage != 0;
  const struct {
    QString key;
    bool enabled;
  } rows[] = {{QStringLiteral("First"), back},
              {QStringLiteral("Previous"), back},
              {QStringLiteral("Next"), forward},
              {QStringLiteral("Last"), forward}};
  for (const auto& row : rows)
    barNavigation.SetButtonEnabled(row.key, row.enabled);
  if (State() != WindowState::kMinimized) RefreshCounters();
}

// What is counted are the events of the history that the diagram shows, or showed last: with the event
// history chosen, which never turns to another one for a connection, they may be those of another than the
// selected.
void frmMain::RefreshCounters() {
  // Without a history that was ever shown there is nothing to count.
  if (ListsConnections(mnodSelectedNode->Image()) || !mobjCurrentHistory) {
    lblDetails.SetPanelText(2, QString());
    lblDetails.SetPanelText(3, QString());
    return;
  }
  const QString count = QString::number(mobjCurrentHistory->mobjSocketPairEvents.Count());
  const QString end = QStringLiteral("  ");
  const QString current = QStringLiteral("Event ") + QString::number(mPages.mintCurrentEvent) +
                          QStringLiteral(" of ") + count + end;
  lblDetails.SetPanelText(2, shpHighlight.Visible() ? current : QStringLiteral("Events: ") + count + end);
  lblDetails.SetPanelText(3, mPages.mintPageCount < 1
                                 ? QString()
                                 : QStringLiteral("Page ") + QString::number(mPages.mintCurrentPage + 1) +
                                       QStringLiteral(" of ") + QString::number(mPages.mintPageCount) + end);
}

}  // namespace veltrane
