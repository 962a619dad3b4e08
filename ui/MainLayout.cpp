#include "ui/MainLayout.h"

#include <algorithm>
#include <cmath>

#include "ui/DiagramGeometry.h"

namespace veltrane {
namespace {

constexpr int kPixel = kTwipsPerPixel;
constexpr int kMargin = 20;  // left of everything, and between a title and its pane
constexpr int kGap = 80;     // between panes; the splitters lie in it
constexpr int kTitleHeight = 320;
constexpr int kBelow = 300 + 420;  // kept free for what stands above and below the panes
constexpr int kWorkingWidth = 45 * kPixel;
constexpr int kCloseFromRight = 35;
constexpr int kCloseFromTop = 30;

// The diagram.
constexpr int kDiagramInset = 60;
constexpr int kDiagramLess = 100 + kPixel;
constexpr int kBehindColumns = 1600;
constexpr int kScrollMargin = 30;
constexpr int kScrollBreadth = 255;
constexpr int kHeadingWidth = 1500;
constexpr int kHeadingHeight = 300;
constexpr int kHeadingTop = 480;

// Splitters.
constexpr int kLeastDetails = 1000;
constexpr int kLeastBelowDetails = 2800;
constexpr int kLeastTree = 500;
constexpr int kLeastRightOfTree = 1000;

int Whole(float twips) {
  return static_cast<int>(std::lround(twips));
}

int StatusBarHeight(const MainSizes& sizes) {
  return sizes.statusBarShown ? sizes.statusBarHeight : 0;
}

void PlaceFrame(const MainSizes& sizes, MainPlaces& places) {
  for (int line = 0; line < 2; ++line)
    places.lneSep[line] = {0, line * kPixel, sizes.width - 5 * kPixel, kPixel};
  places.barToolbar = {kMargin, 2 * kPixel, sizes.width - kWorkingWidth - 70, sizes.toolBarHeight};
  places.panWorking = {places.barToolbar.width - 70, 10, kWorkingWidth, places.barToolbar.height + 30};
  places.aniWorking = {(kWorkingWidth - 580) / 2, 40, 580, 500};
  places.barStatus = {0, sizes.height - sizes.statusBarHeight, sizes.width, sizes.statusBarHeight};
}

void PlaceLeftPane(const MainSizes& sizes, int top, MainPlaces& places) {
  const int width = Whole(sizes.treeWidth);
  places.lblSockets = {kMargin, top, width, kTitleHeight};
  // The toolbar does not count: without it the tree moves up and stays as high.
  places.tvwSockets = {kMargin, top + kTitleHeight + kMargin, width,
                       sizes.height - 60 - kTitleHeight - StatusBarHeight(sizes) - kBelow};
}

void PlaceRightPane(const MainSizes& sizes, int top, MainPlaces& places) {
  const int treeWidth = Whole(sizes.treeWidth);
  places.lblDetails = {kMargin + treeWidth + kGap, top,
                       sizes.width - treeWidth - kGap - 40 - 130 - sizes.navigationWidth, kTitleHeight};
  places.barNavigation = {places.lblDetails.Right(), top, sizes.navigationWidth, kTitleHeight};
  places.lvwDetails = {places.lblDetails.left, places.lblDetails.Bottom() + kMargin,
                       places.lblDetails.width + sizes.navigationWidth,
                       sizes.realTimeShown ? Whole(sizes.detailsHeight) : places.tvwSockets.height};
}

void PlaceHeadings(const MainSizes& sizes, MainPlaces& places) {
  for (int column = 0; column < 3; ++column) {
    const int computer = ColumnLeft(column, sizes.computerWidth);
    places.headings[column] = {computer + (sizes.computerWidth - kHeadingWidth) / 2, kHeadingTop,
                               kHeadingWidth, kHeadingHeight};
  }
}

void PlaceDiagram(const MainSizes& sizes, MainPlaces& places) {
  const Rect& outer = places.panDiagramOuter = places.lvwDetails;
  places.panDiagram = {kDiagramInset, kDiagramInset, outer.width - kDiagramLess, outer.height - kDiagramLess};
  places.fraConnectionPanel = {sizes.diagramFrame.left, sizes.diagramFrame.top,
                               3 * sizes.computerWidth + kFirstColumn + 2 * kColumnGap + kBehindColumns,
                               std::max(sizes.diagramFrame.height, outer.height)};
  const int right = outer.width - kScrollMargin - kScrollBreadth;
  const int bottom = outer.height - kScrollMargin - kScrollBreadth;
  places.scrHoriz = {kScrollMargin, bottom, right - 2 * kScrollMargin, kScrollBreadth};
  places.scrVert = {right, kScrollMargin, kScrollBreadth, bottom - 2 * kScrollMargin};
  PlaceHeadings(sizes, places);
}

void PlaceRealTimePane(const MainSizes& sizes, MainPlaces& places) {
  const Rect& above = places.lvwDetails;
  places.lblRealTime = {places.lblDetails.left, above.Bottom() + kGap, above.width,
                        sizes.realTimeTitleHeight};
  places.chkCloseRealTime = {places.lblRealTime.Right() - kCloseFromRight - sizes.closeBox.width,
                             places.lblRealTime.top + kCloseFromTop, sizes.closeBox.width,
                             sizes.closeBox.height};
  places.txtRealTime = {places.lblDetails.left, places.lblRealTime.Bottom() + kMargin, above.width,
                        sizes.height - kGap - kTitleHeight - StatusBarHeight(sizes) - 300 -
                            Whole(sizes.detailsHeight) - sizes.realTimeTitleHeight - kGap - 420};
  places.imgSplitterHoriz = {places.tvwSockets.Right(), above.Bottom(), above.width + kGap, kGap};
}

}  // namespace

MainPlaces ArrangeMainWindow(const MainSizes& sizes) {
  MainPlaces places;
  PlaceFrame(sizes, places);
  const int top = places.barToolbar.top + (sizes.toolBarShown ? sizes.toolBarHeight : 0) + kMargin;
  PlaceLeftPane(sizes, top, places);
  PlaceRightPane(sizes, top, places);
  PlaceDiagram(sizes, places);
  PlaceRealTimePane(sizes, places);
  places.imgSplitterVert = {places.tvwSockets.Right(), places.tvwSockets.top, kGap, places.tvwSockets.height};
  return places;
}

int DraggedTop(const Rect& splitter, const Rect& detailsTitle, float detailsHeight, int offset, int height) {
  const float dragged = static_cast<float>(offset) + detailsHeight;
  const int greatest = height - kLeastBelowDetails;
  if (dragged < kLeastDetails) return detailsTitle.Bottom() + kLeastDetails + kMargin;
  if (dragged > static_cast<float>(greatest)) return detailsTitle.Bottom() + greatest + kMargin;
  return splitter.top + offset;
}

int DraggedLeft(const Rect& splitter, float treeWidth, int offset, int width) {
  const float dragged = static_cast<float>(offset) + treeWidth;
  const int greatest = width - kLeastRightOfTree;
  if (dragged < kLeastTree) return kLeastTree + kMargin;
  if (dragged > static_cast<float>(greatest)) return greatest + kMargin;
  return splitter.left + offset;
}

float DetailsHeightAt(int shapeTop, const Rect& detailsTitle) {
  return static_cast<float>(shapeTop - (detailsTitle.Bottom() + kMargin));
}

float TreeWidthAt(int shapeLeft) {
  return static_cast<float>(shapeLeft - kMargin);
}

}  // namespace veltrane
