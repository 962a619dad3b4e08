#include "ui/ConnectionDiagram.h"

#include <algorithm>

#include "ui/DiagramKinds.h"

namespace veltrane {
namespace {

using enum DiagramArray;

constexpr char16_t kDrawingFailed[] =
    u"An error occurred while attempting to draw the socket event.  The operating system reports: ";
constexpr char16_t kPurged[] =
    u"Since this data was displayed to the screen, it has been unloaded from memory as part of the routine "
    u"data purging as specified in the Options.  No information can be displayed.";

// Progress of a redraw: clearing takes the bar to 45, drawing from 50 to 100.
constexpr int kProgressPerArray = 4;
constexpr int kCleared = 45;
constexpr int kHalf = 50;

QString PeerText(const QString& name, const QString& address, qint32 port) {
  const QString end = QStringLiteral("(%1:%2)").arg(address).arg(port);
  return name.isEmpty() ? end : name + u'\n' + end;
}

QString LabelText(DiagramArray array, const SocketEvent& event, const SocketPairHistory& history) {
  if (IsLink(array)) return event.mstrDescription + u'\n' + event.mstrEventTime;
  if (array == aniVLT) return QStringLiteral("127.0.0.1:%1").arg(history.mlngLocalServerPort);
  if (array == aniClient) {
    return PeerText(history.mstrRemoteClientName, history.mstrRemoteClientIP, history.mlngRemoteClientPort);
  }
  return PeerText(history.mstrRemoteServerName, history.mstrRemoteServerIP, history.mlngRemoteServerPort);
}

}  // namespace

ConnectionDiagram::ConnectionDiagram(DiagramPages& pages, const DiagramControls& controls, ErrorSink& errors,
                                     QString pictureFolder, std::function<bool()> animates)
    : mPages(pages),
      mControls(controls),
      mErrors(errors),
      mPictureFolder(std::move(pictureFolder)),
      mAnimates(std::move(animates)) {
  mControls.shpHighlight.SetVisible(false);
  mControls.pgrRefresh.SetVisible(false);
  for (ScrollBar* bar : {&mControls.scrConnectionPanelHoriz, &mControls.scrConnectionPanelVert})
    bar->OnChange = [this] { Scroll(); };
}

void ConnectionDiagram::AddEvent(const SocketPairHistory& history) {
  const qsizetype count = history.mobjSocketPairEvents.Count();
  if (mPages.IsOnPage(count) && count <= mLastDrawn) {
    // A purge has moved the positions: what stands on this page is another one's, and rows would grow for
    // ever.
    BeginAnew(history);
  } else {
    if (!history.mblnPreviousEventFollowOn) ++mPages.mlngDiagramRow;
    DrawEvent(mPages.mlngDiagramRow, count, history.mblnPreviousEventFollowOn, history);
  }
  mPages.mintPageCount = DiagramPages::PageCount(count);
}

// Without this, events beyond a full last page would be drawn nowhere while the limit holds their number
// there.
void ConnectionDiagram::FollowPurge(const SocketPairHistory& history) {
  const qint32 pages = std::max(1, DiagramPages::PageCount(history.mobjSocketPairEvents.Count()));
  mPages.mintPageCount = pages;
  if (mPages.mintCurrentPage < pages - 1) return;
  mPages.mintCurrentPage = pages - 1;
  BeginAnew(history);
}

// Under the eyes of the user: what was marked stays so, in its place on the screen.
void ConnectionDiagram::BeginAnew(const SocketPairHistory& history) {
  Rect surface = mControls.fraConnectionPanel.Place();
  const std::shared_ptr<SocketEvent> marked =
      mControls.shpHighlight.Visible() ? mMarked.lock() : std::shared_ptr<SocketEvent>();
  const int markTop = mControls.shpHighlight.Place().top;
  UnhighlightEvent();
  Clear();
  DrawPage(history);
  const std::shared_ptr<DiagramFigure> figure = marked ? marked->mobjUIObject.lock() : nullptr;
  if (IsDrawn(figure)) {
    Mark(*figure);
    surface.top += markTop - mControls.shpHighlight.Place().top;
  }
  surface.height = mControls.fraConnectionPanel.Place().height;
  mControls.fraConnectionPanel.SetPlace(surface);
  RefreshScrollBars();
}

void ConnectionDiagram::Display(const SocketPairHistory& history) {
  UnhighlightEvent();
  BeginProgress();
  Clear();
  mPages.mintPageCount = DiagramPages::PageCount(history.mobjSocketPairEvents.Count());
  // A purge may have taken the page away.
  mPages.mintCurrentPage = std::clamp(mPages.mintCurrentPage, 0, std::max(0, mPages.mintPageCount - 1));
  DrawPage(history);
  EndProgress();
}

void ConnectionDiagram::BeginProgress() {
  for (Panel* panel : {&mControls.panDiagram, &mControls.panDiagramOuter})
    panel->SetBackColor(kButtonFace);
  mControls.fraConnectionPanel.SetVisible(false);
  mControls.pgrRefresh.SetMax(100);
  const Rect& room = mControls.panDiagram.Place();
  Rect bar = mControls.pgrRefresh.Place();
  bar.left = (room.width - bar.width) / 2;
  bar.top = room.height / 2;
  mControls.pgrRefresh.SetPlace(bar);
  mControls.pgrRefresh.SetVisible(true);
}

void ConnectionDiagram::EndProgress() {
  mControls.pgrRefresh.SetVisible(false);
  for (Panel* panel : {&mControls.panDiagram, &mControls.panDiagramOuter})
    panel->SetBackColor(kWhite);
  mControls.fraConnectionPanel.SetVisible(true);
}

void ConnectionDiagram::DrawPage(const SocketPairHistory& history) {
  const EventList& events = history.mobjSocketPairEvents;
  const qsizetype first = mPages.FirstOnPage();
  const qsizetype last = std::min(events.Count(), mPages.LastOnPage());
  mPages.mlngDiagramRow = 1;
  bool followOn = false;
  for (qsizetype position = first; position <= last; ++position) {
    mControls.pgrRefresh.SetValue(
        static_cast<double>(position) / static_cast<double>(events.Count()) * kHalf + kHalf);
    if (position > first) {
      followOn = events.Item(position - 1)->mblnNextEventFollowOn;
      if (!followOn) ++mPages.mlngDiagramRow;
    }
    DrawEvent(mPages.mlngDiagramRow, position, followOn, history);
  }
}

void ConnectionDiagram::Clear() {
  for (int array = 0; array < kDiagramArrays; ++array) {
    mControls.pgrRefresh.SetValue(array * kProgressPerArray);
    mControls.fraConnectionPanel.Clear(static_cast<DiagramArray>(array));
  }
  mLastDrawn = 0;
  Rect surface = mControls.fraConnectionPanel.Place();
  surface.height = mControls.panDiagramOuter.Place().height;
  mControls.fraConnectionPanel.SetPlace(surface);
  RefreshScrollBars();
  mControls.pgrRefresh.SetValue(kCleared);
}

void ConnectionDiagram::DrawEvent(int row, qsizetype position, bool followOn,
                                  const SocketPairHistory& history) {
  if (!mPages.IsOnPage(position)) return;
  Guarded(mErrors, kDrawingFailed, [&] {
    const SocketEventType type = history.mobjSocketPairEvents.Item(position)->mobjEventType;
    if (const DiagramKind* kind = DrawingOf(type)) {
      if (!followOn) Draw(kind->begin, row, position, history);
      for (const DiagramItem& item : kind->items)
        Draw(item, row, position, history);
    }
    mLastDrawn = position;
    MakeRoom(row);
  });
}

void ConnectionDiagram::Draw(const DiagramItem& item, int row, qsizetype position,
                             const SocketPairHistory& history) {
  if (!item.file) return;
  const QLatin1String file(item.file);
  const bool failed = file == QLatin1String(kFailedPicture);
  DiagramPanel& panel = mControls.fraConnectionPanel;
  const DiagramCell cell{.place = CellPlace(item.array, row, failed),
                         .file = file.isEmpty() ? QString() : mPictureFolder + file,
                         .text = {},
                         .playing = !file.isEmpty() && mAnimates()};
  const SocketEventRef& event = history.mobjSocketPairEvents.Item(position);
  if (IsLink(item.array)) {
    const auto figure = std::make_shared<DiagramFigure>();
    figure->place = cell.place;
    figure->tag = static_cast<int>(position);
    figure->event = event;
    event->mobjUIObject = figure;
    panel.PutLink(item.array, row, cell, figure);
  } else {
    panel.Put(item.array, row, cell);
  }
  if (item.array == pctInternet) return;
  panel.Put(LabelOf(item.array), row,
            {.place = LabelPlace(item.array, cell.place),
             .file = {},
             .text = failed ? QString() : LabelText(item.array, *event, history)});
}

// As soon as the words of a row would end below the surface or under the scroll bar at its lower edge: they
// could not be scrolled into view.
void ConnectionDiagram::MakeRoom(int row) {
  Rect surface = mControls.fraConnectionPanel.Place();
  const int covered =
      mControls.panDiagramOuter.Place().height - mControls.scrConnectionPanelHoriz.Place().top;
  if (CellPlace(aniVLT, row).top + kRowHeight + covered <= surface.height) return;
  surface.height = SurfaceHeight(row);
  mControls.fraConnectionPanel.SetPlace(surface);
  RefreshScrollBars();
}

bool ConnectionDiagram::IsDrawn(const std::shared_ptr<DiagramFigure>& figure) const {
  return figure && mControls.fraConnectionPanel.Has(figure) && !figure->event.expired();
}

bool ConnectionDiagram::HighlightEvent(const std::shared_ptr<DiagramFigure>& figure) {
  DiagramPanel& panel = mControls.fraConnectionPanel;
  if (!IsDrawn(figure)) {
    ReportPurged();
    return false;
  }
  Mark(*figure);
  Rect surface = panel.Place();
  surface.top =
      ScrolledTop(surface.top, mControls.shpHighlight.Place(), mControls.panDiagramOuter.Place().height);
  panel.SetPlace(surface);
  RefreshScrollBars();
  return true;
}

void ConnectionDiagram::Mark(const DiagramFigure& figure) {
  mMarked = figure.event;
  mControls.shpHighlight.SetPlace(HighlightPlace(figure.place));
  mControls.shpHighlight.SetVisible(true);
  mPages.mintCurrentEvent = figure.tag;
}

void ConnectionDiagram::UnhighlightEvent() {
  mControls.shpHighlight.SetVisible(false);
}

void ConnectionDiagram::RefreshScrollBars() {
  const Rect surface = mControls.fraConnectionPanel.Place();
  const Rect& view = mControls.panDiagramOuter.Place();
  const struct {
    ScrollBar& bar;
    ScrollLimits limits;
    int edge;
  } rows[] = {
      {mControls.scrConnectionPanelHoriz, HorizontalLimits(surface.width, view.width), surface.left},
      {mControls.scrConnectionPanelVert, VerticalLimits(surface.height, view.height), surface.top},
  };
  for (const auto& row : rows) {
    row.bar.SetMax(row.limits.max);
    row.bar.SetEnabled(row.limits.max > 0);
    // A bar that cannot be moved would only cover the picture.
    row.bar.SetVisible(row.bar.Enabled());
    row.bar.SetSteps(row.limits.smallChange, row.limits.largeChange);
    row.bar.SetValue(ScrollValue(row.edge));
  }
  Scroll();
}

void ConnectionDiagram::Scroll() {
  Rect surface = mControls.fraConnectionPanel.Place();
  surface.left = -10 * mControls.scrConnectionPanelHoriz.Value();
  surface.top = -10 * mControls.scrConnectionPanelVert.Value();
  mControls.fraConnectionPanel.SetPlace(surface);
}

void ConnectionDiagram::ReportPurged() {
  mErrors.LogError(MessageText(kPurged));
}

void ConnectionDiagram::ReportPicture(const Failure& failure) {
  ReportFailure(mErrors, MessageText(kDrawingFailed), failure);
}

}  // namespace veltrane
