#include "ui/DiagramGeometry.h"

#include <algorithm>

#include "base/Numbers.h"

namespace veltrane {
namespace {

constexpr int kComputerHeight = 840;
constexpr int kFailedHeight = 1200;
constexpr int kAboveRow = 400;
// The cloud begins higher up: its picture is empty there, where the label of the row above may stand.
constexpr int kCloudAboveRow = 920;
constexpr int kCloudWidth = 1680;
constexpr int kCloudHeight = 1560;
constexpr int kLinkWidth = 1920;
constexpr int kLinkHeight = 720;
constexpr int kComputerLabelWidth = 1815;
constexpr int kComputerLabelHeight = 400;
constexpr int kComputerLabelGap = 80;
constexpr int kLinkLabelWidth = 2000;
constexpr int kLinkLabelHeight = 800;
constexpr int kBelowRow = 500;

constexpr int kHighlightBeside = 45;
constexpr int kHighlightAbove = 15;
constexpr int kScrollStep = 10;
constexpr int kSmallHorizontalSteps = 18;
constexpr int kSmallVertical = kRowHeight / 4 / kScrollStep;

int RowTop(int row) {
  return kRowHeight * row - kAboveRow;
}

int ColumnOf(DiagramArray array) {
  if (array == DiagramArray::aniClient) return 0;
  return array == DiagramArray::aniVLT ? 1 : 2;
}

/// The first link is set off by a fixed length from the middle between two computers' left edges, the second
/// by half a computer's width.
int LinkLeft(DiagramArray array) {
  const bool first = array == DiagramArray::aniClient2VLT;
  const int column = first ? 0 : 1;
  const int middle = (ColumnLeft(column) + ColumnLeft(column + 1)) / 2;
  return middle + (first ? 400 : kComputerWidth / 2) - kLinkWidth / 2;
}

Rect Centred(const Rect& over, int top, int width, int height) {
  return {over.left + (over.width - width) / 2, top, width, height};
}

}  // namespace

Rect CellPlace(DiagramArray array, int row, bool failed) {
  if (IsLink(array)) return {LinkLeft(array), RowTop(row), kLinkWidth, kLinkHeight};
  if (array == DiagramArray::pctInternet)
    return {ColumnLeft(2), kRowHeight * row - kCloudAboveRow, kCloudWidth, kCloudHeight};
  return {ColumnLeft(ColumnOf(array)), RowTop(row), kComputerWidth, failed ? kFailedHeight : kComputerHeight};
}

Rect LabelPlace(DiagramArray array, const Rect& place) {
  return IsLink(array)
             ? Centred(place, place.Bottom(), kLinkLabelWidth, kLinkLabelHeight)
             : Centred(place, place.Bottom() + kComputerLabelGap, kComputerLabelWidth, kComputerLabelHeight);
}

int SurfaceHeight(int row) {
  return RowTop(row) + kRowHeight + kBelowRow;
}

Rect HighlightPlace(const Rect& link) {
  return {link.left - kHighlightBeside, link.top - kHighlightAbove, link.width + 2 * kHighlightBeside,
          link.height + 2 * kHighlightAbove};
}

int ScrolledTop(int surfaceTop, const Rect& highlight, int viewHeight) {
  const int below = surfaceTop + highlight.Bottom() - viewHeight;
  if (below > 0) surfaceTop -= below + viewHeight / 3;
  if (surfaceTop + highlight.top < 0) surfaceTop = std::min(0, viewHeight / 3 - highlight.top);
  return surfaceTop;
}

ScrollLimits HorizontalLimits(int surfaceWidth, int viewWidth) {
  const int max = (surfaceWidth - viewWidth) / kScrollStep;
  if (max < 1) return {};
  return {max, ToInt32(static_cast<double>(max) / kSmallHorizontalSteps), surfaceWidth / kScrollStep};
}

ScrollLimits VerticalLimits(int surfaceHeight, int viewHeight) {
  const int max = (surfaceHeight - viewHeight) / kScrollStep;
  if (max < 1 || viewHeight < 1) return {};
  const double page = static_cast<double>(surfaceHeight) / viewHeight * max / kScrollStep;
  return {max, kSmallVertical, ToInt32(page)};
}

int ScrollValue(int surfaceEdge) {
  return ToInt32(-static_cast<double>(surfaceEdge) / kScrollStep);
}

}  // namespace veltrane
