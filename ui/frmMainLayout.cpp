// Where everything stands, and the splitters. The arithmetic is in MainLayout.
#include "ui/frmMain.h"

namespace veltrane {
namespace {

// What has a size of its own, in twips. Places follow with the first layout.
constexpr int kToolBarHeight = 660;
constexpr int kStatusBarHeight = 360;
constexpr int kNavigationWidth = 1620;
constexpr int kRealTimeTitleHeight = 320;
constexpr int kCloseBoxSize = 255;
constexpr int kProgressWidth = 3000;
constexpr int kProgressHeight = 255;

/// Where lines of the real-time pane would wrap: never.
constexpr int kRightMargin = 64000;

}  // namespace

void frmMain::SetUpLayout() {
  barToolbar.SetPlace({0, 0, 0, kToolBarHeight});
  barStatus.SetPlace({0, 0, 0, kStatusBarHeight});
  barNavigation.SetPlace({0, 0, kNavigationWidth, 0});
  lblRealTime.SetPlace({0, 0, 0, kRealTimeTitleHeight});
  chkCloseRealTime.SetPlace({0, 0, kCloseBoxSize, kCloseBoxSize});
  pgrRefresh.SetPlace({0, 0, kProgressWidth, kProgressHeight});
  lblClientHeading.SetCaption(QStringLiteral("Client"));
  lblVLTHeading.SetCaption(QStringLiteral("VLT"));
  lblServerHeading.SetCaption(QStringLiteral("Server"));
  for (Area* area : {static_cast<Area*>(&panDiagramOuter), &shpDrag})
    area->SetVisible(false);
  imgSplitterHoriz.OnMouseDown = [this] { BeginDrag(imgSplitterHoriz, mblnDraggingHoriz); };
  imgSplitterHoriz.OnMouseMove = [this](int, int y) { DragHoriz(y); };
  imgSplitterHoriz.OnMouseUp = [this] { DropHoriz(); };
  imgSplitterVert.OnMouseDown = [this] { BeginDrag(imgSplitterVert, mblnDraggingVert); };
  imgSplitterVert.OnMouseMove = [this](int x, int) { DragVert(x); };
  imgSplitterVert.OnMouseUp = [this] { DropVert(); };
}

void frmMain::ResizeForm() {
  if (State() == WindowState::kMinimized) {
    if (HidesInTray()) Hide();
    return;
  }
  if (ScaleWidth() <= 0 || ScaleHeight() <= 0) return;
  msngDetailsHeight += static_cast<float>(ScaleHeight() - mlngLastScaleHeight);
  mlngLastScaleHeight = ScaleHeight();
  // A window too small for the arithmetic is none of the user's business.
  PastFailures([this] { Place(ArrangeMainWindow(Sizes())); });
}

MainSizes frmMain::Sizes() const {
  return {.width = ScaleWidth(),
          .height = ScaleHeight(),
          .treeWidth = msngTreeWidth,
          .detailsHeight = msngDetailsHeight,
          .toolBarShown = barToolbar.Visible(),
          .statusBarShown = barStatus.Visible(),
          .realTimeShown = RealTimeShown(),
          .toolBarHeight = barToolbar.Place().height,
          .statusBarHeight = barStatus.Place().height,
          .navigationWidth = barNavigation.Place().width,
          .realTimeTitleHeight = lblRealTime.Place().height,
          .closeBox = chkCloseRealTime.Place(),
          .computerWidth = kComputerWidth,
          .diagramFrame = fraConnectionPanel.Place()};
}

void frmMain::Place(const MainPlaces& places) {
  const struct {
    Control& control;
    const Rect& place;
  } rows[] = {{lneSep[0], places.lneSep[0]},
              {lneSep[1], places.lneSep[1]},
              {barToolbar, places.barToolbar},
              {panWorking, places.panWorking},
              {aniWorking, places.aniWorking},
              {lblSockets, places.lblSockets},
              {tvwSockets, places.tvwSockets},
              {lblDetails, places.lblDetails},
              {barNavigation, places.barNavigation},
              {lvwDetails, places.lvwDetails},
              {panDiagramOuter, places.panDiagramOuter},
              {panDiagram, places.panDiagram},
              {fraConnectionPanel, places.fraConnectionPanel},
              {scrConnectionPanelHoriz, places.scrHoriz},
              {scrConnectionPanelVert, places.scrVert},
              {lblClientHeading, places.headings[0]},
              {lblVLTHeading, places.headings[1]},
              {lblServerHeading, places.headings[2]},
              {imgSplitterVert, places.imgSplitterVert},
              {barStatus, places.barStatus}};
  for (const auto& row : rows)
    row.control.SetPlace(row.place);
  for (Control* control : std::initializer_list<Control*>{&panWorking, &lneSep[0], &lneSep[1]})
    control->SetVisible(barToolbar.Visible());
  PlaceRealTimePane(places, RealTimeShown());
  mDiagram.RefreshScrollBars();
}

void frmMain::PlaceRealTimePane(const MainPlaces& places, bool shown) {
  const struct {
    Control& control;
    const Rect& place;
  } rows[] = {{lblRealTime, places.lblRealTime},
              {chkCloseRealTime, places.chkCloseRealTime},
              {txtRealTime, places.txtRealTime},
              {imgSplitterHoriz, places.imgSplitterHoriz}};
  for (const auto& row : rows) {
    if (shown) row.control.SetPlace(row.place);
    row.control.SetVisible(shown);
  }
  if (shown) txtRealTime.SetRightMargin(kRightMargin);
}

void frmMain::BeginDrag(const Splitter& splitter, bool& dragging) {
  shpDrag.SetPlace(splitter.Place());
  shpDrag.SetVisible(true);
  dragging = true;
}

void frmMain::DragHoriz(int y) {
  if (!mblnDraggingHoriz) return;
  Rect place = shpDrag.Place();
  place.top = DraggedTop(imgSplitterHoriz.Place(), lblDetails.Place(), msngDetailsHeight, y, ScaleHeight());
  shpDrag.SetPlace(place);
}

void frmMain::DragVert(int x) {
  if (!mblnDraggingVert) return;
  Rect place = shpDrag.Place();
  place.left = DraggedLeft(imgSplitterVert.Place(), msngTreeWidth, x, ScaleWidth());
  shpDrag.SetPlace(place);
}

void frmMain::DropHoriz() {
  if (!std::exchange(mblnDraggingHoriz, false)) return;
  msngDetailsHeight = DetailsHeightAt(shpDrag.Place().top, lblDetails.Place());
  shpDrag.SetVisible(false);
  ResizeForm();
}

void frmMain::DropVert() {
  if (!std::exchange(mblnDraggingVert, false)) return;
  msngTreeWidth = TreeWidthAt(shpDrag.Place().left);
  shpDrag.SetVisible(false);
  ResizeForm();
  mDiagram.RefreshScrollBars();
}

}  // namespace veltrane
