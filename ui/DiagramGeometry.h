// Where everything of the connection diagram stands on its scrolling surface: pure arithmetic, in twips. Rows
// are counted from 1.
#pragma once

#include "forms/Rect.h"

namespace veltrane {

/// The cells of the diagram, one of each for a row, in the order in which a page is cleared: the cloud,
/// computers, links, and the labels of computers and links.
enum class DiagramArray {
  pctInternet,
  aniClient,
  aniVLT,
  aniServer,
  aniClient2VLT,
  aniVLT2Server,
  lblClient,
  lblVLT,
  lblServer,
  lblClient2VLT,
  lblVLT2Server,
};
constexpr int kDiagramArrays = 11;

constexpr bool IsLink(DiagramArray array) {
  return array == DiagramArray::aniClient2VLT || array == DiagramArray::aniVLT2Server;
}
constexpr bool IsLabel(DiagramArray array) {
  return array >= DiagramArray::lblClient;
}
/// The label that belongs to a computer or a link. The cloud has none.
constexpr DiagramArray LabelOf(DiagramArray array) {
  constexpr int kBehind =
      static_cast<int>(DiagramArray::lblClient) - static_cast<int>(DiagramArray::aniClient);
  return static_cast<DiagramArray>(static_cast<int>(array) + kBehind);
}

// The computers' columns; the window's layout goes by them, too.
constexpr int kFirstColumn = 800;
constexpr int kColumnGap = 3000;
constexpr int kComputerWidth = 960;
constexpr int kRowHeight = 1600;

/// Left edge of the computers of column 0 to 2.
constexpr int ColumnLeft(int column, int computerWidth = kComputerWidth) {
  return kFirstColumn + column * (computerWidth + kColumnGap);
}

/// The place of a computer, a link or the cloud. A failed computer is taller than one that is well.
Rect CellPlace(DiagramArray array, int row, bool failed = false);
/// The place of the label under a computer or a link that stands at place.
Rect LabelPlace(DiagramArray array, const Rect& place);
/// How high the surface has to be for a row, when it is not so yet.
int SurfaceHeight(int row);

/// The highlight around a link.
Rect HighlightPlace(const Rect& link);
/// The surface's top that brings a highlight into a view of that height. It may lie beyond the scroll bar's
/// limits, which then bring it back.
int ScrolledTop(int surfaceTop, const Rect& highlight, int viewHeight);

/// Limits of a scroll bar; a step is 10 twips. Without a maximum there is nothing to scroll.
struct ScrollLimits {
  int max = 0;
  int smallChange = 1;
  int largeChange = 1;
};
ScrollLimits HorizontalLimits(int surfaceWidth, int viewWidth);
ScrollLimits VerticalLimits(int surfaceHeight, int viewHeight);
/// The value that belongs to an edge of the surface.
int ScrollValue(int surfaceEdge);

}  // namespace veltrane
